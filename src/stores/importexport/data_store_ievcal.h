// Events in vCalendar files: many in one file, both ways.
#pragma once

#include <string>
#include <vector>

#include "stores/importexport/import_export_store.h"

namespace qv {

class CDataStoreIEVCal final : public ImportExportStore {
 public:
  CDataStoreIEVCal() : ImportExportStore(kVCalFileTraits) {}

 private:
  HRESULT Load() override;
  size_t ItemCount() const override { return texts_.size(); }
  ComPtr<IItemCommon> ItemAt(size_t place) override;
  HRESULT Take(const ComPtr<IItemCommon>& item, const IncomingText& text,
               std::u16string& sourceUid) override;
  void FinishExport() override;

  std::vector<std::string> texts_;   // of an import, each parsed when it is asked for
  std::vector<std::string> events_;  // of an export
};

}  // namespace qv

// Contacts in vCard files: many in one file on their way in, a file for each on their way out.
#pragma once

#include <vector>

#include "stores/importexport/import_export_store.h"
#include "support/narrow_files.h"

namespace qv {

class CDataStoreIEVCard final : public ImportExportStore {
 public:
  CDataStoreIEVCard() : ImportExportStore(kVCardFileTraits) {}

 private:
  HRESULT Load() override;
  size_t ItemCount() const override { return items_.size(); }
  ComPtr<IItemCommon> ItemAt(size_t place) override { return items_[place]; }
  HRESULT Take(const ComPtr<IItemCommon>& item, const IncomingText& text,
               std::u16string& sourceUid) override;
  void FinishExport() override;

  HRESULT SaveVCard(IUnknown* item, std::string card);

  std::vector<ComPtr<IItemCommon>> items_;
  UniqueNames names_{1};
  bool savedAny_ = false;
};

}  // namespace qv

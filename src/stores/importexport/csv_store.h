// Items in files of comma-separated values.
//
// An import reads one file, by the mapping in the bag; the job's list of files is only looked at
// for being there. An export gathers its rows and writes one file when the last reference goes, so
// that a failed one leaves nothing behind.
#pragma once

#include "stores/importexport/csv_table.h"
#include "stores/importexport/import_export_store.h"

namespace qv {

class CsvStore : public ImportExportStore {
 protected:
  explicit CsvStore(const CsvTraits& traits) : ImportExportStore(traits.frame), traits_(traits) {}

 private:
  HRESULT Load() final;
  size_t ItemCount() const final { return items_.size(); }
  ComPtr<IItemCommon> ItemAt(size_t place) final { return items_[place]; }
  void ClearExport() final { table_.Clear(); }
  HRESULT Take(const ComPtr<IItemCommon>& item, const IncomingText& text,
               std::u16string& sourceUid) final;
  void FinishExport() final;

  const CsvTraits& traits_;
  std::vector<ComPtr<IItemCommon>> items_;
  CsvTable table_;
};

class CDataStoreIECSVContact final : public CsvStore {
 public:
  CDataStoreIECSVContact() : CsvStore(kCsvContactTraits) {}
};

class CDataStoreIECSVCalendar final : public CsvStore {
 public:
  CDataStoreIECSVCalendar() : CsvStore(kCsvCalendarTraits) {}
};

class CDataStoreIECSVMemo final : public CsvStore {
 public:
  CDataStoreIECSVMemo() : CsvStore(kCsvMemoTraits) {}
};

}  // namespace qv

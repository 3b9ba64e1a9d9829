// Items in files of comma-separated values.
//
// An import reads one file, by the mapping in the bag; the job's list of files is only looked at
// for being there. An export gathers its rows and writes one file when the last reference goes, so
// that a failed one leaves nothing behind.
#pragma once

#include <optional>

#include "items/item.h"
#include "stores/importexport/csv_mapping.h"
#include "stores/importexport/csv_table.h"
#include "stores/importexport/import_export_store.h"
#include "support/csv_document.h"
#include "syncdb/group_table.h"

namespace qv {

class CsvStore : public ImportExportStore {
 protected:
  explicit CsvStore(const CsvTraits& traits) : ImportExportStore(traits.frame), traits_(traits) {}

 private:
  HRESULT Load() final;
  size_t ItemCount() const final { return static_cast<size_t>(document_.rowCount()); }
  ComPtr<IItemCommon> ItemAt(size_t place) final;
  void ClearExport() final { table_.Clear(); }
  HRESULT Take(const ComPtr<IItemCommon>& item, const IncomingText& text,
               std::u16string& sourceUid) final;
  void FinishExport() final;
  void KeepStamp(ItemFields& fields, std::u16string& uid) const;

  const CsvTraits& traits_;
  // What was read. A contact weighs six times its row, so an item is made when it is asked for.
  CsvDocument document_;
  CsvMapping mapping_;
  std::optional<GroupTable> groups_;
  FieldTexts texts_;
  ItemFields stamp_;                  // the times of every item
  std::vector<std::u16string> uids_;  // by place; empty for an item that was not asked for yet
  size_t lastPlace_ = 0;
  ComPtr<IItemCommon> lastItem_;
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

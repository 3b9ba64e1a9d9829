#include "stores/importexport/csv_store.h"

#include "items/item_objects.h"
#include "items/stamp.h"
#include "platform/system/debug_log.h"
#include "platform/system/file_system.h"
#include "stores/importexport/csv_mapping.h"
#include "support/csv_document.h"
#include "support/date_time.h"
#include "support/text.h"
#include "support/user_flags.h"
#include "syncdb/group_table.h"

namespace qv {
namespace {

constexpr std::u16string_view kFieldCountKey = u"DataStore.ImportExport.CSV.FieldCount";
constexpr std::u16string_view kMappingKey = u"DataStore.ImportExport.CSV.MappingXML";

// The import went through and brought nothing.
constexpr HRESULT kNothingToRead = 1;

constexpr std::u16string_view kTooManyCells =
    u"[QVSyncEngine] csv file does not match the header and data";

// What a row says of each field. Cells beyond the columns of the mapping do not count.
void ReadRow(const CsvDocument::Row& row, const CsvMapping& mapping, FieldTexts& texts) {
  for (std::u16string& text : texts) text.clear();
  const size_t columns = std::min(row.size(), mapping.fields.size());
  for (size_t i = 0; i < columns; ++i) {
    if (mapping.fields[i] >= 0) texts[static_cast<size_t>(mapping.fields[i])] = row[i];
  }
}

}  // namespace

HRESULT CsvStore::Load() {
  document_ = {};
  uids_.clear();
  lastItem_.Reset();
  // How many columns there are the mapping says itself.
  ReadConfigText(bag(), kFieldCountKey);
  auto mapping = ReadCsvMapping(ReadConfigText(bag(), kMappingKey), traits_.fields);
  if (!mapping) return kNothingToRead;
  if (!document_.LoadFile(mapping->path)) return kNothingToRead;
  mapping_ = *std::move(mapping);
  groups_.emplace(session(), QuoteRule::AsTheyStand);
  texts_.resize(traits_.fields.names.size());
  uids_.resize(static_cast<size_t>(document_.rowCount()));
  StampNew(stamp_);
  for (int32_t i = 0; i < document_.rowCount(); ++i) {
    if (IsSyncStopped()) return E_FAIL;
    if (document_.row(i).size() > mapping_.fields.size()) OutputDebugStringW(kTooManyCells);
  }
  return S_OK;
}

ComPtr<IItemCommon> CsvStore::ItemAt(size_t place) {
  if (!lastItem_ || lastPlace_ != place) {
    ReadRow(document_.row(static_cast<int32_t>(place)), mapping_, texts_);
    lastItem_ = traits_.fields.read(texts_, *groups_);
    lastPlace_ = place;
    KeepStamp(*FieldsOf(lastItem_.get()), uids_[place]);
  }
  return lastItem_;
}

// An item that is made again is the same one, of the moment when the file was read.
void CsvStore::KeepStamp(ItemFields& fields, std::u16string& uid) const {
  if (uid.empty()) uid = fields.objUid;
  fields.objUid = uid;
  fields.created = stamp_.created;
  fields.modified = stamp_.modified;
  fields.objModified = stamp_.objModified;
}

HRESULT CsvStore::Take(const ComPtr<IItemCommon>& item, const IncomingText&,
                       std::u16string& sourceUid) {
  table_.Append(traits_.fields,
                traits_.fields.write(item.get(), GroupTable(session(), QuoteRule::AsTheyStand)));
  sourceUid = NextUid();
  return S_OK;
}

void CsvStore::FinishExport() {
  if (table_.empty()) {
    OutputDebugStringW(traits_.emptyMessage);
    SetExportEmpty(1);
    return;
  }
  const std::u16string folder = ReadFolder();
  if (folder.empty()) return;
  const std::u16string stem =
      Concat({folder, traits_.filePrefix, FormatCompactDateTime(GetCurrentDateTime())});
  const std::string bytes = table_.Bytes();
  std::u16string path = stem + u".csv";
  for (int64_t n = 1;; ++n) {
    // A file that came between the look and the making counts as well.
    if (!FileExists(path) && CreateNewFile(path, bytes) != kFileExists) return;
    if (!FileExists(path)) return;
    path = Concat({stem, u"_", Decimal(n), u".csv"});
  }
}

}  // namespace qv

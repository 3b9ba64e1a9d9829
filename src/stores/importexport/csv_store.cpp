#include "stores/importexport/csv_store.h"

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

// What a row says of each field. False for a row with more cells than the mapping has columns; the
// cells before them count all the same.
bool ReadRow(const CsvDocument::Row& row, const CsvMapping& mapping, FieldTexts& texts) {
  for (std::u16string& text : texts) text.clear();
  const size_t columns = std::min(row.size(), mapping.fields.size());
  for (size_t i = 0; i < columns; ++i) {
    if (mapping.fields[i] >= 0) texts[static_cast<size_t>(mapping.fields[i])] = row[i];
  }
  return row.size() <= mapping.fields.size();
}

}  // namespace

HRESULT CsvStore::Load() {
  items_.clear();
  // How many columns there are the mapping says itself.
  ReadConfigText(bag(), kFieldCountKey);
  const auto mapping = ReadCsvMapping(ReadConfigText(bag(), kMappingKey), traits_.fields);
  if (!mapping) return kNothingToRead;
  CsvDocument document;
  if (!document.LoadFile(mapping->path)) return kNothingToRead;
  const GroupTable groups(session(), QuoteRule::AsTheyStand);
  FieldTexts texts(traits_.fields.names.size());
  items_.reserve(static_cast<size_t>(document.rowCount()));
  for (int32_t i = 0; i < document.rowCount(); ++i) {
    if (IsSyncStopped()) return E_FAIL;
    if (!ReadRow(document.row(i), *mapping, texts)) OutputDebugStringW(kTooManyCells);
    items_.push_back(traits_.fields.read(texts, groups));
  }
  return S_OK;
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

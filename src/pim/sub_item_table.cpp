#include "pim/sub_item_table.h"

#include <charconv>

#include "platform/system/utf8.h"
#include "support/date_time.h"

namespace qv {

// Moments are seconds since 1970. An identifier is "<series>sub<number>"; the row says it in full,
// so that a row that a damaged index led to is known for a wrong one.
const char SubItemTable::kSchema[] = R"(
CREATE TABLE IF NOT EXISTS sub_items(
  row INTEGER PRIMARY KEY,
  series INTEGER NOT NULL,
  number INTEGER NOT NULL,
  entry_id TEXT NOT NULL,
  original_utc INTEGER,
  deleted INTEGER NOT NULL DEFAULT 0,
  modified_utc INTEGER NOT NULL,
  modified_local INTEGER NOT NULL,
  md5 TEXT NOT NULL,
  name TEXT NOT NULL,
  content BLOB NOT NULL);
CREATE UNIQUE INDEX IF NOT EXISTS sub_items_of_series ON sub_items(series, number);
CREATE UNIQUE INDEX IF NOT EXISTS sub_items_of_occurrence ON sub_items(series, original_utc)
  WHERE deleted=0 AND original_utc IS NOT NULL;
)";

namespace {

enum StatementId : size_t {
  kNewNumber,
  kTaken,
  kInsert,
  kUpdate,
  kMarkDeleted,
  kDeleteAllOf,
  kRead,
  kListSeries,
  kListAll,
};

// A series is found by its identifier (?1) and kind (?2), the sub-item by its number (?3).
constexpr const char* kStatements[] = {
    "SELECT ifnull((SELECT max(number) FROM sub_items WHERE series=i.number),0)+1 FROM items AS i "
    "WHERE i.entry_id=?1 AND i.kind=?2",
    "SELECT 1 FROM items AS i JOIN sub_items AS s ON s.series=i.number WHERE i.entry_id=?1 AND "
    "i.kind=?2 AND s.original_utc=?3 AND s.deleted=0 AND s.entry_id<>?4",
    "INSERT INTO sub_items(series,number,original_utc,modified_utc,modified_local,md5,name,"
    "entry_id,content) SELECT number,?3,?4,?5,?6,?7,?8,?9,?10 FROM items WHERE entry_id=?1 AND "
    "kind=?2",
    "UPDATE sub_items SET original_utc=?4,modified_utc=?5,modified_local=?6,md5=?7,name=?8,"
    "content=?10 WHERE series=(SELECT number FROM items WHERE entry_id=?1 AND kind=?2) AND "
    "number=?3 AND entry_id=?9",
    "UPDATE sub_items SET deleted=1,modified_utc=?5,modified_local=?6,md5='',name='',content=x'' "
    "WHERE series=(SELECT number FROM items WHERE entry_id=?1 AND kind=?2) AND number=?3",
    "DELETE FROM sub_items WHERE series=(SELECT number FROM items WHERE entry_id=?1 AND kind=?2)",
    "SELECT s.entry_id,s.modified_utc,s.modified_local,s.md5,i.entry_id,s.original_utc,s.deleted,"
    "s.content FROM items AS i JOIN sub_items AS s ON s.series=i.number WHERE i.entry_id=?1 AND "
    "i.kind=?2 AND s.number=?3",
    "SELECT s.entry_id,s.modified_utc,s.modified_local,s.md5,i.entry_id,s.original_utc,s.deleted "
    "FROM items AS i JOIN sub_items AS s ON s.series=i.number WHERE i.entry_id=?1 AND i.kind=?2 "
    "ORDER BY s.number",
    "SELECT s.entry_id,s.modified_utc,s.modified_local,s.md5,i.entry_id,s.original_utc,s.deleted,"
    "s.name FROM sub_items AS s JOIN items AS i ON i.number=s.series WHERE i.kind=?1 "
    "ORDER BY s.series,s.number",
};

// 0 for a text that is no number of ours.
int64_t NumberOf(std::u16string_view id) {
  const std::string digits = ToUtf8(id.substr(std::min(SeriesPartOf(id).size() + 3, id.size())));
  int64_t number = 0;
  const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return end.ec == std::errc() && end.ptr == digits.data() + digits.size() ? number : 0;
}

void BindPlace(SqliteStatement& statement, OlObjectClass kind, std::u16string_view id) {
  statement.Bind(1, SeriesPartOf(id)).Bind(2, int64_t{kind}).Bind(3, NumberOf(id));
}

void BindRow(SqliteStatement& statement, OlObjectClass kind, const SubItemRow& row) {
  BindPlace(statement, kind, row.entryId);
  if (row.original != 0.0) statement.Bind(4, UnixSecondsFromDate(row.original));
  statement.Bind(5, row.modifiedUtc).Bind(6, row.modifiedLocal);
}

SubItemRow RowAt(const SqliteStatement& statement) {
  SubItemRow row;
  row.entryId = statement.Text16(0);
  row.modifiedUtc = statement.Int(1);
  row.modifiedLocal = statement.Int(2);
  row.md5 = statement.Text16(3);
  row.seriesId = statement.Text16(4);
  if (!statement.IsNull(5)) row.original = DateFromUnixSeconds(statement.Int(5));
  row.isDeleted = statement.Int(6) != 0;
  return row;
}

}  // namespace

SubItemTable::SubItemTable(SqliteDatabase& db) : statements_(db, kStatements) {}

int64_t SubItemTable::NewNumber(OlObjectClass kind, std::u16string_view seriesId) {
  auto read = statements_[kNewNumber];
  read->Bind(1, seriesId).Bind(2, int64_t{kind});
  return read->Step() ? read->Int(0) : 0;
}

bool SubItemTable::IsTaken(OlObjectClass kind, std::u16string_view seriesId, DATE original,
                           std::u16string_view exceptId) {
  if (original == 0.0) return false;
  auto read = statements_[kTaken];
  read->Bind(1, seriesId).Bind(2, int64_t{kind});
  read->Bind(3, UnixSecondsFromDate(original)).Bind(4, exceptId);
  return read->Step();
}

void SubItemTable::Insert(OlObjectClass kind, const SubItemRow& row, std::string_view content) {
  auto insert = statements_[kInsert];
  BindRow(*insert, kind, row);
  insert->Bind(7, row.md5).Bind(8, row.name).Bind(9, row.entryId).BindBlob(10, content);
  insert->Step();
}

void SubItemTable::Update(OlObjectClass kind, const SubItemRow& row, std::string_view content) {
  auto update = statements_[kUpdate];
  BindRow(*update, kind, row);
  update->Bind(7, row.md5).Bind(8, row.name).Bind(9, row.entryId).BindBlob(10, content);
  update->Step();
}

void SubItemTable::MarkDeleted(OlObjectClass kind, const SubItemRow& row) {
  auto mark = statements_[kMarkDeleted];
  BindPlace(*mark, kind, row.entryId);
  mark->Bind(5, row.modifiedUtc).Bind(6, row.modifiedLocal);
  mark->Step();
}

void SubItemTable::DeleteAllOf(OlObjectClass kind, std::u16string_view seriesId) {
  auto remove = statements_[kDeleteAllOf];
  remove->Bind(1, seriesId).Bind(2, int64_t{kind});
  remove->Step();
}

std::optional<SubItemRow> SubItemTable::Read(OlObjectClass kind, std::u16string_view id,
                                             std::string& content) {
  auto read = statements_[kRead];
  BindPlace(*read, kind, id);
  if (!read->Step()) return std::nullopt;
  SubItemRow row = RowAt(*read);
  if (row.entryId != id) return std::nullopt;
  content = read->Blob(7);
  return row;
}

void SubItemTable::ListSeries(OlObjectClass kind, std::u16string_view seriesId,
                              const std::function<void(SubItemRow&&)>& take) {
  auto list = statements_[kListSeries];
  list->Bind(1, seriesId).Bind(2, int64_t{kind});
  while (list->Step()) take(RowAt(*list));
}

void SubItemTable::ListAll(OlObjectClass kind, const std::function<void(SubItemRow&&)>& take) {
  auto list = statements_[kListAll];
  list->Bind(1, int64_t{kind});
  while (list->Step()) {
    SubItemRow row = RowAt(*list);
    row.name = list->Text16(7);
    take(std::move(row));
  }
}

}  // namespace qv

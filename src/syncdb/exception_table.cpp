#include "syncdb/exception_table.h"

#include "platform/com/status_error.h"
#include "support/date_time.h"

namespace qv {
namespace {

// Persisted: the tests pin every text.
constexpr std::u16string_view kTable = u"Calendar_SubRecurMap";
constexpr std::u16string_view kColumns =
    u"(profile_id,datastore_sourceuri,subrecur_id,parentrecur_id,modified,original_date,isDeleted)";

const Bstr& IdColumn() {
  static const Bstr column(u"subrecur_id");
  return column;
}

const Bstr& SeriesColumn() {
  static const Bstr column(u"parentrecur_id");
  return column;
}

// What both reads have.
ExceptionRow TimesOf(const QueryRows& rows) {
  static const Bstr kModified(u"modified");
  static const Bstr kOriginalDate(u"original_date");
  static const Bstr kIsDeleted(u"isDeleted");
  ExceptionRow row;
  row.modified = GetDateColumn(rows, kModified);
  row.originalDate = GetDateColumn(rows, kOriginalDate);
  row.isDeleted = rows.Number(kIsDeleted) == 1;
  return row;
}

}  // namespace

HRESULT ExceptionTable::Insert(const ExceptionRow& row) noexcept {
  return Guarded([&] {
    return session_.Run(
        Concat({u"INSERT INTO ", kTable, kColumns, u" VALUES('", session_.targetKey, u"','",
                session_.sourceUri, u"','", row.id, u"','", row.seriesId, u"','",
                FormatDateTime(row.modified), u"','", FormatDateTime(row.originalDate), u"',",
                row.isDeleted ? u"1" : u"0", u")"}));
  });
}

HRESULT ExceptionTable::Find(std::u16string_view id, std::optional<ExceptionRow>& row) noexcept {
  row.reset();
  return Guarded([&] {
    QueryRows rows;
    const HRESULT status = rows.Query(
        session_,
        Concat({u"SELECT parentrecur_id,modified,original_date,isDeleted FROM ", kTable,
                u" WHERE subrecur_id='", id, u"' AND profile_id='", session_.targetKey, u"'"}));
    if (Failed(status) || !rows.Next()) return status;
    row = TimesOf(rows);
    row->id = id;
    row->seriesId = rows.Text(SeriesColumn());
    return S_OK;
  });
}

HRESULT ExceptionTable::OfSeries(std::u16string_view seriesId,
                                 std::vector<ExceptionRow>& found) noexcept {
  found.clear();
  return Guarded([&] {
    QueryRows rows;
    const HRESULT status =
        rows.Query(session_, Concat({u"SELECT subrecur_id,modified,original_date,isDeleted FROM ",
                                     kTable, u" WHERE parentrecur_id='", seriesId,
                                     u"' AND profile_id='", session_.targetKey, u"'"}));
    while (Succeeded(status) && rows.Next()) {
      ExceptionRow row = TimesOf(rows);
      row.id = rows.Text(IdColumn());
      row.seriesId = seriesId;
      found.push_back(std::move(row));
    }
    return status;
  });
}

HRESULT ExceptionTable::DeleteAll() noexcept {
  // No profile in this key.
  return Guarded([&] {
    return session_.Run(Concat(
        {u"DELETE FROM ", kTable, u" WHERE datastore_sourceuri='", session_.sourceUri, u"'"}));
  });
}

}  // namespace qv

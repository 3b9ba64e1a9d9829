// The recurrence exceptions of a folder as items, by series: `Calendar_SubRecurMap`.
//
// The index of one session: emptied at its beginning and filled with what the PC side reports.
// Operations return a status and never throw. Times are local wall-clock time.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "syncdb/sync_session.h"

namespace qv {

struct ExceptionRow {
  std::u16string id;
  std::u16string seriesId;
  DATE modified = 0.0;
  DATE originalDate = 0.0;  // the occurrence that it stands in for
  bool isDeleted = false;   // the occurrence is deleted: there is no item
};

class ExceptionTable {
 public:
  // The session must outlive the table.
  explicit ExceptionTable(const SyncSession& session) : session_(session) {}

  HRESULT Insert(const ExceptionRow& row) noexcept;
  // Nothing for an identifier without a row.
  HRESULT Find(std::u16string_view id, std::optional<ExceptionRow>& row) noexcept;
  // In the order of the database.
  HRESULT OfSeries(std::u16string_view seriesId, std::vector<ExceptionRow>& rows) noexcept;
  // The rows of every phone that meets this source.
  HRESULT DeleteAll() noexcept;

 private:
  const SyncSession& session_;
};

}  // namespace qv

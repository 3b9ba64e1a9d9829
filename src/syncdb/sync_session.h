// One store's road to the sync database: accessor, session, and the keys of its rows.
//
// `Run` and `Query` return a status and never throw: the callers of table routines must be able to
// go on after a failure. Reading a column throws StatusError; the routine around the loop turns it
// into its status.
#pragma once

#include <string>
#include <string_view>

#include "platform/com/com_ptr.h"
#include "platform/database/accessor.h"
#include "support/text.h"

namespace qv {

struct SyncSession {
  ComPtr<IDBAccessor> accessor;
  int32_t session = 0;
  std::u16string sourceUri;
  std::u16string targetKey;  // the `profile_id` of every row

  // E_FAIL without an accessor.
  HRESULT Run(std::u16string_view statement) const noexcept;
};

// The rows of one query; closed when it dies.
class QueryRows {
 public:
  QueryRows() = default;
  QueryRows(const QueryRows&) = delete;
  QueryRows& operator=(const QueryRows&) = delete;
  ~QueryRows() { Close(); }

  // E_FAIL without an accessor.
  HRESULT Query(const SyncSession& session, std::u16string_view statement) noexcept;
  // Moves to the first, then to each next row; false behind the last one. A failed move ends the
  // rows as if there were no more.
  bool Next() noexcept;
  // The text of a column of the current row; `fallback` when it holds none.
  std::u16string Text(const Bstr& column, std::u16string_view fallback = {}) const;
  bool HasText(const Bstr& column) const;
  // The number of a column that holds a number or a decimal text; 0 for none.
  int32_t Number(const Bstr& column) const;
  Variant Value(const Bstr& column) const;
  void Close() noexcept;

 private:
  ComPtr<IDBAccessor> accessor_;
  int32_t handle_ = 0;
  bool started_ = false;
};

// A time column as an automation date: 0.0 for NULL, for an empty and for an unreadable text.
DATE GetDateColumn(const QueryRows& rows, const Bstr& column);

}  // namespace qv

#include "syncdb/sync_session.h"

#include "platform/com/status_error.h"
#include "support/date_time.h"
#include "support/text.h"

namespace qv {

HRESULT SyncSession::Run(std::u16string_view statement) const noexcept {
  if (!accessor) return E_FAIL;
  return Guarded([&] { return accessor->ExecuteNonQuery(session, Bstr(statement)); });
}

HRESULT QueryRows::Query(const SyncSession& session, std::u16string_view statement) noexcept {
  Close();
  if (!session.accessor) return E_FAIL;
  return Guarded([&] {
    const HRESULT status =
        session.accessor->ExecuteQuery(session.session, Bstr(statement), &handle_);
    if (Succeeded(status)) accessor_ = session.accessor;
    return status;
  });
}

bool QueryRows::Next() noexcept {
  if (!accessor_) return false;
  const HRESULT status =
      std::exchange(started_, true) ? accessor_->MoveNext(handle_) : accessor_->MoveFirst(handle_);
  return Succeeded(status) && status != DB_S_ENDOFROWSET;
}

Variant QueryRows::Value(const Bstr& column) const {
  Variant value;
  Check(accessor_->GetColumnValue(handle_, column, value.Out()));
  return value;
}

std::u16string QueryRows::Text(const Bstr& column, std::u16string_view fallback) const {
  const Variant value = Value(column);
  return std::u16string(value.IsText() ? value.view() : fallback);
}

bool QueryRows::HasText(const Bstr& column) const {
  return Value(column).IsText();
}

int32_t QueryRows::Number(const Bstr& column) const {
  const Variant value = Value(column);
  if (value.type() == VT_INT || value.type() == VT_I4) return value.get().lVal;
  return ToInt(value.view());
}

void QueryRows::Close() noexcept {
  if (accessor_) accessor_->CloseRowset(handle_);
  accessor_.Reset();
  handle_ = 0;
  started_ = false;
}

DATE GetDateColumn(const QueryRows& rows, const Bstr& column) {
  return ParseDateColumn(rows.Text(column));
}

}  // namespace qv

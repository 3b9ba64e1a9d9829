#include "kit/accessor_fakes.h"

#include "platform/com/engine_config.h"
#include "platform/database/sqlite_accessor.h"

namespace qv::test {

RecordingAccessor::RecordingAccessor() : real_(MakeObject<SqliteAccessor>()) {
  batch_ = Query<IDBBatch>(real_);
  transaction_ = Query<IDBTransaction>(real_);
}

std::vector<std::u16string> RecordingAccessor::Changes() const {
  std::vector<std::u16string> changes;
  for (const std::u16string& statement : statements_) {
    if (!statement.starts_with(u"SELECT")) changes.push_back(statement);
  }
  return changes;
}

void RecordingAccessor::FailAt(size_t n, HRESULT status, bool keepFailing) {
  statementFailure_ = {n, status, keepFailing};
  hasFailed_ = false;
}

void RecordingAccessor::FailMoveAt(size_t n, HRESULT status) {
  moveFailure_ = {n, status, false};
  hasFailed_ = false;
}

void RecordingAccessor::FailTransactionAt(size_t n, HRESULT status) {
  transactionFailure_ = {n, status, true};
  hasFailed_ = false;
}

void RecordingAccessor::FailNothing() {
  statementFailure_ = {};
  moveFailure_ = {};
  transactionFailure_ = {};
  hasFailed_ = false;
}

Table RecordingAccessor::Rows(const std::u16string& table,
                              const std::vector<std::u16string>& columns,
                              const std::u16string& rest) {
  std::u16string query = u"SELECT ";
  for (const std::u16string& column : columns) {
    query.append(&column == &columns.front() ? u"" : u",").append(column);
  }
  query.append(u" FROM ").append(table).append(u" ").append(rest);
  int32_t session = 0;
  int32_t rowset = 0;
  Check(real_->GetSessionId(&session));
  Check(real_->ExecuteQuery(session, Bstr(query), &rowset));
  Table rows;
  for (HRESULT at = Check(real_->MoveFirst(rowset)); at != DB_S_ENDOFROWSET;
       at = Check(real_->MoveNext(rowset))) {
    std::vector<std::u16string>& row = rows.emplace_back();
    for (const std::u16string& column : columns) {
      Variant value;
      Check(real_->GetColumnValue(rowset, Bstr(column), value.Out()));
      row.push_back(value.type() == VT_NULL ? u"<null>" : VariantText(value.get()));
    }
  }
  Check(real_->CloseRowset(rowset));
  return rows;
}

void RecordingAccessor::Run(const std::u16string& statement) {
  int32_t session = 0;
  Check(real_->GetSessionId(&session));
  Check(real_->ExecuteNonQuery(session, Bstr(statement)));
}

std::optional<HRESULT> RecordingAccessor::Fails(Countdown& countdown) {
  if (!countdown.left) return std::nullopt;
  if (*countdown.left > 0) {
    --*countdown.left;
    return std::nullopt;
  }
  if (!countdown.keepFailing) countdown.left.reset();
  hasFailed_ = true;
  return countdown.status;
}

std::optional<HRESULT> RecordingAccessor::Record(BSTR statement) {
  statements_.emplace_back(View(statement));
  return Fails(statementFailure_);
}

HRESULT RecordingAccessor::ExecuteQuery(int32_t session, BSTR statement, int32_t* rowset) noexcept {
  if (const auto failure = Record(statement)) {
    if (rowset != nullptr) *rowset = 0;
    return *failure;
  }
  const HRESULT status = real_->ExecuteQuery(session, statement, rowset);
  if (Succeeded(status)) ++openRowsets_;
  return status;
}

HRESULT RecordingAccessor::CloseRowset(int32_t rowset) noexcept {
  const HRESULT status = real_->CloseRowset(rowset);
  if (Succeeded(status)) --openRowsets_;
  return status;
}

ComPtr<RecordingAccessor> OpenRecorder(const std::string& path) {
  const std::string previous = SyncDatabasePath();
  SetSyncDatabasePath(path);
  auto accessor = MakeObject<RecordingAccessor>();
  SetSyncDatabasePath(previous);
  int32_t session = 0;
  Check(accessor->Open(nullptr));
  Check(accessor->Connect());
  Check(accessor->BeginSession(&session));
  return accessor;
}

ScopedRecorderClass::ScopedRecorderClass(std::function<HRESULT(std::string_view)> watch) {
  previous_ = RegisterClass(CLSID_DBAccessor, [this, watch] {
    last_ = MakeObject<RecordingAccessor>();
    last_->watch = watch;
    last_->AddRef();  // the reference that the creator's caller takes over
    return CreatedObject{last_.get()};
  });
}

ScopedRecorderClass::~ScopedRecorderClass() {
  RegisterClass(CLSID_DBAccessor, std::move(previous_));
}

}  // namespace qv::test

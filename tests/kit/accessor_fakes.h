// A sync database for tests: a real one that tells what was run on it and fails where it is told.
//
//   auto db = OpenRecorder();
//   store->SetDBAccessor(db.get());
//   ...
//   EXPECT_EQ(db->statements().back(), u"DELETE FROM ...");
//   EXPECT_EQ(db->Rows(u"DataStoreMap", {u"obj_uid"}), Table({{u"uid-1"}}));
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/com/class_factory.h"
#include "platform/com/com_object.h"
#include "platform/database/accessor.h"

namespace qv::test {

using Table = std::vector<std::vector<std::u16string>>;

// Forwards to a SqliteAccessor on the path that stood when it was made.
class RecordingAccessor final : public ComObject<IDBAccessor, IDBBatch, IDBTransaction> {
 public:
  RecordingAccessor();

  // Texts of ExecuteQuery, ExecuteNonQuery and ExecuteBatch (one, whatever its rows), in order,
  // those that were failed included.
  const std::vector<std::u16string>& statements() const { return statements_; }
  // The statements that change rows alone.
  std::vector<std::u16string> Changes() const;
  void Forget() { statements_.clear(); }

  // The n-th statement from now on (from 0) is not run and gives `status`; with `keepFailing` all
  // behind it too. To fail each step of a job in turn: run it once, take statements().size(), then
  // run it once for every n below that.
  void FailAt(size_t n, HRESULT status = E_FAIL, bool keepFailing = false);
  // The same for the moves within rowsets.
  void FailMoveAt(size_t n, HRESULT status = E_FAIL);
  // The same for the beginnings and ends of transactions; all behind it fail too.
  void FailTransactionAt(size_t n, HRESULT status = E_FAIL);
  void FailNothing();
  bool hasFailed() const { return hasFailed_; }
  // Rowsets that were handed out and not closed.
  int openRowsets() const { return openRowsets_; }

  // These two are neither recorded nor failed; they throw StatusError.
  //
  // Columns of a table's rows in order of insertion, NULL as "<null>" and numbers in decimal.
  // `rest` stands behind the table's name: u"WHERE ...".
  Table Rows(const std::u16string& table, const std::vector<std::u16string>& columns,
             const std::u16string& rest = u"");
  void Run(const std::u16string& statement);

  // Asked before each call that opens or ends a connection, with its name; a failure is the answer.
  std::function<HRESULT(std::string_view call)> watch;

  HRESULT Open(BSTR name) noexcept override { return Watched("Open", &IDBAccessor::Open, name); }
  HRESULT Connect() noexcept override { return Watched("Connect", &IDBAccessor::Connect); }
  HRESULT BeginSession(int32_t* session) noexcept override {
    return Watched("BeginSession", &IDBAccessor::BeginSession, session);
  }
  HRESULT EndSession(int32_t session) noexcept override {
    return Watched("EndSession", &IDBAccessor::EndSession, session);
  }
  HRESULT GetSessionId(int32_t* session) noexcept override { return real_->GetSessionId(session); }
  HRESULT ExecuteQuery(int32_t session, BSTR statement, int32_t* rowset) noexcept override;
  HRESULT ExecuteNonQuery(int32_t session, BSTR statement) noexcept override {
    const auto failure = Record(statement);
    return failure ? *failure : real_->ExecuteNonQuery(session, statement);
  }
  HRESULT MoveFirst(int32_t rowset) noexcept override {
    const auto failure = Fails(moveFailure_);
    return failure ? *failure : real_->MoveFirst(rowset);
  }
  HRESULT MoveNext(int32_t rowset) noexcept override {
    const auto failure = Fails(moveFailure_);
    return failure ? *failure : real_->MoveNext(rowset);
  }
  HRESULT GetColumnValue(int32_t rowset, BSTR column, VARIANT* value) noexcept override {
    return real_->GetColumnValue(rowset, column, value);
  }
  HRESULT CloseRowset(int32_t rowset) noexcept override;
  HRESULT GetLastIdentity(int32_t session, BSTR table, BSTR column,
                          int32_t* value) noexcept override {
    return real_->GetLastIdentity(session, table, column, value);
  }
  HRESULT ExecuteBatch(BSTR statement, IUnknown* rows) noexcept override {
    const auto failure = Record(statement);
    return failure ? *failure : batch_->ExecuteBatch(statement, rows);
  }
  HRESULT Begin() noexcept override {
    const auto failure = Fails(transactionFailure_);
    return failure ? *failure : transaction_->Begin();
  }
  HRESULT Commit() noexcept override {
    const auto failure = Fails(transactionFailure_);
    return failure ? *failure : transaction_->Commit();
  }
  HRESULT Rollback() noexcept override { return transaction_->Rollback(); }

 private:
  struct Countdown {
    std::optional<size_t> left;  // calls that still pass
    HRESULT status = E_FAIL;
    bool keepFailing = false;
  };
  std::optional<HRESULT> Fails(Countdown& countdown);
  std::optional<HRESULT> Record(BSTR statement);
  template <class Call, class... Arguments>
  HRESULT Watched(std::string_view name, Call call, Arguments... arguments) {
    const HRESULT status = watch ? watch(name) : S_OK;
    return Failed(status) ? status : (real_.get()->*call)(arguments...);
  }

  ComPtr<IDBAccessor> real_;
  ComPtr<IDBBatch> batch_;
  ComPtr<IDBTransaction> transaction_;
  std::vector<std::u16string> statements_;
  Countdown statementFailure_;
  Countdown moveFailure_;
  Countdown transactionFailure_;
  bool hasFailed_ = false;
  int openRowsets_ = 0;
};

// An open one with a session begun, by default in memory. Throws StatusError when that fails.
ComPtr<RecordingAccessor> OpenRecorder(const std::string& path = ":memory:");

// While it lives, the class `DBAccessor` makes recorders.
class ScopedRecorderClass {
 public:
  // `watch` is that of every recorder.
  explicit ScopedRecorderClass(std::function<HRESULT(std::string_view call)> watch = {});
  ScopedRecorderClass(const ScopedRecorderClass&) = delete;
  ScopedRecorderClass& operator=(const ScopedRecorderClass&) = delete;
  ~ScopedRecorderClass();
  // The one made last; null before the first.
  const ComPtr<RecordingAccessor>& last() const { return last_; }

 private:
  ComPtr<RecordingAccessor> last_;
  ClassCreator previous_;
};

}  // namespace qv::test

// The sync database as the stores see it: one statement per call, rows read by column name.
//
// The engine side owns the object behind it (see sqlite_accessor.h). A rowset holds its whole
// result, so a statement may run while rows are being read.
#pragma once

#include "platform/com/component_ids.h"
#include "platform/com/variant.h"

namespace qv {

// Answer of MoveFirst on an empty set and of MoveNext behind the last row; no failure.
inline constexpr HRESULT DB_S_ENDOFROWSET = 0x40EC6;

struct IDBAccessor : IDispatch {
  static constexpr IID kIid = IID_IDBAccessor;

  // The name is not looked at by an accessor that has a path of its own.
  virtual HRESULT Open(BSTR name) noexcept = 0;
  virtual HRESULT Connect() noexcept = 0;
  // A positive number; the same as GetSessionId until EndSession, 0 after it.
  virtual HRESULT BeginSession(int32_t* session) noexcept = 0;
  virtual HRESULT EndSession(int32_t session) noexcept = 0;
  virtual HRESULT GetSessionId(int32_t* session) noexcept = 0;
  // Exactly one statement. Text behind it, a comment outside a literal, and anything but SELECT,
  // INSERT, UPDATE and DELETE are E_FAIL and run nothing; so are a statement that belongs in the
  // other of the two operations and a `?` marker, which only a batch has values for.
  virtual HRESULT ExecuteQuery(int32_t session, BSTR statement, int32_t* rowset) noexcept = 0;
  virtual HRESULT ExecuteNonQuery(int32_t session, BSTR statement) noexcept = 0;
  virtual HRESULT MoveFirst(int32_t rowset) noexcept = 0;
  virtual HRESULT MoveNext(int32_t rowset) noexcept = 0;
  // VT_NULL for no value, VT_INT for the column `iscustom`, else VT_BSTR.
  virtual HRESULT GetColumnValue(int32_t rowset, BSTR column, VARIANT* value) noexcept = 0;
  virtual HRESULT CloseRowset(int32_t rowset) noexcept = 0;
  // The value that the last insert into `table` gave to its database-given column.
  virtual HRESULT GetLastIdentity(int32_t session, BSTR table, BSTR column,
                                  int32_t* value) noexcept = 0;

 protected:
  ~IDBAccessor() = default;
};

struct IDBBatch : IDispatch {
  static constexpr IID kIid = IID_IDBBatch;
  // `rows` is an IUnkList of IVarList, one value per `?` marker in order. Runs row by row on the
  // current session and stops at the first failure, which is returned; rows before it stay.
  virtual HRESULT ExecuteBatch(BSTR statement, IUnknown* rows) noexcept = 0;

 protected:
  ~IDBBatch() = default;
};

// For the engine, which owns the database: groups what the stores write, so that a plan can be
// built and thrown away, and many items wait for the disk together. Stores never ask for it.
//
// A Begin within a transaction begins a part of it: `Rollback` undoes the part alone, `Commit`
// keeps it with the whole. When the outermost Commit returns, all of it is on disk; statements
// outside a transaction may be lost with the machine's power.
struct IDBTransaction : IDispatch {
  static constexpr IID kIid = IID_IDBTransaction;
  virtual HRESULT Begin() noexcept = 0;
  virtual HRESULT Commit() noexcept = 0;
  virtual HRESULT Rollback() noexcept = 0;

 protected:
  ~IDBTransaction() = default;
};

}  // namespace qv

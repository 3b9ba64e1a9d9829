// The profile's sync database for a look past the stores: which contact groups it knows.
#pragma once

#include "syncdb/sync_session.h"

namespace qv {

class SyncDatabase {
 public:
  // One that cannot be opened answers every question with nothing.
  SyncDatabase();
  SyncDatabase(const SyncDatabase&) = delete;
  SyncDatabase& operator=(const SyncDatabase&) = delete;
  ~SyncDatabase();

  const SyncSession& session() const { return session_; }

 private:
  SyncSession session_;
};

}  // namespace qv

#include "host/engine/sync_database.h"

#include "platform/com/class_factory.h"
#include "platform/com/component_ids.h"
#include "platform/com/status_error.h"

namespace qv {

SyncDatabase::SyncDatabase() {
  auto accessor = CreateInstance<IDBAccessor>(CLSID_DBAccessor);
  if (Failed(accessor->Open(Bstr(u""))) || Failed(accessor->Connect()) ||
      Failed(accessor->BeginSession(&session_.session))) {
    return;
  }
  session_.accessor = std::move(accessor);
}

SyncDatabase::~SyncDatabase() {
  if (session_.accessor) session_.accessor->EndSession(session_.session);
}

}  // namespace qv

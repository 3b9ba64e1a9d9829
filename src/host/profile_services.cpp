#include "host/profile_services.h"

#include "pim/outlook_manager.h"
#include "platform/database/sqlite_accessor.h"
#include "platform/system/code_page.h"
#include "stores/module.h"

namespace qv {

ProfileServices::ProfileServices(const std::string& folder)
    : registry_(folder + "/registry.ini"),
      scope_(registry_),
      oldDatabase_(SyncDatabasePath()),
      oldFolder_(TheOutlookSettings().folder),
      oldCodePage_(Service<CodePages>::Get().AnsiPage()) {
  RegisterModuleClasses();
  SetSyncDatabasePath(folder + "/sync.db");
  TheOutlookSettings().folder = folder + "/pc";
}

ProfileServices::~ProfileServices() {
  SetSyncDatabasePath(oldDatabase_);
  TheOutlookSettings().folder = oldFolder_;
  Service<CodePages>::Get().SetAnsiPage(oldCodePage_);
}

bool ProfileServices::SetCodePage(const std::string& name) {
  return Service<CodePages>::Get().SetAnsiPage(name);
}

}  // namespace qv

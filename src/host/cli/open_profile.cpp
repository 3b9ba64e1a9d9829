#include "host/cli/open_profile.h"

namespace qv {

OpenedProfile::OpenedProfile(const CommonOptions& common) : Profile(common.folder) {
  for (const std::string& warning : warnings()) PrintMessage("warning: " + warning);
}

const StoreKind& KindNamed(const std::string& name) {
  const StoreKind* kind = FindStoreKind(name);
  if (kind == nullptr) {
    throw UsageError("there is no store \"" + name + "\"; there are: " + StoreKindNames());
  }
  return *kind;
}

}  // namespace qv

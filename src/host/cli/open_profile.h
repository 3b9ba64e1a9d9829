// What most commands begin with.
#pragma once

#include "host/cli/commands.h"
#include "host/profile.h"

namespace qv {

// A profile whose warnings were told.
class OpenedProfile : public Profile {
 public:
  explicit OpenedProfile(const CommonOptions& common);
};

// Throws UsageError, naming those there are.
const StoreKind& KindNamed(const std::string& name);

}  // namespace qv

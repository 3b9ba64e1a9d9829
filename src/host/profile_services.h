// Points the platform services and the module at one profile's files while it lives, and back at
// what stood there before when it dies.
#pragma once

#include <string>

#include "platform/system/registry.h"
#include "platform/system/service.h"

namespace qv {

class ProfileServices {
 public:
  // `folder` as in profile.h; nothing is opened or made yet.
  explicit ProfileServices(const std::string& folder);
  ProfileServices(const ProfileServices&) = delete;
  ProfileServices& operator=(const ProfileServices&) = delete;
  ~ProfileServices();

  // False for a code page that iconv lacks.
  bool SetCodePage(const std::string& name);

 private:
  FileRegistry registry_;
  ScopedService<Registry> scope_;
  std::string oldDatabase_;
  std::string oldFolder_;
  std::string oldCodePage_;
};

}  // namespace qv

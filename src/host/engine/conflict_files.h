// Where the losing texts of conflicts are kept: one file each under the profile's `conflicts/`.
#pragma once

#include <string>
#include <string_view>

#include "host/profile.h"

namespace qv {

class ConflictFiles {
 public:
  explicit ConflictFiles(const Profile& profile) : folder_(profile.ConflictFolder()) {}

  // Writes the text and returns its path relative to the profile,
  // "conflicts/20260314T092653Z-contacts-ann-phone.vcf": moment, store, the phone's file, the side
  // whose text it is. Never over another file. Throws ItemError.
  std::string Keep(const StoreKind& kind, const std::string& phoneFile, const char* side,
                   std::string_view text);
  // Takes back what `Keep` returned: the text still stands in its own place.
  void Drop(const std::string& kept);

 private:
  std::string folder_;
  bool made_ = false;
};

}  // namespace qv

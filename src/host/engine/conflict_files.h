// Where the losing texts of conflicts are kept: one file each under the profile's `conflicts/`.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/profile.h"

namespace qv {

class ConflictFiles {
 public:
  explicit ConflictFiles(const Profile& profile) : folder_(profile.ConflictFolder()) {}

  // Writes the text and returns its path relative to the profile,
  // "conflicts/20260314T092653Z-contacts-ann-phone.vcf": moment, store, the phone's file, the side
  // whose text it is. Never over another file. Throws ItemError. To be settled before anything
  // takes the text's place.
  std::string Keep(const StoreKind& kind, const std::string& phoneFile, const char* side,
                   std::string_view text);
  // All that was kept so far is on disk: one wait, none where there is nothing new. Throws
  // StoreFailure.
  void Settle();
  // Takes back what `Keep` returned: the text still stands in its own place.
  void Drop(const std::string& kept);

 private:
  std::string folder_;
  bool made_ = false;
  bool isNewFolder_ = true;  // its own name may not be on disk yet
  std::vector<std::string> unsettled_;
};

}  // namespace qv

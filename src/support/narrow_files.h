// Files of narrow text, as items stand in them, and names for new ones.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/system/file_system.h"

namespace qv {

// Nothing for a file that cannot be opened. It is taken in blocks of 4095 bytes; a NUL cuts off the
// rest of its block. What was read before a failure counts. Paths are in the module's form; links
// are followed.
std::optional<std::string> ReadNarrowFile(std::u16string_view path);

// New files under names that may be taken: "stem.ext", then "stem(n).ext" with n from a first
// number on. Nothing is ever replaced.
class UniqueNames {
 public:
  explicit UniqueNames(int64_t firstNumber) : firstNumber_(firstNumber) {}

  // Creates and writes in one. `stem` holds the folder, `extension` its ".". Tries without end
  // while names are taken; any other error comes back. A number that was found taken is not tried
  // again for the same stem.
  SystemError Create(std::u16string_view stem, std::u16string_view extension,
                     std::string_view bytes);

 private:
  int64_t firstNumber_;
  std::unordered_map<std::u16string, int64_t> next_;  // by stem; 0 for the plain name
};

}  // namespace qv

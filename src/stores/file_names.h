// The paths of files of items. Lengths are 16-bit units of a path in the module's form.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qv {

// Where a full path reaches the platform's limit.
inline constexpr size_t kPathLimit = 260;
// What is left for folder and name when a name must be cut.
inline constexpr size_t kCutPathLength = 250;

// The first `length` units of a name, without half a surrogate pair at its end.
std::u16string_view CutStem(std::u16string_view stem, size_t length);
// As much of a name as one entry of a folder holds here, with room for an extension and a number.
std::u16string_view FittingStem(std::u16string_view stem);

// The names in a list, cut at each ";"; empty ones are passed over.
std::vector<std::u16string_view> NamesIn(std::u16string_view list);

struct PathLimits {
  size_t path = kPathLimit;
  size_t cut = kCutPathLength;
};

// "folder\name", to which an extension is still to be put. A name that makes the path too long is
// cut; empty when not even one character of it fits.
std::u16string FileStem(std::u16string_view folder, std::u16string_view name,
                        std::u16string_view extension, const PathLimits& limits = {});

}  // namespace qv

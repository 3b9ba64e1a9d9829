// The paths of files of items.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qv {

// Where a full path reaches the platform's limit.
inline constexpr size_t kPathLimit = 260;
// What is left for folder and name when a name must be cut.
inline constexpr size_t kCutPathLength = 250;

// The names in a list, cut at each ";"; empty ones are passed over.
std::vector<std::u16string_view> NamesIn(std::u16string_view list);

// "folder\name", to which an extension is still to be put. A name that makes the path too long is
// cut; empty when not even one character of it fits.
std::u16string FileStem(std::u16string_view folder, std::u16string_view name,
                        std::u16string_view extension);

}  // namespace qv

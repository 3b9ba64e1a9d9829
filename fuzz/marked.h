// A piece of a text whose first line has a group of such bytes looks like a whole text with a mark,
// and is read as one.
#pragma once

#include <string_view>

inline bool IsMarked(std::string_view piece) {
  return piece.starts_with("\xFE\xFF") || piece.starts_with("\xFF\xFE") ||
         piece.starts_with("\xEF\xBB\xBF");
}

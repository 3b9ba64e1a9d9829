// Whole texts that begin with a byte order mark.
#pragma once

#include <string>
#include <string_view>

namespace qv {

// The text without its mark, as bytes that the line reader takes. A UTF-16 text with a mark, of
// either byte order, is converted to UTF-8 into `buffer`, which must outlive the result; any other
// text is viewed where it stands.
std::string_view WithoutMark(std::string_view text, std::string& buffer);

}  // namespace qv

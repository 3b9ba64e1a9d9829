// The uids of texts as items keep them.
#pragma once

#include <string>
#include <string_view>

namespace qv {

// A uid as it is kept: a single quote, a NUL, and a percent sign before two hexadecimal digits are
// percent-encoded, so that the uid may stand in a statement; and back.
std::u16string EncodeUid(std::u16string_view uid);
std::u16string DecodeUid(std::u16string_view uid);

}  // namespace qv

// What the operations on entries share: checked native paths, and error numbers.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/system/file_system.h"

namespace qv {

// The native path of an entry, without slashes at the end, behind which a link would be followed.
// Nothing for what no path can hold, and for a last part "." or "..".
std::optional<std::string> NativeEntry(std::u16string_view path);

// The system's number of an error that came of an operation on `path` (native).
SystemError NumberOf(std::error_code error, const std::string& path);

}  // namespace qv

// Files that a person names for something to be kept in.
#pragma once

#include <string>
#include <string_view>
#include <system_error>

namespace qv {

// All of it or nothing, and on disk. std::errc::file_exists where something stands there, unless it
// is to be replaced; that stays as it is when the new one cannot be written.
std::error_code WriteWholeFile(const std::string& path, std::string_view bytes, bool replaces);

}  // namespace qv

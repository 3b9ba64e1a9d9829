#include "host/cli/paths.h"

#include <filesystem>

#include "host/profile.h"

namespace qv {

std::string AbsolutePath(const std::string& path) {
  if (path.empty()) throw UsageError("the name of a folder or file is empty");
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(path, error);
  if (error) throw UsageError("cannot find " + path + ": " + error.message());
  std::string text = absolute.lexically_normal().string();
  while (text.size() > 1 && text.ends_with('/')) text.pop_back();
  return text;
}

}  // namespace qv

#include "kit/platform_fakes.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "support/date_time.h"
#include "support/text.h"

namespace qv::test {

namespace fs = std::filesystem;

TempFolder::TempFolder() {
  std::string pattern = (fs::temp_directory_path() / "qv-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
  path_ = pattern;
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  // A test may have left folders that nobody may enter.
  for (fs::recursive_directory_iterator at(path_, ignored), end; !ignored && at != end;
       at.increment(ignored)) {
    std::error_code entryError;
    if (fs::is_directory(at->symlink_status(entryError))) {
      fs::permissions(at->path(), fs::perms::owner_all, fs::perm_options::add, entryError);
    }
  }
  fs::remove_all(path_, ignored);
}

std::string TempFolder::File(std::string_view name) const {
  return path_ + "/" + std::string(name);
}

std::u16string TempFolder::ModulePath(std::u16string_view name) const {
  std::u16string path = FromUtf8(path_) + u"/" + std::u16string(name);
  std::replace(path.begin(), path.end(), u'/', u'\\');
  return path;
}

std::string TempFolder::Put(std::string_view name, std::string_view bytes) const {
  const fs::path path = File(name);
  fs::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path.string());
  return path.string();
}

std::optional<std::string> TempFolder::Get(std::string_view name) const {
  std::ifstream file(File(name), std::ios::binary);
  if (!file) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(file), {});
}

std::vector<std::string> TempFolder::Names() const {
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path_)) {
    if (entry.is_regular_file()) names.push_back(entry.path().lexically_relative(path_).string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

ScopedEnvironment::ScopedEnvironment(std::string name, const char* value) : name_(std::move(name)) {
  if (const char* before = std::getenv(name_.c_str())) previous_ = before;
  if (value != nullptr) {
    setenv(name_.c_str(), value, 1);
  } else {
    unsetenv(name_.c_str());
  }
}

ScopedEnvironment::~ScopedEnvironment() {
  if (previous_) {
    setenv(name_.c_str(), previous_->c_str(), 1);
  } else {
    unsetenv(name_.c_str());
  }
}

SystemTime FakeClock::LocalTime() {
  return VariantTimeToSystemTime(DateFromUnixSeconds(utcSeconds_ + offsetSeconds_))
      .value_or(SystemTime{});
}

size_t RecordingLog::Count(std::u16string_view line) const {
  return static_cast<size_t>(std::count(lines_.begin(), lines_.end(), line));
}

GUID CountingGuids::New() {
  GUID guid;
  guid.data1 = ++last_;
  guid.data3 = 0x4000;
  guid.data4[0] = 0x80;
  return guid;
}

void FailingFiles::FailAt(size_t n, int error, bool keepFailing) {
  Reset();
  failAt_ = n;
  error_ = error;
  keepFailing_ = keepFailing;
}

void FailingFiles::Reset() {
  count_ = 0;
  failAt_.reset();
  hasFailed_ = false;
}

bool FailingFiles::IsChange(const Call& call) {
  constexpr Verb kLooks[] = {Verb::Stat,       Verb::List,      Verb::Read,
                             Verb::ReadPieces, Verb::StatEntry, Verb::ListEntries};
  return std::ranges::find(kLooks, call.verb) == std::end(kLooks);
}

std::error_code FailingFiles::Count(Verb verb, const std::string& path) {
  if (filter_ && !filter_({verb, path})) return {};
  const size_t number = count_++;
  if (!failAt_ || number < *failAt_ || (number > *failAt_ && !keepFailing_)) return {};
  hasFailed_ = true;
  return {error_, std::generic_category()};
}

std::error_code FakeRecycleBin::Take(const std::string& path) {
  asked_.push_back(path);
  if (error_ != 0) return {error_, std::generic_category()};
  std::string target = folder_;
  target.append(path, path.rfind('/'));
  std::error_code error;
  if (fs::exists(fs::symlink_status(target, error))) {
    target.append("~").append(std::to_string(asked_.size()));
  }
  fs::rename(path, target, error);
  return error;
}

}  // namespace qv::test

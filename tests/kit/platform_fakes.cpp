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
  calls_.clear();
  failAt_.reset();
  hasFailed_ = false;
}

bool FailingFiles::IsChange(const Call& call) {
  switch (call.verb) {
    case Verb::Stat:
    case Verb::List:
    case Verb::Read:
    case Verb::ReadPieces:
    case Verb::StatEntry:
    case Verb::ListEntries:
      return false;
    default:
      return true;
  }
}

std::error_code FailingFiles::Count(Verb verb, const std::string& path) {
  Call call{verb, path};
  if (filter_ && !filter_(call)) return {};
  const size_t number = calls_.size();
  calls_.push_back(std::move(call));
  if (!failAt_ || number < *failAt_ || (number > *failAt_ && !keepFailing_)) return {};
  hasFailed_ = true;
  return {error_, std::generic_category()};
}

std::error_code FailingFiles::Stat(const std::string& path, FileInfo& info) {
  if (const std::error_code error = Count(Verb::Stat, path)) return error;
  return real_.Stat(path, info);
}

std::error_code FailingFiles::List(const std::string& folder, std::vector<FolderEntry>& entries) {
  if (const std::error_code error = Count(Verb::List, folder)) return error;
  return real_.List(folder, entries);
}

std::error_code FailingFiles::Read(const std::string& path, std::string& bytes) {
  if (const std::error_code error = Count(Verb::Read, path)) return error;
  return real_.Read(path, bytes);
}

std::error_code FailingFiles::ReadPieces(const std::string& path,
                                         const std::function<bool(std::string_view)>& take) {
  if (const std::error_code error = Count(Verb::ReadPieces, path)) return error;
  return real_.ReadPieces(path, take);
}

std::error_code FailingFiles::Append(const std::string& path, std::string_view bytes) {
  if (const std::error_code error = Count(Verb::Append, path)) return error;
  return real_.Append(path, bytes);
}

std::error_code FailingFiles::Write(const std::string& path, std::string_view bytes) {
  if (const std::error_code error = Count(Verb::Write, path)) return error;
  return real_.Write(path, bytes);
}

std::error_code FailingFiles::WriteAtomic(const std::string& path, std::string_view bytes) {
  if (const std::error_code error = Count(Verb::WriteAtomic, path)) return error;
  return real_.WriteAtomic(path, bytes);
}

std::error_code FailingFiles::Stage(const std::string& path, std::string_view bytes,
                                    StagedFile& staged) {
  if (const std::error_code error = Count(Verb::Stage, path)) return error;
  return real_.Stage(path, bytes, staged);
}

std::error_code FailingFiles::SyncFolder(const std::string& folder) {
  if (const std::error_code error = Count(Verb::SyncFolder, folder)) return error;
  return real_.SyncFolder(folder);
}

std::error_code FailingFiles::Settle(std::span<const std::string> files,
                                     std::span<const std::string> folders) {
  if (const std::error_code error = Count(Verb::Settle, {})) return error;
  return real_.Settle(files, folders);
}

std::error_code FailingFiles::Remove(const std::string& path) {
  if (const std::error_code error = Count(Verb::Remove, path)) return error;
  return real_.Remove(path);
}

std::error_code FailingFiles::Rename(const std::string& from, const std::string& to) {
  if (const std::error_code error = Count(Verb::Rename, from)) return error;
  return real_.Rename(from, to);
}

std::error_code FailingFiles::MakeFolder(const std::string& path) {
  if (const std::error_code error = Count(Verb::MakeFolder, path)) return error;
  return real_.MakeFolder(path);
}

std::error_code FailingFiles::StatEntry(const std::string& path, EntryStat& stat) {
  if (const std::error_code error = Count(Verb::StatEntry, path)) return error;
  return real_.StatEntry(path, stat);
}

std::error_code FailingFiles::ListEntries(const std::string& folder, bool withTimes,
                                          std::vector<PlainEntry>& entries) {
  if (const std::error_code error = Count(Verb::ListEntries, folder)) return error;
  return real_.ListEntries(folder, withTimes, entries);
}

std::error_code FailingFiles::CreateNew(const std::string& path, std::string_view bytes) {
  if (const std::error_code error = Count(Verb::CreateNew, path)) return error;
  return real_.CreateNew(path, bytes);
}

std::error_code FailingFiles::RenameNew(const std::string& from, const std::string& to) {
  if (const std::error_code error = Count(Verb::RenameNew, from)) return error;
  return real_.RenameNew(from, to);
}

std::error_code FailingFiles::MakeNewFolder(const std::string& path) {
  if (const std::error_code error = Count(Verb::MakeNewFolder, path)) return error;
  return real_.MakeNewFolder(path);
}

std::error_code FailingFiles::RemoveFolder(const std::string& path) {
  if (const std::error_code error = Count(Verb::RemoveFolder, path)) return error;
  return real_.RemoveFolder(path);
}

std::error_code FailingFiles::SetModified(const std::string& path, int64_t seconds) {
  if (const std::error_code error = Count(Verb::SetModified, path)) return error;
  return real_.SetModified(path, seconds);
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

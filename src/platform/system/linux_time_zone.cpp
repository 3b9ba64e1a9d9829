#include <sys/stat.h>

#include <cstdlib>
#include <optional>
#include <string>

#include "platform/system/files.h"
#include "platform/system/local_zone.h"
#include "platform/system/service.h"
#include "platform/system/time_zone.h"
#include "platform/system/zone_file.h"

namespace qv {
namespace {

constexpr off_t kMaxZoneFile = 1 << 20;

// What tells one state of a file from another; all zero for a file that cannot be used.
struct FileState {
  dev_t device = 0;
  ino_t inode = 0;
  off_t size = 0;
  time_t seconds = 0;
  long nanoseconds = 0;

  friend bool operator==(const FileState&, const FileState&) = default;
};

FileState StateOf(const std::string& path) {
  struct stat data;
  if (path.empty() || stat(path.c_str(), &data) != 0) return {};
  if (!S_ISREG(data.st_mode) || data.st_size > kMaxZoneFile) return {};
  return {data.st_dev, data.st_ino, data.st_size, data.st_mtim.tv_sec, data.st_mtim.tv_nsec};
}

// Reads a file only when TZ or the file has changed since the last call.
class LinuxTimeZone final : public TimeZone {
 public:
  TimeZoneRecord GetTimeZoneInformation() override {
    Refresh();
    return record_;
  }
  std::shared_ptr<const ZoneRules> History() override {
    Refresh();
    return history_;
  }

 private:
  void Refresh() {
    const char* value = std::getenv("TZ");
    const bool isSameName = isLoaded_ && (value != nullptr) == value_.has_value() &&
                            (value == nullptr || *value_ == value);
    if (!isSameName) SetName(value);
    const FileState state = StateOf(path_);
    if (!isSameName || state != state_) {
      state_ = state;
      Load();
      isLoaded_ = true;
    }
  }

  void SetName(const char* value) {
    value_.reset();
    name_.reset();
    if (value != nullptr) {
      value_ = value;
      name_ = value_->starts_with(':') ? value_->substr(1) : *value_;
    }
    path_ = LocalZonePath(value);
  }

  // As the C library: a zone file by that name, else a rule, else UTC.
  void Load() {
    std::string bytes;
    std::optional<TimeZoneRecord> record;
    std::optional<ZoneRules> history;
    if (state_ != FileState() && !Files::Default().Read(path_, bytes)) {
      record = ReadZoneFile(bytes);
      if (record) history = ReadZoneHistory(bytes);
    }
    record_ = record ? *record : name_ ? ParsePosixZone(*name_) : TimeZoneRecord();
    if (!history) history.emplace(0, std::vector<ZoneRules::Transition>(), record_);
    history_ = std::make_shared<const ZoneRules>(*std::move(history));
  }

  bool isLoaded_ = false;
  std::optional<std::string> value_;  // of TZ
  std::optional<std::string> name_;   // the same without a leading ":"
  std::string path_;
  FileState state_;
  TimeZoneRecord record_;
  std::shared_ptr<const ZoneRules> history_;
};

}  // namespace

std::shared_ptr<const ZoneRules> TimeZone::History() {
  return std::make_shared<const ZoneRules>(0, std::vector<ZoneRules::Transition>(),
                                           GetTimeZoneInformation());
}

HeldTimeZone::HeldTimeZone()
    : record_(Service<TimeZone>::Get().GetTimeZoneInformation()),
      history_(Service<TimeZone>::Get().History()) {}

TimeZone& TimeZone::Default() {
  static LinuxTimeZone zone;
  return zone;
}

}  // namespace qv

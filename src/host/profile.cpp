#include "host/profile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include "host/conf_bag.h"
#include "host/conf_check.h"
#include "host/profile_services.h"
#include "platform/system/files.h"
#include "platform/system/known_folders.h"
#include "platform/system/service.h"
#include "support/text.h"
#include "support/user_flags.h"

namespace qv {
namespace {

// A configuration is a few hundred lines at the most; whatever is larger is something else.
constexpr uintmax_t kLargestConfiguration = 1 << 20;

// "/" at the end does not count, except for the root.
std::string WithoutEndingSlash(std::string folder) {
  while (folder.size() > 1 && folder.ends_with('/')) folder.pop_back();
  return folder;
}

std::string ReadConfiguration(const std::string& file, const std::string& folder) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(file, error);
  if (status.type() == std::filesystem::file_type::not_found) {
    throw UsageError("there is no profile in " + folder + "; run `qvsync init` to make one");
  }
  if (!error && !std::filesystem::is_regular_file(status)) {
    throw UsageError(file + " is no file");
  }
  if (!error && std::filesystem::file_size(file, error) > kLargestConfiguration && !error) {
    throw UsageError(file + " is too large for a configuration");
  }
  std::string bytes;
  if (!error) error = Service<Files>::Get().Read(file, bytes);
  if (error) throw UsageError("cannot read " + file + ": " + error.message());
  return bytes;
}

void RefuseFaults(const std::vector<std::string>& errors) {
  if (errors.empty()) return;
  std::string all;
  for (const std::string& error : errors) {
    if (!all.empty()) all += '\n';
    all += error;
  }
  throw UsageError(all);
}

}  // namespace

std::string Profile::DefaultFolder() {
  return Service<KnownFolders>::Get().UserData() + "/qvsync";
}

Profile::Profile(const std::string& folder) : folder_(WithoutEndingSlash(folder)) {
  ConfText text(ReadConfiguration(ConfigFile(), folder_));
  services_ = std::make_unique<ProfileServices>(folder_);
  ConfFindings findings = CheckConfiguration(ConfigFile(), text);
  RefuseFaults(findings.errors);
  warnings_ = std::move(findings.warnings);
  bag_ = MakeObject<ConfBag>(ConfigFile(), std::move(text));
  const std::string codePage = Value("Platform.AnsiCodePage");
  if (!codePage.empty() && !services_->SetCodePage(codePage)) {
    throw UsageError(ConfigFile() + ": the key Platform.AnsiCodePage names no code page that is " +
                     "known here: " + codePage);
  }
}

Profile::~Profile() = default;

std::string Profile::Value(std::string_view key) const {
  return ToUtf8(ReadConfigText(bag_.get(), FromUtf8(key)));
}

std::vector<const StoreKind*> Profile::EnabledKinds() const {
  std::vector<const StoreKind*> kinds;
  for (const StoreKind& kind : StoreKinds()) {
    const std::string name(kind.configName);
    if (Value(name) == "true" && Value(name + ".Sync") == "true") kinds.push_back(&kind);
  }
  return kinds;
}

void Profile::SetStop(bool stop) {
  Registry& registry = Service<Registry>::Get();
  if (!registry.CreateKey(kSyncKey) || !registry.WriteNumber(kSyncKey, "SyncStop", stop ? 1 : 0)) {
    throw UsageError("cannot write the stop flag in " + folder_ + "/registry.ini");
  }
}

Profile::Lock::Lock(Lock&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}

Profile::Lock::~Lock() {
  if (fd_ >= 0) close(fd_);
}

Profile::Lock Profile::LockForSync() const {
  return LockFolder(folder_);
}

Profile::Lock Profile::LockFolder(const std::string& folder) {
  const std::string path = folder + "/lock";
  const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  const bool held = fd >= 0 && flock(fd, LOCK_EX | LOCK_NB) == 0;
  const int reason = errno;
  Lock lock(fd);
  if (held) return lock;
  if (fd >= 0 && reason == EWOULDBLOCK) {
    throw UsageError("another sync of the profile " + folder +
                     " is running; wait for it, or end it with `qvsync stop`");
  }
  throw UsageError("cannot lock " + path + ": " +
                   std::error_code(reason, std::generic_category()).message());
}

}  // namespace qv

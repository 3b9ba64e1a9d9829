#include <fcntl.h>
#include <glib.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>
#include <unordered_map>

#include "platform/system/files.h"
#include "platform/system/key_file_text.h"
#include "platform/system/known_folders.h"
#include "platform/system/registry.h"
#include "platform/system/service.h"
#include "platform/system/unique_fd.h"

namespace qv {
namespace {

using namespace std::chrono_literals;

// A file younger than this when it was read is read again: a clock tick of the file system is that
// coarse at worst, and two replacements within one may look alike (an inode is soon used again).
constexpr int64_t kTickNs = 20'000'000;

// For so long a look at the file holds, so that a loop over thousands of small things may ask each
// time. Another process could not even tell us of its write sooner than that.
constexpr auto kLookLife = 20us;

constexpr auto kLockPatience = 2s;

// Counts the writes of this process, which are seen at once whatever the age of the last look.
std::atomic<uint64_t>& OwnWrites() {
  static std::atomic<uint64_t> count = 0;
  return count;
}

struct FreeKeyFile {
  void operator()(GKeyFile* file) const { g_key_file_free(file); }
};
using KeyFile = std::unique_ptr<GKeyFile, FreeKeyFile>;

struct FreeText {
  void operator()(void* text) const { g_free(text); }
};
using GText = std::unique_ptr<char, FreeText>;

struct FreeTexts {
  void operator()(char** texts) const { g_strfreev(texts); }
};
using GTexts = std::unique_ptr<char*, FreeTexts>;

// Lookup by view, so that a question allocates nothing.
struct ViewHash {
  using is_transparent = void;
  size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
};
template <class T>
using NameMap = std::unordered_map<std::string, T, ViewHash, std::equal_to<>>;
using Values = NameMap<RegistryValue>;

struct Stamp {
  ino_t inode = 0;
  off_t size = -1;  // no file
  int64_t modifiedNs = 0;
  friend bool operator==(const Stamp&, const Stamp&) = default;
};

Stamp StampOf(const std::string& path) {
  struct stat data;
  if (stat(path.c_str(), &data) != 0) return {};
  return {data.st_ino, data.st_size,
          static_cast<int64_t>(data.st_mtim.tv_sec) * 1'000'000'000 + data.st_mtim.tv_nsec};
}

int64_t NowNs() {
  return std::chrono::nanoseconds(std::chrono::system_clock::now().time_since_epoch()).count();
}

// Null when the file is there but cannot be read as a key file: then nothing may be written over
// it. A missing file is an empty one.
KeyFile Load(const std::string& path) {
  KeyFile file(g_key_file_new());
  std::string bytes;
  const std::error_code error = Files::Default().Read(path, bytes);
  if (error == std::errc::no_such_file_or_directory) return file;
  if (error) return nullptr;
  if (bytes.empty()) return file;
  if (!g_key_file_load_from_data(file.get(), bytes.data(), bytes.size(), G_KEY_FILE_KEEP_COMMENTS,
                                 nullptr)) {
    return nullptr;
  }
  return file;
}

Values ValuesOf(GKeyFile* file, const char* group) {
  Values values;
  const GTexts names(g_key_file_get_keys(file, group, nullptr, nullptr));
  for (char** name = names.get(); name != nullptr && *name != nullptr; ++name) {
    const GText spelled(g_key_file_get_string(file, group, *name, nullptr));
    if (spelled == nullptr) continue;
    if (std::optional<RegistryValue> value = UnspellValue(spelled.get())) {
      values.insert_or_assign(UnspellName(*name), *std::move(value));
    }
  }
  return values;
}

// Keeps two writers apart: each reads, changes and replaces the whole file. The folder is locked
// because the file itself is replaced under the lock.
class FolderLock {
 public:
  explicit FolderLock(const std::string& folder)
      : fd_(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    const auto deadline = std::chrono::steady_clock::now() + kLockPatience;
    while (fd_.IsOpen() && flock(fd_.get(), LOCK_EX | LOCK_NB) != 0) {
      // A file system that knows no locks is used without.
      if (errno != EWOULDBLOCK && errno != EINTR) break;
      if (std::chrono::steady_clock::now() > deadline) fd_ = UniqueFd();
      std::this_thread::sleep_for(2ms);
    }
  }
  bool IsHeld() const { return fd_.IsOpen(); }

 private:
  UniqueFd fd_;
};

std::string FolderOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace

struct FileRegistry::State {
  explicit State(std::string filePath) : path(std::move(filePath)) {}

  const Values* Find(std::string_view key) {
    Refresh();
    const auto found = keys.find(key);
    return found == keys.end() ? nullptr : &found->second;
  }

  template <class T>
  std::optional<T> Read(std::string_view key, std::string_view name) {
    const Values* values = Find(key);
    if (values == nullptr) return std::nullopt;
    const auto found = values->find(name);
    const T* value = found == values->end() ? nullptr : std::get_if<T>(&found->second);
    return value == nullptr ? std::nullopt : std::optional<T>(*value);
  }

  bool Write(std::string_view key, std::string_view name, const RegistryValue& value) {
    const std::optional<std::string> spelled = SpellValue(value);
    if (!spelled) return false;
    return Change([&](GKeyFile* file) {
      const std::string group = SpellKey(key);
      if (!g_key_file_has_group(file, group.c_str())) return false;
      g_key_file_set_string(file, group.c_str(), SpellValueName(name).c_str(), spelled->c_str());
      return true;
    });
  }

  // Replaces the file with what `edit` makes of it, unless it says no.
  template <class Edit>
  bool Change(Edit edit) {
    const FolderLock lock(FolderOf(path));
    if (!lock.IsHeld()) return false;
    const KeyFile file = Load(path);
    if (file == nullptr || !edit(file.get())) return false;
    gsize size = 0;
    const GText bytes(g_key_file_to_data(file.get(), &size, nullptr));
    if (Service<Files>::Get().WriteAtomic(path, std::string_view(bytes.get(), size))) return false;
    isSettled = false;
    ++OwnWrites();
    return true;
  }

  // At most one stat when nothing changed.
  void Refresh() {
    const auto lookedAt = std::chrono::steady_clock::now();
    if (lookedAt - lastLook < kLookLife && seenWrites == OwnWrites()) return;
    lastLook = lookedAt;
    seenWrites = OwnWrites();
    const Stamp now = StampOf(path);
    if (isSettled && now == stamp) return;
    stamp = now;
    const int64_t readAt = NowNs();
    keys.clear();
    if (const KeyFile file = Load(path)) {
      const GTexts groups(g_key_file_get_groups(file.get(), nullptr));
      for (char** group = groups.get(); *group != nullptr; ++group) {
        keys.insert_or_assign(UnspellName(*group), ValuesOf(file.get(), *group));
      }
    }
    const int64_t age = readAt - stamp.modifiedNs;
    isSettled = age > kTickNs || age < -kTickNs;
  }

  const std::string path;
  NameMap<Values> keys;
  Stamp stamp;
  bool isSettled = false;  // whether an equal stamp means an equal file
  std::chrono::steady_clock::time_point lastLook;
  uint64_t seenWrites = 0;
};

FileRegistry::FileRegistry(std::string path) : state_(std::make_unique<State>(std::move(path))) {}

FileRegistry::~FileRegistry() = default;

bool FileRegistry::KeyExists(std::string_view key) {
  return state_->Find(key) != nullptr;
}

bool FileRegistry::CreateKey(std::string_view key) {
  if (KeyExists(key)) return true;
  if (Service<Files>::Get().MakeFolder(FolderOf(state_->path))) return false;
  return state_->Change([&](GKeyFile* file) {
    // A group without keys is what is left when its one key goes.
    const std::string group = SpellKey(key);
    if (g_key_file_has_group(file, group.c_str())) return true;
    g_key_file_set_string(file, group.c_str(), "made", "");
    g_key_file_remove_key(file, group.c_str(), "made", nullptr);
    return true;
  });
}

std::optional<uint32_t> FileRegistry::ReadNumber(std::string_view key, std::string_view value) {
  return state_->Read<uint32_t>(key, value);
}

std::optional<std::u16string> FileRegistry::ReadText(std::string_view key, std::string_view value) {
  return state_->Read<std::u16string>(key, value);
}

bool FileRegistry::WriteNumber(std::string_view key, std::string_view value, uint32_t number) {
  return state_->Write(key, value, number);
}

bool FileRegistry::WriteText(std::string_view key, std::string_view value,
                             std::u16string_view text) {
  return state_->Write(key, value, std::u16string(text));
}

Registry& Registry::Default() {
  static FileRegistry registry(KnownFolders::Default().UserConfig() +
                               "/quovia-deskhub/registry.conf");
  return registry;
}

}  // namespace qv

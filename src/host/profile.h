// A profile: the folder that holds everything `qvsync` keeps for one person.
//
//   qvsync.conf     the configuration bag, `key = value` lines
//   pc/             the PC side's own files, one per personal-data profile
//   sync.db         the sync database that the stores reach through the accessor
//   engine.db       what the engine remembers of each phone
//   registry.ini    the registry values: the stop flag, where the Favorites are, whether the device
//                   takes folders
//   favorites/      the Favorites, unless they are elsewhere
//   conflicts/      losing texts of conflicts
//   lock            held while a sync runs
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "host/store_kinds.h"
#include "platform/com/com_ptr.h"
#include "platform/com/engine_config.h"

namespace qv {

// Wrong use or configuration: the text names the thing and the way out.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Where the bookmarks are, and what the device is that they go to.
struct BookmarkSettings {
  std::string favorites;  // a folder; empty for "favorites" in the profile
  uint32_t device = 1;    // its number
  bool flat = false;      // it takes no folders
};

class ProfileServices;

class Profile {
 public:
  // The folder used without `-p`: "qvsync" below the user's data folder.
  static std::string DefaultFolder();

  // Makes a profile that works at once, with every known store enabled. Throws UsageError when the
  // folder already holds one (nothing is overwritten), holds files of someone else, or cannot be
  // made. What an interrupted call left is completed.
  static void Create(const std::string& folder, const BookmarkSettings& bookmarks = {});

  // Reads and checks `qvsync.conf` and makes this profile the one that the platform services and
  // the module use, until it dies: registry, sync database path, PC-side folder, code page. Throws
  // UsageError, with every fault of the configuration on a line of its own.
  explicit Profile(const std::string& folder);
  Profile(const Profile&) = delete;
  Profile& operator=(const Profile&) = delete;
  ~Profile();

  const std::string& folder() const { return folder_; }
  std::string EngineDatabase() const { return folder_ + "/engine.db"; }
  std::string SyncDatabase() const { return folder_ + "/sync.db"; }
  std::string ConflictFolder() const { return folder_ + "/conflicts"; }
  std::string PcFolder() const { return folder_ + "/pc"; }

  IEngineConfig* bag() const { return bag_.get(); }
  // The value of a key as UTF-8, empty when it is not set.
  std::string Value(std::string_view key) const;
  // The kinds whose store is enabled, in table order.
  std::vector<const StoreKind*> EnabledKinds() const;

  // What in the configuration may not be as meant; one line each.
  const std::vector<std::string>& warnings() const { return warnings_; }
  std::string ConfigFile() const { return folder_ + "/qvsync.conf"; }

  // The stop flag of this profile's running sync. Throws UsageError when it cannot be written.
  void SetStop(bool stop);

  // Held until the result dies. LockForSync throws UsageError when another process holds it.
  class Lock {
   public:
    explicit Lock(int fd) : fd_(fd) {}
    Lock(Lock&& other) noexcept;
    Lock& operator=(Lock&&) = delete;
    ~Lock();

   private:
    int fd_;
  };
  Lock LockForSync() const;

 private:
  static Lock LockFolder(const std::string& folder);

  std::string folder_;
  std::unique_ptr<ProfileServices> services_;
  std::vector<std::string> warnings_;
  ComPtr<IEngineConfig> bag_;
};

}  // namespace qv

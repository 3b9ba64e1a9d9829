#include <algorithm>
#include <filesystem>
#include <system_error>

#include "framework/class_table.h"
#include "host/profile.h"
#include "host/profile_services.h"
#include "platform/com/class_factory.h"
#include "platform/database/accessor.h"
#include "platform/database/sqlite_accessor.h"
#include "platform/system/files.h"
#include "stores/bookmark/favorites_root.h"
#include "support/text.h"
#include "support/user_flags.h"

namespace qv {
namespace {

namespace fs = std::filesystem;

// What an interrupted call may have left; anything else in the folder is someone else's. The
// databases have companions while they are open ("sync.db-wal").
constexpr std::string_view kOwnNames[] = {"pc",      "conflicts", "lock",     "registry.ini",
                                          "sync.db", "engine.db", "favorites"};

bool IsOwn(std::string_view name) {
  if (name.starts_with(".qvsync.conf.")) return true;
  // A temporary file has a dot before and ".tmp" behind the name.
  if (name.starts_with('.')) name.remove_prefix(1);
  return std::ranges::any_of(kOwnNames, [&](std::string_view own) {
    if (!name.starts_with(own)) return false;
    const std::string_view rest = name.substr(own.size());
    return rest.empty() || rest[0] == '-' || rest[0] == '.';
  });
}

void RefuseForeign(const std::string& folder) {
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    if (name == "qvsync.conf") {
      throw UsageError("there is a profile in " + folder + " already; it was not touched");
    }
    if (!IsOwn(name)) {
      throw UsageError("the folder " + folder + " holds other files (" + name +
                       "); a profile needs a folder of its own");
    }
  }
  if (error) throw UsageError("cannot read the folder " + folder + ": " + error.message());
}

// The folder is its owner's alone, where the file system knows owners.
void MakePrivateFolder(const std::string& folder) {
  if (const std::error_code error = Service<Files>::Get().MakeFolder(folder)) {
    throw UsageError("cannot make the folder " + folder + ": " + error.message());
  }
  std::error_code ignored;
  fs::permissions(folder, fs::perms::owner_all, ignored);
}

// The folder in the module's form; made where there is none.
std::u16string MakeFavorites(const std::string& folder, const std::string& given) {
  std::error_code error;
  const fs::path path = fs::absolute(given.empty() ? folder + "/favorites" : given, error);
  std::string native = path.lexically_normal().string();
  while (native.size() > 1 && native.ends_with('/')) native.pop_back();
  const std::optional<std::u16string> name = FromNativePath(native);
  if (native == "/") throw UsageError("the folder / cannot be the Favorites");
  if (error || !name) {
    throw UsageError("the folder " + native + " cannot be the Favorites: its path holds a sign " +
                     "that stands in no file name on the PC (: * ? \" < > | \\)");
  }
  if (const std::error_code failure = Service<Files>::Get().MakeFolder(native)) {
    throw UsageError("cannot make the folder " + native + ": " + failure.message());
  }
  return *name;
}

void MakeRegistry(const std::string& folder, const BookmarkSettings& bookmarks) {
  Registry& registry = Service<Registry>::Get();
  const std::string device = DeviceKey(bookmarks.device);
  const std::u16string favorites = MakeFavorites(folder, bookmarks.favorites);
  const bool done = registry.CreateKey(kSyncKey) && registry.WriteNumber(kSyncKey, "SyncStop", 0) &&
                    registry.CreateKey(kShellFoldersKey) &&
                    registry.WriteText(kShellFoldersKey, kFavoritesValue, favorites) &&
                    registry.CreateKey(device) &&
                    registry.WriteNumber(device, kHierarchyValue, bookmarks.flat ? 0 : 1);
  if (!done) throw UsageError("cannot write " + folder + "/registry.ini");
}

void MakeSyncDatabase() {
  const auto accessor = CreateInstance<IDBAccessor>(CLSID_DBAccessor);
  if (Failed(accessor->Open(Bstr(u""))) || Failed(accessor->Connect())) {
    throw UsageError("cannot make the sync database: " + LastDatabaseError());
  }
}

std::string KindSection(const StoreKind& kind, OutlookManager& outlook) {
  const std::string name(kind.configName);
  const std::string entryId =
      kind.isTree ? std::string() : ToUtf8(outlook.DefaultFolder(kind.pcKind));
  if (entryId.empty() && !kind.isTree) {
    throw UsageError("the PC side has no folder for " + std::string(kind.name) + ": " +
                     outlook.lastError());
  }
  const std::string uri(kind.name);
  return "\n# " + uri + ": takes part in a sync when this and .Sync are both exactly \"true\".\n" +
         name + " = true\n" + name + ".Sync = true\n" + "# The class that does the work.\n" +  //
         name + ".CLSID = " + ToUtf8(FormatGuid(ClassId(kind.className))) + "\n" +
         "# The name of the source; what was synced is remembered under it.\n" +           //
         name + ".SourceURI = " + uri + "\n" +                                             //
         name + ".TargetURI = " + uri + "\n" + "# The type and version of the texts.\n" +  //
         name + ".MimeType = " + ToUtf8(kind.mimeType) + "\n" + name +
         ".Version = " + std::string(kind.version) + "\n" +
         (kind.isTree ? std::string()
                      : "# The folder on the PC side.\n" + name + ".EntryId = " + entryId + "\n");
}

std::string Configuration(OutlookManager& outlook, uint32_t device) {
  std::string text =
      "# The configuration of a qvsync profile: `key = value`, one a line. Lines that begin with\n"
      "# \"#\" are remarks; \"#\" within a value belongs to the value.\n"
      "\n"
      "# The personal-data profile on the PC side; empty is the usual one, \"Outlook\".\n"
      "Outlook.CurProfileName =\n"
      "# The code page of texts that name none and are no UTF-8 (a name that iconv knows).\n"
      "Platform.AnsiCodePage = windows-1252\n"
      "# The number of the device: registry.ini says under it whether the device takes folders of\n"
      "# bookmarks.\n"
      "Transport.Obex.DeviceID = " +
      std::to_string(device) + "\n";
  for (const StoreKind& kind : StoreKinds()) text += KindSection(kind, outlook);
  return text;
}

// Written last: a folder without it is no profile yet.
void WriteConfiguration(const std::string& folder, const std::string& text) {
  Files& files = Service<Files>::Get();
  std::error_code error = files.WriteAtomic(folder + "/qvsync.conf", text);
  if (!error) error = files.SyncFolder(folder);
  if (error) throw UsageError("cannot write " + folder + "/qvsync.conf: " + error.message());
}

}  // namespace

void Profile::Create(const std::string& given, const BookmarkSettings& bookmarks) {
  std::string folder = given;
  while (folder.size() > 1 && folder.ends_with('/')) folder.pop_back();
  std::error_code error;
  if (fs::exists(folder, error)) RefuseForeign(folder);
  MakePrivateFolder(folder);
  const Lock lock = LockFolder(folder);
  RefuseForeign(folder);  // another `init` may have ended meanwhile
  const ProfileServices services(folder);
  MakeRegistry(folder, bookmarks);
  MakePrivateFolder(folder + "/conflicts");
  MakePrivateFolder(folder + "/pc");
  OutlookManager outlook;
  if (outlook.initialize(u"") == 0) {
    throw UsageError("cannot make the PC side: " + outlook.lastError());
  }
  MakeSyncDatabase();
  WriteConfiguration(folder, Configuration(outlook, bookmarks.device));
}

}  // namespace qv

#include "host/cli/shortcut_folder.h"

#include <algorithm>

#include "host/cli/output.h"
#include "host/engine/bookmark_text.h"
#include "host/engine/report_words.h"
#include "items/item_objects.h"
#include "platform/system/internet_shortcut.h"
#include "platform/system/recycle_bin.h"
#include "stores/bookmark/favorites_root.h"
#include "stores/file_names.h"
#include "support/text.h"
#include "syncdb/path_map.h"

namespace qv {
namespace {

std::string Native(std::u16string_view path) {
  return ToNativePath(path).value_or(ToUtf8(path));
}

void CheckDone(SystemError error, const std::string& what, std::u16string_view path) {
  if (error == kNoError) return;
  throw CommandError(Exit::Failed,
                     "cannot " + what + " " + Native(path) + ": " + SystemErrorWords(error));
}

const Bookmark& BookmarkIn(const ComPtr<IItemCommon>& item) {
  const Bookmark* bookmark = BookmarkOf(item.get());
  if (bookmark == nullptr || bookmark->url.empty()) throw UsageError("it holds no address (URL)");
  return *bookmark;
}

// A bookmark without a title goes by its address.
std::u16string StemFor(const Bookmark& bookmark) {
  return PcTitle(bookmark.title.empty() ? bookmark.url : bookmark.title);
}

std::u16string FileNameOf(std::u16string_view stem) {
  return std::u16string(stem).append(kShortcutTail);
}

std::string WhyHidden(const BlindSpot& spot) {
  const std::string name = Printable(ToUtf8(spot.path));
  if (spot.kind == TREE_BLINDSPOT_FOLDER) {
    return name + " cannot be read (system error " + std::to_string(spot.error) +
           "); make it readable, until then nothing in it takes part";
  }
  return name + " is there and takes no part: its name holds : * ? \" < > | \\, a control " +
         "character or bytes that are no UTF-8; rename it";
}

std::u16string StemOf(std::u16string_view fileName) {
  return std::u16string(fileName.substr(0, fileName.rfind(u'.')));
}

// The path of the map as an identifier.
std::string IdOf(std::u16string_view mapPath, bool isFolder) {
  std::string id = ToUtf8(mapPath.substr(1));
  std::ranges::replace(id, '\\', '/');
  return isFolder ? id + "/" : id;
}

}  // namespace

ShortcutFolder::ShortcutFolder(const Profile& profile, const StoreKind& kind) : PcFolder(kind) {
  std::u16string root = FavoritesFolder();
  if (root.empty()) {
    throw UsageError("the Favorites folder is not known: the value Favorites in " +
                     profile.folder() + "/registry.ini is missing");
  }
  const bool withFolders = DeviceTakesFolders(profile.bag());
  if (!withFolders) root.append(u"\\").append(kMobileBookmarks);
  tree_.Open(std::move(root), !withFolders);
}

ShortcutFolder::~ShortcutFolder() {
  try {
    changes_.Settle();
  } catch (...) {
    // No memory: what was changed waits for the system's own time.
  }
}

std::u16string ShortcutFolder::FullPath(std::string_view id) const {
  if (id.ends_with('/')) id.remove_suffix(1);
  std::u16string path(kTreeRoot);
  // In the tree's own form a "\\" parts folders; as a sign of a name it can stand for nothing.
  if (id.find('\\') != id.npos) return {};
  path += FromUtf8(id);
  std::replace(path.begin() + 1, path.end(), u'/', u'\\');
  return tree_.FullPath(path);
}

std::optional<ShortcutFolder::Found> ShortcutFolder::Find(const std::string& id) const {
  Found found{FullPath(id), {}};
  if (id.empty() || found.full.empty() || FindEntry(found.full, found.info) != kNoError) {
    return std::nullopt;
  }
  const bool isFolder = found.info.kind == EntryKind::Folder;
  const bool takesPart =
      isFolder ? !tree_.isFlat()
               : found.info.kind == EntryKind::File && HasExactTail(found.info.name, kShortcutTail);
  return takesPart && (isFolder || !id.ends_with('/')) ? std::optional(found) : std::nullopt;
}

std::string ShortcutFolder::UrlOf(const std::u16string& full) const {
  std::string bytes;
  return ReadFileBytes(full, bytes) == kNoError ? ToUtf8(ShortcutUrl(bytes)) : std::string();
}

// Throws CommandError for a root that cannot be read: it is not empty.
HRESULT ShortcutFolder::Walk(const BookmarkTree::Visit& visit) {
  std::vector<BlindSpot> blind;
  const HRESULT status = tree_.Walk(kTreeRoot, visit, &blind);
  hidden_.clear();
  for (const BlindSpot& spot : blind) {
    if (spot.folder == kTreeRoot) CheckDone(spot.error, "read the folder", tree_.root());
    hidden_.push_back(WhyHidden(spot));
  }
  return status;
}

std::vector<PcFolder::Entry> ShortcutFolder::List() {
  std::vector<Entry> entries;
  Walk([&](std::u16string_view path, const EntryInfo& info) {
    Entry entry;
    entry.isFolder = info.kind == EntryKind::Folder;
    entry.id = IdOf(path, entry.isFolder);
    entry.depth = static_cast<size_t>(std::ranges::count(path, u'\\'));
    entry.name = ToUtf8(entry.isFolder ? info.name : StemOf(info.name));
    const std::u16string full = RelativeToAbsolute(tree_.root(), path);
    if (!entry.isFolder) entry.url = UrlOf(full);
    EntryInfo times;
    if (FindEntry(full, times) == kNoError) entry.modified = FileDate(times.modified);
    entries.push_back(std::move(entry));
    return S_OK;
  });
  return entries;
}

int64_t ShortcutFolder::Count() {
  int64_t count = 0;
  Walk([&](std::u16string_view, const EntryInfo&) {
    ++count;
    return S_OK;
  });
  return count;
}

ComPtr<IItemCommon> ShortcutFolder::Get(const std::string& id) {
  const std::optional<Found> found = Find(id);
  if (!found) return nullptr;
  if (found->info.kind == EntryKind::Folder) {
    Folder folder;
    folder.name = found->info.name;
    folder.created = FileDate(found->info.created);
    folder.modified = FileDate(found->info.modified);
    folder.accessed = FileDate(found->info.accessed);
    return MakeFolderItem(std::move(folder));
  }
  Bookmark bookmark;
  bookmark.title = StemOf(found->info.name);
  bookmark.url = FromUtf8(UrlOf(found->full));
  bookmark.fields.objModified = FileDate(found->info.modified);
  return MakeBookmarkItem(std::move(bookmark));
}

void ShortcutFolder::MakeRoot() {
  const std::u16string& root = tree_.root();
  if (EntryExists(root)) return;
  CheckDone(qv::MakeFolder(root), "make the folder", root);
  changes_.Made(root, EntryKind::Folder);
}

void ShortcutFolder::Settle() {
  isGrouped_ = false;
  CheckDone(changes_.Settle(), "put on disk what was changed in", tree_.root());
}

std::u16string ShortcutFolder::FreeName(const std::u16string& folder, const Bookmark& bookmark) {
  const std::u16string stem = StemFor(bookmark);
  const std::u16string name = names_.Unique(folder, FileNameOf(stem), false);
  return NameFits(name) ? name : names_.Unique(folder, FileNameOf(FittingStem(stem)), false);
}

std::string ShortcutFolder::MakeFolder(const std::string& folder, const std::string& name) {
  MakeRoot();
  const std::u16string parent = FullPath(folder);
  std::u16string base = PcTitle(FromUtf8(name.empty() ? "untitled" : name));
  if (!NameFits(base)) base = FittingStem(base);
  const std::u16string full = parent + u"\\" + base;
  EntryInfo info;
  const bool isThere = FindEntry(full, info) == kNoError;
  if (!isThere) {
    CheckDone(qv::MakeFolder(full), "make the folder", full);
    changes_.Made(full, EntryKind::Folder);
  }
  if (isThere && info.kind != EntryKind::Folder) {
    throw UsageError("there is a file of this name: " + Native(full));
  }
  return IdOf(AbsoluteToRelative(tree_.root(), full), true);
}

// Each of the bookmarks that have the title is opened once, whatever comes behind it.
std::optional<std::string> ShortcutFolder::AddTo(const std::string& folder,
                                                 const std::string& title, const std::string& url) {
  MakeRoot();
  Bookmark bookmark;
  bookmark.title = FromUtf8(title);
  bookmark.url = FromUtf8(url);
  std::u16string stem = StemFor(bookmark);
  if (!NameFits(FileNameOf(stem))) stem = FittingStem(stem);
  const std::u16string start = FullPath(folder) + u"\\" + stem;
  Series& series = series_[start];
  const auto candidate = [&] {
    return FileNameOf(series.next == 1 ? start : start + u"(" + Decimal(series.next) + u")");
  };
  std::u16string full = candidate();
  for (; EntryExists(full); full = candidate()) {
    series.urls.insert(UrlOf(full));
    ++series.next;
  }
  if (series.urls.contains(url)) return std::nullopt;
  CheckDone(CreateNewFile(full, ShortcutBytes(bookmark.url)), "write", full);
  changes_.Made(full, EntryKind::File);
  return IdOf(AbsoluteToRelative(tree_.root(), full), false);
}

std::string ShortcutFolder::Add(const ComPtr<IItemCommon>& item) {
  const Bookmark& bookmark = BookmarkIn(item);
  MakeRoot();
  const std::u16string& root = tree_.root();
  const std::u16string name = FreeName(root, bookmark);
  const std::u16string full = root + u"\\" + name;
  CheckDone(CreateNewFile(full, ShortcutBytes(bookmark.url)), "write", full);
  names_.Added(root, name);
  changes_.Made(full, EntryKind::File);
  SettleAlone();
  return IdOf(AbsoluteToRelative(tree_.root(), full), false);
}

std::string ShortcutFolder::AddException(const std::string&, const ComPtr<IItemCommon>&) {
  throw UsageError("bookmarks have no series");
}

bool ShortcutFolder::Replace(const std::string& id, const ComPtr<IItemCommon>& item) {
  const std::optional<Found> found = Find(id);
  if (!found) return false;
  if (found->info.kind == EntryKind::Folder) {
    throw UsageError("it is a folder; rename it in the Favorites folder itself");
  }
  const Bookmark& bookmark = BookmarkIn(item);
  InternetShortcut shortcut;
  CheckDone(shortcut.Load(found->full), "read", found->full);
  if (shortcut.SetURL(bookmark.url, 1)) {
    CheckDone(shortcut.Save(found->full), "write", found->full);
    changes_.Made(found->full, EntryKind::File);
  }
  series_.clear();
  if (FileNameOf(StemFor(bookmark)) != found->info.name && !bookmark.title.empty()) {
    const std::u16string parent = found->full.substr(0, found->full.rfind(u'\\'));
    const std::u16string fresh = parent + u"\\" + FreeName(parent, bookmark);
    CheckDone(RenameEntry(found->full, fresh), "rename to", fresh);
    changes_.Moved(found->full, fresh);
  }
  SettleAlone();
  return true;
}

bool ShortcutFolder::Delete(const std::string& id) {
  const std::optional<Found> found = Find(id);
  if (!found) return false;
  const Obstacle odd = found->info.kind == EntryKind::Folder
                           ? tree_.FindObstacle(AbsoluteToRelative(tree_.root(), found->full), true)
                           : Obstacle{};
  if (odd.kind != TREE_OBSTACLE_NONE) {
    throw UsageError("it holds " + Printable(ToUtf8(odd.path)) +
                     ", whose name cannot be used and which is not listed; rename it or move it "
                     "away first");
  }
  series_.clear();
  CheckDone(RecycleEntry(found->full), "delete", found->full);
  changes_.Removed(found->full);
  SettleAlone();
  return true;
}

}  // namespace qv

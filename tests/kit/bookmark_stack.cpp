#include "kit/bookmark_stack.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "framework/class_table.h"
#include "support/text.h"
#include "syncdb/path_map.h"
#include "syncdb/status_item.h"

namespace qv::test {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kShellFolders =
    R"(Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders)";
constexpr std::string_view kDevice = R"(SOFTWARE\Quovia\Quovia Deskhub\1.0\DeviceDB\7)";

std::string MakeFolderIn(const TempFolder& folder, const char* name) {
  fs::create_directory(folder.File(name));
  return folder.File(name);
}

void ReadBelow(IStatusDBItemTree& tree, const std::u16string& parent, Snapshot& rows) {
  ComPtr<IUnknown> children;
  Check(tree.get_SubItemTree(children.Out()));
  if (!children) return;
  for (const auto& node : Members<IStatusDBItemTree>(*Query<IUnkList>(children))) {
    ComPtr<IStatusDBItem> item;
    Check(node->get_Item(item.Out()));
    const StatusRow row = ReadStatusItem(*item);
    EXPECT_EQ(row.parentUid, parent);
    EXPECT_TRUE(rows.emplace(row.sourceUid, std::pair(parent, row.isFolder)).second)
        << ToUtf8(row.sourceUid) << " stands there twice";
    ReadBelow(*node, row.sourceUid, rows);
  }
}

}  // namespace

TreeText BookmarkText(std::u16string title, std::u16string url, std::u16string uid, DATE modified) {
  Bookmark bookmark{std::move(title), std::move(url), {}};
  bookmark.fields.objUid = std::move(uid);
  bookmark.fields.objModified = modified;
  return {WriteVBookmark(bookmark), u"text/x-vBookmark"};
}

TreeText FolderText(std::u16string name, DATE modified) {
  Folder folder;
  folder.name = std::move(name);
  folder.modified = modified;
  return {WriteFolderDocument(folder), u"application/vnd.omads-folder+xml"};
}

BookmarkStack::BookmarkStack(std::u16string_view className, bool folders)
    : bin(MakeFolderIn(folder, "bin")), className_(className) {
  const bool isFixed = !folders || className != u"DataStoreBookmark";
  MakeFolderIn(folder, "Favorites");
  root = folder.ModulePath(isFixed ? u"Favorites/Quovia Mobile Bookmarks" : u"Favorites");
  registry.CreateKey(kShellFolders);
  registry.WriteText(kShellFolders, "Favorites", folder.ModulePath(u"Favorites"));
  registry.CreateKey(kDevice);
  registry.WriteNumber(kDevice, "SupportBookmarkHier", folders ? 1 : 0);
  bag->values = {{u"Transport.Obex.DeviceID", u"7"},
                 {u"DataStore.Bookmark.MimeType", u"text/x-vBookmark"}};
  NextSession();
  db->Forget();
}

ComPtr<IDataStore> BookmarkStack::Another() {
  auto another = CreateInstance<IDataStore>(ClassId(className_));
  Check(another->SetDBAccessor(Query<IUnknown>(db).get()));
  Check(another->Initialize(bag.get()));
  Check(another->SetTargetKey(Bstr(u"P1")));
  return another;
}

void BookmarkStack::NextSession() {
  store = Another();
  status = Query<IStatusDB>(store);
  Check(status->Initialize());
}

HRESULT BookmarkStack::TryAdd(const TreeText& text, const char16_t* parent, std::u16string* uid) {
  Bstr created(u"poison");
  const Bstr above(parent == nullptr ? u"" : parent);
  const HRESULT result = store->Add(Content(text.bytes).get(), Bstr(text.type),
                                    parent == nullptr ? nullptr : above.get(), created.Out());
  EXPECT_EQ(Failed(result), created.get() == nullptr);
  if (uid != nullptr) *uid = created.str();
  return result;
}

std::u16string BookmarkStack::Add(const TreeText& text, const std::u16string& parent) {
  std::u16string uid;
  Check(TryAdd(text, parent.c_str(), &uid));
  return uid;
}

HRESULT BookmarkStack::Replace(const std::u16string& uid, const TreeText& text,
                               const char16_t* parent) {
  Bstr fields;
  const HRESULT result = store->Replace(Bstr(uid), Content(text.bytes).get(), Bstr(text.type),
                                        kFalse, Bstr(parent), fields.Out());
  EXPECT_NE(fields.get(), nullptr);
  return result;
}

HRESULT BookmarkStack::TryGet(const std::u16string& uid, ComPtr<IUnknown>* item, bool updateField) {
  Bstr type;
  Bstr parent;
  ComPtr<IUnknown> found;
  ComPtr<IUnknown> content;
  const HRESULT result = store->Get(Bstr(uid), ToBool(updateField), type.Out(), parent.Out(),
                                    found.Out(), content.Out());
  if (item != nullptr) *item = found;
  return result;
}

Snapshot BookmarkStack::Read(HRESULT (IStatusDB::*read)(IStatusDBItemTree**) noexcept) {
  ComPtr<IStatusDBItemTree> tree;
  Check((status.get()->*read)(tree.Out()));
  Snapshot rows;
  ReadBelow(*tree, u"/", rows);
  return rows;
}

std::map<std::u16string, std::u16string> BookmarkStack::Paths() {
  std::map<std::u16string, std::u16string> paths;
  for (const auto& row : db->Rows(u"Bookmark_FFPathUidMap", {u"bookmark_id", u"filefolderpath"})) {
    paths.emplace(row[0], row[1]);
  }
  return paths;
}

std::u16string BookmarkStack::UidOf(std::u16string_view path) {
  for (const auto& [uid, known] : Paths()) {
    if (known == path) return uid;
  }
  return {};
}

std::vector<std::u16string> BookmarkStack::Disk() const {
  const std::string top = Native(u"/");
  std::vector<std::u16string> paths;
  for (const auto& entry : fs::recursive_directory_iterator(top)) {
    if (entry.is_symlink() || (!entry.is_directory() && entry.path().extension() != ".url")) {
      continue;
    }
    std::u16string path = FromUtf8(entry.path().lexically_relative(top).string());
    std::ranges::replace(path, u'/', u'\\');
    paths.push_back(path.insert(0, u"/"));
  }
  std::ranges::sort(paths);
  return paths;
}

std::string BookmarkStack::Native(std::u16string_view path) const {
  return ToNativePath(RelativeToAbsolute(root, path)).value();
}

void BookmarkStack::Put(std::u16string_view path, std::string_view bytes) {
  const std::string native = Native(path);
  folder.Put(fs::path(native).lexically_relative(folder.path()).string(), bytes);
}

}  // namespace qv::test

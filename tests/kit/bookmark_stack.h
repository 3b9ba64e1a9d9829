// A store over a tree of shortcuts, with Favorites in a folder of its own and a bin beside it.
#pragma once

#include <map>

#include "items/folder_document.h"
#include "items/vbookmark.h"
#include "kit/store_stack.h"

namespace qv::test {

// A text on its way in.
struct TreeText {
  std::string bytes;
  std::u16string_view type;
};
// Times are local.
TreeText BookmarkText(std::u16string title, std::u16string url = u"http://a/",
                      std::u16string uid = {}, DATE modified = 0.0);
TreeText FolderText(std::u16string name, DATE modified = 0.0);

// A snapshot as (parent, is a folder) by identifier.
using Snapshot = std::map<std::u16string, std::pair<std::u16string, bool>>;

class BookmarkStack : public StoreBed {
 public:
  // The device takes folders, or not; Favorites exists.
  explicit BookmarkStack(std::u16string_view className, bool folders = true);

  // As of `StoreStack`; each throws StatusError when the call fails.
  ComPtr<IDataStore> Another();
  void NextSession();

  HRESULT TryAdd(const TreeText& text, const char16_t* parent = u"/",
                 std::u16string* uid = nullptr);
  std::u16string Add(const TreeText& text, const std::u16string& parent = u"/");
  HRESULT Replace(const std::u16string& uid, const TreeText& text, const char16_t* parent = u"/");
  HRESULT Delete(const std::u16string& uid, bool soft = false) {
    return store->Delete(Bstr(uid), ToBool(soft));
  }
  // The status alone; the item may be null.
  HRESULT TryGet(const std::u16string& uid, ComPtr<IUnknown>* item = nullptr,
                 bool updateField = false);
  Snapshot Current() { return Read(&IStatusDB::GetCurrentStatusDB); }
  Snapshot Backup() { return Read(&IStatusDB::GetBackupStatusDB); }

  // The map: paths by identifier, and the first identifier of a path.
  std::map<std::u16string, std::u16string> Paths();
  std::u16string UidOf(std::u16string_view path);
  std::u16string PathOf(const std::u16string& uid) { return Paths()[uid]; }
  // What takes part below the root, as paths of the map in order.
  std::vector<std::u16string> Disk() const;
  // The native path of a path of the map.
  std::string Native(std::u16string_view path) const;
  // By hand, with the folders above it; the time is UTC.
  void Put(std::u16string_view path,
           std::string_view bytes = "[InternetShortcut]\r\nURL=http://a/");

  std::u16string root;  // full path of the module's form
  FakeRecycleBin bin;
  ScopedService<RecycleBin> useBin{bin};
  FailingFiles files;
  ScopedService<Files> useFiles{files};

 private:
  Snapshot Read(HRESULT (IStatusDB::*read)(IStatusDBItemTree**) noexcept);

  std::u16string className_;
};

}  // namespace qv::test

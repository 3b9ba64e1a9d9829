// A profile with Favorites and a phone with folders of bookmarks, and both sides' users.
#pragma once

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>

#include "host/engine_rig.h"
#include "items/vbookmark.h"
#include "platform/system/internet_shortcut.h"

namespace qv::test {

template <class Base>
class TreeUsers : public Base {
 public:
  TreeUsers() : Base("bookmarks") {}

  // Paths are relative, with "/" between the parts.
  std::string PcPath(const std::string& path) const {
    return this->profileFolder() + "/favorites/" + path;
  }
  std::string PhonePath(const std::string& path) const { return this->collection() + "/" + path; }

  // A file's time never is that of an earlier one: the store sees whole seconds.
  void PcPut(const std::string& path, const std::string& url) {
    this->folder.Put("profile/favorites/" + path, "[InternetShortcut]\r\nURL=" + url + "\r\n");
    Stamp(PcPath(path));
  }
  void PhonePut(const std::string& path, const std::string& title, const std::string& url,
                const std::string& more = {}) {
    this->folder.Put("phone/bookmarks/" + path, "BEGIN:VBKM\r\nVERSION:1.0\r\nTITLE:" + title +
                                                    "\r\nURL:" + url + "\r\n" + more +
                                                    "END:VBKM\r\n");
    Stamp(PhonePath(path));
  }
  static void MakeFolder(const std::string& path) { std::filesystem::create_directories(path); }
  static void Move(const std::string& from, const std::string& to) {
    std::filesystem::rename(from, to);
  }
  static void Remove(const std::string& path) { std::filesystem::remove_all(path); }

  // One line an entry: "Work/" or "Work/News -> URL". Of a phone's bookmark the title counts, not
  // the name of its file.
  std::multiset<std::string> PcTree() const {
    return Tree(this->profileFolder() + "/favorites", false);
  }
  std::multiset<std::string> PhoneTree() const { return Tree(this->collection(), true); }

  StoreReport TwoWay() {
    SyncOptions options;
    options.allowMassDelete = true;
    return this->Sync(DS_SYNCTYPE_NONE, options);
  }

  TempFolder trash;
  FakeRecycleBin bin{trash.path()};
  ScopedService<RecycleBin> useBin{bin};

 private:
  void Stamp(const std::string& path) {
    static_cast<void>(Files::Default().SetModified(path, ++stamp_));
  }

  static std::multiset<std::string> Tree(const std::string& root, bool isPhone) {
    namespace fs = std::filesystem;
    std::multiset<std::string> lines;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
      const std::string path = fs::relative(entry.path(), root).string();
      const std::string above = path.substr(0, path.rfind('/') + 1);  // npos + 1 is 0
      std::string bytes;
      if (entry.is_directory()) {
        lines.insert(path + "/");
      } else if (!Files::Default().Read(entry.path(), bytes) && !isPhone) {
        lines.insert(above + entry.path().stem().string() + " -> " + ToUtf8(ShortcutUrl(bytes)));
      } else if (const auto bookmark = ParseVBookmark(bytes)) {
        lines.insert(above + ToUtf8(bookmark->title) + " -> " + ToUtf8(bookmark->url));
      }
    }
    return lines;
  }

  int64_t stamp_ = 1'600'000'000;
};

using TreeRig = TreeUsers<Rig>;

}  // namespace qv::test

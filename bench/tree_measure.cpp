// Measures the bookmark store over trees of 10,000 and 100,000 bookmarks, for scripts/bench:
//   qv_tree_measure FOLDER ROUNDS
// Prints "NAME VALUE" lines. What is compared is measured in turn; values are medians.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "host/engine/bookmark_text.h"
#include "host/engine/pc_side.h"
#include "items/item_objects.h"
#include "measuring.h"
#include "platform/system/debug_log.h"
#include "platform/system/service.h"

namespace qv {
namespace {

namespace fs = std::filesystem;

// Folders of 20 bookmarks, ten of them in one above.
void MakeTree(const std::string& root, int bookmarks) {
  for (int i = 0; i < bookmarks; ++i) {
    const int folder = i / 20;
    const std::string path =
        root + "/Group " + std::to_string(folder / 10) + "/Folder " + std::to_string(folder);
    if (i % 20 == 0) fs::create_directories(path);
    std::ofstream(path + "/Page " + std::to_string(i) + ".url", std::ios::binary)
        << "[InternetShortcut]\r\nURL=https://www.example.org/pages/" << i << "\r\n";
  }
}

// What any walk of a tree with a look at each entry costs.
size_t BareWalk(int above, const char* name) {
  const int fd = openat(above, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  DIR* folder = fd < 0 ? nullptr : fdopendir(fd);
  if (folder == nullptr) return 0;
  size_t count = 0;
  while (const dirent* entry = readdir(folder)) {
    if (entry->d_name[0] == '.') continue;
    struct stat data;
    if (fstatat(fd, entry->d_name, &data, AT_SYMLINK_NOFOLLOW) != 0) continue;
    ++count;
    if (S_ISDIR(data.st_mode)) count += BareWalk(fd, entry->d_name);
  }
  closedir(folder);
  return count;
}

struct Tree {
  Tree(const std::string& folder, int bookmarks) {
    Profile::Create(folder);
    MakeTree(folder + "/favorites", bookmarks);
    profile = std::make_unique<Profile>(folder);
    side = std::make_unique<PcSide>(*profile);
    side->SetTargetKey("bench");
    store = side->Store(*FindStoreKind("bookmarks"));
    status = Query<IStatusDB>(store);
    Check(status->Initialize());
  }

  std::unique_ptr<Profile> profile;
  std::unique_ptr<PcSide> side;
  ComPtr<IDataStore> store;
  ComPtr<IStatusDB> status;
};

// Seconds of a look at a known tree; and its ratio to a bare walk.
double Known(const std::string& folder, const char* name, int bookmarks, int rounds) {
  Tree tree(folder, bookmarks);
  const std::string root = folder + "/favorites";
  std::vector<double> looks;
  std::vector<double> walks;
  for (int i = 0; i < rounds; ++i) {
    walks.push_back(Seconds([&] { BareWalk(AT_FDCWD, root.c_str()); }));
    looks.push_back(Seconds([&] {
      ComPtr<IStatusDBItemTree> snapshot;
      Check(tree.status->Initialize());
      Check(tree.status->GetCurrentStatusDB(snapshot.Out()));
    }));
  }
  std::printf("%s_look %.6f\n%s_walk %.6f\n", name, Median(looks), name, Median(walks));
  return Median(looks);
}

// Renames the one folder with everything in it.
void RenameFolder(const std::string& folder, int bookmarks, int rounds) {
  Tree tree(folder, 0);
  MakeTree(folder + "/favorites/All", bookmarks);
  Check(tree.status->Initialize());
  ComPtr<IStatusDBItemTree> snapshot;
  Check(tree.status->GetCurrentStatusDB(snapshot.Out()));
  ComPtr<IUnknown> list;
  Check(snapshot->get_SubItemTree(list.Out()));
  ComPtr<IUnknown> child;
  Check(Query<IUnkList>(list)->Item(0, child.Out()));
  ComPtr<IStatusDBItem> item;
  Check(Query<IStatusDBItemTree>(child)->get_Item(item.Out()));
  Bstr id;
  Check(item->get_sourceUid(id.Out()));
  std::vector<double> seconds;
  for (int i = 0; i < rounds; ++i) {
    const std::string text = FolderText(i % 2 == 0 ? u"Everything" : u"All");
    seconds.push_back(Seconds([&] {
      Bstr fields;
      Check(tree.store->Replace(id, MakeContentData(text).get(), Bstr(kFolderMimeType), kFalse,
                                Bstr(u"/"), fields.Out()));
    }));
  }
  std::printf("tree_rename %.6f\n", Median(seconds));
}

int Run(const std::string& folder, int rounds) {
  SilentLog silent;
  const ScopedService<DebugLog> quiet(silent);
  Known(folder + "/small", "tree_small", 10'000, rounds);
  Known(folder + "/large", "tree_large", 100'000, rounds);
  RenameFolder(folder + "/rename", 10'000, rounds);
  return 0;
}

}  // namespace
}  // namespace qv

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: qv_tree_measure FOLDER ROUNDS\n");
    return 2;
  }
  return qv::Run(argv[1], std::atoi(argv[2]));
}

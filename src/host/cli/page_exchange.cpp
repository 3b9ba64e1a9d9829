#include "host/cli/page_exchange.h"

#include <algorithm>

#include "support/date_time.h"

namespace qv {
namespace {

class PageImport {
 public:
  PageImport(ShortcutFolder& pc, const std::string& place, GroupedChanges& changes)
      : pc_(pc), place_(place), changes_(changes) {}

  void Add(const PageEntry& entry) {
    while (!open_.empty() && open_.back().depth >= entry.depth) open_.pop_back();
    changes_.Begin();
    try {
      entry.isFolder ? AddFolder(entry) : AddBookmark(entry);
    } catch (const std::runtime_error& error) {
      changes_.Failed(place_ + ": " + Printable(entry.title), error.what());
      if (entry.isFolder) open_.push_back({entry.depth, Folder()});
    }
  }

  void Finish() const {
    if (known_ > 0) {
      PrintMessage("note: " + place_ + ": " + std::to_string(known_) +
                   " that are there already were left out");
    }
    if (flattened_) {
      PrintMessage("note: " + place_ +
                   ": its folders were left out, because the device takes none; their bookmarks "
                   "were added on top");
    }
  }

 private:
  struct OpenFolder {
    size_t depth;
    std::string id;
  };

  std::string Folder() const { return open_.empty() ? std::string() : open_.back().id; }

  void AddFolder(const PageEntry& entry) {
    flattened_ = flattened_ || !pc_.takesFolders();
    if (pc_.takesFolders()) {
      open_.push_back({entry.depth, pc_.MakeFolder(Folder(), entry.title)});
    }
  }

  void AddBookmark(const PageEntry& entry) {
    if (entry.url.empty()) {
      changes_.Failed(place_ + ": " + Printable(entry.title), "it holds no address (URL)");
      return;
    }
    const std::optional<std::string> id = pc_.AddTo(Folder(), entry.title, entry.url);
    if (id) {
      changes_.Done(*id);
    } else {
      ++known_;
    }
  }

  ShortcutFolder& pc_;
  const std::string& place_;
  GroupedChanges& changes_;
  std::vector<OpenFolder> open_;
  size_t known_ = 0;
  bool flattened_ = false;
};

}  // namespace

void ImportPage(ShortcutFolder& pc, const std::vector<PageEntry>& page, const std::string& place,
                GroupedChanges& changes) {
  PageImport import(pc, place, changes);
  for (const PageEntry& entry : page) import.Add(entry);
  changes.Settle();
  import.Finish();
}

std::string ExportPage(ShortcutFolder& pc, const std::string& folder) {
  const std::string prefix = folder.empty() || folder.ends_with('/') ? folder : folder + "/";
  std::vector<PageEntry> page;
  bool found = prefix.empty();
  size_t top = 0;
  for (PcFolder::Entry& entry : pc.List()) {
    if (entry.id == prefix) {
      found = true;
      top = entry.depth + 1;
      continue;
    }
    if (!entry.id.starts_with(prefix) || (!entry.isFolder && entry.url.empty())) continue;
    PageEntry shown;
    shown.title = std::move(entry.name);
    shown.url = std::move(entry.url);
    shown.isFolder = entry.isFolder;
    shown.depth = entry.depth - top;
    shown.added = FileSeconds(entry.modified);
    page.push_back(std::move(shown));
  }
  if (!found) throw UsageError(folder + ": there is no such folder in bookmarks");
  return WriteBookmarkPage(page);
}

}  // namespace qv

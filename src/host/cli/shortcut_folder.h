// The bookmarks of the PC: the folders and `.url` files of the user's Favorites.
//
// An entry's identifier is its path, with "/" between the parts and behind a folder:
// "Work/News.url". Where the device takes no folders the tree is the one folder that syncs.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "host/bookmark_page.h"
#include "host/cli/pc_folder.h"
#include "stores/bookmark/bookmark_tree.h"
#include "stores/bookmark/unsettled_changes.h"

namespace qv {

class ShortcutFolder final : public PcFolder {
 public:
  // Throws UsageError when the Favorites folder is not known.
  ShortcutFolder(const Profile& profile, const StoreKind& kind);

  ~ShortcutFolder() override;

  // A folder before what is in it.
  std::vector<Entry> List() override;
  std::vector<std::string> Hidden() override { return hidden_; }
  int64_t Count() override;
  ComPtr<IItemCommon> Get(const std::string& id) override;
  std::string Add(const ComPtr<IItemCommon>& item) override;
  std::string AddException(const std::string& series, const ComPtr<IItemCommon>& item) override;
  bool Replace(const std::string& id, const ComPtr<IItemCommon>& item) override;
  // Into the recycle bin, a folder with its content.
  bool Delete(const std::string& id) override;

  bool takesFolders() const { return !tree_.isFlat(); }
  void Begin() override { isGrouped_ = true; }
  void Settle() override;
  // The two below are on disk after `Settle`, or when this ends.
  // The folder of this name in another one ("" on top), made where there is none.
  std::string MakeFolder(const std::string& folder, const std::string& name);
  // Nothing where the folder has such a bookmark already.
  std::optional<std::string> AddTo(const std::string& folder, const std::string& title,
                                   const std::string& url);

 private:
  struct Found {
    std::u16string full;
    EntryInfo info;
  };
  // What is known of the bookmarks "News", "News(2)" and on of one folder, for `AddTo`.
  struct Series {
    int next = 1;                          // the number behind them, 1 for the plain name
    std::unordered_set<std::string> urls;  // of all before
  };

  void SettleAlone() {
    if (!isGrouped_) Settle();
  }
  HRESULT Walk(const BookmarkTree::Visit& visit);
  void MakeRoot();
  std::u16string FreeName(const std::u16string& folder, const Bookmark& bookmark);
  std::optional<Found> Find(const std::string& id) const;
  std::u16string FullPath(std::string_view id) const;
  std::string UrlOf(const std::u16string& full) const;

  BookmarkTree tree_;
  std::vector<std::string> hidden_;
  EntryNames names_;
  UnsettledChanges changes_;
  bool isGrouped_ = false;
  std::unordered_map<std::u16string, Series> series_;  // by full path without number and tail
};

}  // namespace qv

// The entries of a tree that wait to be matched by incoming ones in a slow sync.
//
// An entry matches in its own folder alone: a bookmark by an equal uid, else by an equal checksum
// of title and URL, a folder by its name. The answer is always that of a walk from the front.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "framework/store_base.h"
#include "items/bookmark.h"
#include "stores/key_field_list.h"

namespace qv {

// The checksum of the title with the URL behind it.
std::u16string BookmarkMd5(const Bookmark& bookmark);

class TreeMatches {
 public:
  void Clear();
  bool IsEmpty() const { return waiting_ == 0; }

  // By the fields of the item: parent, uid, and the key text, which is the checksum of a bookmark
  // and the name of a folder.
  void Add(ComPtr<IItemCommon> item);

  // An entry that matched; valid until the next change of the lists.
  struct Match {
    KeyFieldList* list;
    size_t position;
    std::optional<RESV_CONFLTLASTMODIFIED> winner;  // nothing without both times

    const ItemFields& fields() const { return list->At(position); }
  };
  // Is the incoming item one of these? A match is told in `answer`, but for who wins; nothing for
  // none. `byContent` counts the checksum of bookmarks too. Throws StatusError: E_FAIL for an item
  // that is not of the text's kind, and when stopped.
  std::optional<Match> Find(const IncomingText& text, const ComPtr<IItemCommon>& item,
                            bool byContent, DuplicateAnswer& answer);
  // It cannot match a second time.
  void Remove(const Match& match);

 private:
  KeyFieldList& ListOf(std::u16string_view parent, bool isFolder);

  // By the folder's identifier behind a sign for the kind.
  std::unordered_map<std::u16string, KeyFieldList> lists_;
  size_t waiting_ = 0;
};

}  // namespace qv

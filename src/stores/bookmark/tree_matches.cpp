#include "stores/bookmark/tree_matches.h"

#include "stores/bookmark/bookmark_texts.h"
#include "stores/winner.h"
#include "support/text.h"
#include "support/user_flags.h"
#include "syncdb/path_map.h"

namespace qv {

std::u16string BookmarkMd5(const Bookmark& bookmark) {
  return ComputeMd5(bookmark.title + bookmark.url);
}

void TreeMatches::Clear() {
  lists_.clear();
  waiting_ = 0;
}

KeyFieldList& TreeMatches::ListOf(std::u16string_view parent, bool isFolder) {
  std::u16string key(isFolder ? u"f" : u"b");
  return lists_.try_emplace(key.append(parent), MatchRule::UidOrKey).first->second;
}

void TreeMatches::Add(ComPtr<IItemCommon> item) {
  const ItemFields& fields = *FieldsOf(item.get());
  ListOf(fields.parentUid, fields.isFolder).Add(std::move(item));
  ++waiting_;
}

std::optional<TreeMatches::Match> TreeMatches::Find(const IncomingText& text,
                                                    const ComPtr<IItemCommon>& item, bool byContent,
                                                    DuplicateAnswer& answer) {
  const bool isFolder = text.IsFolderDocument();
  ItemFields& incoming = isFolder ? AsFolder(item).fields : AsBookmark(item).fields;
  if (isFolder) {
    incoming.keyFields = AsFolder(item).name;
  } else if (byContent) {
    incoming.md5 = incoming.keyFields = BookmarkMd5(AsBookmark(item));
  }
  if (IsSyncStopped()) throw StatusError(E_FAIL);
  KeyFieldList& list = ListOf(text.parent.empty() ? kTreeRoot : text.parent, isFolder);
  const auto position = list.Find(incoming);
  if (!position) return std::nullopt;
  const ItemFields& known = list.At(*position);
  answer.duplicated = true;
  answer.sourceUid = known.sourceUid;
  return Match{&list, *position,
               isFolder ? RESV_CONFLTLASTMODIFIED_IGNORE
                        : NewerSide(known.objModified, incoming.objModified)};
}

void TreeMatches::Remove(const Match& match) {
  match.list->Remove(match.position);
  --waiting_;
}

}  // namespace qv

// The numbers of a bookmark tree's files and folders: `Bookmark_FFPathUidMap`.
//
// A row hands a path a small permanent number, which in decimal is the `sourceUid`, and keeps
// beside it who the bookmark is to the phone (`obj_uid`, `obj_modified`), which survives a rename.
// One map serves all profiles.
//
// Paths here are relative to the tree's root in a form of their own: one "/" in front, "\" between
// the parts, "/Sub\Deeper\Name.url"; the root is "/", and its identifier too. Operations return a
// status and never throw.
#pragma once

#include <functional>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

#include "syncdb/identity_rows.h"

namespace qv {

inline constexpr std::u16string_view kTreeRoot = u"/";

// The path of an entry in a folder; and the folder of an entry, which is "/" for those at the top,
// and empty for the root itself and for no path.
std::u16string ChildPath(std::u16string_view folder, std::u16string_view name);
std::u16string ParentPath(std::u16string_view path);
std::u16string_view NameInPath(std::u16string_view path);
// From and to full paths below `root`, which has no "\" at its end. A full path outside the root
// gives an empty text.
std::u16string RelativeToAbsolute(std::u16string_view root, std::u16string_view relative);
std::u16string AbsoluteToRelative(std::u16string_view root, std::u16string_view absolute);

using TreeIdentity = RowIdentity;

class PathMap {
 public:
  // By path, in 16-bit units. Loaded by `Load`; an insert adds to it, a delete takes from it. A
  // rename leaves it as it is, deliberately: until the next load it holds the old paths.
  using Cache = std::map<std::u16string, std::u16string>;

  // The session must outlive the map.
  explicit PathMap(const SyncSession& session);

  HRESULT Load() noexcept;
  const Cache& cache() const { return cache_; }

  // Empty for an identifier without a row. The root is answered without a statement.
  HRESULT PathOf(std::u16string_view uid, std::u16string& path) noexcept;
  // From the table. DB_S_ENDOFROWSET and an empty identifier for a path without a row.
  HRESULT UidOf(std::u16string_view path, std::u16string& uid) noexcept;
  // The identifier of the path; one without a row gets a new number.
  HRESULT Assign(std::u16string_view path, std::u16string& uid) noexcept;
  // The same from the cache where it knows the path.
  HRESULT AssignCached(std::u16string_view path, std::u16string& uid) noexcept;

  // What is missing is made up (a new GUID, the present) and written back.
  HRESULT ReadIdentity(std::u16string_view uid, TreeIdentity& identity) noexcept {
    return identities_.Read(uid, identity);
  }
  // Nothing is done for an empty identifier.
  HRESULT WriteIdentity(std::u16string_view uid, const TreeIdentity& identity) noexcept {
    return identities_.Write(uid, identity);
  }
  // The same for the uid alone.
  HRESULT ReadObjUid(std::u16string_view uid, std::u16string& objUid) noexcept;
  HRESULT WriteObjUid(std::u16string_view uid, std::u16string_view objUid) noexcept;

  // What another row says of that path is of something that has gone: it goes too, or the next
  // look at the tree would take its number for this one's.
  HRESULT SetPath(std::u16string_view uid, std::u16string_view path) noexcept;
  // In the rows of these identifiers every occurrence of the old path becomes the new one, in one
  // statement. Identifiers without a row count for nothing. The rows that stand at the new path and
  // below it go before, as with `SetPath`.
  HRESULT Rewrite(std::span<const std::u16string> uids, std::u16string_view oldPath,
                  std::u16string_view newPath) noexcept;

  HRESULT Delete(std::u16string_view uid) noexcept;
  // In chunks; after each the cache is loaded anew.
  HRESULT Delete(std::span<const std::u16string> uids) noexcept;
  HRESULT DeleteAll() noexcept;

 private:
  HRESULT Insert(std::u16string_view path, std::u16string& uid);
  HRESULT DeleteBelow(std::u16string_view path, const Cache& moving);
  void ForgetRange(std::u16string_view first, std::u16string_view end,
                   const std::function<bool(std::u16string_view uid)>& isKept);
  Cache::iterator Find(std::u16string_view path);
  Cache::iterator Remember(Cache::iterator near, std::u16string path, std::u16string uid);
  void Forget(std::u16string_view uid);
  void Empty();

  const SyncSession& session_;
  IdentityRows identities_;
  Cache cache_;
  // The places of a number in the cache: more than one after a rename. Made when the first row is
  // forgotten.
  std::unordered_multimap<int32_t, Cache::iterator> places_;
  bool hasPlaces_ = false;
  Cache::iterator lastFound_ = cache_.end();
};

}  // namespace qv

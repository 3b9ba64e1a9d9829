#include "syncdb/path_map.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "platform/com/status_error.h"
#include "support/date_time.h"
#include "support/text.h"
#include "syncdb/sql_text.h"

namespace qv {
namespace {

// Persisted contract.
constexpr std::u16string_view kTable = u"Bookmark_FFPathUidMap";
constexpr std::u16string_view kIdColumn = u"bookmark_id";

std::u16string RowCondition(std::u16string_view uid) {
  return Concat({u" WHERE ", kIdColumn, u"='", uid, u"'"});
}

// One text column of the first row; false without a row.
bool FirstText(QueryRows& rows, std::u16string_view column, std::u16string& text) {
  if (!rows.Next()) return false;
  text = rows.Text(Bstr(column));
  return true;
}

}  // namespace

std::u16string ChildPath(std::u16string_view folder, std::u16string_view name) {
  return Concat({folder, folder == kTreeRoot ? u"" : u"\\", name});
}

std::u16string ParentPath(std::u16string_view path) {
  if (path.empty() || path == kTreeRoot) return {};
  const size_t cut = path.rfind(u'\\');
  return std::u16string(cut == path.npos ? kTreeRoot : path.substr(0, cut));
}

std::u16string_view NameInPath(std::u16string_view path) {
  const size_t cut = path.rfind(u'\\');
  return path.substr(cut == path.npos ? 1 : cut + 1);
}

std::u16string RelativeToAbsolute(std::u16string_view root, std::u16string_view relative) {
  if (relative.empty()) return {};
  if (relative == kTreeRoot) return std::u16string(root);
  return Concat({root, u"\\", relative.substr(1)});
}

std::u16string AbsoluteToRelative(std::u16string_view root, std::u16string_view absolute) {
  if (absolute == root) return std::u16string(kTreeRoot);
  const bool below = absolute.size() > root.size() + 1 && absolute.starts_with(root) &&
                     absolute[root.size()] == u'\\';
  return below ? Concat({kTreeRoot, absolute.substr(root.size() + 1)}) : std::u16string();
}

PathMap::PathMap(const SyncSession& session)
    : session_(session), identities_(session, kTable, kIdColumn) {}

void PathMap::Empty() {
  cache_.clear();
  places_.clear();
  hasPlaces_ = false;
  lastFound_ = cache_.end();
}

HRESULT PathMap::Load() noexcept {
  return Guarded([&] {
    static const Bstr kId(kIdColumn);
    static const Bstr kPath(u"filefolderpath");
    Empty();
    QueryRows rows;
    const HRESULT status =
        rows.Query(session_, Concat({u"SELECT bookmark_id,filefolderpath FROM ", kTable}));
    if (Failed(status)) return status;
    // Numbers are given in the order of a walk, so that the next path mostly follows the last one.
    auto place = cache_.end();
    while (rows.Next()) {
      place = Remember(place, rows.Text(kPath), rows.Text(kId));
      ++place;
    }
    return S_OK;
  });
}

// `near` is where the path may belong.
PathMap::Cache::iterator PathMap::Remember(Cache::iterator near, std::u16string path,
                                           std::u16string uid) {
  const size_t before = cache_.size();
  const auto place = cache_.try_emplace(near, std::move(path), uid);
  const bool isNew = cache_.size() != before;
  if (!isNew && hasPlaces_) {
    const auto [first, last] = places_.equal_range(ToInt(place->second));
    const auto old =
        std::find_if(first, last, [&](const auto& row) { return row.second == place; });
    if (old != last) places_.erase(old);
  }
  place->second = std::move(uid);
  if (hasPlaces_) places_.emplace(ToInt(place->second), place);
  return place;
}

void PathMap::Forget(std::u16string_view uid) {
  if (!hasPlaces_) {
    for (auto place = cache_.begin(); place != cache_.end(); ++place) {
      places_.emplace(ToInt(place->second), place);
    }
    hasPlaces_ = true;
  }
  const auto [first, last] = places_.equal_range(ToInt(uid));
  for (auto place = first; place != last; ++place) cache_.erase(place->second);
  places_.erase(first, last);
  lastFound_ = cache_.end();
}

// The paths from `first` on and before `end`.
void PathMap::ForgetRange(std::u16string_view first, std::u16string_view end,
                          const std::function<bool(std::u16string_view uid)>& isKept) {
  std::vector<std::u16string> gone;
  for (auto place = cache_.lower_bound(std::u16string(first));
       place != cache_.end() && place->first < end; ++place) {
    if (!isKept(place->second)) gone.push_back(place->second);
  }
  for (const std::u16string& uid : gone) Forget(uid);
}

// A walk asks for path after path in the order that they stand in here.
PathMap::Cache::iterator PathMap::Find(std::u16string_view path) {
  auto place = lastFound_ == cache_.end() ? cache_.begin() : std::next(lastFound_);
  const bool isNext = place != cache_.end() && place->first.size() == path.size() &&
                      std::memcmp(place->first.data(), path.data(), path.size() * 2) == 0;
  if (!isNext) place = cache_.find(std::u16string(path));
  return lastFound_ = place;
}

HRESULT PathMap::PathOf(std::u16string_view uid, std::u16string& path) noexcept {
  return Guarded([&] {
    path.clear();
    if (uid == kTreeRoot) {
      path = std::u16string(kTreeRoot);
      return S_OK;
    }
    QueryRows rows;
    const HRESULT status =
        rows.Query(session_, Concat({u"SELECT filefolderpath FROM ", kTable, RowCondition(uid)}));
    if (Succeeded(status)) FirstText(rows, u"filefolderpath", path);
    return status;
  });
}

HRESULT PathMap::UidOf(std::u16string_view path, std::u16string& uid) noexcept {
  return Guarded([&] {
    uid.clear();
    QueryRows rows;
    // Two blanks behind SELECT, deliberately.
    const HRESULT status =
        rows.Query(session_, Concat({u"SELECT  bookmark_id FROM ", kTable,
                                     u" WHERE filefolderpath='", QuoteSqlText(path), u"'"}));
    if (Failed(status)) return status;
    return FirstText(rows, kIdColumn, uid) ? status : DB_S_ENDOFROWSET;
  });
}

HRESULT PathMap::Insert(std::u16string_view path, std::u16string& uid) {
  Check(session_.Run(
      Concat({u"INSERT INTO ", kTable, u"(filefolderpath)  VALUES('", QuoteSqlText(path), u"')"})));
  int32_t number = 0;
  Check(
      session_.accessor->GetLastIdentity(session_.session, Bstr(kTable), Bstr(kIdColumn), &number));
  uid = Decimal(number);
  Remember(cache_.end(), std::u16string(path), uid);
  return S_OK;
}

HRESULT PathMap::Assign(std::u16string_view path, std::u16string& uid) noexcept {
  return Guarded([&] {
    Check(UidOf(path, uid));
    return uid.empty() ? Insert(path, uid) : S_OK;
  });
}

HRESULT PathMap::AssignCached(std::u16string_view path, std::u16string& uid) noexcept {
  return Guarded([&] {
    const auto known = Find(path);
    if (known == cache_.end()) return Assign(path, uid);
    uid = known->second;
    return S_OK;
  });
}

HRESULT PathMap::ReadObjUid(std::u16string_view uid, std::u16string& objUid) noexcept {
  return Guarded([&] {
    objUid.clear();
    {
      QueryRows rows;
      Check(rows.Query(session_, Concat({u"SELECT  obj_uid FROM ", kTable, RowCondition(uid)})));
      FirstText(rows, u"obj_uid", objUid);
    }
    if (!objUid.empty()) return S_OK;
    objUid = MakeGuidText();
    return WriteObjUid(uid, objUid);
  });
}

HRESULT PathMap::WriteObjUid(std::u16string_view uid, std::u16string_view objUid) noexcept {
  if (uid.empty()) return S_OK;
  return Guarded([&] {
    return session_.Run(
        Concat({u"UPDATE ", kTable, u" SET  obj_uid='", objUid, u"'", RowCondition(uid)}));
  });
}

HRESULT PathMap::SetPath(std::u16string_view uid, std::u16string_view path) noexcept {
  return Guarded([&] {
    Check(session_.Run(Concat({u"DELETE FROM ", kTable, u" WHERE filefolderpath='",
                               QuoteSqlText(path), u"' AND bookmark_id<>'", uid, u"'"})));
    ForgetRange(path, Concat({path, std::u16string_view(u"\0", 1)}),
                [&](std::u16string_view known) { return known == uid; });
    return session_.Run(Concat({u"UPDATE ", kTable, u" SET  filefolderpath='", QuoteSqlText(path),
                                u"'", RowCondition(uid)}));
  });
}

// The row of the path and those below it; nobody of `moving` is there yet.
HRESULT PathMap::DeleteBelow(std::u16string_view path, const Cache& moving) {
  // "]" is the sign behind "\\".
  const std::u16string first = Concat({path, u"\\"});
  const std::u16string end = Concat({path, u"]"});
  const std::u16string quoted = QuoteSqlText(path);
  Check(session_.Run(
      Concat({u"DELETE FROM ", kTable, u" WHERE filefolderpath='", quoted,
              u"' OR (filefolderpath>='", quoted, u"\\' AND filefolderpath<'", quoted, u"]')"})));
  const auto isKept = [&](std::u16string_view uid) { return moving.contains(std::u16string(uid)); };
  ForgetRange(path, Concat({path, std::u16string_view(u"\0", 1)}), isKept);
  ForgetRange(first, end, isKept);
  return S_OK;
}

HRESULT PathMap::Rewrite(std::span<const std::u16string> uids, std::u16string_view oldPath,
                         std::u16string_view newPath) noexcept {
  return Guarded([&] {
    static const Bstr kId(kIdColumn);
    static const Bstr kPath(u"filefolderpath");
    std::map<std::u16string, std::u16string> paths;
    for (const std::u16string& where : BuildOrConditions(uids, kIdColumn)) {
      QueryRows rows;
      Check(rows.Query(session_, Concat({u"SELECT bookmark_id,filefolderpath FROM ", kTable,
                                         u" WHERE ", where})));
      while (rows.Next()) paths.insert_or_assign(rows.Text(kId), rows.Text(kPath));
    }
    if (paths.empty()) return S_OK;
    if (oldPath != newPath) Check(DeleteBelow(newPath, paths));
    std::u16string statement =
        Concat({u"UPDATE ", kTable, u" SET filefolderpath = CASE bookmark_id"});
    std::u16string ids;
    for (auto& [id, path] : paths) {
      // Every occurrence, not only the leading one, deliberately.
      ReplaceAll(path, oldPath, newPath);
      statement += Concat({u" WHEN '", id, u"' THEN '", QuoteSqlText(path), u"'"});
      ids += Concat({ids.empty() ? u"'" : u",'", id, u"'"});
    }
    return session_.Run(Concat({statement, u" END WHERE bookmark_id IN (", ids, u")"}));
  });
}

HRESULT PathMap::Delete(std::u16string_view uid) noexcept {
  return Guarded([&] {
    const HRESULT status = session_.Run(Concat({u"DELETE FROM ", kTable, RowCondition(uid)}));
    if (Succeeded(status)) Forget(uid);
    return status;
  });
}

HRESULT PathMap::Delete(std::span<const std::u16string> uids) noexcept {
  return Guarded([&] {
    for (const std::u16string& where : BuildOrConditions(uids, kIdColumn)) {
      Check(session_.Run(Concat({u"DELETE FROM ", kTable, u" WHERE ", where})));
      Check(Load());
    }
    return S_OK;
  });
}

HRESULT PathMap::DeleteAll() noexcept {
  return Guarded([&] {
    const HRESULT status = session_.Run(Concat({u"DELETE FROM ", kTable}));
    if (Succeeded(status)) Empty();
    return status;
  });
}

}  // namespace qv

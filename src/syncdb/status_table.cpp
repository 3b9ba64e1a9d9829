#include "syncdb/status_table.h"

#include <map>
#include <vector>

#include "platform/com/class_factory.h"
#include "syncdb/sql_text.h"

namespace qv {
namespace {

struct Node {
  ComPtr<IStatusDBItemTree> tree;
  std::u16string id;
  bool isFolder;
};
using ChildrenByParent = std::map<std::u16string, std::vector<Node>>;

// Takes each parent's children out of the map, so that a ring of folders ends, and works through a
// list, so that a long chain of folders does not fill the stack.
void AttachChildren(ChildrenByParent& all, IStatusDBItemTree& root, bool skipFolders) {
  struct Open {
    std::u16string id;
    IStatusDBItemTree* node;
  };
  std::vector<Open> open = {{u"/", &root}};
  while (!open.empty()) {
    const Open parent = std::move(open.back());
    open.pop_back();
    auto range = all.extract(parent.id);
    if (range.empty()) continue;
    const auto list = CreateInstance<IUnkList>(CLSID_UnkList);
    Check(parent.node->put_SubItemTree(list.get()));
    for (const Node& child : range.mapped()) {
      if (child.isFolder && skipFolders) continue;
      if (child.isFolder) open.push_back({child.id, child.tree.get()});
      Check(list->Add(child.tree.get()));
    }
  }
}

}  // namespace

HRESULT StatusTable::ReadTree(bool skipFolders, ComPtr<IStatusDBItemTree>& root) noexcept {
  return Guarded([&] {
    const Bstr idColumn(info_.idColumn);
    const Bstr parentColumn(info_.parentColumn);
    static const Bstr kModified(u"modified");
    static const Bstr kIsFolder(u"isfolder");
    static const Bstr kMd5(u"md5");

    QueryRows rows;
    const HRESULT status = rows.Query(
        session_,
        Concat({u"SELECT ", info_.idColumn, u",", info_.parentColumn, u",modified,isfolder",
                info_.hasMd5 ? u",md5" : u"", u" FROM ", info_.table, u" WHERE profile_id='",
                session_.targetKey, u"'", info_.ordered ? u" ORDER BY " : u"",
                info_.ordered ? info_.idColumn : u""}));
    if (Failed(status)) return status;

    ChildrenByParent children;
    Guarded([&] {
      while (rows.Next()) {
        StatusRow row;
        row.sourceUid = rows.Text(idColumn);
        row.parentUid = rows.Text(parentColumn);
        row.modified = GetDateColumn(rows, kModified);
        row.isFolder = rows.Number(kIsFolder) != 0;
        if (info_.hasMd5) row.md5 = rows.Text(kMd5);
        Node node{nullptr, row.sourceUid, row.isFolder};
        auto& siblings = children[row.parentUid];
        node.tree = MakeStatusNode(std::move(row));
        siblings.push_back(std::move(node));
      }
      return S_OK;
    });
    rows.Close();

    auto tree = MakeStatusRoot();
    AttachChildren(children, *tree, skipFolders);
    root = std::move(tree);
    return S_OK;
  });
}

std::u16string StatusTable::RowCondition(const std::u16string& id) const {
  return Concat(
      {u" WHERE ", info_.idColumn, u"='", id, u"' AND profile_id='", session_.targetKey, u"'"});
}

HRESULT StatusTable::Exists(const std::u16string& id, bool& exists) noexcept {
  exists = false;
  return Guarded([&] {
    QueryRows rows;
    const HRESULT status = rows.Query(
        session_, Concat({u"SELECT ", info_.idColumn, u" FROM ", info_.table, RowCondition(id)}));
    exists = Succeeded(status) && rows.Next();
    return status;
  });
}

std::u16string StatusTable::InsertText(const StatusRow& row) const {
  std::u16string text =
      Concat({u"INSERT INTO ", info_.table, u" (", info_.idColumn, u",", info_.parentColumn,
              u",modified,isfolder", info_.hasMd5 ? u",md5" : u"", u",profile_id) VALUES('",
              row.sourceUid, u"','", row.parentUid, u"','", FormatDateTime(row.modified), u"',",
              row.isFolder ? u"1" : u"0"});
  if (info_.hasMd5) text += Concat({u",'", row.md5, u"'"});
  return text += Concat({u",'", session_.targetKey, u"')"});
}

std::u16string StatusTable::UpdateText(const StatusRow& row) const {
  // "isFolder" is spelled with a capital here; the database does not mind.
  std::u16string text = Concat({u"UPDATE ", info_.table, u" SET ", info_.parentColumn, u"='",
                                row.parentUid, u"',modified='", FormatDateTime(row.modified),
                                u"',isFolder=", row.isFolder ? u"1" : u"0"});
  if (info_.hasMd5) text += Concat({u",md5='", row.md5, u"'"});
  return text += RowCondition(row.sourceUid);
}

HRESULT StatusTable::Update(STATUSDB_UPDATECMD command, const StatusRow& row) noexcept {
  return Guarded([&] {
    bool exists = false;
    if (const HRESULT status = Exists(row.sourceUid, exists); Failed(status)) return status;
    switch (command) {
      case STATDBUPDATE_ADD:
      case STATDBUPDATE_REPL:
      case STATDBUPDATE_MOVE:
        return session_.Run(exists ? UpdateText(row) : InsertText(row));
      case STATDBUPDATE_DEL:
        if (!exists) return S_OK;
        return session_.Run(Concat({u"DELETE FROM ", info_.table, RowCondition(row.sourceUid)}));
    }
    return E_FAIL;
  });
}

HRESULT StatusTable::Delete(std::span<const std::u16string> ids) noexcept {
  return Guarded([&] {
    for (const std::u16string& chunk : BuildOrConditions(ids, info_.idColumn)) {
      // Two blanks behind WHERE, deliberately.
      Check(session_.Run(Concat({u"DELETE FROM ", info_.table, u" WHERE  profile_id='",
                                 session_.targetKey, u"' AND (", chunk, u")"})));
    }
    return S_OK;
  });
}

HRESULT StatusTable::DeleteAll() noexcept {
  return Guarded([&] {
    return session_.Run(
        Concat({u"DELETE FROM ", info_.table, u" WHERE profile_id='", session_.targetKey, u"'"}));
  });
}

}  // namespace qv

// The file of one profile: its folders, the items in them and the sub-items of these, as rows.
//
// Each change is a transaction of its own and on disk when the call returns, or a part of the group
// that is open. Several processes may have the file open. Failures throw SqliteError.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "pim/item_kinds.h"
#include "pim/item_row.h"
#include "pim/statement_set.h"
#include "pim/sub_item_table.h"
#include "platform/database/sqlite.h"

namespace qv {

class ProfileFile {
 public:
  // Opens or makes the file; a kind without a folder gets one, with an identifier of `newId`.
  ProfileFile(const std::string& path, const std::function<std::u16string()>& newId);

  const std::string& path() const { return db_.path(); }

  // The number of a folder within the file; nothing when there is none of this kind.
  std::optional<int64_t> FindFolder(OlObjectClass kind, std::u16string_view folderId);
  // The identifier of a kind's first folder, empty for none.
  std::u16string FirstFolder(OlObjectClass kind);

  void Insert(OlObjectClass kind, int64_t folder, const ItemRow& row, std::string_view content);
  // These two are false when there is no such item. Its sub-items go with it.
  bool Update(OlObjectClass kind, const ItemRow& row, std::string_view content);
  bool Delete(OlObjectClass kind, std::u16string_view entryId);

  // Without name and key text.
  std::optional<ItemRow> Find(OlObjectClass kind, std::u16string_view entryId);
  // Throws SqliteError for a row whose content is not its own.
  std::optional<ItemRow> Read(OlObjectClass kind, std::u16string_view entryId,
                              std::string& content);

  // In the order of creation. A list tells of each item: everything, everything but the name and
  // the key text, or the identifier alone.
  enum class Listing { WithTexts, WithoutTexts, Identifiers };
  void List(int64_t folder, Listing listing, const std::function<void(ItemRow&&)>& take);
  // Everything, with the content; one that is missing is empty.
  void ListContents(int64_t folder,
                    const std::function<void(ItemRow&&, std::string_view content)>& take);

  // To read sub-items.
  SubItemTable& subItems() { return subItems_; }
  // Runs `change` in one transaction of its own, which is undone when it throws. What it writes of
  // items goes through `Rewrite`.
  void Change(const std::function<void(SubItemTable&)>& change);
  // What is written while it lives is one transaction.
  std::unique_ptr<SqliteTransaction> Group() { return std::make_unique<SqliteTransaction>(db_); }
  // As Update, within a change.
  bool Rewrite(OlObjectClass kind, const ItemRow& row, std::string_view content);

 private:
  SqliteDatabase db_;
  StatementSet statements_;
  SubItemTable subItems_;
};

}  // namespace qv

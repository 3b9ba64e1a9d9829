// The file of one profile: its folders and the items in them, as rows.
//
// Each change is a transaction of its own and on disk when the call returns. Several processes may
// have the file open. Failures throw SqliteError.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "pim/item_kinds.h"
#include "platform/database/sqlite.h"

namespace qv {

// What a row tells of an item, its content apart.
struct ItemRow {
  std::u16string entryId;
  // The moment of the last change, in seconds since 1970, and the wall-clock time that it had then
  // where it was made, counted in the same manner: another zone does not change what was stamped.
  int64_t modifiedUtc = 0;
  int64_t modifiedLocal = 0;
  std::u16string md5;
  std::u16string keyText;
  std::u16string name;
};

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
  // These two are false when there is no such item.
  bool Update(OlObjectClass kind, const ItemRow& row, std::string_view content);
  bool Delete(OlObjectClass kind, std::u16string_view entryId);

  // Without name and key text.
  std::optional<ItemRow> Find(OlObjectClass kind, std::u16string_view entryId);
  std::optional<ItemRow> Read(OlObjectClass kind, std::u16string_view entryId,
                              std::string& content);

  // In the order of creation. A list tells of each item: everything, everything but the name and
  // the key text, or the identifier alone.
  enum class Listing { WithTexts, WithoutTexts, Identifiers };
  void List(int64_t folder, Listing listing, const std::function<void(ItemRow&&)>& take);

 private:
  class Use;

  SqliteDatabase db_;
  std::vector<SqliteStatement> statements_;  // parallel to their table
};

}  // namespace qv

// What is remembered of the files of a contacts folder, so that a known one is not opened: a cache
// in a file of its own, never believed over the files.
//
// Failures throw SqliteError; a file that is no database is made anew.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/database/sqlite.h"

namespace qv {

struct IndexedContact {
  std::string path = {};  // within the folder
  // How the file was when it was read.
  uint64_t size = 0;
  uint64_t inode = 0;
  int64_t modifiedNs = 0;
  int64_t changedNs = 0;
  std::u16string id = {};        // whose it is: 36 upper-case characters
  std::u16string storedId = {};  // what it says itself; empty for none
  std::u16string picture = {};   // "PhotoCollection/Photo[1]/Url"
};

class ContactIndex {
 public:
  explicit ContactIndex(const std::string& path);

  std::vector<IndexedContact> Load();
  void Put(const IndexedContact& contact);
  void Remove(const std::string& path);
  // What is written while it lives is one transaction.
  SqliteTransaction Group() { return SqliteTransaction(*db_); }

 private:
  void Open(const std::string& path);

  std::unique_ptr<SqliteDatabase> db_;
  std::unique_ptr<SqliteStatement> put_;
  std::unique_ptr<SqliteStatement> remove_;
};

}  // namespace qv

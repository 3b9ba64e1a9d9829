// One store of files, opened through the manager for one job. What it still has to write it writes
// when it dies.
//
// Such a store has a bag of its own: the profile's, in which no other store is switched on.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "framework/store_contract.h"
#include "host/engine/right_moments.h"
#include "host/profile.h"
#include "syncdb/status_interfaces.h"

namespace qv {

enum class FileFormat { Csv, VCard, VCal };

// A store of files: what it takes in which form.
struct FileStoreRow {
  FileFormat format;
  std::string_view kind;  // of items, as in StoreKind
  std::u16string_view configName;
  std::u16string_view className;
  std::string_view filePrefix;  // what the names of its files begin with, and end with
  std::string_view extension;
  bool writesAtOnce;  // each item as it comes, not one file at the end
};

// Null where a format cannot hold items of a kind.
const FileStoreRow* FindFileStore(FileFormat format, std::string_view kind);
// Its word on the command line: "csv", "vcf", "vcs".
const char* FormatWord(FileFormat format);

// What the bag says of a job. Paths are in the module's form.
struct FileJob {
  const FileStoreRow* row = nullptr;
  bool isImport = true;
  std::u16string folder;
  std::u16string fileNames;   // of an import, ";" between them
  std::u16string mappingXml;  // of a CSV import
  // Of an import: what its items are called in a report, in their order. There must be as many.
  std::vector<std::string> places;
  // Where its items name each other: the identifiers that they have in the file, in the
  // order of the items, a series before its exceptions.
  std::vector<std::u16string> uids;
  // By place, of appointments whose moments the store cannot make of any cell: they are set behind
  // it.
  std::map<size_t, RightMoments> moments;
};

// Why nothing can be made in a folder (a native path); nothing where a file of so many bytes can.
std::optional<std::string> ProbeFolder(const std::string& folder, size_t bytes);
// Why a folder (in the module's form) has no room for a name; nothing where it has.
std::optional<std::string> LacksRoom(std::u16string_view folder, std::u16string_view name);

class FileStore {
 public:
  // Throws StoreFailure.
  FileStore(Profile& profile, const FileJob& job);
  FileStore(const FileStore&) = delete;
  FileStore& operator=(const FileStore&) = delete;

  // Import: how many items there are. Each is new.
  int32_t Count();
  // Their text, and the item behind it. Throws ItemError.
  std::string Get(int32_t index, ComPtr<IItemCommon>& item);
  // Export. `change` may change the item behind the text before the store takes it. Throws
  // ItemError, and StoreFailure when nothing more can be written to the folder.
  void Add(std::string_view text, const std::function<void(IItemCommon&)>& change = {});

 private:
  Bstr type_;
  std::u16string modulePath_;
  std::string folder_;  // native
  ComPtr<IDataStoreMgr> manager_;
  ComPtr<IDataStore> store_;
  ComPtr<IStatusDB> status_;
};

}  // namespace qv

// Files and folders, by native path (bytes, "/" between the parts).
//
// Every operation reports through `std::error_code`; none throws on a file's account. The service
// is replaceable so that a test can fail any single operation. Texts of the module hold paths in
// their own form, with "\" and perhaps a drive: `NativePath` is the one place that turns them.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace qv {

struct FileInfo {
  uint64_t size = 0;
  int64_t modifiedNs = 0;  // since 1970, in nanoseconds
  bool isFolder = false;
  int64_t changedNs = 0;  // of the last write, rename, or change of its properties
  uint64_t inode = 0;     // its number on its file system
  uint64_t device = 0;    // which file system that is, until the next mount
};

struct FolderEntry {
  std::string name;
  FileInfo info;
};

// What stands under a name itself, links not followed. Other: links, pipes and the like.
enum class EntryKind : uint8_t { File, Folder, Other };

struct EntryStat {
  EntryKind kind = EntryKind::File;
  uint64_t size = 0;
  int64_t createdNs = 0;  // since 1970, in nanoseconds; where it is not known the earlier of the
                          // times of last write and last change
  int64_t modifiedNs = 0;
  int64_t accessedNs = 0;
  int64_t changedNs = 0;
  uint64_t inode = 0;
};

struct PlainEntry {
  std::string name;
  EntryKind kind = EntryKind::File;
  // Where they were asked for.
  int64_t modifiedNs = 0;
  int64_t changedNs = 0;
  uint64_t size = 0;
  uint64_t inode = 0;
  int64_t createdNs = 0;
};

// A file that lies beside its place, whole, and has yet to take it.
struct StagedFile {
  std::string temporary;
  std::string target;  // the place, behind any link
};

class Files {
 public:
  virtual ~Files() = default;

  // A missing file gives std::errc::no_such_file_or_directory. Links are followed.
  virtual std::error_code Stat(const std::string& path, FileInfo& info) = 0;
  // Regular files and folders directly below, unordered; "." and ".." left out. An entry that goes
  // away meanwhile, and a link that leads nowhere, is left out. On failure there are no entries.
  virtual std::error_code List(const std::string& folder, std::vector<FolderEntry>& entries) = 0;
  // Replaces `bytes`. On failure it holds what was read. Only regular files can be read.
  virtual std::error_code Read(const std::string& path, std::string& bytes) = 0;
  // The same file from its start, a piece at a time until `take` answers false. All pieces but the
  // last have one size, a multiple of 4096 bytes and half a million at most; an empty file has
  // none.
  virtual std::error_code ReadPieces(const std::string& path,
                                     const std::function<bool(std::string_view)>& take) = 0;
  // Creates or truncates; not atomic.
  virtual std::error_code Write(const std::string& path, std::string_view bytes) = 0;
  // At the end of the file; creates a missing one.
  virtual std::error_code Append(const std::string& path, std::string_view bytes) = 0;
  // To a temporary name beside it (".", the name cut to fit, ".tmp"), synced to disk, renamed:
  // readers see the old or the new file, which keeps the permission bits of the old one. A link
  // stays and its target is replaced. On failure the temporary file is removed and the old one
  // stands.
  // The rename itself is on disk only after `SyncFolder`.
  virtual std::error_code WriteAtomic(const std::string& path, std::string_view bytes) = 0;
  // The first half of it, without the wait, for many files that share one `Settle`: writes the
  // temporary file. The other half is `Rename` (or `RenameNew`, for a file that must not be there)
  // from the temporary name to the target; `Remove` takes the temporary file back. On failure none
  // is left.
  virtual std::error_code Stage(const std::string& path, std::string_view bytes,
                                StagedFile& staged) = 0;
  virtual std::error_code SyncFolder(const std::string& folder) = 0;
  // What was written so far to these files, and made, renamed or removed in these folders, is on
  // disk. A few are waited for one by one; many, and folders between which something may have been
  // moved, with one wait for each file system that they are on. What has gone meanwhile is passed
  // over.
  virtual std::error_code Settle(std::span<const std::string> files,
                                 std::span<const std::string> folders) = 0;
  // A missing file is no failure.
  virtual std::error_code Remove(const std::string& path) = 0;
  virtual std::error_code Rename(const std::string& from, const std::string& to) = 0;
  // With every missing folder above it. An existing folder is no failure.
  virtual std::error_code MakeFolder(const std::string& path) = 0;

  // The operations below follow no link in the last part of a path, and replace nothing.

  virtual std::error_code StatEntry(const std::string& path, EntryStat& stat) = 0;
  // Everything directly below but "." and "..", unordered. Without `withTimes` no entry is looked
  // at where the folder itself tells its kind. An entry that goes away meanwhile is left out. On
  // failure there are no entries.
  virtual std::error_code ListEntries(const std::string& folder, bool withTimes,
                                      std::vector<PlainEntry>& entries) = 0;
  // A new file, never in the place of anything. What could not be written whole is taken away.
  virtual std::error_code CreateNew(const std::string& path, std::string_view bytes) = 0;
  // std::errc::file_exists where the new name is taken, also by an empty folder.
  virtual std::error_code RenameNew(const std::string& from, const std::string& to) = 0;
  // One folder, not those above it. std::errc::file_exists where the name is taken.
  virtual std::error_code MakeNewFolder(const std::string& path) = 0;
  // An empty folder.
  virtual std::error_code RemoveFolder(const std::string& path) = 0;
  // Seconds since 1970, UTC; the other times stay.
  virtual std::error_code SetModified(const std::string& path, int64_t seconds) = 0;

  static Files& Default();
};

// The native path of a path in the module's form: "\" becomes "/", a leading drive ("C:") is
// dropped. Nothing for a path that holds / : * ? " < > |, a character below 32, or a lone
// surrogate, under which two names would become one.
std::optional<std::string> ToNativePath(std::u16string_view path);
// The way back, without a drive. Nothing for a path that the module's form cannot name.
std::optional<std::u16string> FromNativePath(std::string_view path);
// A native name as a person can read it on one line and find it again: control characters, and
// bytes that are no UTF-8, as "\xNN".
std::u16string PrintableName(std::string_view name);
// Whether `WriteAtomic` makes its temporary file under such a name, by the text alone, and of
// what: the name of the file meant, or as much as there was room for.
std::optional<std::string_view> NameBehindTemporary(std::string_view name);

}  // namespace qv

// Files and folders as the stores name them: paths in the module's form ("C:\a\b.url"), failures as
// system error numbers, symbolic links never followed.
//
// A path that holds "/", or a name that the module's own system would refuse, gives kInvalidName
// and touches nothing; so does a last part "." or "..". "\" at the end of a path is passed over,
// but the name of something new must be there. Lengths are not limited here. Everything goes
// through the `Files` service.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "platform/system/files.h"

namespace qv {

// Persisted contract: logs and callers know these numbers.
using SystemError = uint32_t;
inline constexpr SystemError kNoError = 0;
inline constexpr SystemError kFileNotFound = 2;
inline constexpr SystemError kPathNotFound = 3;  // not even its folder is there
inline constexpr SystemError kAccessDenied = 5;
inline constexpr SystemError kGeneralFailure = 31;  // whatever has no number of its own
inline constexpr SystemError kFileExists = 80;      // from CreateNewFile
inline constexpr SystemError kInvalidParameter = 87;
inline constexpr SystemError kDiskFull = 112;
inline constexpr SystemError kInvalidName = 123;
inline constexpr SystemError kFolderNotEmpty = 145;
inline constexpr SystemError kAlreadyExists = 183;  // from MakeFolder and RenameEntry
inline constexpr SystemError kNameTooLong = 206;

struct EntryInfo {
  std::u16string name;  // the last part of its path
  EntryKind kind = EntryKind::File;
  uint64_t size = 0;
  // Whole seconds since 1970, UTC. A file system without creation times gives the earlier of the
  // times of last write and of last change.
  int64_t created = 0;
  int64_t modified = 0;
  int64_t accessed = 0;
  // Since 1970, in nanoseconds: of the last write; and of the last write, rename or other change.
  int64_t modifiedNs = 0;
  int64_t changedNs = 0;
  int64_t createdNs = 0;
  uint64_t inode = 0;
};

// What is in a folder under a name that no path of the module's form can hold: one with one of
// : * ? " < > | \ or a control character, or bytes that are no UTF-8.
struct UnusableEntry {
  std::string name;  // its bytes; see PrintableName
  EntryKind kind = EntryKind::File;
};

enum class ListDetail : uint8_t { Names, Modified };  // name and kind; and size, times, inode

// Sorted by name, in 16-bit units; without "." and "..", and without names that no path can hold,
// which go into `unusable`, sorted by their bytes. On failure there are no entries.
SystemError ListFolder(std::u16string_view folder, ListDetail detail,
                       std::vector<EntryInfo>& entries,
                       std::vector<UnusableEntry>* unusable = nullptr);
// What stands under exactly this path.
SystemError FindEntry(std::u16string_view path, EntryInfo& entry);
inline bool EntryExists(std::u16string_view path) {
  EntryInfo entry;
  return FindEntry(path, entry) == kNoError;
}

// Regular files alone. On failure there are no bytes.
SystemError ReadFileBytes(std::u16string_view path, std::string& bytes);
// Never replaces; what could not be written whole is taken away again.
SystemError CreateNewFile(std::u16string_view path, std::string_view bytes);
// The old or the new content, never a mixture.
// Only of a file that is there.
SystemError ReplaceFileBytes(std::u16string_view path, std::string_view bytes);
SystemError DeleteFile(std::u16string_view path);
// One folder; the one above it must be there.
SystemError MakeFolder(std::u16string_view path);
SystemError RemoveFolder(std::u16string_view path);  // an empty one
// Moves and renames, never replaces. A change of letter case alone is a rename like any other.
SystemError RenameEntry(std::u16string_view from, std::u16string_view to);
// The time of last write, in seconds since 1970, UTC; the other times stay.
SystemError SetFileModified(std::u16string_view path, int64_t seconds);

// Whether a folder between `root` and the last part of `path`, which lies below `root`, is a link
// or no folder: what is behind it lies somewhere else. So does, by the text alone, a path that is
// not below `root`, has a part "." or "..", or that no name can hold. What is missing does not lead
// away. `root` itself may be a link.
bool LeavesTree(std::u16string_view root, std::u16string_view path);

}  // namespace qv

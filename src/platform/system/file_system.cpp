#include "platform/system/file_system.h"

#include <algorithm>
#include <utility>

#include "platform/system/native_entry.h"
#include "platform/system/service.h"
#include "platform/system/utf8.h"

namespace qv {
namespace {

Files& Disk() {
  return Service<Files>::Get();
}

// Down, also before 1970.
int64_t WholeSeconds(int64_t nanoseconds) {
  constexpr int64_t kSecond = 1'000'000'000;
  return nanoseconds / kSecond - (nanoseconds % kSecond < 0 ? 1 : 0);
}

// Of an entry that is to be made: it must have a name.
std::optional<std::string> NativeNewEntry(std::u16string_view path) {
  std::optional<std::string> native = NativeEntry(path);
  if (!native || native->empty() || path.back() == u'\\') return std::nullopt;
  return native;
}

// A link must not be read or written through.
SystemError CheckRegular(const std::string& native) {
  EntryStat stat;
  if (const std::error_code error = Disk().StatEntry(native, stat)) return NumberOf(error, native);
  return stat.kind == EntryKind::File ? kNoError : kAccessDenied;
}

}  // namespace

SystemError ListFolder(std::u16string_view folder, ListDetail detail,
                       std::vector<EntryInfo>& entries, std::vector<UnusableEntry>* unusable) {
  entries.clear();
  if (unusable != nullptr) unusable->clear();
  const std::optional<std::string> native = NativeEntry(folder);
  if (!native) return kInvalidName;
  std::vector<PlainEntry> found;
  const std::error_code error = Disk().ListEntries(*native, detail == ListDetail::Modified, found);
  if (error) return NumberOf(error, *native);
  entries.reserve(found.size());
  for (PlainEntry& plain : found) {
    std::optional<std::u16string> name = FromNativePath(plain.name);
    if (!name) {
      if (unusable != nullptr) unusable->push_back({std::move(plain.name), plain.kind});
      continue;
    }
    EntryInfo& entry = entries.emplace_back();
    entry.name = *std::move(name);
    entry.kind = plain.kind;
    entry.size = plain.size;
    entry.modified = WholeSeconds(plain.modifiedNs);
    entry.modifiedNs = plain.modifiedNs;
    entry.changedNs = plain.changedNs;
    entry.createdNs = plain.createdNs;
    entry.inode = plain.inode;
  }
  if (unusable != nullptr) std::ranges::sort(*unusable, {}, &UnusableEntry::name);
  std::sort(entries.begin(), entries.end(),
            [](const EntryInfo& a, const EntryInfo& b) { return a.name < b.name; });
  return kNoError;
}

SystemError FindEntry(std::u16string_view path, EntryInfo& entry) {
  const std::optional<std::string> native = NativeEntry(path);
  if (!native) return kInvalidName;
  EntryStat stat;
  if (const std::error_code error = Disk().StatEntry(*native, stat)) {
    return NumberOf(error, *native);
  }
  entry.name = FromUtf8(std::string_view(*native).substr(native->rfind('/') + 1));
  entry.kind = stat.kind;
  entry.size = stat.size;
  entry.created = WholeSeconds(stat.createdNs);
  entry.modified = WholeSeconds(stat.modifiedNs);
  entry.accessed = WholeSeconds(stat.accessedNs);
  entry.modifiedNs = stat.modifiedNs;
  entry.changedNs = stat.changedNs;
  entry.createdNs = stat.createdNs;
  entry.inode = stat.inode;
  return kNoError;
}

SystemError ReadFileBytes(std::u16string_view path, std::string& bytes) {
  bytes.clear();
  const std::optional<std::string> native = NativeEntry(path);
  if (!native) return kInvalidName;
  if (const SystemError error = CheckRegular(*native)) return error;
  const std::error_code error = Disk().Read(*native, bytes);
  if (error) bytes.clear();
  return NumberOf(error, *native);
}

SystemError CreateNewFile(std::u16string_view path, std::string_view bytes) {
  const std::optional<std::string> native = NativeNewEntry(path);
  if (!native) return kInvalidName;
  const std::error_code error = Disk().CreateNew(*native, bytes);
  return error == std::errc::file_exists ? kFileExists : NumberOf(error, *native);
}

SystemError ReplaceFileBytes(std::u16string_view path, std::string_view bytes) {
  const std::optional<std::string> native = NativeEntry(path);
  if (!native) return kInvalidName;
  if (const SystemError error = CheckRegular(*native)) return error;
  return NumberOf(Disk().WriteAtomic(*native, bytes), *native);
}

SystemError DeleteFile(std::u16string_view path) {
  const std::optional<std::string> native = NativeEntry(path);
  if (!native) return kInvalidName;
  EntryStat stat;
  if (const std::error_code error = Disk().StatEntry(*native, stat)) {
    return NumberOf(error, *native);
  }
  if (stat.kind == EntryKind::Folder) return kAccessDenied;
  return NumberOf(Disk().Remove(*native), *native);
}

SystemError MakeFolder(std::u16string_view path) {
  const std::optional<std::string> native = NativeNewEntry(path);
  return native ? NumberOf(Disk().MakeNewFolder(*native), *native) : kInvalidName;
}

SystemError RemoveFolder(std::u16string_view path) {
  const std::optional<std::string> native = NativeEntry(path);
  return native ? NumberOf(Disk().RemoveFolder(*native), *native) : kInvalidName;
}

SystemError RenameEntry(std::u16string_view from, std::u16string_view to) {
  const std::optional<std::string> source = NativeEntry(from);
  const std::optional<std::string> target = NativeNewEntry(to);
  if (!source || !target) return kInvalidName;
  const std::error_code error = Disk().RenameNew(*source, *target);
  const SystemError number = NumberOf(error, *source);
  if (number != kFileNotFound) return number;
  // Of the two names it may be the new one that has no folder.
  EntryStat stat;
  return Disk().StatEntry(*source, stat) ? number : NumberOf(error, *target);
}

SystemError SetFileModified(std::u16string_view path, int64_t seconds) {
  const std::optional<std::string> native = NativeEntry(path);
  return native ? NumberOf(Disk().SetModified(*native, seconds), *native) : kInvalidName;
}

bool LeavesTree(std::u16string_view root, std::u16string_view path) {
  while (root.ends_with(u'\\')) root.remove_suffix(1);
  if (!path.starts_with(root) || path.size() == root.size() || path[root.size()] != u'\\') {
    return true;
  }
  for (size_t begin = root.size() + 1; begin <= path.size();) {
    const size_t end = std::min(path.find(u'\\', begin), path.size());
    const std::u16string_view part = path.substr(begin, end - begin);
    if (part == u"." || part == u"..") return true;
    const std::optional<std::string> native = ToNativePath(path.substr(0, end));
    if (!native) return true;
    begin = end + 1;
    if (end == path.size()) break;
    EntryStat stat;
    const std::error_code error = Disk().StatEntry(*native, stat);
    // What is missing leads nowhere; the operation itself will tell. The parts behind it are still
    // looked at for "..", which nothing missing makes safe.
    if (error ? error != std::errc::no_such_file_or_directory : stat.kind != EntryKind::Folder) {
      return true;
    }
  }
  return false;
}

}  // namespace qv

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <memory>
#include <new>
#include <set>

#include "platform/system/files.h"
#include "platform/system/unique_fd.h"

namespace qv {
namespace {

constexpr size_t kNameLimit = 255;  // bytes in one name, on every Linux file system
constexpr size_t kPiece = 512 * 1024;
constexpr size_t kPage = 4096;
constexpr size_t kSettledOneByOne = 8;
constexpr int kCreateNew = O_WRONLY | O_CREAT | O_EXCL;

std::error_code LastError() {
  return {errno, std::generic_category()};
}

std::error_code Error(std::errc code) {
  return std::make_error_code(code);
}

template <class Call>
auto Retry(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

UniqueFd Open(const std::string& path, int flags, mode_t mode = 0) {
  return UniqueFd(Retry([&] { return open(path.c_str(), flags | O_CLOEXEC, mode); }));
}

// The nearest there is for a time too far off, which some file systems can hold.
template <class Time>
int64_t Nanoseconds(const Time& time) {
  constexpr int64_t kLimit = std::numeric_limits<int64_t>::max() / 1'000'000'000 - 1;
  const int64_t seconds = std::clamp<int64_t>(time.tv_sec, -kLimit, kLimit);
  return seconds * 1'000'000'000 + static_cast<int64_t>(time.tv_nsec);
}

FileInfo InfoOf(const struct stat& data) {
  FileInfo info;
  info.size = static_cast<uint64_t>(data.st_size);
  info.modifiedNs = Nanoseconds(data.st_mtim);
  info.isFolder = S_ISDIR(data.st_mode);
  info.changedNs = Nanoseconds(data.st_ctim);
  info.inode = data.st_ino;
  info.device = data.st_dev;
  return info;
}

EntryKind KindOf(mode_t mode) {
  if (S_ISREG(mode)) return EntryKind::File;
  return S_ISDIR(mode) ? EntryKind::Folder : EntryKind::Other;
}

std::error_code WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = Retry([&] { return write(fd, bytes.data(), bytes.size()); });
    if (written < 0) return LastError();
    bytes.remove_prefix(static_cast<size_t>(written));
  }
  return {};
}

// Some file systems tell of a full disk only here. The descriptor is gone whatever the answer.
std::error_code Close(UniqueFd fd) {
  return close(fd.Detach()) == 0 || errno == EINTR ? std::error_code() : LastError();
}

// Up to the end of the file, however its size changes meanwhile.
std::error_code ReadAll(int fd, size_t expected, std::string& bytes) {
  size_t filled = 0;
  std::error_code error;
  bytes.resize(expected + 1);  // one more, so that the end shows without growing
  while (true) {
    const ssize_t got =
        Retry([&] { return read(fd, bytes.data() + filled, bytes.size() - filled); });
    if (got < 0) error = LastError();
    if (got <= 0) break;
    filled += static_cast<size_t>(got);
    if (filled == expected) break;  // less than was asked for, and what was foretold: the end
    if (filled == bytes.size()) bytes.resize(std::max<size_t>(4096, filled * 2));
  }
  bytes.resize(filled);
  return error;
}

// Not blocking: a pipe by that name must not hold the program up.
std::error_code OpenRegular(const std::string& path, UniqueFd& fd, size_t& size) {
  fd = Open(path, O_RDONLY | O_NONBLOCK);
  if (!fd.IsOpen()) return LastError();
  struct stat data;
  if (fstat(fd.get(), &data) != 0) return LastError();
  if (S_ISDIR(data.st_mode)) return Error(std::errc::is_a_directory);
  if (!S_ISREG(data.st_mode)) return Error(std::errc::invalid_argument);
  size = static_cast<size_t>(data.st_size);
  return {};
}

std::error_code WriteTo(const std::string& path, int flags, std::string_view bytes) {
  UniqueFd fd = Open(path, O_WRONLY | O_CREAT | flags, 0666);
  if (!fd.IsOpen()) return LastError();
  const std::error_code error = WriteAll(fd.get(), bytes);
  const std::error_code closeError = Close(std::move(fd));
  return error ? error : closeError;
}

// For file systems that know no files without a name.
std::error_code CreateNamed(const std::string& path, std::string_view bytes) {
  UniqueFd fd = Open(path, kCreateNew, 0666);
  if (!fd.IsOpen()) return LastError();
  std::error_code error = WriteAll(fd.get(), bytes);
  const std::error_code closeError = Close(std::move(fd));
  if (!error) error = closeError;
  if (error) unlink(path.c_str());
  return error;
}

// The file system of what stands there, unless it has been waited for. False when nothing does.
bool SettleFileSystem(const std::string& path, std::set<dev_t>& settled, std::error_code& error) {
  struct stat data;
  if (stat(path.c_str(), &data) != 0) {
    if (errno != ENOENT) error = LastError();
    return false;
  }
  if (!settled.insert(data.st_dev).second) return true;
  const UniqueFd fd = Open(path, O_RDONLY | O_NONBLOCK);
  if (!fd.IsOpen() || Retry([&] { return syncfs(fd.get()); }) != 0) error = LastError();
  return true;
}

// One wait for each file system, whatever else waits to be written there. A file is where its
// folder is.
std::error_code SettleFileSystems(std::span<const std::string> files,
                                  std::span<const std::string> folders) {
  std::set<dev_t> settled;
  std::set<std::string_view> seen;
  std::error_code error;
  for (const std::string& folder : folders) {
    if (SettleFileSystem(folder, settled, error)) seen.insert(folder);
    if (error) return error;
  }
  for (const std::string& file : files) {
    const std::string_view folder = std::string_view(file).substr(0, file.rfind('/'));
    if (seen.contains(folder)) continue;
    if (SettleFileSystem(file, settled, error)) seen.insert(folder);
    if (error) return error;
  }
  return {};
}

// "folder/.name.tmp" of "folder/name". A name near the limit is cut, between characters.
std::string TemporaryName(const std::string& path) {
  const size_t slash = path.rfind('/');
  const size_t start = slash == std::string::npos ? 0 : slash + 1;
  std::string name = path.substr(start);
  size_t room = kNameLimit - 5;
  if (name.size() > room) {
    while (room > 0 && (static_cast<unsigned char>(name[room]) & 0xC0) == 0x80) --room;
    name.resize(room);
  }
  return path.substr(0, start) + "." + name + ".tmp";
}

// A file of our own making: what a killed run left under the name goes away first.
UniqueFd CreateTemporary(const std::string& path, mode_t mode) {
  UniqueFd fd = Open(path, kCreateNew, mode);
  if (!fd.IsOpen() && errno == EEXIST && unlink(path.c_str()) == 0) {
    fd = Open(path, kCreateNew, mode);
  }
  return fd;
}

// Where a link points, so that the link stays and its target is replaced; what is to be replaced
// is in `old`. False where nothing is.
bool FindTarget(const std::string& path, std::string& target, struct stat& old) {
  target = path;
  if (lstat(path.c_str(), &old) != 0) return false;
  if (!S_ISLNK(old.st_mode)) return true;
  const std::unique_ptr<char, decltype(&free)> real(realpath(path.c_str(), nullptr), &free);
  if (real != nullptr) target = real.get();
  return stat(target.c_str(), &old) == 0;
}

std::error_code StageFile(const std::string& path, std::string_view bytes, bool wait,
                          StagedFile& staged) {
  struct stat old;
  const bool isReplacing = FindTarget(path, staged.target, old);
  const mode_t mode = isReplacing ? old.st_mode & 0777 : 0666;
  staged.temporary = TemporaryName(staged.target);
  UniqueFd fd = CreateTemporary(staged.temporary, mode);
  if (!fd.IsOpen()) return LastError();
  // The process mask may have taken bits away. A file system without bits refuses: no matter.
  if (isReplacing) static_cast<void>(fchmod(fd.get(), mode));
  std::error_code error = WriteAll(fd.get(), bytes);
  if (!error && wait && Retry([&] { return fsync(fd.get()); }) != 0) error = LastError();
  const std::error_code closeError = Close(std::move(fd));
  return error ? error : closeError;
}

// Calls `add(folderFd, entry)` for all but "." and ".." until it tells of an error.
template <class Add>
std::error_code EachEntry(const std::string& folder, Add add) {
  UniqueFd fd = Open(folder, O_RDONLY | O_DIRECTORY);
  if (!fd.IsOpen()) return LastError();
  const std::unique_ptr<DIR, CloseFolder> handle(fdopendir(fd.get()));
  if (handle == nullptr) return LastError();
  const int folderFd = fd.Detach();  // the handle owns it now
  while (true) {
    errno = 0;
    const dirent* entry = readdir(handle.get());
    if (entry == nullptr) return errno == 0 ? std::error_code() : LastError();
    const std::string_view name = entry->d_name;
    if (name == "." || name == "..") continue;
    if (const std::error_code error = add(folderFd, *entry)) return error;
  }
}

std::error_code AddInfo(int folderFd, const char* name, std::vector<FolderEntry>& entries) {
  struct stat data;
  if (fstatat(folderFd, name, &data, 0) != 0) {
    const std::error_code error = LastError();
    // Gone meanwhile, or a link that leads nowhere; anything else would be a listing with holes.
    if (error == std::errc::no_such_file_or_directory) return {};
    if (fstatat(folderFd, name, &data, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(data.st_mode)) {
      return {};
    }
    return error;
  }
  if (S_ISREG(data.st_mode) || S_ISDIR(data.st_mode)) entries.push_back({name, InfoOf(data)});
  return {};
}

int64_t CreatedNs(const struct statx& data) {
  return (data.stx_mask & STATX_BTIME) != 0
             ? Nanoseconds(data.stx_btime)
             : std::min(Nanoseconds(data.stx_mtime), Nanoseconds(data.stx_ctime));
}

std::error_code AddPlain(int folderFd, const dirent& entry, bool withTimes,
                         std::vector<PlainEntry>& entries) {
  if (!withTimes && entry.d_type != DT_UNKNOWN) {
    entries.push_back({entry.d_name, KindOf(static_cast<mode_t>(DTTOIF(entry.d_type)))});
    return {};
  }
  struct statx data;
  if (statx(folderFd, entry.d_name, AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS | STATX_BTIME, &data) !=
      0) {
    return errno == ENOENT ? std::error_code() : LastError();
  }
  entries.push_back({entry.d_name, KindOf(data.stx_mode), Nanoseconds(data.stx_mtime),
                     Nanoseconds(data.stx_ctime), data.stx_size, data.stx_ino, CreatedNs(data)});
  return {};
}

std::string_view LastPart(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

// Whether two names lead to one entry that is no pair of hard links: a file system that takes no
// account of letter case.
bool AreSpellingsOfOne(const std::string& from, const std::string& to, const struct stat& taken) {
  struct stat old;
  return LastPart(from) != LastPart(to) && lstat(from.c_str(), &old) == 0 &&
         old.st_dev == taken.st_dev && old.st_ino == taken.st_ino &&
         (S_ISDIR(taken.st_mode) || taken.st_nlink == 1);
}

class LinuxFiles final : public Files {
 public:
  std::error_code Stat(const std::string& path, FileInfo& info) override {
    struct stat data;
    if (stat(path.c_str(), &data) != 0) return LastError();
    info = InfoOf(data);
    return {};
  }

  std::error_code List(const std::string& folder, std::vector<FolderEntry>& entries) override {
    entries.clear();
    const std::error_code error = EachEntry(folder, [&](int folderFd, const dirent& entry) {
      return AddInfo(folderFd, entry.d_name, entries);
    });
    if (error) entries.clear();
    return error;
  }

  std::error_code Read(const std::string& path, std::string& bytes) override {
    bytes.clear();
    UniqueFd fd;
    size_t size = 0;
    if (const std::error_code error = OpenRegular(path, fd, size)) return error;
    try {
      return ReadAll(fd.get(), size, bytes);
    } catch (const std::exception&) {  // no room for a file of that size
      bytes.clear();
      return Error(std::errc::not_enough_memory);
    }
  }

  std::error_code ReadPieces(const std::string& path,
                             const std::function<bool(std::string_view)>& take) override {
    UniqueFd fd;
    size_t size = 0;
    if (const std::error_code error = OpenRegular(path, fd, size)) return error;
    // A small file needs no more memory than it has bytes.
    std::string piece(std::min(kPiece, size / kPage * kPage + kPage), '\0');
    while (true) {
      size_t filled = 0;
      ssize_t got = 1;
      while (got > 0 && filled < piece.size()) {
        got = Retry([&] { return read(fd.get(), piece.data() + filled, piece.size() - filled); });
        if (got < 0) return LastError();
        filled += static_cast<size_t>(got);
      }
      const bool more = filled > 0 && take(std::string_view(piece).substr(0, filled));
      if (!more || filled < piece.size()) return {};
    }
  }

  std::error_code Write(const std::string& path, std::string_view bytes) override {
    return WriteTo(path, O_TRUNC, bytes);
  }

  std::error_code Append(const std::string& path, std::string_view bytes) override {
    return WriteTo(path, O_APPEND, bytes);
  }

  std::error_code WriteAtomic(const std::string& path, std::string_view bytes) override {
    StagedFile staged;
    std::error_code error = StageFile(path, bytes, true, staged);
    if (!error) error = Rename(staged.temporary, staged.target);
    if (error) unlink(staged.temporary.c_str());
    return error;
  }

  std::error_code Stage(const std::string& path, std::string_view bytes,
                        StagedFile& staged) override {
    const std::error_code error = StageFile(path, bytes, false, staged);
    if (error) unlink(staged.temporary.c_str());
    return error;
  }

  std::error_code SyncFolder(const std::string& folder) override {
    const UniqueFd fd = Open(folder, O_RDONLY | O_DIRECTORY);
    if (!fd.IsOpen()) return LastError();
    // EINVAL: a file system that has nothing to sync for folders.
    if (Retry([&] { return fsync(fd.get()); }) != 0 && errno != EINVAL) return LastError();
    return {};
  }

  std::error_code Settle(std::span<const std::string> files,
                         std::span<const std::string> folders) override {
    // Of two folders one alone might be on disk, and what was moved between them in neither.
    if (folders.size() > 1 || files.size() + folders.size() > kSettledOneByOne) {
      return SettleFileSystems(files, folders);
    }
    for (const std::string& file : files) {
      const UniqueFd fd = Open(file, O_RDONLY | O_NONBLOCK);
      std::error_code error;
      if (!fd.IsOpen() || Retry([&] { return fsync(fd.get()); }) != 0) error = LastError();
      if (error && error != std::errc::no_such_file_or_directory) return error;
    }
    for (const std::string& folder : folders) {
      const std::error_code error = SyncFolder(folder);
      if (error && error != std::errc::no_such_file_or_directory) return error;
    }
    return {};
  }

  std::error_code Remove(const std::string& path) override {
    return unlink(path.c_str()) == 0 || errno == ENOENT ? std::error_code() : LastError();
  }

  std::error_code Rename(const std::string& from, const std::string& to) override {
    return std::rename(from.c_str(), to.c_str()) == 0 ? std::error_code() : LastError();
  }

  std::error_code MakeFolder(const std::string& path) override {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    return error;
  }

  std::error_code StatEntry(const std::string& path, EntryStat& stat) override {
    struct statx data;
    if (statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS | STATX_BTIME,
              &data) != 0) {
      return LastError();
    }
    stat.kind = KindOf(data.stx_mode);
    stat.size = data.stx_size;
    stat.modifiedNs = Nanoseconds(data.stx_mtime);
    stat.accessedNs = Nanoseconds(data.stx_atime);
    stat.changedNs = Nanoseconds(data.stx_ctime);
    stat.inode = data.stx_ino;
    stat.createdNs = CreatedNs(data);
    return {};
  }

  std::error_code ListEntries(const std::string& folder, bool withTimes,
                              std::vector<PlainEntry>& entries) override {
    entries.clear();
    const std::error_code error = EachEntry(folder, [&](int folderFd, const dirent& entry) {
      return AddPlain(folderFd, entry, withTimes, entries);
    });
    if (error) entries.clear();
    return error;
  }

  // The file has no name until all of it is there: not even a kill leaves half of one.
  std::error_code CreateNew(const std::string& path, std::string_view bytes) override {
    struct stat taken;
    if (lstat(path.c_str(), &taken) == 0) return Error(std::errc::file_exists);
    const size_t slash = path.rfind('/');
    const UniqueFd fd = errno != ENOENT ? UniqueFd()
                                        : Open(slash == path.npos ? "." : path.substr(0, slash + 1),
                                               O_WRONLY | O_TMPFILE, 0666);
    if (!fd.IsOpen()) return CreateNamed(path, bytes);
    if (const std::error_code error = WriteAll(fd.get(), bytes)) return error;
    const std::string nameless = "/proc/self/fd/" + std::to_string(fd.get());
    if (linkat(AT_FDCWD, nameless.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0) {
      return {};
    }
    return errno == EEXIST ? LastError() : CreateNamed(path, bytes);
  }

  std::error_code RenameNew(const std::string& from, const std::string& to) override {
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return {};
    const int refusal = errno;
    // EINVAL, ENOSYS: a kernel or file system without the flag.
    if (refusal != EEXIST && refusal != EINVAL && refusal != ENOSYS) return LastError();
    struct stat taken;
    if (lstat(to.c_str(), &taken) == 0) {
      if (!AreSpellingsOfOne(from, to, taken)) return Error(std::errc::file_exists);
    } else if (errno != ENOENT) {
      return LastError();
    } else if (refusal == EEXIST) {  // gone meanwhile, and perhaps back by now
      return Error(std::errc::file_exists);
    }
    return Rename(from, to);
  }

  std::error_code MakeNewFolder(const std::string& path) override {
    return mkdir(path.c_str(), 0777) == 0 ? std::error_code() : LastError();
  }

  std::error_code RemoveFolder(const std::string& path) override {
    return rmdir(path.c_str()) == 0 ? std::error_code() : LastError();
  }

  std::error_code SetModified(const std::string& path, int64_t seconds) override {
    const timespec times[2] = {{0, UTIME_OMIT}, {seconds, 0}};
    const int result = utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW);
    return result == 0 ? std::error_code() : LastError();
  }
};

}  // namespace

Files& Files::Default() {
  static LinuxFiles files;
  return files;
}

}  // namespace qv

#include "kit/disk_waits.h"

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

namespace qv::test {

DiskWait onDiskWait;

namespace {

int Wait(long call, int fd) {
  if (onDiskWait) onDiskWait(fd, call == SYS_syncfs);
  return static_cast<int>(syscall(call, fd));
}

}  // namespace

void LossyDisk::Wait(int fd, bool wholeFileSystem) {
  const std::string path = fs::read_symlink("/proc/self/fd/" + std::to_string(fd)).string();
  if (!path.starts_with(root_)) return;
  Settle(wholeFileSystem ? root_ : path, wholeFileSystem);
}

void LossyDisk::Settle(const std::string& path, bool withAllBelow) {
  struct stat data {};
  if (lstat(path.c_str(), &data) != 0 || path.ends_with("-shm")) return;
  if (S_ISREG(data.st_mode)) {
    std::stringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf();
    files_[data.st_ino] = {bytes.str(), data.st_mtim};
  }
  if (!S_ISDIR(data.st_mode)) return;
  auto& names = folders_[data.st_ino];
  names.clear();
  for (const auto& entry : fs::directory_iterator(path)) {
    struct stat below {};
    lstat(entry.path().c_str(), &below);
    names[entry.path().filename()] = {below.st_ino, S_ISDIR(below.st_mode)};
    if (withAllBelow) Settle(entry.path(), true);
  }
}

void LossyDisk::Cut() const {
  struct stat root {};
  stat(root_.c_str(), &root);
  for (const auto& entry : fs::directory_iterator(root_)) fs::remove_all(entry.path());
  Rebuild(root.st_ino, root_);
}

void LossyDisk::Rebuild(ino_t inode, const std::string& folder) const {
  const auto names = folders_.find(inode);
  if (names == folders_.end()) return;
  for (const auto& [name, entry] : names->second) {
    const std::string path = folder + "/" + name;
    if (entry.isFolder) {
      fs::create_directory(path);
      Rebuild(entry.inode, path);
    } else if (!path.ends_with("-shm")) {
      std::ofstream file(path, std::ios::binary);
      const auto found = files_.find(entry.inode);
      if (found == files_.end()) continue;
      file << found->second.bytes << std::flush;
      const timespec times[] = {{0, UTIME_OMIT}, found->second.modified};
      utimensat(AT_FDCWD, path.c_str(), times, 0);
    }
  }
}

int64_t CountSystemCalls(const std::function<void()>& body) {
  const pid_t child = fork();
  if (child == 0) {
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(1);
    raise(SIGSTOP);
    body();
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (!WIFSTOPPED(status)) return -1;
  ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
  int64_t stops = 0;  // two a call
  while (WIFSTOPPED(status)) {
    ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
    waitpid(child, &status, 0);
    stops += WIFSTOPPED(status) && WSTOPSIG(status) == (SIGTRAP | 0x80);
  }
  return stops / 2;
}

}  // namespace qv::test

// In the place of the C library's, for the shared libraries too.
extern "C" {
__attribute__((visibility("default"))) int fsync(int fd) {
  return qv::test::Wait(SYS_fsync, fd);
}
__attribute__((visibility("default"))) int fdatasync(int fd) {
  return qv::test::Wait(SYS_fdatasync, fd);
}
__attribute__((visibility("default"))) int syncfs(int fd) noexcept {
  return qv::test::Wait(SYS_syncfs, fd);
}
}

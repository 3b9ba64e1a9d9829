// The waits for the disk of this process, whoever makes them: the files' own and the databases'.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace qv::test {

// Called before each wait, with the descriptor and whether all of its file system is waited for.
// Null for nothing.
using DiskWait = std::function<void(int fd, bool wholeFileSystem)>;
extern DiskWait onDiskWait;

// A disk that loses what nobody has waited for when its power goes. A file that was not waited for
// is empty then, if its name is there at all; what a folder has not been waited for stands as it
// did before.
class LossyDisk {
 public:
  // What lies below `root` is on disk.
  explicit LossyDisk(std::string root) : root_(std::move(root)) { Settle(root_, true); }

  // To be told of each wait.
  void Wait(int fd, bool wholeFileSystem);
  // Leaves below the root what is found when the power is back.
  void Cut() const;

 private:
  struct Entry {
    ino_t inode;
    bool isFolder;
  };
  struct Bytes {
    std::string bytes;
    timespec modified;
  };
  void Settle(const std::string& path, bool withAllBelow);
  void Rebuild(ino_t inode, const std::string& folder) const;

  std::string root_;
  std::map<ino_t, std::map<std::string, Entry>> folders_;
  std::map<ino_t, Bytes> files_;
};

// System calls of `body` in a process of its own; -1 where no process may be traced.
int64_t CountSystemCalls(const std::function<void()>& body);

}  // namespace qv::test

// What a person sees of two trees of bookmarks, read without the product's parsers; and a file
// system as such trees may lie on.
#pragma once

#include <algorithm>
#include <chrono>
#include <compare>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <thread>
#include <tuple>

#include "kit/platform_fakes.h"

namespace qv::test {

// One bookmark: the way of its folders ("Work/Deep/"), its title and its address.
struct SeenMark {
  std::string place;
  std::string title;
  std::string url;
  auto operator<=>(const SeenMark&) const = default;
};
inline std::ostream& operator<<(std::ostream& out, const SeenMark& mark) {
  return out << mark.place << "[" << mark.title << "] " << mark.url;
}

struct SeenTree {
  std::multiset<SeenMark> marks;
  std::multiset<std::string> folders;
  std::map<std::string, std::string> bytes;  // by path; of folders "/"
};

inline std::string BytesOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// The value of the line that begins with `name` and ":", ";" or "=", its codes and escapes undone.
inline std::string LineValue(const std::string& bytes, const std::string& name) {
  size_t at = 0;
  while (at < bytes.size() && bytes.compare(at, name.size(), name) != 0) {
    const size_t end = bytes.find('\n', at);
    at = end == bytes.npos ? bytes.size() : end + 1;
  }
  const size_t colon = bytes.find_first_of(":=", at + name.size());
  const bool isShortcut = colon != bytes.npos && bytes[colon] == '=' && name == "URL";
  const size_t start = isShortcut ? colon : bytes.find(':', at);
  if (at >= bytes.size() || start == bytes.npos) return {};
  const bool coded = bytes.substr(at, start - at).find("QUOTED-PRINTABLE") != std::string::npos;
  std::string value;
  for (size_t i = start + 1; i < bytes.size() && bytes[i] != '\r' && bytes[i] != '\n'; ++i) {
    if (coded && bytes[i] == '=') {
      const std::string code = bytes.substr(i + 1, 2);
      if (code != "\r\n") value += static_cast<char>(std::stoi(code, nullptr, 16));
      i += 2;
    } else if (!isShortcut && bytes[i] == '\\' && i + 1 < bytes.size()) {
      value += bytes[++i];
    } else {
      value += bytes[i];
    }
  }
  return value;
}

inline SeenTree Look(const std::filesystem::path& root, bool isPhone) {
  namespace fs = std::filesystem;
  SeenTree tree;
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    const std::string path = entry.path().lexically_relative(root).string();
    if (entry.is_directory()) {
      tree.folders.insert(path + "/");
      tree.bytes[path] = "/";
      continue;
    }
    const std::string bytes = BytesOf(entry.path());
    tree.bytes[path] = bytes;
    const std::string place = path.substr(0, path.rfind('/') + 1);  // npos + 1 is 0
    const std::string stem = path.substr(place.size(), path.rfind('.') - place.size());
    const std::string title = isPhone ? LineValue(bytes, "TITLE") : stem;
    tree.marks.insert({place, title.empty() ? stem : title, LineValue(bytes, "URL")});
  }
  return tree;
}

// A name as it looks on both sides: without the signs that a file's name cannot hold, without what
// a phone's folder cannot end in, and without the number that tells equal ones apart.
inline std::string PlainName(std::string name) {
  for (char& c : name) {
    const bool refused = std::string("\\/:*?\"<>|").find(c) != std::string::npos;
    if (refused || (c >= 0 && c < ' ')) c = '+';
  }
  for (size_t at; (at = name.find(".url")) != name.npos;) name[at] = '+';
  if (name.starts_with('.')) name.front() = '+';
  if (name == "+.") name = "++";
  for (size_t open; name.ends_with(')') && (open = name.rfind('(')) != name.npos;) {
    const bool number =
        name.find_first_not_of("0123456789", open + 1) == name.size() - 1 && open + 2 < name.size();
    if (!number || open == 0) break;
    name.resize(open);
  }
  if (name.size() > 100) name.resize(100);
  while (name.ends_with('.') || name.ends_with(' ')) name.pop_back();
  return name;
}
inline std::string PlainPlace(const std::string& place) {
  std::string plain;
  for (size_t at = 0, end; (end = place.find('/', at)) != place.npos; at = end + 1) {
    plain += PlainName(place.substr(at, end - at)) + "/";
  }
  return plain;
}
// What both sides must agree on.
inline std::multiset<SeenMark> Shape(const SeenTree& tree) {
  std::multiset<SeenMark> shape;
  for (const SeenMark& mark : tree.marks) {
    shape.insert({PlainPlace(mark.place), PlainName(mark.title), mark.url});
  }
  for (const std::string& folder : tree.folders) shape.insert({PlainPlace(folder), {}, {}});
  return shape;
}

// Shows all files that changed since the last `NextSecond` with one time, a whole second some while
// ago: what one sync writes in reality, without the waiting. `isCoarse` off shows the true times;
// `hasInodes` off shows no times of change and gives out the numbers anew each second, as a memory
// card that is put in again.
class AgedFiles : public FailingFiles {
 public:
  AgedFiles(bool isCoarse, bool hasInodes) : isCoarse_(isCoarse), hasInodes_(hasInodes) {
    NextSecond();
  }
  // What is there keeps its second. Files are stamped by the kernel's ticks, but one that was
  // looked at since by the exact time: what is written from the next tick on is of the new second.
  void NextSecond() {
    ++seconds_;
    const int64_t next = epochs_.empty() ? Now(CLOCK_REALTIME_COARSE) : Now(CLOCK_REALTIME) + 1;
    epochs_[next] = epochs_.empty() ? (next / kSecond - 100'000) * kSecond
                                    : epochs_.rbegin()->second + 10 * kSecond;
  }
  // Before anything is written that must not be of the second before.
  void AwaitSecond() const {
    while (Now(CLOCK_REALTIME_COARSE) < epochs_.rbegin()->first) {
      std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
  }

  std::error_code Stat(const std::string& path, FileInfo& info) override {
    const std::error_code error = FailingFiles::Stat(path, info);
    Age(info);
    return error;
  }
  std::error_code List(const std::string& folder, std::vector<FolderEntry>& entries) override {
    const std::error_code error = FailingFiles::List(folder, entries);
    for (FolderEntry& entry : entries) Age(entry.info);
    return error;
  }
  std::error_code StatEntry(const std::string& path, EntryStat& stat) override {
    const std::error_code error = FailingFiles::StatEntry(path, stat);
    Age(stat);
    AgeAll(stat);
    return error;
  }
  std::error_code ListEntries(const std::string& folder, bool withTimes,
                              std::vector<PlainEntry>& entries) override {
    const std::error_code error = FailingFiles::ListEntries(folder, withTimes, entries);
    for (PlainEntry& entry : entries) {
      Age(entry);
      AgeAll(entry);
    }
    return error;
  }

 private:
  static constexpr int64_t kSecond = 1'000'000'000;
  template <class Info>
  void Age(Info& info) const {
    info.modifiedNs = Aged(info.modifiedNs);
    if (!hasInodes_) info.inode += seconds_;
  }
  template <class Info>
  void AgeAll(Info& info) const {
    info.changedNs = hasInodes_ ? Aged(info.changedNs) : info.modifiedNs;
    info.createdNs = hasInodes_ ? Aged(info.createdNs) : info.modifiedNs;
  }
  static int64_t Now(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return now.tv_sec * kSecond + now.tv_nsec;
  }
  int64_t Aged(int64_t ns) const {
    const auto behind = epochs_.upper_bound(ns);
    return !isCoarse_ || behind == epochs_.begin() ? ns : std::prev(behind)->second;
  }

  bool isCoarse_;
  bool hasInodes_;
  uint64_t seconds_ = 0;
  std::map<int64_t, int64_t> epochs_;
};

}  // namespace qv::test

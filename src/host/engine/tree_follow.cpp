#include "host/engine/tree_follow.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qv {
namespace {

class Follower {
 public:
  Follower(Inventory& sides, const SaysOf& saysOf)
      : sides_(sides),
        saysOf_(saysOf),
        holder_(sides.records.size(), -1),
        owner_(sides.pc.size(), -1) {}

  void Run() {
    Index();
    const int32_t records = IndexOf(sides_.records);
    for (int32_t i = 0; i < records; ++i) ByNumberAndFile(i);
    for (int32_t i = 0; i < records; ++i) ByNumberAndAddress(i);
    for (int32_t i = 0; i < records; ++i) ByFile(i);
    for (int32_t i = 0; i < records; ++i) ByNumber(i);
    CountVotes();
    // From the deepest up, so that a folder within tells of the one around it.
    for (int32_t i = records; i-- > 0;) ByContent(i);
    for (int32_t i = 0; i < records; ++i) Note(At(sides_.records, i), At(holder_, i));
  }

 private:
  bool IsThere(int32_t pc) const { return pc >= 0 && At(sides_.pc, pc).change != PcChange::Gone; }
  bool IsFree(int32_t pc) const { return IsThere(pc) && At(owner_, pc) < 0; }
  bool IsFolder(int32_t record) const { return IsFolderName(At(sides_.records, record).name); }
  // The item of the recorded number, of the recorded kind.
  int32_t InPlace(int32_t record) const {
    const auto found = byId_.find(At(sides_.records, record).sourceUid);
    if (found == byId_.end() || At(sides_.pc, found->second).isFolder != IsFolder(record)) {
      return -1;
    }
    return found->second;
  }
  void Claim(int32_t record, int32_t pc) {
    At(holder_, record) = pc;
    At(owner_, pc) = record;
  }
  int32_t FindFile(int32_t record) const {
    const FileMark& file = At(sides_.records, record).pcFile;
    const auto [first, last] = byInode_.equal_range(file.inode);
    for (auto it = first; it != last; ++it) {
      const PcItem& item = At(sides_.pc, it->second);
      const bool same = item.file.IsSameFile(file) && item.isFolder == IsFolder(record);
      if (same && IsFree(it->second)) return it->second;
    }
    return -1;
  }

  void Index();
  void ByNumberAndFile(int32_t record);
  void ByNumberAndAddress(int32_t record);
  void ByFile(int32_t record);
  void ByNumber(int32_t record);
  void CountVotes();
  void ByContent(int32_t record);
  void Vote(int32_t record);
  void Note(RecordRow& row, int32_t holder) const;

  Inventory& sides_;
  const SaysOf& saysOf_;
  std::unordered_map<std::u16string_view, int32_t> byId_;
  std::unordered_multimap<uint64_t, int32_t> byInode_;
  std::vector<int32_t> holder_;  // the PC's item of each record
  std::vector<int32_t> owner_;   // the record of each of the PC's items
  // Of each recorded folder: in which of the PC's its items are now, and how many.
  std::unordered_map<std::string_view, std::map<int32_t, int>> votes_;
};

void Follower::Index() {
  for (int32_t i = 0; i < IndexOf(sides_.pc); ++i) {
    const PcItem& item = At(sides_.pc, i);
    if (!IsThere(i)) continue;
    byId_.emplace(item.id, i);
    if (item.file.inode != 0) byInode_.emplace(item.file.inode, i);
  }
}

void Follower::ByNumberAndFile(int32_t record) {
  const int32_t pc = InPlace(record);
  const FileMark& file = At(sides_.records, record).pcFile;
  if (IsFree(pc) && At(sides_.pc, pc).file.IsSameFile(file)) Claim(record, pc);
}

// Another file that says the same: it was written anew, or the file system has numbered its files
// anew.
void Follower::ByNumberAndAddress(int32_t record) {
  if (At(holder_, record) >= 0 || IsFolder(record)) return;
  const RecordRow& row = At(sides_.records, record);
  const int32_t pc = InPlace(record);
  if (!row.pcSays.IsKnown() || !IsFree(pc)) return;
  if (saysOf_(pc).url == row.pcSays.url) Claim(record, pc);
}

void Follower::ByFile(int32_t record) {
  if (At(holder_, record) >= 0 || IsFolder(record)) return;
  if (const int32_t pc = FindFile(record); pc >= 0) Claim(record, pc);
}

void Follower::ByNumber(int32_t record) {
  if (At(holder_, record) >= 0 || IsFolder(record)) return;
  if (const int32_t pc = InPlace(record); IsFree(pc)) Claim(record, pc);
}

void Follower::Vote(int32_t record) {
  const int32_t pc = At(holder_, record);
  if (pc < 0) return;
  const auto folder = byId_.find(At(sides_.pc, pc).parent);
  if (folder == byId_.end()) return;
  ++votes_[FolderOfName(At(sides_.records, record).name)][folder->second];
}

void Follower::CountVotes() {
  for (int32_t i = 0; i < IndexOf(sides_.records); ++i) {
    if (!IsFolder(i) || At(holder_, i) >= 0) Vote(i);
  }
}

// A folder that is not the file that it was: the one that holds what it held.
void Follower::ByContent(int32_t record) {
  if (!IsFolder(record) || At(holder_, record) >= 0) return;
  const std::map<int32_t, int>& votes = votes_[At(sides_.records, record).name];
  const auto count = [&](int32_t pc) {
    const auto found = votes.find(pc);
    return found == votes.end() ? 0 : found->second;
  };
  int32_t best = InPlace(record);
  if (!IsFree(best)) best = -1;
  const int32_t file = FindFile(record);
  if (file >= 0 && (best < 0 || count(file) > count(best))) best = file;
  if (best < 0) {
    for (const auto& [folder, number] : votes) {
      if (IsFree(folder) && (best < 0 || number > count(best))) best = folder;
    }
  }
  if (best < 0) return;
  Claim(record, best);
  Vote(record);
}

void Follower::Note(RecordRow& row, int32_t holder) const {
  if (holder >= 0) {
    const std::u16string& id = At(sides_.pc, holder).id;
    row.hasFollowed = id != row.sourceUid;
    row.sourceUid = id;
  } else if (byId_.contains(row.sourceUid)) {
    row.hasFollowed = true;
    std::u16string nobodys(1, u'-');
    nobodys += row.sourceUid;
    row.sourceUid = std::move(nobodys);
  }
}

}  // namespace

void FollowFiles(Inventory& sides, const SaysOf& saysOf) {
  Follower(sides, saysOf).Run();
}

}  // namespace qv

#include "host/engine/tree_links.h"

#include <algorithm>
#include <map>
#include <unordered_map>
#include <utility>

#include "host/engine/bookmark_text.h"
#include "host/engine/links.h"

namespace qv {
namespace {

constexpr std::u16string_view kTop = u"/";

template <class Map, class Key>
int32_t Find(const Map& map, const Key& key) {
  const auto found = map.find(key);
  return found == map.end() ? -1 : found->second;
}

// Folders of the phone whose folder the PC lacks, by name: one above stands before those in it.
std::vector<int32_t> LonePhoneFolders(const Inventory& sides) {
  std::vector<int32_t> links = LonePhoneLinks(sides);
  std::erase_if(links,
                [&](int32_t i) { return !At(sides.phone, At(sides.links, i).phone).isFolder; });
  std::ranges::sort(links, {}, [&](int32_t i) {
    return std::string_view(At(sides.phone, At(sides.links, i).phone).name);
  });
  return links;
}

// By its identifier.
std::unordered_map<std::u16string_view, int32_t> LonePcFolders(const Inventory& sides) {
  std::unordered_map<std::u16string_view, int32_t> folders;
  for (const int32_t i : LonePcLinks(sides)) {
    const PcItem& item = At(sides.pc, At(sides.links, i).pc);
    if (item.isFolder) folders.emplace(item.id, i);
  }
  return folders;
}

}  // namespace

void FindParents(Inventory& sides) {
  std::unordered_map<std::string_view, int32_t> byName;
  std::unordered_map<std::string_view, int32_t> byRecord;
  std::unordered_map<std::u16string_view, int32_t> byId;
  for (int32_t i = 0; i < IndexOf(sides.links); ++i) {
    const ItemLink& link = At(sides.links, i);
    if (link.phone >= 0 && At(sides.phone, link.phone).isFolder) {
      byName.emplace(At(sides.phone, link.phone).name, i);
    }
    const int32_t record = RecordOf(link);
    if (record >= 0 && IsFolderName(At(sides.records, record).name)) {
      byRecord.emplace(At(sides.records, record).name, i);
    }
    if (link.pc >= 0 && At(sides.pc, link.pc).isFolder) byId.emplace(At(sides.pc, link.pc).id, i);
  }
  for (ItemLink& link : sides.links) {
    if (link.phone >= 0) {
      link.phoneParent = Find(byName, FolderOfName(At(sides.phone, link.phone).name));
    }
    if (link.record >= 0) {
      link.recordParent = Find(byRecord, FolderOfName(At(sides.records, link.record).name));
    }
    if (link.pc >= 0) {
      link.pcParent = Find(byId, std::u16string_view(At(sides.pc, link.pc).parent));
    }
  }
}

std::u16string PcPlaceOf(const Inventory& sides, const ItemLink& link) {
  if (link.phoneParent < 0) return std::u16string(kTop);
  const int32_t folder = At(sides.links, link.phoneParent).pc;
  if (folder < 0 || At(sides.pc, folder).change == PcChange::Gone) return {};
  return At(sides.pc, folder).id;
}

void LinkFoldersByName(Inventory& sides, const FolderName& nameOf) {
  FindParents(sides);
  const std::vector<int32_t> phone = LonePhoneFolders(sides);
  if (phone.empty()) return;
  std::map<std::pair<std::u16string, std::u16string>, int32_t> open;
  for (const auto& [id, link] : LonePcFolders(sides)) {
    const PcItem& folder = At(sides.pc, At(sides.links, link).pc);
    open.emplace(std::pair(folder.parent, nameOf(folder)), link);
  }
  for (const int32_t i : phone) {
    if (open.empty()) break;
    const ItemLink& link = At(sides.links, i);
    const auto found =
        open.find({PcPlaceOf(sides, link), PcNameOfFolder(At(sides.phone, link.phone))});
    if (found == open.end()) continue;
    JoinInTree(sides, i, found->second);
    open.erase(found);
  }
  DropEmptyLinks(sides);
}

bool LinkMovedFolders(Inventory& sides) {
  FindParents(sides);
  const std::vector<int32_t> lost = LonePhoneFolders(sides);
  std::unordered_map<std::u16string_view, int32_t> open = LonePcFolders(sides);
  if (lost.empty() || open.empty()) return false;
  std::unordered_map<int32_t, std::vector<int32_t>> inside;
  for (int32_t i = 0; i < IndexOf(sides.links); ++i) {
    const ItemLink& link = At(sides.links, i);
    if (link.phone >= 0 && link.phoneParent >= 0) inside[link.phoneParent].push_back(i);
  }
  bool any = false;
  // From the deepest up, so that a folder within tells of the one around it.
  for (size_t n = lost.size(); n-- > 0;) {
    std::map<std::u16string_view, int> votes;
    for (const int32_t child : inside[lost[n]]) {
      const int32_t pc = At(sides.links, child).pc;
      if (pc < 0 || At(sides.pc, pc).change == PcChange::Gone) continue;
      if (open.contains(At(sides.pc, pc).parent)) ++votes[At(sides.pc, pc).parent];
    }
    const auto most =
        std::ranges::max_element(votes, {}, [](const auto& vote) { return vote.second; });
    if (most == votes.end()) continue;
    const auto found = open.find(most->first);
    JoinInTree(sides, lost[n], found->second);
    open.erase(found);
    any = true;
  }
  DropEmptyLinks(sides);
  return any;
}

}  // namespace qv

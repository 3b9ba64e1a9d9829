#include "stores/bookmark/tree_info.h"

#include <algorithm>

#include "platform/com/edge.h"
#include "support/text.h"

namespace qv {
namespace {

TREE_ENTRYSTAMP StampOfEntry(const EntryInfo& entry) {
  return {entry.modifiedNs, entry.changedNs, entry.createdNs, entry.size, entry.inode};
}

// A loss of power leaves no bytes, or zeros in their place.
bool HoldsNothing(std::string_view bytes) {
  return bytes.find_first_not_of('\0') == bytes.npos;
}

}  // namespace

void TreeInfo::Begin() {
  blind_.clear();
  seen_.clear();
  names_.clear();
  isSorted_ = false;
}

void TreeInfo::See(std::u16string_view uid, const EntryInfo& entry) {
  seen_.push_back(
      {ToInt(uid), static_cast<uint32_t>(entry.name.size()), names_.size(), StampOfEntry(entry)});
  names_ += entry.name;
}

const TreeInfo::Seen* TreeInfo::FindSeen(std::u16string_view uid) {
  if (!isSorted_) std::ranges::sort(seen_, {}, &Seen::number);
  isSorted_ = true;
  const int32_t number = ToInt(uid);
  const auto found = std::ranges::lower_bound(seen_, number, {}, &Seen::number);
  return found != seen_.end() && found->number == number ? &*found : nullptr;
}

std::u16string TreeInfo::PathOf(BSTR uid) {
  std::u16string path;
  Check(map_.PathOf(View(uid), path));
  if (path.empty()) throw StatusError(E_FAIL);
  return path;
}

std::u16string TreeInfo::FullPathOf(BSTR uid) {
  std::u16string full = tree_.FullPath(PathOf(uid));
  if (full.empty()) throw StatusError(E_FAIL);
  return full;
}

HRESULT TreeInfo::GetRootFolder(BSTR* path) noexcept {
  return Slot(Requires(), Outs(path), [&]() -> HRESULT {
    return tree_.root().empty() ? E_FAIL : HandOut(path, tree_.root());
  });
}

HRESULT TreeInfo::GetEntryPath(BSTR sourceUid, BSTR* path) noexcept {
  return Slot(Requires(sourceUid), Outs(path),
              [&] { return HandOut(path, FullPathOf(sourceUid)); });
}

HRESULT TreeInfo::GetEntryStamp(BSTR sourceUid, BOOL anew, TREE_ENTRYSTAMP* stamp) noexcept {
  return Slot(Requires(sourceUid), Outs(stamp), [&] {
    const Seen* seen = anew == kFalse ? FindSeen(View(sourceUid)) : nullptr;
    EntryInfo entry;
    if (seen == nullptr && FindEntry(FullPathOf(sourceUid), entry) != kNoError) return E_FAIL;
    *stamp = seen != nullptr ? seen->stamp : StampOfEntry(entry);
    return S_OK;
  });
}

HRESULT TreeInfo::GetEntryName(BSTR sourceUid, BSTR* name) noexcept {
  return Slot(Requires(sourceUid), Outs(name), [&]() -> HRESULT {
    const Seen* seen = FindSeen(View(sourceUid));
    if (seen == nullptr) return E_FAIL;
    return HandOut(name, std::u16string_view(names_).substr(seen->nameAt, seen->nameLength));
  });
}

HRESULT TreeInfo::IsBroken(BSTR sourceUid, BOOL* broken) noexcept {
  return Slot(Requires(sourceUid), Outs(broken), [&] {
    std::string bytes;
    if (ReadFileBytes(FullPathOf(sourceUid), bytes) != kNoError) return E_FAIL;
    return HandOut(broken, ToBool(HoldsNothing(bytes)));
  });
}

HRESULT TreeInfo::GetFolderError(BSTR folderUid, int32_t* systemError) noexcept {
  return Slot(Requires(folderUid), Outs(systemError), [&] {
    std::vector<EntryInfo> entries;
    const SystemError error = ListFolder(FullPathOf(folderUid), ListDetail::Names, entries);
    return HandOut(systemError, static_cast<int32_t>(error));
  });
}

HRESULT TreeInfo::CountBlindSpots(int32_t* count) noexcept {
  return Slot(Requires(), Outs(count),
              [&] { return HandOut(count, static_cast<int32_t>(blind_.size())); });
}

HRESULT TreeInfo::GetBlindSpot(int32_t index, TREE_BLINDSPOT* kind, BSTR* folderUid,
                               BSTR* path) noexcept {
  return Slot(Requires(), Outs(kind, folderUid, path), [&]() -> HRESULT {
    if (index < 0 || static_cast<size_t>(index) >= blind_.size()) return E_INVALIDARG;
    const BlindSpot& spot = blind_[static_cast<size_t>(index)];
    std::u16string uid(kTreeRoot);
    if (spot.folder != kTreeRoot) Check(map_.UidOf(spot.folder, uid));
    HandOut(kind, spot.kind);
    HandOut(folderUid, uid);
    return HandOut(path, spot.path);
  });
}

HRESULT TreeInfo::FindObstacle(BSTR folderUid, TREE_OBSTACLE* kind, BSTR* path) noexcept {
  return Slot(Requires(folderUid), Outs(kind, path), [&] {
    const std::u16string folder = PathOf(folderUid);
    if (!tree_.HasFolder(folder)) return E_FAIL;
    const Obstacle obstacle = tree_.FindObstacle(folder, false);
    HandOut(kind, obstacle.kind);
    return HandOut(path, obstacle.path);
  });
}

HRESULT TreeInfo::Settle() noexcept {
  return Guarded([&] { return changes_.Settle() == kNoError ? S_OK : E_FAIL; });
}

}  // namespace qv

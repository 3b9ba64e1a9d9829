#include "host/engine/scan.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <unordered_map>
#include <utility>

#include "host/engine/errors.h"
#include "platform/system/service.h"
#include "support/user_flags.h"

namespace qv {
namespace {

constexpr size_t kKeptText = 1536;
// Each round may free a record for the next; rings of more than a few files are not followed.
constexpr int kRounds = 4;
constexpr uint64_t kLargestItem = 256ull << 20;

// How far a file's time may lie behind the moment of its writing: file systems stamp with a coarse
// clock, those of memory cards with whole seconds.
constexpr int64_t kFineStampNs = 20'000'000;
constexpr int64_t kCoarseStampNs = 2'000'000'000;
constexpr int64_t kSecondNs = 1'000'000'000;

std::string_view HashKey(const Md5Digest& hash) {
  return {reinterpret_cast<const char*>(hash.data()), hash.size()};
}

class Scan {
 public:
  Scan(const PhoneFolder& phone, const std::vector<RecordRow>& records, const ScanRules& rules,
       const TextLook& look, std::vector<ItemFailure>& failed)
      : phone_(phone), records_(records), rules_(rules), look_(look), failed_(failed) {}

  std::vector<PhoneItem> Run(const std::vector<FolderEntry>& files) {
    MeetByName(files);
    FindTwins();
    for (int32_t i = 0; i < IndexOf(items_); ++i) {
      if (IsSyncStopped()) throw SyncStopped();
      LookAt(i);
    }
    FindByContent();
    for (int round = 0; round < kRounds && FindRenamedByUid();) ++round;
    FindRenamedFolders();
    return std::move(items_);
  }

 private:
  void MeetByName(const std::vector<FolderEntry>& files);
  void LookAt(int32_t index);
  // Why the text cannot be had.
  std::string Load(PhoneItem& item, std::string& text);
  void Judge(PhoneItem& item);
  void FindTwins();
  bool IsKnownFile(const PhoneItem& item) const;
  bool MustLook(const PhoneItem& item) const;
  void Become(PhoneItem& item, int32_t record);
  bool FindReplaced();
  bool FindExchanged();
  void FindByContent();
  bool FindRenamedByUid();
  void LookAtFolder(int32_t index);
  void FindRenamedFolders();
  void Fail(PhoneItem& item, std::string reason);

  const PhoneFolder& phone_;
  // Of the records whose file is missing one of this content, if possible of the same file name.
  int32_t TakeMissing(const PhoneItem& item);

  const std::vector<RecordRow>& records_;
  const ScanRules& rules_;
  const TextLook& look_;
  std::vector<ItemFailure>& failed_;
  std::vector<PhoneItem> items_;
  std::vector<bool> twins_;  // records of the size and time of another one that held something else
  std::vector<bool> met_;    // records whose file is there
  std::unordered_multimap<std::string_view, int32_t> missing_;  // records by hash
};

void Scan::MeetByName(const std::vector<FolderEntry>& files) {
  std::unordered_map<std::string_view, int32_t> byName;
  byName.reserve(records_.size());
  for (int32_t i = 0; i < IndexOf(records_); ++i) {
    if (!At(records_, i).isAside) byName.emplace(At(records_, i).name, i);
  }
  met_.assign(records_.size(), false);
  items_.reserve(files.size());
  for (const FolderEntry& file : files) {
    PhoneItem item;
    item.name = file.name;
    item.isFolder = IsFolderName(file.name);
    item.size = file.info.size;
    item.modifiedNs = file.info.modifiedNs;
    item.inode = file.info.inode;
    if (const auto found = byName.find(file.name); found != byName.end()) {
      item.record = found->second;
      met_[static_cast<size_t>(item.record)] = true;
    }
    items_.push_back(std::move(item));
  }
  for (int32_t i = 0; i < IndexOf(records_); ++i) {
    if (met_[static_cast<size_t>(i)] || IsFolderName(At(records_, i).name)) continue;
    missing_.emplace(HashKey(At(records_, i).hash), i);
  }
}

void Scan::Fail(PhoneItem& item, std::string reason) {
  item.change = PhoneChange::Unreadable;
  failed_.push_back({"phone", item.name, std::move(reason)});
}

std::string Scan::Load(PhoneItem& item, std::string& text) {
  if (item.size > kLargestItem) return "the file is larger than 256 MB";
  // An item that is not recognised may be doubled, so what fails once is tried again.
  if (phone_.Read(item.name, text)) {
    if (const std::error_code error = phone_.Read(item.name, text)) return error.message();
  }
  const auto hash = Service<Md5Provider>::Get().Digest(text);
  if (!hash) return "the checksum service failed";
  item.hash = *hash;
  return {};
}

int32_t Scan::TakeMissing(const PhoneItem& item) {
  const auto [first, last] = missing_.equal_range(HashKey(item.hash));
  if (first == last) return -1;
  const auto sameName = std::find_if(first, last, [&](const auto& entry) {
    return BaseOfName(At(records_, entry.second).name) == BaseOfName(item.name);
  });
  const auto chosen = sameName == last ? first : sameName;
  const int32_t record = chosen->second;
  met_[static_cast<size_t>(record)] = true;
  missing_.erase(chosen);
  return record;
}

// Same, changed or new, now that the content is known.
void Scan::Judge(PhoneItem& item) {
  if (item.record < 0) item.record = TakeMissing(item);
  if (item.record < 0) return;
  const RecordRow& row = At(records_, item.record);
  item.change = item.hash == row.hash ? PhoneChange::Same : PhoneChange::Changed;
  if (item.change != PhoneChange::Same) return;
  item.uid = row.uid;
  item.says = row.phoneSays;
}

void Scan::FindTwins() {
  std::map<std::pair<uint64_t, int64_t>, int32_t> first;
  twins_.assign(records_.size(), false);
  for (int32_t i = 0; i < IndexOf(records_); ++i) {
    const RecordRow& row = At(records_, i);
    const auto [place, isFirst] = first.try_emplace({row.size, row.modifiedNs}, i);
    if (isFirst || At(records_, place->second).hash == row.hash) continue;
    twins_[static_cast<size_t>(i)] = twins_[static_cast<size_t>(place->second)] = true;
  }
}

// By its stamps. Of two of one size and time the numbers tell which is which, where the file system
// keeps them; a card that gives them out anew has these looked into.
bool Scan::IsKnownFile(const PhoneItem& item) const {
  if (rules_.readAll || item.record < 0) return false;
  const RecordRow& row = At(records_, item.record);
  return item.size == row.size && item.modifiedNs == row.modifiedNs &&
         IsSettled(item.modifiedNs, rules_.recordNs) &&
         (item.inode == row.inode || !twins_[static_cast<size_t>(item.record)]) &&
         (!rules_.isTree || row.phoneSays.IsKnown());
}

// A text without a title goes by the name of its file.
bool Scan::MustLook(const PhoneItem& item) const {
  if (rules_.readAll || item.change != PhoneChange::Same) return true;
  return rules_.isTree && (!item.says.IsKnown() ||
                           BaseOfName(item.name) != BaseOfName(At(records_, item.record).name));
}

void Scan::LookAt(int32_t index) {
  PhoneItem& item = At(items_, index);
  if (item.isFolder) return LookAtFolder(index);
  if (const PhoneFolder::NoFile* noFile = phone_.NoFileAt(item.name)) {
    item.unread = noFile->mayBeItem;
    item.isAlien = !noFile->mayBeItem;
    return Fail(item, noFile->reason);
  }
  if (IsKnownFile(item)) {
    const RecordRow& row = At(records_, item.record);
    item.hash = row.hash;
    item.uid = row.uid;
    item.says = row.phoneSays;
    item.change = PhoneChange::Same;
    return;
  }
  std::string text;
  if (std::string reason = Load(item, text); !reason.empty()) {
    item.unread = true;
    return Fail(item, reason);
  }
  Judge(item);
  if (!MustLook(item)) return;
  if (std::string reason = look_(index, item, text); !reason.empty()) return Fail(item, reason);
  if (text.size() <= kKeptText) item.text.assign(text);
}

void Scan::LookAtFolder(int32_t index) {
  PhoneItem& item = At(items_, index);
  if (item.record >= 0) item.change = PhoneChange::Same;
  if (!rules_.readAll) return;
  if (std::string reason = look_(index, item, {}); !reason.empty()) Fail(item, reason);
}

// From the deepest up, so that a folder within tells of the one around it. Two names that changed
// places stay what they are called: their content has moved then.
void Scan::FindRenamedFolders() {
  std::unordered_map<std::string_view, int32_t> lost;  // folders of the record
  std::unordered_map<std::string_view, std::vector<int32_t>> inside;
  for (int32_t i = 0; i < IndexOf(records_); ++i) {
    const std::string& name = At(records_, i).name;
    if (IsFolderName(name) && !met_[static_cast<size_t>(i)]) lost.emplace(name, i);
  }
  if (lost.empty()) return;
  for (int32_t i = 0; i < IndexOf(items_); ++i)
    inside[FolderOfName(At(items_, i).name)].push_back(i);
  for (int32_t i = IndexOf(items_); i-- > 0 && !lost.empty();) {
    PhoneItem& folder = At(items_, i);
    if (!folder.isFolder || folder.record >= 0) continue;
    std::map<std::string_view, int> votes;
    for (const int32_t child : inside[folder.name]) {
      const int32_t record = At(items_, child).record;
      if (record >= 0) ++votes[FolderOfName(At(records_, record).name)];
    }
    const auto most = std::ranges::max_element(
        votes, {}, [&](const auto& vote) { return lost.contains(vote.first) ? vote.second : 0; });
    if (most == votes.end()) continue;
    const auto found = lost.find(most->first);
    if (found == lost.end()) continue;
    folder.record = found->second;
    const bool sameName = BaseOfName(folder.name) == BaseOfName(most->first);
    folder.change = sameName ? PhoneChange::Same : PhoneChange::Changed;
    lost.erase(found);
  }
}

void Scan::Become(PhoneItem& item, int32_t record) {
  if (item.record >= 0) {
    met_[static_cast<size_t>(item.record)] = false;
    missing_.emplace(HashKey(At(records_, item.record).hash), item.record);
  }
  met_[static_cast<size_t>(record)] = true;
  item.record = record;
  item.change = PhoneChange::Same;
  item.uid = At(records_, record).uid;
  if (!item.says.IsKnown()) item.says = At(records_, record).phoneSays;
}

// A file that holds what the record says of one that is missing is that one, and has come into the
// place of another. Whether there was one.
bool Scan::FindReplaced() {
  bool any = false;
  for (PhoneItem& item : items_) {
    if (missing_.empty()) break;
    const bool isOpen = item.change == PhoneChange::Changed || item.change == PhoneChange::New;
    const int32_t record = isOpen && !item.isFolder ? TakeMissing(item) : -1;
    if (record >= 0) Become(item, record);
    any = any || record >= 0;
  }
  return any;
}

// A file that holds what the record says of another one, which now holds something else, is that
// one under a new name; the other is new then, unless its content too is known. Two that hold each
// other's content stay what they are called, but within one folder of a tree, where a bookmark goes
// by its title and a file's name is nothing: there what the PC has changed of one must not meet the
// other. Whether there was one.
bool Scan::FindExchanged() {
  std::unordered_map<std::string_view, int32_t>
      holders;  // files that changed, by the recorded hash
  for (int32_t i = 0; i < IndexOf(items_); ++i) {
    const PhoneItem& item = At(items_, i);
    if (item.change != PhoneChange::Changed || item.isFolder) continue;
    holders.emplace(HashKey(At(records_, item.record).hash), i);
  }
  bool any = false;
  for (int32_t i = 0; i < IndexOf(items_) && !holders.empty(); ++i) {
    PhoneItem& item = At(items_, i);
    const bool isOpen = item.change == PhoneChange::Changed || item.change == PhoneChange::New;
    const auto found = isOpen && !item.isFolder ? holders.find(HashKey(item.hash)) : holders.end();
    if (found == holders.end()) continue;
    PhoneItem& holder = At(items_, found->second);
    if (holder.change != PhoneChange::Changed) continue;
    const bool isExchange = item.record >= 0 && holder.hash == At(records_, item.record).hash;
    const bool inPlace = FolderOfName(holder.name) == FolderOfName(item.name);
    if (isExchange && !(rules_.isTree && inPlace)) continue;
    const int32_t record = std::exchange(holder.record, -1);
    holder.change = PhoneChange::New;
    holders.erase(found);
    Become(item, record);
    any = true;
  }
  return any;
}

void Scan::FindByContent() {
  for (int round = 0; round < kRounds; ++round) {
    const bool replaced = FindReplaced();
    if (!FindExchanged() && !replaced) return;
  }
}

// A file that was rewritten under another name, maybe in the place of another item: both its old
// and its new uid are the only ones of their kind. Whether there was one.
bool Scan::FindRenamedByUid() {
  std::unordered_map<std::u16string_view, int32_t> lost;
  for (int32_t i = 0; i < IndexOf(records_); ++i) {
    const RecordRow& row = At(records_, i);
    if (met_[static_cast<size_t>(i)] || row.uid.empty()) continue;
    if (const auto [place, isNew] = lost.emplace(row.uid, i); !isNew) place->second = -1;
  }
  if (lost.empty()) return false;
  std::unordered_map<std::u16string_view, int32_t> found;
  for (int32_t i = 0; i < IndexOf(items_); ++i) {
    const PhoneItem& item = At(items_, i);
    const bool isOther = item.change == PhoneChange::Changed && !item.isFolder &&
                         At(records_, item.record).uid != item.uid;
    if ((item.change != PhoneChange::New && !isOther) || item.uid.empty()) continue;
    if (const auto [place, isNew] = found.emplace(item.uid, i); !isNew) place->second = -1;
  }
  bool any = false;
  for (const auto& [uid, index] : found) {
    const auto record = lost.find(uid);
    if (index < 0 || record == lost.end() || record->second < 0) continue;
    PhoneItem& item = At(items_, index);
    if (item.record >= 0) met_[static_cast<size_t>(item.record)] = false;
    met_[static_cast<size_t>(record->second)] = true;
    item.record = record->second;
    item.change = PhoneChange::Changed;
    any = true;
  }
  return any;
}

}  // namespace

std::vector<PhoneItem> ScanPhone(const PhoneFolder& phone, const std::vector<FolderEntry>& files,
                                 const std::vector<RecordRow>& records, const ScanRules& rules,
                                 const TextLook& look, std::vector<ItemFailure>& failed) {
  return Scan(phone, records, rules, look, failed).Run(files);
}

std::string TextOf(const PhoneFolder& phone, const PhoneItem& item) {
  if (!item.text.empty()) return item.text;
  std::string text;
  if (const std::error_code error = phone.Read(item.name, text)) {
    throw ItemError(error.message());
  }
  if (Service<Md5Provider>::Get().Digest(text) != item.hash) {
    throw ItemError("it changed during the sync; it is taken up next time");
  }
  return text;
}

bool IsSettled(int64_t modifiedNs, int64_t recordNs) {
  const bool coarse = modifiedNs % kSecondNs == 0;
  return modifiedNs < recordNs - (coarse ? kCoarseStampNs : kFineStampNs);
}

int64_t FileClockNs() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

}  // namespace qv

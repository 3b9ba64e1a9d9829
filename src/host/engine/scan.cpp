#include "host/engine/scan.h"

#include <chrono>
#include <unordered_map>

#include "host/engine/errors.h"
#include "platform/system/service.h"
#include "support/user_flags.h"

namespace qv {
namespace {

constexpr size_t kKeptText = 1536;
constexpr uint64_t kLargestItem = 256ull << 20;

// How far a file's time may lie behind the moment of its writing: file systems stamp with a coarse
// clock, those of memory cards with whole seconds.
constexpr int64_t kFineStampNs = 20'000'000;
constexpr int64_t kCoarseStampNs = 2'000'000'000;
constexpr int64_t kSecondNs = 1'000'000'000;

// A file written in the moment the record was made may have been written again in the same moment,
// with the same size: only its content can tell.
bool IsSettled(int64_t modifiedNs, int64_t recordNs) {
  const bool coarse = modifiedNs % kSecondNs == 0;
  return modifiedNs < recordNs - (coarse ? kCoarseStampNs : kFineStampNs);
}

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
    for (int32_t i = 0; i < IndexOf(items_); ++i) {
      if (IsSyncStopped()) throw SyncStopped();
      LookAt(i);
    }
    FindRenamedByUid();
    return std::move(items_);
  }

 private:
  void MeetByName(const std::vector<FolderEntry>& files);
  void LookAt(int32_t index);
  // Why the text cannot be had.
  std::string Load(PhoneItem& item, std::string& text);
  void Judge(PhoneItem& item);
  void FindRenamedByUid();
  void Fail(PhoneItem& item, std::string reason);

  const PhoneFolder& phone_;
  const std::vector<RecordRow>& records_;
  const ScanRules& rules_;
  const TextLook& look_;
  std::vector<ItemFailure>& failed_;
  std::vector<PhoneItem> items_;
  std::vector<bool> met_;                                       // records whose file is there
  std::unordered_multimap<std::string_view, int32_t> missing_;  // records by hash
};

void Scan::MeetByName(const std::vector<FolderEntry>& files) {
  std::unordered_map<std::string_view, int32_t> byName;
  byName.reserve(records_.size());
  for (int32_t i = 0; i < IndexOf(records_); ++i) byName.emplace(At(records_, i).name, i);
  met_.assign(records_.size(), false);
  items_.reserve(files.size());
  for (const FolderEntry& file : files) {
    PhoneItem item;
    item.name = file.name;
    item.size = file.info.size;
    item.modifiedNs = file.info.modifiedNs;
    if (const auto found = byName.find(file.name); found != byName.end()) {
      item.record = found->second;
      met_[static_cast<size_t>(item.record)] = true;
    }
    items_.push_back(std::move(item));
  }
  for (int32_t i = 0; i < IndexOf(records_); ++i) {
    if (!met_[static_cast<size_t>(i)]) missing_.emplace(HashKey(At(records_, i).hash), i);
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

// Same, changed or new, now that the content is known.
void Scan::Judge(PhoneItem& item) {
  if (item.record < 0) {
    const auto renamed = missing_.find(HashKey(item.hash));
    if (renamed == missing_.end()) return;
    item.record = renamed->second;
    met_[static_cast<size_t>(item.record)] = true;
    missing_.erase(renamed);
  }
  const RecordRow& row = At(records_, item.record);
  item.change = item.hash == row.hash ? PhoneChange::Same : PhoneChange::Changed;
  if (item.change == PhoneChange::Same) item.uid = row.uid;
}

void Scan::LookAt(int32_t index) {
  PhoneItem& item = At(items_, index);
  if (!rules_.readAll && item.record >= 0) {
    const RecordRow& row = At(records_, item.record);
    if (item.size == row.size && item.modifiedNs == row.modifiedNs &&
        IsSettled(item.modifiedNs, rules_.recordNs)) {
      item.hash = row.hash;
      item.uid = row.uid;
      item.change = PhoneChange::Same;
      return;
    }
  }
  std::string text;
  if (std::string reason = Load(item, text); !reason.empty()) {
    item.unread = true;
    return Fail(item, reason);
  }
  Judge(item);
  if (!rules_.readAll && item.change == PhoneChange::Same) return;
  if (std::string reason = look_(index, item, text); !reason.empty()) return Fail(item, reason);
  if (text.size() <= kKeptText) item.text.assign(text);
}

// A file that was rewritten under another name: both its old and its new uid are the only ones of
// their kind.
void Scan::FindRenamedByUid() {
  std::unordered_map<std::u16string_view, int32_t> lost;
  for (int32_t i = 0; i < IndexOf(records_); ++i) {
    const RecordRow& row = At(records_, i);
    if (met_[static_cast<size_t>(i)] || row.uid.empty()) continue;
    if (const auto [place, isNew] = lost.emplace(row.uid, i); !isNew) place->second = -1;
  }
  if (lost.empty()) return;
  std::unordered_map<std::u16string_view, int32_t> found;
  for (int32_t i = 0; i < IndexOf(items_); ++i) {
    const PhoneItem& item = At(items_, i);
    if (item.change != PhoneChange::New || item.uid.empty()) continue;
    if (const auto [place, isNew] = found.emplace(item.uid, i); !isNew) place->second = -1;
  }
  for (const auto& [uid, index] : found) {
    const auto record = lost.find(uid);
    if (index < 0 || record == lost.end() || record->second < 0) continue;
    At(items_, index).record = record->second;
    At(items_, index).change = PhoneChange::Changed;
  }
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

int64_t FileClockNs() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

}  // namespace qv

#include "host/engine/links.h"

#include <functional>
#include <unordered_map>
#include <utility>

namespace qv {
namespace {

using IdIndex = std::unordered_map<std::u16string_view, int32_t>;

IdIndex IndexPc(const Inventory& sides) {
  IdIndex index;
  index.reserve(sides.pc.size());
  for (int32_t i = 0; i < IndexOf(sides.pc); ++i) index.emplace(At(sides.pc, i).id, i);
  return index;
}

// Hands out each PC item once: a second taker gets none.
class PcItems {
 public:
  explicit PcItems(const Inventory& sides)
      : sides_(sides), index_(IndexPc(sides)), taken_(sides.pc.size(), false) {}

  int32_t Find(const std::u16string& id) const {
    const auto found = index_.find(id);
    return found == index_.end() ? -1 : found->second;
  }
  bool IsFree(int32_t pc) const { return pc >= 0 && !taken_[static_cast<size_t>(pc)]; }
  bool IsThere(int32_t pc) const { return pc >= 0 && At(sides_.pc, pc).change != PcChange::Gone; }
  void Take(int32_t pc) {
    if (pc >= 0) taken_[static_cast<size_t>(pc)] = true;
  }

 private:
  const Inventory& sides_;
  IdIndex index_;
  std::vector<bool> taken_;
};

void AddLonePc(Inventory& sides, const PcItems& items) {
  for (int32_t i = 0; i < IndexOf(sides.pc); ++i) {
    if (!items.IsFree(i)) continue;
    ItemLink link;
    link.pc = i;
    sides.links.push_back(link);
  }
}

// Which records have their file.
std::vector<bool> RecordsWithFile(const Inventory& sides) {
  std::vector<bool> have(sides.records.size(), false);
  for (const PhoneItem& item : sides.phone) {
    if (item.record >= 0) have[static_cast<size_t>(item.record)] = true;
  }
  return have;
}

// Also of an item that went from the PC since it was agreed on: a run that ended early, or another
// phone, may have brought it back as a new one.
bool IsMissingOnPc(const Inventory& sides, const ItemLink& link) {
  return link.phone >= 0 && At(sides.phone, link.phone).change != PhoneChange::Unreadable &&
         (link.pc < 0 || At(sides.pc, link.pc).change == PcChange::Gone);
}

bool IsMissingOnPhone(const Inventory& sides, const ItemLink& link) {
  return link.phone < 0 && link.pc >= 0 && At(sides.pc, link.pc).change != PcChange::Gone;
}

bool IsLonePc(const Inventory& sides, const ItemLink& link) {
  return link.record < 0 && IsMissingOnPhone(sides, link);
}

std::vector<int32_t> LinksThat(const Inventory& sides,
                               bool (*holds)(const Inventory&, const ItemLink&)) {
  std::vector<int32_t> links;
  for (int32_t i = 0; i < IndexOf(sides.links); ++i) {
    if (holds(sides, At(sides.links, i))) links.push_back(i);
  }
  return links;
}

// The passes of a slow sync's matching: `partner` by phone item.
class SlowLinks {
 public:
  SlowLinks(Inventory& sides, std::vector<SlowMatch>& matches)
      : sides_(sides), matches_(matches), items_(sides) {}

  void Run() {
    // Of a tree the record has been held against the files themselves.
    if (sides_.isTree) RestOfRecord();
    By(&SlowLinks::SameUid);
    BySwappedUid();
    By(&SlowLinks::SameRecord);
    By(&SlowLinks::SameContent);
    RestOfRecord();
    Emit();
  }

 private:
  struct Partner {
    int32_t pc = -1;
    const SlowMatch* match = nullptr;  // whose comparison holds for the pair
  };

  const PhoneItem& Phone(const SlowMatch& match) const { return At(sides_.phone, match.phone); }
  int32_t RecordedPc(const PhoneItem& item) const {
    return item.record < 0 ? -1 : items_.Find(At(sides_.records, item.record).sourceUid);
  }
  bool SameUid(const SlowMatch& match) const {
    return !match.pcUid.empty() && Phone(match).uid == match.pcUid;
  }
  bool SameRecord(const SlowMatch& match) const { return RecordedPc(Phone(match)) == match.pc; }
  bool SameContent(const SlowMatch& match) const {
    return match.content != ContentMatch::Different;
  }

  bool IsOpen(int32_t phone) const { return partners_[static_cast<size_t>(phone)].pc < 0; }
  void Pair(int32_t phone, int32_t pc, const SlowMatch* match) {
    At(partners_, phone) = {pc, match};
    items_.Take(pc);
  }
  void By(bool (SlowLinks::*holds)(const SlowMatch&) const) {
    for (const SlowMatch& match : matches_) {
      if (IsOpen(match.phone) && items_.IsFree(match.pc) && (this->*holds)(match)) {
        Pair(match.phone, match.pc, &match);
      }
    }
  }
  void BySwappedUid();
  void RestOfRecord();
  void Emit();

  Inventory& sides_;
  std::vector<SlowMatch>& matches_;
  PcItems items_;
  std::vector<Partner> partners_ = std::vector<Partner>(sides_.phone.size());
};

void SlowLinks::BySwappedUid() {
  std::unordered_map<std::u16string_view, int32_t> byUid;
  for (const SlowMatch& match : matches_) {
    if (items_.IsFree(match.pc) && !match.pcUid.empty()) byUid.emplace(match.pcUid, match.pc);
  }
  if (byUid.empty()) return;
  for (const SlowMatch& match : matches_) {
    if (!IsOpen(match.phone)) continue;
    const auto found = byUid.find(Phone(match).uid);
    if (found != byUid.end() && items_.IsFree(found->second)) {
      Pair(match.phone, found->second, nullptr);
    }
  }
}

// Pairs that the store cannot see, for want of a uid in the text.
void SlowLinks::RestOfRecord() {
  for (int32_t i = 0; i < IndexOf(sides_.phone); ++i) {
    const int32_t pc = RecordedPc(At(sides_.phone, i));
    if (IsOpen(i) && items_.IsFree(pc) && items_.IsThere(pc)) Pair(i, pc, nullptr);
  }
}

void SlowLinks::Emit() {
  std::vector<bool> written(sides_.pc.size(), false);
  for (const SlowMatch& match : matches_) written[static_cast<size_t>(match.pc)] = true;
  for (int32_t i = 0; i < IndexOf(sides_.phone); ++i) {
    const PhoneItem& item = At(sides_.phone, i);
    const Partner& partner = At(partners_, i);
    ItemLink link;
    link.phone = i;
    link.pc = partner.pc;
    const int32_t recorded = RecordedPc(item);
    if (partner.pc >= 0 && recorded == partner.pc) link.record = item.record;
    if (partner.pc < 0 && sides_.isTree) link.lastRecord = item.record;
    // What is known of an item that is gone from the PC goes when the phone's takes its place.
    if (partner.pc < 0 && items_.IsFree(recorded)) {
      link.pc = recorded;
      items_.Take(recorded);
    }
    if (partner.match != nullptr) {
      link.content = partner.match->content;
      link.newer = partner.match->newer;
      link.adoptUid = MustAdopt(item, partner.match->pcUid);
    }
    sides_.links.push_back(link);
  }
  const std::vector<bool> haveFile = RecordsWithFile(sides_);
  for (int32_t i = 0; i < IndexOf(sides_.records); ++i) {
    const int32_t pc = items_.Find(At(sides_.records, i).sourceUid);
    // Gone on both sides. An item that is only gone from the phone comes back.
    if (haveFile[static_cast<size_t>(i)] || items_.IsThere(pc)) continue;
    ItemLink link;
    link.record = i;
    if (items_.IsFree(pc)) link.pc = pc;
    items_.Take(pc);
    sides_.links.push_back(link);
  }
  AddLonePc(sides_, items_);
  for (ItemLink& link : sides_.links) {
    link.statusWritten = link.pc >= 0 && written[static_cast<size_t>(link.pc)];
  }
  std::erase_if(matches_, [this](const SlowMatch& match) {
    return !IsOpen(match.phone) || !items_.IsFree(match.pc);
  });
}

}  // namespace

ItemLink& JoinLinks(Inventory& sides, int32_t phoneLink, int32_t pcLink) {
  ItemLink& link = At(sides.links, phoneLink);
  ItemLink& from = At(sides.links, pcLink);
  std::swap(link.pc, from.pc);
  std::swap(link.statusWritten, from.statusWritten);
  return link;
}

ItemLink& JoinInTree(Inventory& sides, int32_t phoneLink, int32_t pcLink) {
  ItemLink& link = JoinLinks(sides, phoneLink, pcLink);
  if (link.record < 0) link.record = std::exchange(link.lastRecord, -1);
  if (link.record >= 0) {
    RecordRow& row = At(sides.records, link.record);
    row.sourceUid = At(sides.pc, link.pc).id;
    row.hasFollowed = true;
  }
  return link;
}

void DropEmptyLinks(Inventory& sides) {
  std::erase_if(sides.links, [](const ItemLink& link) {
    return link.pc < 0 && link.phone < 0 && link.record < 0;
  });
}

bool MustAdopt(const PhoneItem& phone, std::u16string_view pcUid) {
  return phone.isSeries && !phone.uid.empty() && phone.uid != pcUid;
}

void LinkByRecord(Inventory& sides) {
  PcItems items(sides);
  for (int32_t i = 0; i < IndexOf(sides.phone); ++i) {
    ItemLink link;
    link.phone = i;
    if (const int32_t record = At(sides.phone, i).record; record >= 0) {
      const int32_t pc = items.Find(At(sides.records, record).sourceUid);
      // A second record of one item says nothing; it must not look like a deletion.
      if (pc < 0 || items.IsFree(pc)) {
        link.record = record;
        link.pc = pc;
        items.Take(pc);
      }
    }
    sides.links.push_back(link);
  }
  const std::vector<bool> haveFile = RecordsWithFile(sides);
  for (int32_t i = 0; i < IndexOf(sides.records); ++i) {
    if (haveFile[static_cast<size_t>(i)]) continue;
    ItemLink link;
    link.record = i;
    const int32_t pc = items.Find(At(sides.records, i).sourceUid);
    if (items.IsFree(pc)) link.pc = pc;
    items.Take(pc);
    sides.links.push_back(link);
  }
  AddLonePc(sides, items);
}

void LinkSlow(Inventory& sides, std::vector<SlowMatch>& matches) {
  SlowLinks(sides, matches).Run();
}

void LinkRemaining(Inventory& sides, const std::vector<SlowMatch>& matches) {
  if (matches.empty()) return;
  std::vector<int32_t> ofPhone(sides.phone.size(), -1);
  std::vector<int32_t> ofPc(sides.pc.size(), -1);
  for (const int32_t link : LonePhoneLinks(sides)) At(ofPhone, At(sides.links, link).phone) = link;
  for (const int32_t link : LonePcLinks(sides)) At(ofPc, At(sides.links, link).pc) = link;
  for (const SlowMatch& match : matches) {
    const int32_t phone = At(ofPhone, match.phone);
    const int32_t pc = At(ofPc, match.pc);
    if (phone < 0 || pc < 0) continue;
    ItemLink& link = JoinLinks(sides, phone, pc);
    link.content = match.content;
    link.newer = match.newer;
    link.adoptUid = MustAdopt(At(sides.phone, match.phone), match.pcUid);
  }
  DropEmptyLinks(sides);
}

void LinkOccurrences(Inventory& sides, const std::vector<OccurrenceMatch>& matches) {
  if (matches.empty()) return;
  std::unordered_map<std::u16string_view, int32_t> open;
  for (const int32_t i : LinksThat(sides, IsMissingOnPhone)) {
    open.emplace(At(sides.pc, At(sides.links, i).pc).id, i);
  }
  for (const OccurrenceMatch& match : matches) {
    const auto found = open.find(match.pcId);
    if (found == open.end()) continue;
    ItemLink& from = At(sides.links, found->second);
    ItemLink& link = JoinLinks(sides, match.link, found->second);
    open.erase(found);
    // The phone's user put another file in the place of the known one.
    if (from.record < 0 || link.record >= 0) continue;
    std::swap(link.record, from.record);
    PhoneItem& item = At(sides.phone, link.phone);
    item.record = link.record;
    item.change = PhoneChange::Changed;
  }
  DropEmptyLinks(sides);
}

std::vector<int32_t> LonePhoneLinks(const Inventory& sides) {
  return LinksThat(sides, IsMissingOnPc);
}

std::vector<int32_t> OpenExceptionLinks(const Inventory& sides) {
  return LinksThat(sides, [](const Inventory& all, const ItemLink& link) {
    return IsMissingOnPc(all, link) && !At(all.phone, link.phone).seriesUid.empty();
  });
}

std::vector<int32_t> LonePcLinks(const Inventory& sides) {
  return LinksThat(sides, IsLonePc);
}

}  // namespace qv

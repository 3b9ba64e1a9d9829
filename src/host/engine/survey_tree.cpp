// Loading a tree: where the recorded items of the PC are now, and which part of a bookmark each
// side has changed.
#include "host/engine/bookmark_text.h"
#include "host/engine/survey.h"
#include "host/engine/tree_follow.h"
#include "host/engine/tree_links.h"
#include "support/text.h"
#include "support/user_flags.h"

namespace qv {

// Each file is looked into once.
const Meaning& Survey::LookAtPc(int32_t pc) {
  PcItem& item = At(sides_.pc, pc);
  if (item.isFolder || item.change == PcChange::Gone || !looked_.insert(pc).second) {
    return item.says;
  }
  if (IsSyncStopped()) throw SyncStopped();
  try {
    item.says.url = pc_.SaysNow(item).url;
  } catch (const ItemError& error) {
    failed_.push_back({"pc", pc_.Label(item), error.what()});
    item.isUnreadable = true;
    pc_.RequireDatabase();
    return item.says;
  }
  if (item.says.url == Md5Digest{}) item.isBroken = pc_.IsBroken(item.id);
  return item.says;
}

void Survey::FollowRecords() {
  FollowFiles(sides_, [this](int32_t pc) -> const Meaning& { return LookAtPc(pc); });
}

void Survey::MatchFolders() {
  if (!sides_.isTree) return;
  LinkFoldersByName(sides_, [](const PcItem& item) { return item.title; });
}

LoneItem Survey::LoneInTree(int32_t index) {
  const ItemLink& link = At(sides_.links, index);
  const PhoneItem& item = At(sides_.phone, link.phone);
  LoneItem lone{index, item.uid, std::nullopt, PcPlaceOf(sides_, link), item.says};
  const int32_t record = RecordOf(link);
  if (record >= 0 && At(sides_.records, record).pcSays.IsKnown()) {
    lone.says = At(sides_.records, record).pcSays;
  }
  return lone;
}

void Survey::NoteOnPc(const ItemLink& link, IItemCommon& item, LoneItem& lone) {
  PcItem& onPc = At(sides_.pc, link.pc);
  onPc.says.url = MeaningOf(onPc.title, UrlOf(item)).url;
  looked_.insert(link.pc);
  lone.place = onPc.parent;
  lone.says = onPc.says;
}

// A record of an earlier form does not tell what was agreed on. Where the phone's item stands as it
// was, that is what it says; in the PC's form of the title, if that is one of it.
void Survey::LearnOldRecord(const ItemLink& link) {
  RecordRow& row = At(sides_.records, link.record);
  const PhoneItem& item = At(sides_.phone, link.phone);
  if (row.pcSays.IsKnown() || item.change != PhoneChange::Same) return;
  const PcItem& onPc = At(sides_.pc, link.pc);
  if (item.isFolder) {
    const std::u16string name = PcNameOfFolder(item);
    const bool isIt = EqualsIgnoreCase(WithoutNumbers(onPc.title), WithoutNumbers(name));
    row.pcSays = MeaningOf(isIt ? onPc.title : name, {});
  } else if (item.says.IsKnown()) {
    if (row.hasFollowed || onPc.change == PcChange::New) return;
    row.phoneSays = item.says;
    row.pcSays = {onPc.says.title, item.says.url};
  }
}

void Survey::JudgePc(DS_SYNCTYPE mode, ItemLink& link) {
  const RecordRow& row = At(sides_.records, link.record);
  PcItem& item = At(sides_.pc, link.pc);
  if (!row.pcSays.IsKnown()) return;
  link.changes.pcTitle = item.says.title != row.pcSays.title;
  const bool isSameFile = item.file == row.pcFile && item.file.inode != 0 &&
                          IsSettled(item.file.changedNs, recordNs_) &&
                          IsSettled(item.file.modifiedNs, recordNs_);
  if (item.isFolder) {
    item.isBroken = false;
  } else if (isSameFile && mode != DS_SYNCTYPE_SLOW && !looked_.contains(link.pc)) {
    item.says.url = row.pcSays.url;
  } else {
    LookAtPc(link.pc);
    link.changes.pcUrl = !item.isBroken && !item.isUnreadable && item.says.url != row.pcSays.url;
  }
  item.change = link.changes.pcTitle || link.changes.pcUrl ? PcChange::Changed : PcChange::Same;
}

void Survey::JudgePhone(ItemLink& link) {
  const RecordRow& row = At(sides_.records, link.record);
  PhoneItem& item = At(sides_.phone, link.phone);
  if (item.change == PhoneChange::Unreadable) return;
  if (item.isFolder) {
    link.changes.phoneTitle = item.change != PhoneChange::Same;
    link.changes.areKnown = row.pcSays.IsKnown();
    return;
  }
  if (!row.phoneSays.IsKnown() || !item.says.IsKnown()) return;
  link.changes.phoneTitle = item.says.title != row.phoneSays.title;
  link.changes.phoneUrl = item.says.url != row.phoneSays.url;
  link.changes.areKnown = row.pcSays.IsKnown();
  // What else a text holds is the phone's alone.
  item.change =
      link.changes.phoneTitle || link.changes.phoneUrl ? PhoneChange::Changed : PhoneChange::Same;
}

// What is gone from the PC may be what stands there under a name that cannot be used.
void Survey::HoldHidden() {
  for (const PcStore::BlindSpot& spot : pc_.blindSpots()) {
    failed_.push_back({"pc", spot.path,
                       spot.isFolder ? "it cannot be read"
                                     : "its name cannot be used (: * ? \" < > | \\ or broken "
                                       "characters), and nothing that is gone from the PC was "
                                       "deleted from the phone; rename it"});
  }
  if (pc_.blindSpots().empty()) return;
  for (ItemLink& link : sides_.links) {
    const bool isGone = link.pc < 0 || At(sides_.pc, link.pc).change == PcChange::Gone;
    if (link.phone < 0 || !isGone) continue;
    PhoneItem& item = At(sides_.phone, link.phone);
    // A slow sync takes what is gone from the PC for new.
    if (link.record < 0) link.record = item.record;
    if (link.record >= 0) item.change = PhoneChange::Unreadable;
  }
}

void Survey::JudgeTree(DS_SYNCTYPE mode) {
  HoldHidden();
  for (ItemLink& link : sides_.links) {
    if (link.record < 0) continue;
    const bool onPc = link.pc >= 0 && At(sides_.pc, link.pc).change != PcChange::Gone;
    if (onPc && link.phone >= 0) LearnOldRecord(link);
    if (onPc) JudgePc(mode, link);
    if (link.phone >= 0) JudgePhone(link);
    link.changes.areKnown = link.changes.areKnown && onPc;
    if (!onPc || !link.changes.pcUrl || At(sides_.pc, link.pc).says.url != Md5Digest{}) continue;
    failed_.push_back({"pc", pc_.Label(At(sides_.pc, link.pc)),
                       "it holds no address (URL); give it one, or remove it on the PC"});
    At(sides_.pc, link.pc).isUnreadable = true;
  }
}

}  // namespace qv

// The runner's work on the folders of a tree, and on the places of items in them.
#include <algorithm>

#include "host/engine/bookmark_text.h"
#include "host/engine/runner.h"
#include "host/engine/runner_try.h"
#include "host/engine/scan.h"
#include "host/engine/tree_links.h"
#include "items/vbookmark.h"
#include "support/text.h"
#include "support/user_flags.h"

namespace qv {
namespace {

constexpr size_t kMostParts = 4096;  // no path of a file system has more

}  // namespace

void Runner::BeginTree() {
  for (int32_t i = 0; i < IndexOf(run_.sides.pc); ++i) {
    const PcItem& item = At(run_.sides.pc, i);
    if (item.change != PcChange::Gone) pcById_.emplace(item.id, i);
  }
  NoteFollowed();
  FindUntold();
  ForgetGone();
  FindStaleFolders();
}

// Before the numbers that the record still has mean something else.
void Runner::NoteFollowed() {
  SqliteTransaction group = run_.record.Group();
  for (const RecordRow& row : run_.sides.records) {
    if (row.hasFollowed) run_.record.Put(run_.phoneId, run_.pc.kind().name, row);
  }
  SetDisplacedAside();
  group.Commit();
}

// Files that have taken each other's names: the row of the first would go when that of the second
// is written, and a run that is cut off in between would leave the next one without it.
void Runner::SetDisplacedAside() {
  const std::vector<RecordRow>& records = run_.sides.records;
  for (const PhoneItem& item : run_.sides.phone) {
    if (item.isFolder || (item.record >= 0 && At(records, item.record).name == item.name)) continue;
    const auto isThere = [&](const RecordRow& row) { return !row.isAside; };
    const auto same = std::ranges::equal_range(records, item.name, {}, &RecordRow::name);
    if (std::ranges::none_of(same, isThere)) continue;
    run_.record.SetAside(run_.phoneId, run_.pc.kind().name, item.name);
  }
}

void Runner::FindUntold() {
  for (const ItemLink& link : run_.sides.links) {
    if (link.record < 0) continue;
    const ItemLink::Changes& changes = link.changes;
    const RecordRow& row = At(run_.sides.records, link.record);
    if (link.pc >= 0 && (changes.pcTitle || changes.pcUrl)) {
      untoldPc_[row.sourceUid] = {row.pcSays, changes.pcTitle, changes.pcUrl, row.pcFile};
    }
    const bool isFile = link.phone >= 0 && !At(run_.sides.phone, link.phone).isFolder;
    if (isFile && (changes.phoneTitle || changes.phoneUrl)) {
      untoldPhone_[link.record] = {row.phoneSays, changes.phoneTitle, changes.phoneUrl};
    }
  }
}

PcItem* Runner::FindPc(const std::u16string& id) {
  const auto found = pcById_.find(id);
  return found == pcById_.end() ? nullptr : &At(run_.sides.pc, found->second);
}

// What the PC's side of a pair is now, as far as the phone has been told.
void Runner::Complete(RecordRow& row) {
  // Its next look at the file must be one into it.
  if (row.hash == Md5Digest{} && !IsFolderName(row.name)) row.modifiedNs = 0;
  PcItem* item = FindPc(row.sourceUid);
  if (item == nullptr) return;
  const bool isChanged = settled_.contains(item->id);
  if (isChanged || item->file == FileMark{}) item->file = run_.pc.FileNow(item->id);
  if (isChanged || (!item->isFolder && item->says.url == Md5Digest{})) {
    Try("pc", *item, [&] { item->says = run_.pc.SaysNow(*item); });
  }
  row.pcSays = item->says;
  row.pcFile = item->file;
  const auto untold = untoldPc_.find(row.sourceUid);
  if (untold == untoldPc_.end()) return;
  untold->second.KeepIn(row.pcSays);
  // With the new stamps the new address would pass for the one that was agreed on.
  if (untold->second.url) row.pcFile = untold->second.file;
}

// The phone's text, with the PC's own title and address where those stay.
std::string Runner::Merged(const PlanStep& step, const PcItem& target, const PcText* current,
                           std::string_view text) const {
  if (target.isFolder) {
    return step.title == Winner::Pc ? FolderText(target.title) : std::string(text);
  }
  const bool keepsUrl = step.url != Winner::Phone && current != nullptr;
  const std::u16string url = keepsUrl ? UrlOf(*current->item) : std::u16string();
  return WithParts(text, step.title == Winner::Phone ? nullptr : &target.title,
                   keepsUrl ? &url : nullptr);
}

// The other way round; a title that the phone's text does not have stays out of it.
void Runner::KeepPhonePart(const PlanStep& step, const PhoneItem& item, std::string& text) const {
  const std::string own = TextOf(run_.phone, item);
  const std::optional<Bookmark> phone = ParseVBookmark(own);
  if (phone) {
    text = WithParts(text, step.title == Winner::Pc ? nullptr : &phone->title,
                     step.url == Winner::Pc ? nullptr : &phone->url);
  }
  text = WithExtrasOf(own, text);
}

void Runner::TellPc(const PlanStep& step) {
  const ItemLink& link = At(run_.sides.links, step.link);
  const auto pc = untoldPc_.find(At(run_.sides.pc, link.pc).id);
  // What is neither's to send is the same on both.
  if (pc != untoldPc_.end() && step.title != Winner::Pc) pc->second.title = false;
  if (pc != untoldPc_.end() && step.url != Winner::Pc) pc->second.url = false;
  const auto phone = untoldPhone_.find(link.record);
  if (phone == untoldPhone_.end()) return;
  if (step.title != Winner::Pc) phone->second.title = false;
  if (step.url != Winner::Pc) phone->second.url = false;
  if (!phone->second.title && !phone->second.url) untoldPhone_.erase(phone);
}

void Runner::TellPhone(const PlanStep& step, RecordRow* row) {
  const ItemLink& link = At(run_.sides.links, step.link);
  const auto pc = untoldPc_.find(At(run_.sides.pc, link.pc).id);
  if (pc != untoldPc_.end() && step.title != Winner::Phone) pc->second.title = false;
  if (pc != untoldPc_.end() && step.url != Winner::Phone) pc->second.url = false;
  const auto phone = untoldPhone_.find(link.record);
  if (phone == untoldPhone_.end() || row == nullptr) return;
  if (step.title != Winner::Phone) phone->second.title = false;
  if (step.url != Winner::Phone) phone->second.url = false;
  phone->second.KeepIn(row->phoneSays);
  if (phone->second.title || phone->second.url) row->hash = {};
}

// Of a text on its way to the phone.
void Runner::NoteSent(const PlanStep& step, IItemCommon& onPc, std::string_view text,
                      RecordRow& row) {
  const ItemLink& link = At(run_.sides.links, step.link);
  At(run_.sides.pc, link.pc).says = MeaningOf(TitleOf(onPc), UrlOf(onPc));
  const bool isNew = link.phone < 0;
  row.phoneSays = MeaningOf(ForPc(text, isNew ? "" : At(run_.sides.phone, link.phone).name));
  TellPhone(step, &row);
}

// A number on the PC stands for a path. What is known of one that is gone must not be taken for
// what is put there next.
void Runner::ForgetGone() {
  PcTransaction transaction(run_.pc.side());
  for (const PcItem& item : run_.sides.pc) {
    if (item.change != PcChange::Gone) continue;
    Try("pc", item, [&] { run_.pc.Sent(SENTCMD_DEL, item); });
  }
  transaction.Commit();
}

void Runner::FindStaleFolders() {
  for (int32_t i = 0; i < IndexOf(run_.sides.links); ++i) {
    const ItemLink& link = At(run_.sides.links, i);
    if (link.phone < 0 || RecordOf(link) < 0) continue;
    const std::string& name = At(run_.sides.phone, link.phone).name;
    const std::string& recorded = At(run_.sides.records, RecordOf(link)).name;
    if (!IsFolderName(name) || name == recorded) continue;
    const bool isWithParent = link.phoneParent >= 0 && link.phoneParent == link.recordParent;
    if (!isWithParent || BaseOfName(name) != BaseOfName(recorded)) staleFolders_.insert(i);
  }
}

std::string Runner::RecordedName(int32_t folder) const {
  std::string name;
  for (size_t parts = 0; parts < kMostParts; ++parts) {
    const ItemLink& link = At(run_.sides.links, folder);
    const bool isAsRecorded = link.phone < 0 || staleFolders_.contains(folder);
    const std::string& own = isAsRecorded ? At(run_.sides.records, RecordOf(link)).name
                                          : At(run_.sides.phone, link.phone).name;
    folder = isAsRecorded ? link.recordParent : link.phoneParent;
    name.insert(0, folder < 0 ? own : BaseOfName(own));
    if (folder < 0) break;
  }
  return name;
}

// False for a folder that cannot be noted before the one that it is in now.
bool Runner::PutInTree(const ItemLink& link, RecordRow& row) {
  if (link.phoneParent >= 0) {
    row.name.replace(0, FolderOfName(row.name).size(), RecordedName(link.phoneParent));
  }
  const auto index = static_cast<int32_t>(&link - run_.sides.links.data());
  if (staleFolders_.contains(index)) {
    const std::string former = RecordedName(index);
    if (row.name != former && row.name.starts_with(former)) return false;
    staleFolders_.erase(index);
    run_.record.RenameFolder(run_.phoneId, run_.pc.kind().name, former, row.name);
  }
  Complete(row);
  return true;
}

PcPlace Runner::PcPlaceFor(const PlanStep& step) const {
  PcPlace place;
  if (!run_.sides.isTree) return place;
  const ItemLink& link = At(run_.sides.links, step.link);
  place.isFolder = At(run_.sides.phone, link.phone).isFolder;
  place.parent = step.placing == Placing::AsOnPc ? At(run_.sides.pc, link.pc).parent
                                                 : PcPlaceOf(run_.sides, link);
  if (place.parent.empty()) throw ItemError("the folder that it is in is not on the PC");
  return place;
}

std::string Runner::PhonePlaceFor(const ItemLink& link) const {
  if (link.pcParent < 0) return {};
  const int32_t folder = At(run_.sides.links, link.pcParent).phone;
  if (folder < 0) throw ItemError("the folder that it is in is not on the phone");
  return At(run_.sides.phone, folder).name;
}

// What the PC has now for the phone's item.
void Runner::NoteOnPc(ItemLink& link, const std::u16string& id, const PcPlace& place) {
  const bool isNew = link.pc < 0 || At(run_.sides.pc, link.pc).change == PcChange::Gone;
  if (isNew) {
    link.pc = IndexOf(run_.sides.pc);
    run_.sides.pc.push_back({});
    pcById_[id] = link.pc;
  }
  PcItem& item = At(run_.sides.pc, link.pc);
  if (isNew || item.parent != place.parent) link.pcParent = link.phoneParent;
  item.id = id;
  item.parent = place.parent;
  item.isFolder = place.isFolder;
  item.change = PcChange::Same;
  item.isBroken = false;
}

// The store refuses a place where the name is taken: there the item gets a number.
std::u16string Runner::ReplaceInPlace(const PcItem& target, std::string_view text,
                                      const PcPlace& place) {
  // What fails once may be anything, and fail no more.
  for (int tries = 0; tries < 2; ++tries) {
    try {
      run_.pc.Replace(target.id, text, place);
      return target.id;
    } catch (const ItemError&) {
      // Not where it went half of the way: the next run takes that up.
      if (!run_.pc.IsAt(target, target.parent)) throw;
    }
  }
  const auto item = place.isFolder ? run_.pc.ParseFolder(text) : run_.pc.Parse(text);
  const std::u16string name = TitleOf(*item) + u"(2)";
  run_.pc.Replace(target.id, place.isFolder ? FolderText(name) : WithParts(text, &name, nullptr),
                  place);
  return target.id;
}

// The PC's own text, in the folder that the phone has it in.
void Runner::MoveOnPc(const PlanStep& step) {
  ItemLink& link = At(run_.sides.links, step.link);
  const PcItem target = At(run_.sides.pc, link.pc);
  PcTransaction transaction(run_.pc.side());
  PlanStep asOnPhone = step;
  asOnPhone.placing = Placing::AsOnPhone;
  const PcPlace place = PcPlaceFor(asOnPhone);
  const PcText current = run_.pc.Get(target.id, false);
  RequirePcUnchanged(target, &current);
  const std::u16string id = ReplaceInPlace(target, current.text, place);
  // What the phone does not know yet stays to be sent.
  if (target.change != PcChange::Same) run_.pc.MarkPending(id, place);
  transaction.Commit();
  settled_.insert(id);
  NoteOnPc(link, id, place);
  At(run_.sides.pc, link.pc).change = target.change;
  Put(link, RowOf(At(run_.sides.phone, link.phone), id));
  report_.pc.replaced += !step.isExtra;
}

// The names of what is in a folder begin with its own.
void Runner::NoteRenamed(int32_t link, const std::string& name) {
  PhoneItem& item = At(run_.sides.phone, At(run_.sides.links, link).phone);
  const std::string old = std::exchange(item.name, name);
  if (!item.isFolder) return;
  std::vector<int32_t> open = insidePhone_[link];
  while (!open.empty()) {
    const int32_t below = open.back();
    open.pop_back();
    At(run_.sides.phone, At(run_.sides.links, below).phone).name.replace(0, old.size(), name);
    const std::vector<int32_t>& more = insidePhone_[below];
    open.insert(open.end(), more.begin(), more.end());
  }
}

void Runner::MoveInside(int32_t link, int32_t from, int32_t to) {
  if (insidePhone_.empty()) {
    for (int32_t i = 0; i < IndexOf(run_.sides.links); ++i) {
      const ItemLink& each = At(run_.sides.links, i);
      if (each.phone >= 0) insidePhone_[each.phoneParent].push_back(i);
    }
  }
  if (from == to) return;
  std::erase(insidePhone_[from], link);
  insidePhone_[to].push_back(link);
}

// False for an item that is where and what it should be.
bool Runner::MoveOnPhone(const PlanStep& step) {
  ItemLink& link = At(run_.sides.links, step.link);
  PhoneItem& item = At(run_.sides.phone, link.phone);
  const PcItem& onPc = At(run_.sides.pc, link.pc);
  const std::u16string title = TitleOf(*run_.pc.Get(onPc.id, false).item);
  const std::string folder = PhonePlaceFor(link);
  const std::string name = run_.phone.FreeName(folder, title, item.isFolder, item.name);
  const bool stays = name == item.name;
  const std::string recorded = item.isFolder ? RecordedName(step.link) : std::string();
  if (!stays) {
    if (!item.isFolder) RequirePhoneUnchanged(item, false);
    if (const std::error_code error = run_.phone.Rename(item.name, name)) {
      throw ItemError("cannot be moved to " + name + ": " + error.message());
    }
  }
  MoveInside(step.link, link.phoneParent, link.pcParent);
  link.phoneParent = link.pcParent;
  SqliteTransaction group = run_.record.Group();
  if (!stays) NoteRenamed(step.link, name);
  if (const std::string now = item.isFolder ? RecordedName(step.link) : recorded; now != recorded) {
    run_.record.RenameFolder(run_.phoneId, run_.pc.kind().name, recorded, now);
  }
  // A text that is to follow is told when it has gone.
  if (item.isFolder) TellPhone(step, nullptr);
  if (!step.isExtra) run_.pc.Sent(SENTCMD_ADD, onPc);
  if (item.isFolder || link.record >= 0 || settled_.contains(onPc.id))
    Put(link, RowOf(item, onPc.id));
  group.Commit();
  return !stays;
}

bool Runner::MovePhone(Steps steps) {
  GroupCounts counts(report_);
  SqliteTransaction record = run_.record.Group();
  PcTransaction notes(run_.pc.side());
  bool stopped = false;
  for (const PlanStep& step : steps) {
    stopped = IsSyncStopped();
    if (stopped) break;
    Try("phone", At(run_.sides.links, step.link),
        [&] { report_.phone.replaced += MoveOnPhone(step) && !step.isExtra; });
    progress_.Done();
  }
  SyncPhone();
  notes.Commit();
  record.Commit();
  counts.Keep();
  return !stopped;
}

}  // namespace qv

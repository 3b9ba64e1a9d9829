#include "host/engine/runner.h"

#include <algorithm>
#include <optional>

#include "host/engine/bookmark_text.h"
#include "host/engine/report_words.h"
#include "host/engine/runner_try.h"
#include "host/engine/scan.h"
#include "pim/outlook_manager.h"
#include "support/date_time.h"
#include "support/text.h"
#include "support/user_flags.h"

namespace qv {
namespace {

constexpr int64_t kProgressItems = 64;
constexpr auto kProgressPause = std::chrono::milliseconds(50);

// Whether an item became an exception, or one of another series, or an item of its own. `current`
// is the PC's, null for one that cannot be read.
bool HasMoved(const std::u16string& id, const std::u16string& seriesUid, IItemCommon* current) {
  if (IsSubItemId(id) == seriesUid.empty()) return true;
  const auto calendar = Query<ICalendarItem>(current);
  if (seriesUid.empty() || !calendar) return false;
  Bstr series;
  Check(calendar->get_ParentRecurUid(series.Out()));
  return series.view() != seriesUid;
}

}  // namespace

void ProgressMeter::Tell() {
  if (sink_) sink_(store_, done_, total_);
  told_ = done_;
  last_ = std::chrono::steady_clock::now();
}

void ProgressMeter::Done() {
  ++done_;
  if (!sink_) return;
  const bool enough = done_ - told_ >= kProgressItems || done_ == total_;
  if (enough || std::chrono::steady_clock::now() - last_ >= kProgressPause) Tell();
}

size_t Runner::GroupSize(Steps steps) const {
  size_t count = 0;
  uint64_t bytes = 0;
  while (count < steps.size() && count < kGroupItems && bytes < kGroupBytes &&
         steps[count].act == steps.front().act) {
    const int32_t phone = At(run_.sides.links, steps[count++].link).phone;
    if (phone >= 0) bytes += At(run_.sides.phone, phone).size;
  }
  return count;
}

bool Runner::Run(const SyncPlan& plan) {
  run_.phone.DiscardLeftovers();
  if (run_.sides.isTree) BeginTree();
  for (const PlanStep& step : plan.steps) {
    if (step.act == Act::PcDelete) {
      leaving_.insert(At(run_.sides.pc, At(run_.sides.links, step.link).pc).id);
    }
  }
  Steps rest(plan.steps);
  while (!rest.empty()) {
    const Steps batch = rest.first(GroupSize(rest));
    rest = rest.subspan(batch.size());
    bool finished = true;
    switch (batch.front().act) {
      case Act::Adopt:
      case Act::PcAdd:
      case Act::PcReplace:
      case Act::PcMove:
      case Act::PcDelete:
        finished = ChangePc(batch);
        break;
      case Act::PhoneMove:
        finished = MovePhone(batch);
        break;
      case Act::PhoneAdd:
      case Act::PhoneReplace:
        finished = WritePhone(batch);
        break;
      case Act::PhoneDelete:
        finished = DeletePhone(batch);
        break;
      case Act::Pair:
      case Act::Remember:
      case Act::Forget:
        finished = Note(batch);
        break;
    }
    if (!finished) return false;
  }
  return true;
}

void Runner::Fail(const char* side, const std::string& item, std::string reason) {
  report_.failed.push_back({side, item, std::move(reason)});
}

std::string Runner::NameOf(const ItemLink& link) const {
  if (link.phone >= 0) return At(run_.sides.phone, link.phone).name;
  if (link.record >= 0) return At(run_.sides.records, link.record).name;
  return run_.pc.Label(At(run_.sides.pc, link.pc));
}

RecordRow Runner::RowOf(const PhoneItem& item, std::u16string sourceUid) const {
  RecordRow row{item.name, item.size, item.modifiedNs, item.hash, item.uid, std::move(sourceUid)};
  row.inode = item.inode;
  row.phoneSays = item.says;
  if (const auto untold = untoldPhone_.find(item.record); untold != untoldPhone_.end()) {
    untold->second.KeepIn(row.phoneSays);
    row.hash = {};
  }
  return row;
}

void Runner::Put(const ItemLink& link, RecordRow row) {
  if (run_.sides.isTree && !PutInTree(link, row)) return;
  run_.record.Put(run_.phoneId, run_.pc.kind().name, row);
}

// The row of the item that went would make the phone's uid stand for two items, and a file that was
// renamed would be found by neither.
void Runner::PutSuccessor(const ItemLink& link, std::u16string sourceUid) {
  const bool isOther =
      link.record >= 0 && At(run_.sides.records, link.record).sourceUid != sourceUid;
  Put(link, RowOf(At(run_.sides.phone, link.phone), std::move(sourceUid)));
  if (isOther) Drop(link);
}

void Runner::Drop(const ItemLink& link) {
  if (link.record < 0) return;
  run_.record.Remove(run_.phoneId, run_.pc.kind().name,
                     At(run_.sides.records, link.record).sourceUid);
}

ConflictNote Runner::KeepLoser(const PlanStep& step, const PhoneItem& item, std::string_view text) {
  const bool pcWon = step.conflict == Conflict::PcWon;
  const char* loser = pcWon ? "phone" : "pc";
  const std::string kept = run_.conflicts.Keep(run_.pc.kind(), item.name, loser, text);
  return {item.name, pcWon ? "pc" : "phone", kept};
}

bool Runner::ChangePc(Steps steps) {
  GroupCounts counts(report_);
  SqliteTransaction record = run_.record.Group();
  PcTransaction group(run_.pc.side(),
                      run_.sides.isTree ? PcSide::Extent::Notes : PcSide::Extent::NotesAndItems);
  bool stopped = false;
  for (const PlanStep& step : steps) {
    stopped = IsSyncStopped();
    if (stopped) break;
    ChangeOne(step);
    progress_.Done();
  }
  run_.conflicts.Settle();
  run_.pc.Settle();
  group.Commit();
  record.Commit();
  counts.Keep();
  return !stopped;
}

void Runner::ChangeOne(const PlanStep& step) {
  ItemLink& link = At(run_.sides.links, step.link);
  switch (step.act) {
    case Act::PcDelete:
      Try("pc", link, [&] { DeleteFromPc(step); });
      return;
    case Act::Adopt:
      Try("pc", link, [&] { AdoptUid(link); });
      return;
    case Act::PcMove:
      if (!Try("pc", link, [&] { MoveOnPc(step); })) unplaced_.insert(step.link);
      return;
    default:
      break;
  }
  std::string text;
  if (!Try("phone", link, [&] { text = TextForPc(At(run_.sides.phone, link.phone)); })) return;
  const bool done = Try(
      "pc", link, [&] { step.act == Act::PcAdd ? AddToPc(link, text) : ReplaceOnPc(step, text); });
  if (!done) unplaced_.insert(step.link);
}

std::string Runner::TextForPc(const PhoneItem& item) const {
  if (item.isFolder) return FolderText(PcNameOfFolder(item));
  const std::string text = TextOf(run_.phone, item);
  return run_.sides.isTree ? ForPc(text, item.name) : text;
}

void Runner::AddToPc(ItemLink& link, std::string_view text) {
  PcTransaction transaction(run_.pc.side());
  PlanStep asOnPhone;
  asOnPhone.link = static_cast<int32_t>(&link - run_.sides.links.data());
  asOnPhone.placing = Placing::AsOnPhone;
  const PcPlace place = PcPlaceFor(asOnPhone);
  // What is known of the item that went, before its successor comes.
  if (link.pc >= 0) run_.pc.Sent(SENTCMD_DEL, At(run_.sides.pc, link.pc).id);
  std::u16string id = run_.pc.Add(text, place);
  KeepNeighboursState(id);
  transaction.Commit();
  if (run_.sides.isTree) NoteOnPc(link, id, place);
  untoldPhone_.erase(link.record);
  PutSuccessor(link, std::move(id));
  ++report_.pc.added;
}

// The PC's user may have been at it since the plan was made.
void Runner::RequirePcUnchanged(const PcItem& item, const PcText* current) const {
  if (current == nullptr) return;
  bool changed = false;
  if (run_.sides.isTree) {
    const FileMark now = run_.pc.FileNow(item.id);
    changed =
        !item.isFolder && (now.modifiedNs != item.file.modifiedNs || now.size != item.file.size);
  } else if (item.stamp != 0) {
    Bstr md5;
    Check(current->item->get_Md5(md5.Out()));
    const uint64_t stamp = StampOf(md5.view());
    changed = stamp != 0 && stamp != item.stamp;
  }
  if (changed) throw ItemError("it changed on the PC during the sync; it is taken up next time");
}

void Runner::ReplaceOnPc(const PlanStep& step, std::string_view text) {
  ItemLink& link = At(run_.sides.links, step.link);
  const PhoneItem& item = At(run_.sides.phone, link.phone);
  const PcItem& target = At(run_.sides.pc, link.pc);
  PcTransaction transaction(run_.pc.side());
  const PcPlace place = PcPlaceFor(step);
  std::optional<PcText> current;
  try {
    current = run_.pc.Get(target.id, false);
  } catch (const ItemError&) {
    // What cannot be read may still be overwritten, unless it must be kept first.
    if (step.conflict == Conflict::PhoneWon) throw;
  }
  RequirePcUnchanged(target, current ? &*current : nullptr);
  std::optional<ConflictNote> note;
  if (step.conflict == Conflict::PhoneWon) note = KeepLoser(step, item, current->text);
  std::u16string id = target.id;
  if (run_.sides.isTree) {
    if (!current && !target.isBroken) throw ItemError("the PC cannot read it");
    id = ReplaceInPlace(target, Merged(step, target, current ? &*current : nullptr, text), place);
  } else if (HasMoved(target.id, item.seriesUid, current ? current->item.get() : nullptr)) {
    id = run_.pc.Add(text);
    run_.pc.Delete(target.id);
  } else {
    run_.pc.Replace(target.id, text);
  }
  KeepNeighboursState(id);
  transaction.Commit();
  if (note) report_.conflicts.push_back(std::move(*note));
  if (run_.sides.isTree) NoteOnPc(link, id, place);
  if (run_.sides.isTree) TellPc(step);
  PutSuccessor(link, std::move(id));
  ++report_.pc.replaced;
  report_.phoneWon += step.conflict == Conflict::PhoneWon;
}

// The store writes the rows of items next to the one it changes, a series beside its exception and
// the other way round, as if the phone knew of them. What is agreed on is told in full, what the
// phone does not know yet stays to be sent.
void Runner::KeepNeighboursState(const std::u16string& id) {
  settled_.insert(id);
  if (run_.sides.isTree) return;
  if (families_.empty()) {
    for (const PcItem& item : run_.sides.pc) {
      Family& family = families_[std::u16string(SeriesPartOf(item.id))];
      if (IsSubItemId(item.id)) {
        family.exceptions.push_back(&item);
      } else {
        family.series = &item;
      }
    }
  }
  const std::u16string seriesId(SeriesPartOf(id));
  const auto found = families_.find(seriesId);
  if (!IsSubItemId(id)) {
    if (found == families_.end()) return;
    for (const PcItem* item : found->second.exceptions) KeepState(*item, false);
    return;
  }
  if (settled_.contains(seriesId)) {
    run_.pc.Sent(SENTCMD_REPL, seriesId);
  } else if (found != families_.end() && found->second.series != nullptr) {
    KeepState(*found->second.series, true);
  }
}

void Runner::KeepState(const PcItem& item, bool isSeries) {
  if (settled_.contains(item.id)) return;
  disturbed_.insert(item.id);
  if (item.change == PcChange::New) run_.pc.NotOnPhone(item.id);
  if (item.change == PcChange::Changed) run_.pc.MarkPending(item.id);
  // The row of a series was written with its exception's hash, that of an exception rightly.
  if (item.change == PcChange::Same && isSeries) run_.pc.Sent(SENTCMD_REPL, item.id);
}

void Runner::AdoptUid(const ItemLink& link) {
  const PcItem& target = At(run_.sides.pc, link.pc);
  PcTransaction transaction(run_.pc.side());
  run_.pc.AdoptUid(target.id, At(run_.sides.phone, link.phone).uid);
  KeepNeighboursState(target.id);
  // What is still to be done with the item has not been agreed on.
  settled_.erase(target.id);
  disturbed_.insert(target.id);
  if (target.change != PcChange::Same) run_.pc.MarkPending(target.id);
  transaction.Commit();
}

void Runner::DeleteFromPc(const PlanStep& step) {
  const ItemLink& link = At(run_.sides.links, step.link);
  const PcItem& target = At(run_.sides.pc, link.pc);
  PcTransaction transaction(run_.pc.side());
  if (step.withParent) {
    // It went when its series or folder did; or it is still there, because that could not go.
    if (run_.sides.isTree &&
        !settled_.contains(At(run_.sides.pc, At(run_.sides.links, link.pcParent).pc).id)) {
      throw ItemError("its folder could not be deleted");
    }
    settled_.insert(target.id);
    run_.pc.Sent(SENTCMD_DEL, target.id);
    transaction.Commit();
    Drop(link);
    ++report_.pc.deleted;
    return;
  }
  std::optional<PcText> current;
  try {
    current = run_.pc.Get(target.id, false);
  } catch (const ItemError&) {
    // Gone, or beyond reading: either way it goes.
  }
  RequirePcUnchanged(target, current ? &*current : nullptr);
  target.isFolder ? run_.pc.DeleteFolder(target.id, leaving_) : run_.pc.Delete(target.id);
  settled_.insert(target.id);
  transaction.Commit();
  Drop(link);
  ++report_.pc.deleted;
}

void Runner::NoteOne(const PlanStep& step) {
  const ItemLink& link = At(run_.sides.links, step.link);
  if (step.act == Act::Forget) {
    if (link.pc >= 0) Forget(At(run_.sides.pc, link.pc));
    return;
  }
  if (step.act != Act::Pair) return;
  const PcItem& item = At(run_.sides.pc, link.pc);
  if (!link.statusWritten || disturbed_.contains(item.id)) run_.pc.Sent(SENTCMD_ADD, item);
}

// The phone no longer has it.
void Runner::Forget(const PcItem& item) {
  if (item.change == PcChange::Filtered) {
    run_.pc.NotOnPhone(item.id);
  } else {
    run_.pc.Sent(SENTCMD_DEL, item.id);
  }
}

bool Runner::Note(Steps steps) {
  std::vector<const PlanStep*> done;
  bool stopped = false;
  PcTransaction transaction(run_.pc.side());
  for (const PlanStep& step : steps) {
    stopped = IsSyncStopped();
    if (stopped) break;
    const ItemLink& link = At(run_.sides.links, step.link);
    if (Try("pc", link, [&] { NoteOne(step); })) done.push_back(&step);
    progress_.Done();
  }
  transaction.Commit();
  SqliteTransaction group = run_.record.Group();
  for (const PlanStep* step : done) {
    const ItemLink& link = At(run_.sides.links, step->link);
    if (step->act == Act::Forget) {
      Drop(link);
      continue;
    }
    const bool known = step->act == Act::Remember;
    if (!known && link.record >= 0) untoldPhone_.erase(link.record);
    if (!known) untoldPc_.erase(At(run_.sides.pc, link.pc).id);
    Put(link, RowOf(At(run_.sides.phone, link.phone),
                    known ? At(run_.sides.records, link.record).sourceUid
                          : At(run_.sides.pc, link.pc).id));
    // A renamed file has left its old row behind; `Put` takes it away.
    report_.same += step->conflict == Conflict::Same;
  }
  group.Commit();
  return !stopped;
}

}  // namespace qv

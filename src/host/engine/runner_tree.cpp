// The runner's work on the folders of a tree, and on the places of items in them.
#include "host/engine/bookmark_text.h"
#include "host/engine/runner.h"
#include "host/engine/runner_try.h"
#include "host/engine/scan.h"
#include "host/engine/tree_links.h"
#include "support/text.h"
#include "support/user_flags.h"

namespace qv {

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

// A folder that the phone has renamed, in a run that may not tell the PC.
void Runner::FindStaleFolders(const SyncPlan& plan) {
  std::unordered_set<int32_t> done;
  for (const PlanStep& step : plan.steps) done.insert(step.link);
  for (int32_t i = 0; i < IndexOf(run_.sides.links); ++i) {
    const ItemLink& link = At(run_.sides.links, i);
    if (link.phone < 0 || link.record < 0 || done.contains(i)) continue;
    const PhoneItem& item = At(run_.sides.phone, link.phone);
    const std::string& recorded = At(run_.sides.records, link.record).name;
    if (item.isFolder && item.name != recorded) staleFolders_.emplace_back(item.name, recorded);
  }
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
  }
  PcItem& item = At(run_.sides.pc, link.pc);
  if (isNew || item.parent != place.parent) link.pcParent = link.phoneParent;
  item.id = id;
  item.parent = place.parent;
  item.isFolder = place.isFolder;
  item.change = PcChange::Same;
}

// The store refuses a place where the name is taken: there the item gets a number.
std::u16string Runner::ReplaceInPlace(const PcItem& target, const std::u16string& title,
                                      std::string_view text, const PcPlace& place) {
  // What fails once may be anything, and fail no more.
  for (int tries = 0; tries < 2; ++tries) {
    try {
      run_.pc.Replace(target.id, text, place);
      return target.id;
    } catch (const ItemError&) {
      // Not where it went half of the way: the next run takes that up.
      if (!run_.pc.IsAt(target.id, title, target.parent)) throw;
    }
  }
  if (place.isFolder) {
    const std::u16string name = TitleOf(*run_.pc.ParseFolder(text));
    run_.pc.Replace(target.id, FolderText(name + u"(2)"), place);
    return target.id;
  }
  std::u16string id = run_.pc.Add(text, place);
  run_.pc.Delete(target.id);
  return id;
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
  const std::u16string id = ReplaceInPlace(target, TitleOf(*current.item), current.text, place);
  // What the phone does not know yet stays to be sent.
  if (target.change != PcChange::Same) run_.pc.MarkPending(id, place);
  transaction.Commit();
  NoteOnPc(link, id, place);
  At(run_.sides.pc, link.pc).change = target.change;
  Put(RowOf(At(run_.sides.phone, link.phone), id));
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
  run_.record.RenameFolder(run_.phoneId, run_.pc.kind().name, old, name);
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
  if (item.isFolder) {
    run_.pc.Sent(SENTCMD_ADD, onPc);
    Put(RowOf(item, onPc.id));
  } else if (settled_.contains(onPc.id)) {
    Put(RowOf(item, onPc.id));
  } else if (link.record >= 0) {
    // It is agreed on when its text has gone there too.
    Put(RowOf(item, At(run_.sides.records, link.record).sourceUid));
  }
  group.Commit();
  return !stays;
}

bool Runner::MovePhone(Steps steps) {
  GroupCounts counts(report_, run_.conflicts);
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

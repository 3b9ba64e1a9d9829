#include "host/engine/sync.h"

#include <algorithm>
#include <optional>
#include <set>

#include "host/engine/engine_record.h"
#include "host/engine/item_names.h"
#include "host/engine/left_alone.h"
#include "host/engine/parts.h"
#include "host/engine/phone_id.h"
#include "host/engine/plan.h"
#include "host/engine/report_words.h"
#include "host/engine/runner.h"
#include "host/engine/safety.h"
#include "host/engine/survey.h"
#include "platform/system/clock.h"
#include "platform/system/files.h"
#include "platform/system/service.h"
#include "stores/bookmark/favorites_root.h"
#include "support/date_time.h"
#include "support/text.h"
#include "support/user_flags.h"

namespace qv {
namespace {

std::vector<const StoreKind*> ChosenKinds(const Profile& profile,
                                          const std::vector<std::string>& names) {
  const std::vector<const StoreKind*> enabled = profile.EnabledKinds();
  if (names.empty()) return enabled;
  std::vector<const StoreKind*> chosen;
  for (const std::string& name : names) {
    const auto found = std::ranges::find(enabled, name, &StoreKind::name);
    if (found == enabled.end()) {
      throw UsageError("the store \"" + name + "\" is unknown or switched off");
    }
    if (std::ranges::find(chosen, *found) == chosen.end()) chosen.push_back(*found);
  }
  return chosen;
}

// "YYYY-MM-DDThh:mm:ssZ".
std::string PresentText() {
  const DATE now = DateFromUnixSeconds(Service<Clock>::Get().UtcSeconds());
  std::string text = ToUtf8(FormatDateTime(now));
  std::ranges::replace(text, ' ', 'T');
  return text + "Z";
}

DS_SYNCTYPE ChooseMode(DS_SYNCTYPE wanted, bool slowDone) {
  const bool twoWay = wanted == DS_SYNCTYPE_NONE || wanted == DS_SYNCTYPE_TWO_NORMAL;
  if (!twoWay) return wanted;
  return slowDone ? DS_SYNCTYPE_TWO_NORMAL : DS_SYNCTYPE_SLOW;
}

void CountStep(const PlanStep& step, StoreReport& report) {
  int64_t* counters[] = {nullptr,
                         &report.pc.added,
                         &report.pc.replaced,
                         &report.pc.replaced,
                         &report.phone.added,
                         &report.phone.replaced,
                         &report.phone.replaced,
                         nullptr,
                         nullptr,
                         &report.pc.deleted,
                         &report.phone.deleted,
                         nullptr};
  if (step.isExtra) return;
  if (int64_t* counter = counters[static_cast<size_t>(step.act)]) ++*counter;
  report.pcWon += step.conflict == Conflict::PcWon;
  report.phoneWon += step.conflict == Conflict::PhoneWon;
  report.same += step.conflict == Conflict::Same;
}

// What one run works with, whatever the store.
struct Session {
  Profile& profile;
  EngineRecord& record;
  PcSide& side;
  PhoneIdentity& phone;
  const SyncOptions& options;
  const ProgressSink& progress;
};

class StoreSync {
 public:
  StoreSync(Session session, const StoreKind& kind)
      : session_(session),
        kind_(kind),
        phone_(session.phone.folder + "/" + std::string(kind.name), kind.extension,
               kind.isTree && DeviceTakesFolders(session.profile.bag())) {
    report_.store = kind.name;
    report_.mode = session.options.mode;
  }

  StoreReport Run() {
    try {
      // Whatever the stores write while a plan is made goes away with a plan that is not run.
      PcTransaction planning(session_.side);
      if (session_.options.dryRun && !planning.began()) {
        throw StoreFailure("this sync database has no transactions: a dry run would change it");
      }
      PcStore pc(session_.side, session_.profile, kind_);
      Sync(pc, planning);
    } catch (const SyncStopped&) {
      report_.result = SyncResult::Stopped;
    } catch (const StatusError& error) {
      Fail(StatusWords(error.status()));
    } catch (const std::bad_alloc&) {
      Fail("out of memory");
    } catch (const std::exception& error) {
      Fail(error.what());
    }
    return std::move(report_);
  }

 private:
  void Sync(PcStore& pc, PcTransaction& planning);
  // False when the phone's folder must not be taken for what it looks like.
  bool List(PcStore& pc, const std::vector<RecordRow>& rows, std::vector<FolderEntry>& files);
  void NoteUndone(const SyncPlan& plan, const Inventory& sides);
  void Show(const SyncPlan& plan, const Inventory& sides, const ItemNames& names);
  void Execute(PcStore& pc, PcTransaction& planning, const SyncPlan& plan, Inventory& sides);
  bool AllPairsRecorded(const Inventory& sides);
  void Finish(const Inventory& sides);

  void Fail(const std::string& message) {
    report_.result = SyncResult::Failed;
    report_.message = message;
  }
  void Refuse(const std::string& message) {
    report_.result = SyncResult::Refused;
    report_.message = message;
  }

  Session session_;
  const StoreKind& kind_;
  PhoneFolder phone_;
  StoreState state_;
  bool makeFolder_ = false;
  bool isElsewhere_ = false;  // the PC's folder is another one than that of the record
  StoreReport report_;
};

bool StoreSync::List(PcStore& pc, const std::vector<RecordRow>& rows,
                     std::vector<FolderEntry>& files) {
  const std::error_code error = phone_.List(files);
  report_.left = phone_.left();
  if (std::string stop = FormStop(kind_, phone_.folder(), phone_.left()); !stop.empty()) {
    Refuse(stop);
    return false;
  }
  if (!error) return true;
  makeFolder_ = rows.empty() && error == std::errc::no_such_file_or_directory;
  if (makeFolder_) return true;
  if (rows.empty()) {
    throw StoreFailure("the folder " + phone_.folder() + " cannot be read: " + error.message());
  }
  std::vector<PcItem> items;
  int64_t present = 0;
  pc.ReadItems(items, present);
  const std::string store(kind_.items);
  Refuse("the phone's folder " + phone_.folder() + " cannot be read: " + error.message() + ". " +
         std::to_string(rows.size()) + " " + store + " were in step at the last sync; now the PC " +
         "holds " + std::to_string(present) +
         " and the phone shows 0. Nothing was changed. Mount " + "the phone again; or, if its " +
         store + " are really gone, make the folder anew and run " +
         "the sync with --allow-mass-delete.");
  return false;
}

void StoreSync::Sync(PcStore& pc, PcTransaction& planning) {
  const std::string& id = session_.phone.id;
  state_ = session_.record.State(id, kind_.name);
  isElsewhere_ = state_.IsElsewhere(pc.source());
  report_.mode = ChooseMode(session_.options.mode, state_.slowDone && !isElsewhere_);
  if (isElsewhere_) report_.note = pc.MovedFrom(state_.source) + "; both sides are compared anew";
  if (isElsewhere_ && report_.mode != DS_SYNCTYPE_SLOW) {
    report_.note.clear();
    return Refuse(pc.MovedFrom(state_.source) +
                  ". Run a sync of both ways first, or choose the former folder again.");
  }
  std::vector<RecordRow> rows = session_.record.Rows(id, kind_.name);
  std::vector<FolderEntry> files;
  if (!List(pc, rows, files)) return;
  if (isElsewhere_) rows.clear();
  state_.source = pc.source();
  Inventory sides =
      Survey(pc, phone_, report_.failed).Load(report_.mode, std::move(rows), files, state_.endedNs);
  sides.isSettled = state_.slowDone;
  const SyncPlan plan = BuildPlan(report_.mode, sides);
  const ItemNames names(pc, phone_, sides);
  SafetyRules rules;
  rules.allowMassDelete = session_.options.allowMassDelete;
  rules.allowMassAdd = session_.options.allowMassAdd;
  rules.isFirst = !state_.slowDone;
  rules.nameOf = [&](const PlanStep& step) { return names.Of(At(sides.links, step.link)); };
  const std::string stop = SafetyStop(plan, sides, kind_.items, rules);
  if (!stop.empty()) {
    names.NameAll(report_);
    return Refuse(stop);
  }
  report_.matched = plan.matched;
  NoteUndone(plan, sides);
  Parts parts(pc, session_.record, id, sides, names);
  parts.Find(plan);
  if (session_.options.dryRun) {
    for (PcItem& item : sides.pc) {
      if (sides.isTree && item.change == PcChange::New) item.label = pc.Label(item);
    }
    Show(plan, sides, names);
  } else {
    Execute(pc, planning, plan, sides);
  }
  // Names are asked for, and what the stores note on the way is thrown away.
  const PcTransaction look(session_.side);
  parts.Tell(report_, session_.options.dryRun);
  names.NameAll(report_);
  if (report_.result == SyncResult::Ok && !report_.failed.empty()) {
    report_.result = SyncResult::Partial;
  }
}

// What the plan leaves out, each with its reason.
void StoreSync::NoteUndone(const SyncPlan& plan, const Inventory& sides) {
  for (const PlanStep& step : plan.held) {
    const bool deletes = step.act == Act::PcDelete;
    report_.failed.push_back(
        {deletes ? "pc" : "phone", ItemOf(step, sides),
         std::string(deletes ? "it is gone from the phone" : "it is not on the phone") + ", but " +
             plan.doubtful + " there cannot be read and may be it; repair or remove that file"});
  }
  for (const PlanStep& step : plan.orphaned) {
    report_.failed.push_back({"phone", ItemOf(step, sides),
                              "it changed on the phone, but its series was deleted there; put the "
                              "series back, or remove this file"});
  }
}

void StoreSync::Show(const SyncPlan& plan, const Inventory& sides, const ItemNames& names) {
  for (const PlanStep& step : plan.steps) {
    CountStep(step, report_);
    const ActWords words = WordsOf(step.act);
    if (words.action.empty()) continue;
    std::string name = names.Of(At(sides.links, step.link));
    report_.steps.push_back(DescribeStep(step, sides, name));
    report_.actions.push_back(
        {std::string(words.side), std::string(words.action), ItemOf(step, sides), std::move(name)});
  }
}

void StoreSync::Execute(PcStore& pc, PcTransaction& planning, const SyncPlan& plan,
                        Inventory& sides) {
  WelcomePhone(session_.record, session_.phone);
  if (makeFolder_) {
    if (const std::error_code error = phone_.Make()) {
      throw StoreFailure("cannot make " + phone_.folder() + ": " + error.message());
    }
  }
  // Before the stores' notes of this slow sync count: until it is through, the next is slow too.
  if (plan.mode == DS_SYNCTYPE_SLOW) session_.record.ClearSlowDone(session_.phone.id, kind_.name);
  if (isElsewhere_) session_.record.Clear(session_.phone.id, kind_.name);
  planning.Commit();
  ConflictFiles conflicts(session_.profile);
  ProgressMeter progress(session_.progress, kind_.name, plan.steps.size());
  Runner runner({pc, phone_, session_.record, conflicts, session_.phone.id, sides}, report_,
                progress);
  if (!runner.Run(plan)) {
    report_.result = SyncResult::Stopped;
    return;
  }
  Finish(sides);
}

// Whether each pair that was found is on record now, as it is. One that failed may be found by a
// slow sync alone, by its key text.
bool StoreSync::AllPairsRecorded(const Inventory& sides) {
  if (report_.failed.empty()) return true;
  std::set<std::string> failed;
  for (const ItemFailure& failure : report_.failed) failed.insert(failure.item);
  std::set<std::string> recorded;
  for (RecordRow& row : session_.record.Rows(session_.phone.id, kind_.name)) {
    recorded.insert(std::move(row.name));
  }
  return std::ranges::none_of(sides.links, [&](const ItemLink& link) {
    if (link.pc < 0 || link.phone < 0) return false;
    const std::string& name = At(sides.phone, link.phone).name;
    // The store takes a change that did not go through for one that did.
    const bool isNoted = link.statusWritten && At(sides.pc, link.pc).change == PcChange::Changed;
    return link.record < 0 ? !recorded.contains(name) : isNoted && failed.contains(name);
  });
}

void StoreSync::Finish(const Inventory& sides) {
  if (report_.mode == DS_SYNCTYPE_SLOW) state_.slowDone = AllPairsRecorded(sides);
  state_.lastSync = PresentText();
  state_.itemCount = session_.record.Count(session_.phone.id, kind_.name);
  state_.endedNs = FileClockNs();
  session_.record.SaveState(session_.phone.id, kind_.name, state_);
}

void SyncStores(Profile& profile, const std::string& phoneFolder,
                const std::vector<const StoreKind*>& kinds, const SyncOptions& options,
                const ProgressSink& progress, SyncReport& report) {
  EngineRecord record(EngineRecord::PathFor(profile.EngineDatabase(), options.dryRun));
  PhoneIdentity phone = MeetPhone(record, phoneFolder, options.newPhone);
  if (!phone.refusal.empty()) {
    report.result = SyncResult::Refused;
    report.message = phone.refusal;
    return;
  }
  if (!phone.known) report.message = RootStop(phoneFolder);
  if (!report.message.empty()) {
    report.result = SyncResult::Refused;
    return;
  }
  PcSide side(profile);
  side.SetTargetKey(phone.id);
  for (const StoreKind* kind : kinds) {
    const Session session{profile, record, side, phone, options, progress};
    report.stores.push_back(StoreSync(session, *kind).Run());
    report.result = std::max(report.result, report.stores.back().result);
    if (report.stores.back().result == SyncResult::Stopped) break;
  }
}

// A tree within the other one would be copied into itself, again and again.
void RefuseMixedFolders(const std::vector<const StoreKind*>& kinds,
                        const std::string& phoneFolder) {
  if (std::ranges::none_of(kinds, &StoreKind::isTree)) return;
  const std::optional<std::string> favorites = ToNativePath(FavoritesFolder());
  if (!favorites || favorites->empty()) return;
  if (!IsWithin(phoneFolder, *favorites) && !IsWithin(*favorites, phoneFolder)) return;
  throw UsageError("the phone's folder " + phoneFolder + " and the Favorites folder " + *favorites +
                   " lie within each other; each needs a folder of its own");
}

}  // namespace

SyncReport RunSync(Profile& profile, const std::string& phoneFolder,
                   const std::vector<std::string>& stores, const SyncOptions& options,
                   const ProgressSink& progress) {
  const std::vector<const StoreKind*> kinds = ChosenKinds(profile, stores);
  if (IsWithin(phoneFolder, profile.folder())) {
    throw UsageError("the folder " + phoneFolder +
                     " belongs to the profile itself; a phone needs a folder of its own");
  }
  RefuseMixedFolders(kinds, phoneFolder);
  const Profile::Lock lock = profile.LockForSync();
  if (IsSyncStopped()) profile.SetStop(false);
  SyncReport report;
  try {
    SyncStores(profile, phoneFolder, kinds, options, progress, report);
  } catch (const UsageError&) {
    throw;
  } catch (const std::exception& error) {
    report.result = SyncResult::Failed;
    report.message = error.what();
  }
  return report;
}

}  // namespace qv

// The runner's work on the phone: groups that wait for the disk together.
#include <algorithm>
#include <system_error>

#include "host/engine/bookmark_text.h"
#include "host/engine/runner.h"
#include "host/engine/runner_try.h"
#include "host/engine/scan.h"
#include "platform/system/service.h"
#include "support/user_flags.h"

namespace qv {
namespace {

constexpr const char* kChanged =
    "it changed on the phone during the sync; it is taken up next time";

// Failures that are not one file's own.
bool IsWholePhone(const std::error_code& error) {
  constexpr std::errc kCauses[] = {
      std::errc::no_space_on_device,
      std::errc::read_only_file_system,
      std::errc::io_error,
      std::errc::no_such_device,
      std::errc::permission_denied,
      std::errc::operation_not_permitted,
      std::errc::no_such_file_or_directory,
      std::errc::not_a_directory,
      std::errc::no_such_device_or_address,
  };
  return std::ranges::any_of(kCauses, [&](std::errc cause) { return error == cause; });
}

}  // namespace

struct Runner::Outgoing {
  const PlanStep* step = nullptr;
  RecordRow row;  // as it will stand in the record
  std::string text;
  StagedFile staged;
  std::optional<ConflictNote> note;
  bool isNew = false;
  bool failed = false;
};

void Runner::RequirePhoneUnchanged(const PhoneItem& item, bool mayBeGone) const {
  FileInfo info;
  const std::error_code error = run_.phone.Stat(item.name, info);
  if (mayBeGone && error == std::errc::no_such_file_or_directory) return;
  if (error) throw ItemError(error.message());
  if (info.size != item.size || info.modifiedNs != item.modifiedNs) throw ItemError(kChanged);
}

// The text for the phone, and the loser of a conflict put aside.
void Runner::Gather(const PlanStep& step, Outgoing& out) {
  ItemLink& link = At(run_.sides.links, step.link);
  const PcItem& source = At(run_.sides.pc, link.pc);
  if (unplaced_.contains(step.link)) throw ItemError("it could not be moved on the PC");
  out.step = &step;
  out.isNew = link.phone < 0;
  out.row.sourceUid = source.id;
  PcText onPc = run_.pc.Get(source.id, true);
  if (source.isFolder) {
    TellPhone(step, nullptr);
    return GatherFolder(link, *onPc.item, out);
  }
  out.text = std::move(onPc.text);
  if (run_.sides.isTree && !out.isNew) {
    KeepPhonePart(step, At(run_.sides.phone, link.phone), out.text);
  }
  out.row.uid = UidOf(*onPc.item);
  const auto hash = Service<Md5Provider>::Get().Digest(out.text);
  if (!hash) throw ItemError("the checksum service failed");
  out.row.hash = *hash;
  if (run_.sides.isTree) NoteSent(step, *onPc.item, out.text, out.row);
  if (out.isNew) {
    out.row.name = run_.sides.isTree
                       ? run_.phone.FreeName(PhonePlaceFor(link), TitleOf(*onPc.item), false)
                       : run_.phone.FreeName(out.row.uid);
    return;
  }
  const PhoneItem& item = At(run_.sides.phone, link.phone);
  out.row.name = item.name;
  if (step.conflict == Conflict::PcWon) {
    out.note = KeepLoser(step, item, TextOf(run_.phone, item));
  }
}

// Noted at once: what goes into it in the same batch must know its name.
void Runner::GatherFolder(ItemLink& link, IItemCommon& folder, Outgoing& out) {
  PhoneItem made;
  made.name = run_.phone.FreeName(PhonePlaceFor(link), TitleOf(folder), true);
  made.isFolder = true;
  out.row.name = made.name;
  link.phone = IndexOf(run_.sides.phone);
  link.phoneParent = link.pcParent;
  run_.sides.phone.push_back(std::move(made));
}

// A folder of the phone, or a file beside its place; the failure is that of the device.
std::error_code Runner::StageOne(Outgoing& out) {
  return IsFolderName(out.row.name) ? run_.phone.MakeFolder(out.row.name)
                                    : run_.phone.Stage(out.row.name, out.text, out.staged);
}

void Runner::Discard(Outgoing& out) {
  out.failed = true;
  if (!out.staged.temporary.empty()) run_.phone.Discard(out.staged);
  // What should have been overwritten stands: its copy would be one more at each try.
  if (out.note) run_.conflicts.Drop(out.note->kept);
  out.note.reset();
}

// Throws StoreFailure for a device that takes nothing.
void Runner::WriteFiles(std::vector<Outgoing>& batch) {
  std::error_code last;
  size_t from = 0;  // what is staged and not placed begins here
  const auto place = [&](size_t end) {
    const std::span<Outgoing> group = std::span(batch).subspan(from, end - from);
    from = end;
    if (const std::error_code error = PlaceFiles(group)) last = error;
  };
  for (size_t i = 0; i < batch.size(); ++i) {
    Outgoing& out = batch[i];
    const bool done = Try("phone", At(run_.sides.links, out.step->link), [&] {
      std::error_code error = StageOne(out);
      if (error == std::errc::no_space_on_device && from < i) {
        // What takes the place of an old file makes room.
        place(i);
        error = StageOne(out);
      }
      if (!error) return;
      if (error == std::errc::file_exists) throw ItemError(kChanged);
      last = error;
      throw ItemError("cannot be written: " + error.message());
    });
    if (!done) Discard(out);
  }
  place(batch.size());
  const bool nothing = std::ranges::all_of(batch, &Outgoing::failed);
  if (nothing && IsWholePhone(last)) {
    throw StoreFailure("nothing can be written to " + run_.phone.folder() + ": " + last.message());
  }
}

// Lets what was staged take its places, when it is on disk. The answer is the device's last failure
// with an item.
std::error_code Runner::PlaceFiles(std::span<Outgoing> group) {
  const auto isStaged = [](const Outgoing& out) {
    return !out.failed && !out.staged.temporary.empty();
  };
  if (std::ranges::none_of(group, isStaged)) return {};
  std::error_code last;
  try {
    run_.conflicts.Settle();
    if (const std::error_code error = run_.phone.SettleStaged()) {
      throw StoreFailure("what was written to " + run_.phone.folder() +
                         " cannot be brought to disk: " + error.message());
    }
  } catch (const StoreFailure&) {
    for (Outgoing& out : group) Discard(out);
    throw;
  }
  for (Outgoing& out : group) {
    if (!isStaged(out)) continue;
    const bool done = Try("phone", At(run_.sides.links, out.step->link), [&] {
      if (!out.isNew) {
        RequirePhoneUnchanged(At(run_.sides.phone, At(run_.sides.links, out.step->link).phone),
                              false);
      }
      const std::error_code error = run_.phone.Place(out.row.name, out.staged, out.isNew);
      if (!error) return;
      if (error == std::errc::file_exists) throw ItemError(kChanged);
      last = error;
      throw ItemError("cannot be written: " + error.message());
    });
    if (!done) Discard(out);
  }
  return last;
}

void Runner::SyncPhone() {
  const std::error_code error = run_.phone.Sync();
  if (error) {
    throw StoreFailure("the folder " + run_.phone.folder() +
                       " cannot be brought to disk: " + error.message());
  }
}

// Only now is anything noted: the files are there to stay.
void Runner::Confirm(std::vector<Outgoing>& batch) {
  PcTransaction transaction(run_.pc.side());
  for (Outgoing& out : batch) {
    if (out.failed) continue;
    out.failed = !Try("phone", At(run_.sides.links, out.step->link), [&] {
      FileInfo info;
      if (const std::error_code error = run_.phone.Stat(out.row.name, info)) {
        throw ItemError(error.message());
      }
      if (!info.isFolder) {
        out.row.size = info.size;
        out.row.modifiedNs = info.modifiedNs;
        out.row.inode = info.inode;
      }
      run_.pc.Sent(out.step->act == Act::PhoneAdd ? SENTCMD_ADD : SENTCMD_REPL,
                   At(run_.sides.pc, At(run_.sides.links, out.step->link).pc));
    });
  }
  transaction.Commit();
  SqliteTransaction group = run_.record.Group();
  for (const Outgoing& out : batch) {
    if (!out.failed) Put(At(run_.sides.links, out.step->link), out.row);
  }
  group.Commit();
}

// Takes steps off the front, up to a stop or as many texts as may lie in memory.
bool Runner::GatherBatch(Steps& steps, std::vector<Outgoing>& batch) {
  // The identifiers that the texts carry must be known before a file with them can be found.
  PcTransaction transaction(run_.pc.side());
  bool stopped = false;
  for (uint64_t bytes = 0; !steps.empty() && bytes < kGroupBytes; steps = steps.subspan(1)) {
    stopped = IsSyncStopped();
    if (stopped) break;
    const PlanStep& step = steps.front();
    Outgoing out;
    if (Try("pc", At(run_.sides.links, step.link), [&] { Gather(step, out); })) {
      bytes += out.text.size();
      batch.push_back(std::move(out));
    }
    progress_.Done();
  }
  transaction.Commit();
  return !stopped;
}

bool Runner::WritePhone(Steps steps) {
  while (!steps.empty()) {
    std::vector<Outgoing> batch;
    const bool goOn = GatherBatch(steps, batch);
    if (!batch.empty()) {
      WriteFiles(batch);
      SyncPhone();
      Confirm(batch);
    }
    for (const Outgoing& out : batch) {
      if (out.note) report_.conflicts.push_back(*out.note);
      if (out.failed) continue;
      ++(out.step->act == Act::PhoneAdd ? report_.phone.added : report_.phone.replaced);
      report_.pcWon += out.step->conflict == Conflict::PcWon;
    }
    if (!goOn) return false;
  }
  return true;
}

bool Runner::DeletePhone(Steps steps) {
  std::vector<const ItemLink*> removed;
  bool stopped = false;
  for (const PlanStep& step : steps) {
    stopped = IsSyncStopped();
    if (stopped) break;
    const ItemLink& link = At(run_.sides.links, step.link);
    const PhoneItem& item = At(run_.sides.phone, link.phone);
    const bool done = Try("phone", item.name, [&] {
      if (!item.isFolder) RequirePhoneUnchanged(item, true);
      const std::error_code error = run_.phone.Remove(item.name);
      if (error && !(item.isFolder && error == std::errc::no_such_file_or_directory)) {
        throw ItemError("cannot be deleted: " + error.message());
      }
    });
    if (done) removed.push_back(&link);
    progress_.Done();
  }
  if (removed.empty()) return !stopped;
  SyncPhone();
  {
    PcTransaction transaction(run_.pc.side());
    std::erase_if(removed, [&](const ItemLink* link) {
      if (link->pc < 0) return false;
      return !Try("pc", *link, [&] { Forget(At(run_.sides.pc, link->pc)); });
    });
    transaction.Commit();
  }
  SqliteTransaction group = run_.record.Group();
  for (const ItemLink* link : removed) Drop(*link);
  group.Commit();
  report_.phone.deleted += static_cast<int64_t>(removed.size());
  return !stopped;
}

}  // namespace qv

// Runs a plan: the one place that changes items.
//
// What is done goes in groups of one kind of step, and a group waits for the disk a fixed number of
// times, however many items it has. What is on the phone, and what is on the PC, is on disk before
// the record says so:
//
//   to the PC     the losing texts of conflicts; the PC's items, in one transaction or as files;
//   what
//                 the stores note of them, in one transaction; the record
//   to the phone  the identifiers that the texts carry; losing texts and files beside their places;
//                 the places; what the stores note; the record
//
// The record itself is not waited for: one that lags behind is a run that was cut off before it. A
// run that is cut off anywhere, or loses there what was not waited for, leaves pairs that the next
// one recognises. An item that fails is undone by itself, is named in the report, and takes none of
// its group with it; when a group as a whole cannot be kept, nothing of it is counted. A stop ends
// a group at the next item, and what was done of it is kept.
#pragma once

#include <chrono>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "host/engine/conflict_files.h"
#include "host/engine/engine_record.h"
#include "host/engine/pc_side.h"
#include "host/engine/phone_folder.h"
#include "host/engine/plan.h"
#include "host/engine/sync.h"

namespace qv {

// The most items of a group. A bigger one waits less often, but keeps the PC's other programs from
// writing for longer and has more to do again after a cut.
inline constexpr size_t kGroupItems = 512;
// And the most bytes of their texts, but for one item: what lies in memory, and in a log on disk.
inline constexpr uint64_t kGroupBytes = 4u << 20;

// Calls the sink now and then: at 64 items more, or after 50 ms.
class ProgressMeter {
 public:
  ProgressMeter(const ProgressSink& sink, std::string_view store, size_t total)
      : sink_(sink), store_(store), total_(static_cast<int64_t>(total)) {
    Tell();
  }
  void Done();
  void Tell();

 private:
  const ProgressSink& sink_;
  std::string store_;
  int64_t total_;
  int64_t done_ = 0;
  int64_t told_ = 0;
  std::chrono::steady_clock::time_point last_{};
};

struct RunSides {
  PcStore& pc;
  PhoneFolder& phone;
  EngineRecord& record;
  ConflictFiles& conflicts;
  std::string phoneId;
  Inventory& sides;  // what is made, moved or renamed on the way is noted here
};

class Runner {
 public:
  Runner(RunSides run, StoreReport& report, ProgressMeter& progress)
      : run_(std::move(run)), report_(report), progress_(progress) {}

  // False when it was stopped. Items that fail are in the report. Throws StoreFailure and
  // SqliteError.
  bool Run(const SyncPlan& plan);

 private:
  using Steps = std::span<const PlanStep>;
  // So many of the first steps make one group.
  size_t GroupSize(Steps steps) const;
  struct Outgoing;

  // Each does the steps it was given, or the first of them up to a stop, and says whether it came
  // to the end.
  bool ChangePc(Steps steps);
  bool WritePhone(Steps steps);
  bool MovePhone(Steps steps);
  bool DeletePhone(Steps steps);
  bool Note(Steps steps);

  void ChangeOne(const PlanStep& step);
  std::string TextForPc(const PhoneItem& item) const;
  void AddToPc(ItemLink& link, std::string_view text);
  void ReplaceOnPc(const PlanStep& step, std::string_view text);
  void DeleteFromPc(const PlanStep& step);
  std::u16string ReplaceInPlace(const PcItem& target, std::string_view text, const PcPlace& place);

  // Of a tree. The places throw ItemError for an item whose folder the other side does not have.
  void BeginTree();
  void ForgetGone();
  void NoteFollowed();
  void SetDisplacedAside();
  void FindUntold();
  PcItem* FindPc(const std::u16string& id);
  void Complete(RecordRow& row);
  std::string Merged(const PlanStep& step, const PcItem& target, const PcText* current,
                     std::string_view text) const;
  void KeepPhonePart(const PlanStep& step, const PhoneItem& item, std::string& text) const;
  void NoteSent(const PlanStep& step, IItemCommon& onPc, std::string_view text, RecordRow& row);
  // The PC's item, or the phone's, has been given what the step takes from the other side.
  void TellPc(const PlanStep& step);
  void TellPhone(const PlanStep& step, RecordRow* row);
  void FindStaleFolders();
  // The name that the record has for a folder of the phone.
  std::string RecordedName(int32_t folder) const;
  bool PutInTree(const ItemLink& link, RecordRow& row);
  PcPlace PcPlaceFor(const PlanStep& step) const;
  std::string PhonePlaceFor(const ItemLink& link) const;
  void NoteOnPc(ItemLink& link, const std::u16string& id, const PcPlace& place);
  void MoveOnPc(const PlanStep& step);
  bool MoveOnPhone(const PlanStep& step);
  void NoteRenamed(int32_t link, const std::string& name);
  void MoveInside(int32_t link, int32_t from, int32_t to);
  void AdoptUid(const ItemLink& link);
  void KeepNeighboursState(const std::u16string& id);
  void KeepState(const PcItem& item, bool isSeries);
  void Forget(const PcItem& item);
  void RequirePcUnchanged(const PcItem& item, const PcText* current) const;
  void RequirePhoneUnchanged(const PhoneItem& item, bool mayBeGone) const;

  // Of what goes to the phone as one group.
  bool GatherBatch(Steps& steps, std::vector<Outgoing>& batch);
  void Gather(const PlanStep& step, Outgoing& out);
  void GatherFolder(ItemLink& link, IItemCommon& folder, Outgoing& out);
  std::error_code StageOne(Outgoing& out);
  void WriteFiles(std::vector<Outgoing>& batch);
  std::error_code PlaceFiles(std::span<Outgoing> group);
  void Discard(Outgoing& out);
  void SyncPhone();
  void Confirm(std::vector<Outgoing>& batch);
  void NoteOne(const PlanStep& step);
  // Puts the losing text aside; the note is for the report once the winner has been written.
  ConflictNote KeepLoser(const PlanStep& step, const PhoneItem& item, std::string_view text);

  void Put(const ItemLink& link, RecordRow row);
  // The row of an item of the PC that may have come in the place of another.
  void PutSuccessor(const ItemLink& link, std::u16string sourceUid);
  void Drop(const ItemLink& link);
  RecordRow RowOf(const PhoneItem& item, std::u16string sourceUid) const;
  void Fail(const char* side, const std::string& item, std::string reason);
  std::string NameOf(const ItemLink& link) const;
  std::string NameOf(const PcItem& item) const { return run_.pc.Label(item); }
  static std::string NameOf(const std::string& name) { return name; }

  // Runs `body`; a failure of the item (a link, an item of the PC or a name) is noted, and false
  // comes back.
  template <class Item, class Body>
  bool Try(const char* side, const Item& item, Body&& body);

  RunSides run_;
  StoreReport& report_;
  ProgressMeter& progress_;
  // What of an item has changed and the other side has not been told, and what was agreed on: of
  // the PC's by identifier, of the phone's by record.
  struct Untold {
    Meaning agreed;
    bool title = false;
    bool url = false;
    FileMark file = {};  // of the PC's, as it was then
    void KeepIn(Meaning& says) const {
      if (title) says.title = agreed.title;
      if (url) says.url = agreed.url;
    }
  };
  std::unordered_map<std::u16string, Untold> untoldPc_;
  std::unordered_map<int32_t, Untold> untoldPhone_;
  std::unordered_map<std::u16string, int32_t> pcById_;
  // Items that this run has brought in step, and the known ones by the identifier of their series.
  std::unordered_set<std::u16string> settled_;
  struct Family {
    const PcItem* series = nullptr;
    std::vector<const PcItem*> exceptions;
  };
  std::unordered_map<std::u16string, Family> families_;
  // Items whose rows this run has touched without bringing them in step.
  std::unordered_set<std::u16string> disturbed_;
  // What goes from the PC in this run.
  std::unordered_set<std::u16string> leaving_;
  // Links whose item could not be moved to where the phone has it: they are not agreed on.
  std::unordered_set<int32_t> unplaced_;
  // The links of what is in each folder of the phone, by the folder's; made for the first move.
  std::unordered_map<int32_t, std::vector<int32_t>> insidePhone_;
  // The links of folders that the phone has renamed or moved, until that is noted: what is in them
  // is noted under the name on record, so that the next run knows the folder by it.
  std::unordered_set<int32_t> staleFolders_;
};

}  // namespace qv

// The plan: what a run will do, as a value. Building it is pure.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "framework/store_contract.h"
#include "host/engine/model.h"

namespace qv {

enum class Act : uint8_t {
  Adopt,  // the PC's item takes the phone's uid; it shows nowhere
  PcAdd,
  PcReplace,  // also into the folder that the phone has it in, see `Placing`
  PcMove,     // only that
  PhoneAdd,
  PhoneMove,  // to the PC's folder, and to the name that it has there
  PhoneReplace,
  Pair,      // both sides hold the same: note the agreement
  Remember,  // only the record is behind (a touched or renamed file)
  PcDelete,
  PhoneDelete,
  Forget,  // gone on both sides
};

// What became of an item that both sides changed.
enum class Conflict : uint8_t { None, PcWon, PhoneWon, Same };

// Whose folder counts for a pair that lies in different ones.
enum class Placing : uint8_t { Same, AsOnPhone, AsOnPc };

struct PlanStep {
  int32_t link = -1;
  Act act = Act::Pair;
  Conflict conflict = Conflict::None;
  bool isException = false;  // of a series
  bool withParent = false;   // goes because its series, or the folder that it is in, goes
  Placing placing = Placing::Same;
  bool isExtra = false;  // beside another step for the same item: it counts no further
  // In a tree: whose title and address the pair is to have; none for each side's own. What a step
  // does not take from the other side it leaves as it is.
  Winner title = Winner::None;
  Winner url = Winner::None;
  int32_t order = 0;  // among steps of one rank: folders from the top down, or up for deleting
};

struct SyncPlan {
  DS_SYNCTYPE mode = DS_SYNCTYPE_NONE;
  // In the order in which a run does them: what makes or changes an item before what takes one
  // away, a series before its exceptions.
  std::vector<PlanStep> steps;
  // Not done this time: a file of the phone that is on no record and cannot be read may be the very
  // item that would be deleted from the PC, or added to the phone a second time.
  std::vector<PlanStep> held;
  std::string doubtful;  // the name of such a file
  int64_t matched = 0;   // pairs that were found rather than known
  // Changed on the phone, which has deleted the series: kept there.
  std::vector<PlanStep> orphaned;
  int64_t pcAdds = 0;
  int64_t phoneAdds = 0;
  int64_t pcDeletes = 0;
  int64_t phoneDeletes = 0;
  int64_t phoneFiltered = 0;  // of these: items that stay on the PC, outside the filter
};

// What a pair asks for, before contents are looked at.
enum class Move : uint8_t {
  None,
  ToPc,     // the phone's text goes to the PC
  ToPhone,  // the PC's text goes to the phone
  DeletePc,
  DeletePhone,
  Settle,       // compare; where they differ the newer wins
  SettlePhone,  // compare; where they differ the phone wins
  SettlePc,     // compare; where they differ the PC wins
  Drop,
};

// The move of a link in a mode. Settle moves need `content` and `newer` of the link, which whoever
// loads the sides fills in before the plan is built.
Move MoveOf(DS_SYNCTYPE mode, const Inventory& sides, const ItemLink& link);
// Whether the plan reads the link's `content`.
bool NeedsContent(DS_SYNCTYPE mode, const Inventory& sides, const ItemLink& link);

// Whether both sides have changed the title, or the address, to something else.
bool IsDisputed(const Inventory& sides, const ItemLink& link);

SyncPlan BuildPlan(DS_SYNCTYPE mode, const Inventory& sides);

// The place of a step in the order of a run.
int RankOf(const PlanStep& step);

// The item of a step: the phone's file name, or the PC's identifier.
std::string ItemOf(const PlanStep& step, const Inventory& sides);
// One line for a person, without a line end; empty for a step that shows nowhere. `name` is what
// people call the item.
std::string DescribeStep(const PlanStep& step, const Inventory& sides, std::string_view name = {});
// The side and the word of an act: "phone", "delete". Empty for one that shows nowhere.
struct ActWords {
  std::string_view side, action;
};
ActWords WordsOf(Act act);

}  // namespace qv

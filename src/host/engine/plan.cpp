#include "host/engine/plan.h"

#include <algorithm>
#include <array>
#include <utility>

#include "host/engine/plan_recurrence.h"
#include "host/engine/plan_tree.h"
#include "host/engine/report_words.h"
#include "support/text.h"

namespace qv {
namespace {

// Which way of syncing a mode is, as a row of the tables. Slow is two-way with more comparing.
size_t Row(DS_SYNCTYPE mode) {
  switch (mode) {
    case DS_SYNCTYPE_ONEFROM_CLIENT:
      return 1;
    case DS_SYNCTYPE_ONEFROM_SERVER:
      return 2;
    case DS_SYNCTYPE_REFRESH_CLIENT:
      return 3;
    case DS_SYNCTYPE_REFRESH_SERVER:
      return 4;
    case DS_SYNCTYPE_NONE:
    case DS_SYNCTYPE_TWO_NORMAL:
    case DS_SYNCTYPE_SLOW:
      break;
  }
  return 0;
}

// The decision for a recorded pair. Rows of a block: the PC's item is the same, changed, gone.
// Columns: the phone's is the same, changed, gone. What a one-way sync may not touch stays pending.
using PairMoves = std::array<std::array<Move, 3>, 3>;
constexpr std::array<PairMoves, 5> kPairMoves = {{
    // two-way: a change wins over a deletion
    {{{Move::None, Move::ToPc, Move::DeletePc},
      {Move::ToPhone, Move::Settle, Move::ToPhone},
      {Move::DeletePhone, Move::ToPc, Move::Drop}}},
    // from-phone: the PC's own changes stay
    {{{Move::None, Move::ToPc, Move::DeletePc},
      {Move::None, Move::SettlePhone, Move::None},
      {Move::None, Move::ToPc, Move::Drop}}},
    // from-pc: the phone's own changes stay
    {{{Move::None, Move::None, Move::None},
      {Move::ToPhone, Move::SettlePc, Move::ToPhone},
      {Move::DeletePhone, Move::None, Move::Drop}}},
    // refresh-from-phone: the PC becomes what the phone is
    {{{Move::None, Move::ToPc, Move::DeletePc},
      {Move::ToPc, Move::SettlePhone, Move::DeletePc},
      {Move::ToPc, Move::ToPc, Move::Drop}}},
    // refresh-from-pc: the phone becomes what the PC is
    {{{Move::None, Move::ToPhone, Move::ToPhone},
      {Move::ToPhone, Move::SettlePc, Move::ToPhone},
      {Move::DeletePhone, Move::DeletePhone, Move::Drop}}},
}};

// What is not on record: found on both sides, on the phone alone, on the PC alone.
struct NewMoves {
  Move both, phoneOnly, pcOnly;
};
constexpr std::array<NewMoves, 5> kNewMoves = {{
    {Move::Settle, Move::ToPc, Move::ToPhone},
    {Move::SettlePhone, Move::ToPc, Move::None},
    {Move::SettlePc, Move::None, Move::ToPhone},
    {Move::SettlePhone, Move::ToPc, Move::DeletePc},
    {Move::SettlePc, Move::DeletePhone, Move::ToPhone},
}};

// For a recorded pair whose PC item the filter keeps back. Columns as above: what leaves the filter
// leaves the phone, and stays on the PC whatever the phone does.
constexpr std::array<std::array<Move, 3>, 5> kFilteredMoves = {{
    {Move::DeletePhone, Move::Settle, Move::Drop},
    {Move::None, Move::SettlePhone, Move::Drop},
    {Move::DeletePhone, Move::None, Move::Drop},
    {Move::None, Move::SettlePhone, Move::Drop},
    {Move::DeletePhone, Move::DeletePhone, Move::Drop},
}};

enum State : size_t { kSame, kChanged, kGone };

struct PairState {
  State pc;
  State phone;
};

bool HasMoved(const ItemLink& link, int32_t parent) {
  return link.record >= 0 && parent != link.recordParent;
}

bool IsFolder(const Inventory& sides, const ItemLink& link) {
  return sides.isTree && link.record >= 0 && IsFolderName(At(sides.records, link.record).name);
}

PairState StateOf(const Inventory& sides, const ItemLink& link) {
  PairState state{kGone, kGone};
  bool agreed = true;
  if (link.pc >= 0) {
    const PcChange change = At(sides.pc, link.pc).change;
    // On record, yet the store knows of no agreement: only a look at the contents can tell.
    agreed = change != PcChange::New || link.changes.areKnown;
    if (change != PcChange::Gone) state.pc = change == PcChange::Same ? kSame : kChanged;
  }
  if (link.phone >= 0) {
    const bool same = At(sides.phone, link.phone).change == PhoneChange::Same;
    state.phone = same && agreed ? kSame : kChanged;
  }
  // To put it elsewhere is a change too, where the other side has deleted it.
  if (state.pc == kGone && state.phone == kSame && HasMoved(link, link.phoneParent)) {
    state.phone = IsFolder(sides, link) ? kSame : kChanged;
  }
  if (state.phone == kGone && state.pc == kSame && HasMoved(link, link.pcParent)) {
    state.pc = IsFolder(sides, link) ? kSame : kChanged;
  }
  return state;
}

bool IsUnreadable(const Inventory& sides, const ItemLink& link) {
  return (link.phone >= 0 && At(sides.phone, link.phone).change == PhoneChange::Unreadable) ||
         (link.pc >= 0 && At(sides.pc, link.pc).isUnreadable);
}

bool IsFiltered(const Inventory& sides, const ItemLink& link) {
  return link.pc >= 0 && At(sides.pc, link.pc).change == PcChange::Filtered;
}

bool IsSettle(Move move) {
  return move == Move::Settle || move == Move::SettlePhone || move == Move::SettlePc;
}

bool IsGonePc(const Inventory& sides, const ItemLink& link) {
  return link.pc < 0 || At(sides.pc, link.pc).change == PcChange::Gone;
}

Winner SettledBy(Move move, const ItemLink& link) {
  if (move == Move::SettlePhone) return Winner::Phone;
  if (move == Move::SettlePc) return Winner::Pc;
  return link.newer == Winner::Phone ? Winner::Phone : Winner::Pc;
}

// Whose part of a bookmark counts; `winner` where both have changed it.
Winner PartOf(bool byPc, bool byPhone, Winner winner) {
  if (byPc && byPhone) return winner;
  if (byPc) return Winner::Pc;
  return byPhone ? Winner::Phone : Winner::None;
}

// Who wins what both have changed; in a refresh, what either has.
Winner WinnerOf(DS_SYNCTYPE mode, const ItemLink& link) {
  if (mode == DS_SYNCTYPE_ONEFROM_CLIENT || mode == DS_SYNCTYPE_REFRESH_CLIENT)
    return Winner::Phone;
  if (mode == DS_SYNCTYPE_ONEFROM_SERVER || mode == DS_SYNCTYPE_REFRESH_SERVER) return Winner::Pc;
  return link.newer == Winner::Phone ? Winner::Phone : Winner::Pc;
}

bool IsRefresh(DS_SYNCTYPE mode) {
  return mode == DS_SYNCTYPE_REFRESH_CLIENT || mode == DS_SYNCTYPE_REFRESH_SERVER;
}

// Which title and which address a known bookmark is to have.
void PlanParts(DS_SYNCTYPE mode, const Inventory& sides, const ItemLink& link, PlanStep& step) {
  const ItemLink::Changes& changes = link.changes;
  if (!changes.areKnown) {
    step.title = step.url = step.act == Act::PcReplace ? Winner::Phone : Winner::Pc;
    return;
  }
  const Winner winner = WinnerOf(mode, link);
  step.title = PartOf(changes.pcTitle, changes.phoneTitle, winner);
  step.url = PartOf(changes.pcUrl, changes.phoneUrl, winner);
  if (At(sides.pc, link.pc).isBroken) step.url = Winner::Phone;
  if (!IsRefresh(mode)) return;
  if (step.title != Winner::None) step.title = winner;
  if (step.url != Winner::None) step.url = winner;
}

// A known bookmark that both sides changed. Each part goes the way of the side that changed it; it
// is a conflict only where both changed the same part.
void Merge(DS_SYNCTYPE mode, const Inventory& sides, const ItemLink& link, PlanStep& step) {
  PlanParts(mode, sides, link, step);
  const Meaning& pc = At(sides.pc, link.pc).says;
  const Meaning& phone = At(sides.phone, link.phone).says;
  const ItemLink::Changes& changes = link.changes;
  if (changes.pcTitle && changes.phoneTitle && pc.title == phone.title) step.title = Winner::None;
  if (changes.pcUrl && changes.phoneUrl && pc.url == phone.url) step.url = Winner::None;
  const auto has = [&](Winner winner) { return step.title == winner || step.url == winner; };
  const Winner winner = WinnerOf(mode, link);
  const bool oneWay = mode == DS_SYNCTYPE_ONEFROM_CLIENT || mode == DS_SYNCTYPE_ONEFROM_SERVER;
  if (!has(Winner::Pc) && !has(Winner::Phone)) {
    step.act = Act::Pair;
    step.conflict = Conflict::Same;
  } else if (has(Winner::Phone) && (!oneWay || winner == Winner::Phone)) {
    step.act = Act::PcReplace;
  } else if (has(Winner::Pc) && (!oneWay || winner == Winner::Pc)) {
    step.act = Act::PhoneReplace;
  } else {
    step.act = Act::Remember;
  }
  if (!IsDisputed(sides, link)) return;
  step.conflict = winner == Winner::Phone ? Conflict::PhoneWon : Conflict::PcWon;
}

// A step for a pair whose contents were compared.
void Settle(Move move, const ItemLink& link, bool bothChanged, PlanStep& step) {
  if (link.content == ContentMatch::Identical) {
    step.act = Act::Pair;
    if (bothChanged) step.conflict = Conflict::Same;
    return;
  }
  Winner winner = SettledBy(move, link);
  if (move == Move::Settle && link.content == ContentMatch::PhoneHasMore) winner = Winner::Phone;
  if (move == Move::Settle && link.content == ContentMatch::PcHasMore) winner = Winner::Pc;
  const bool fromPhone = winner == Winner::Phone;
  step.act = fromPhone ? Act::PcReplace : Act::PhoneReplace;
  // Nothing is lost where the winner holds all that the other side does.
  const auto holdsAll = fromPhone ? ContentMatch::PhoneHasMore : ContentMatch::PcHasMore;
  if (link.content != holdsAll) step.conflict = fromPhone ? Conflict::PhoneWon : Conflict::PcWon;
}

// Of a folder the number alone tells: its times are those of what is in it.
bool IsOther(const PcItem& item, const FileMark& file) {
  return item.isFolder ? !item.file.IsSameFile(file) : item.file != file;
}

bool IsTreeRecordBehind(const Inventory& sides, const ItemLink& link) {
  const PhoneItem& item = At(sides.phone, link.phone);
  const RecordRow& row = At(sides.records, link.record);
  const bool isKnown = row.pcSays.IsKnown() && (item.isFolder || row.phoneSays.IsKnown());
  return !isKnown || row.hasFollowed || (!item.isFolder && item.hash != row.hash) ||
         (!IsGonePc(sides, link) && IsOther(At(sides.pc, link.pc), row.pcFile));
}

// Whether the record tells less of the file than the file itself.
bool IsRecordBehind(const Inventory& sides, const ItemLink& link) {
  if (link.record < 0 || link.phone < 0 || IsUnreadable(sides, link)) return false;
  const PhoneItem& item = At(sides.phone, link.phone);
  const RecordRow& row = At(sides.records, link.record);
  return item.change == PhoneChange::Same &&
         (item.name != row.name || row.isAside || item.size != row.size ||
          item.modifiedNs != row.modifiedNs || (row.inode == 0 && item.inode != 0) ||
          (sides.isTree && IsTreeRecordBehind(sides, link)));
}

// False when the link needs no step.
bool PlanLink(DS_SYNCTYPE mode, const Inventory& sides, const ItemLink& link, PlanStep& step) {
  const Move move = MoveOf(mode, sides, link);
  switch (move) {
    case Move::None:
      step.act = Act::Remember;
      return IsRecordBehind(sides, link);
    case Move::ToPc:
      step.act = IsGonePc(sides, link) ? Act::PcAdd : Act::PcReplace;
      PlanParts(mode, sides, link, step);
      return true;
    case Move::ToPhone:
      step.act = link.phone < 0 ? Act::PhoneAdd : Act::PhoneReplace;
      PlanParts(mode, sides, link, step);
      return true;
    case Move::DeletePc:
      step.act = Act::PcDelete;
      return true;
    case Move::DeletePhone:
      step.act = Act::PhoneDelete;
      return true;
    case Move::Drop:
      step.act = Act::Forget;
      return true;
    case Move::Settle:
    case Move::SettlePhone:
    case Move::SettlePc: {
      const PairState state = StateOf(sides, link);
      const bool bothChanged = link.record >= 0 && state.pc == kChanged && state.phone == kChanged;
      if (link.changes.areKnown && !At(sides.phone, link.phone).isFolder) {
        Merge(mode, sides, link, step);
        return true;
      }
      Settle(move, link, bothChanged, step);
      PlanParts(mode, sides, link, step);
      return true;
    }
  }
  return false;
}

// A pair that this run has found or, in a slow sync, found again.
bool IsMatched(DS_SYNCTYPE mode, const Inventory& sides, const ItemLink& link) {
  return link.phone >= 0 && !IsGonePc(sides, link) && !IsUnreadable(sides, link) &&
         (link.record < 0 || mode == DS_SYNCTYPE_SLOW);
}

// Files that the record does not know and that cannot be read: what they are nobody can say.
struct Doubts {
  bool deletions = false;  // one may be a renamed item
  bool additions = false;  // one may be an item that both sides have
  std::string file;
};

Doubts DoubtsOf(const Inventory& sides) {
  Doubts doubts;
  for (const PhoneItem& item : sides.phone) {
    if (item.change != PhoneChange::Unreadable || item.record >= 0 || item.isAlien) continue;
    doubts.deletions = true;
    doubts.additions = doubts.additions || item.unread;
    if (doubts.file.empty() || item.unread) doubts.file = item.name;
  }
  return doubts;
}

bool IsDoubtful(const Doubts& doubts, const PlanStep& step) {
  return (doubts.deletions && step.act == Act::PcDelete) ||
         (doubts.additions && step.act == Act::PhoneAdd);
}

constexpr ActWords kActWords[] = {
    {},  // Adopt
    {"pc", "add"},
    {"pc", "replace"},
    {"pc", "move"},
    {"phone", "add"},
    {"phone", "move"},
    {"phone", "replace"},
    {"", "pair"},  // Pair
    {},            // Remember
    {"pc", "delete"},
    {"phone", "delete"},
    {},  // Forget
};

// Of an act, and of the same act upon an exception.
struct Rank {
  int plain;
  int exception;
};
// A deleted exception changes its series, which then goes to the phone.
constexpr Rank kRanks[] = {
    {0, 0},    // Adopt
    {1, 4},    // PcAdd
    {2, 3},    // PcReplace: it may leave the occurrence that a new exception is of
    {2, 3},    // PcMove
    {6, 6},    // PhoneAdd
    {7, 7},    // PhoneMove: before the file is another one
    {8, 8},    // PhoneReplace
    {9, 9},    // Pair
    {10, 10},  // Remember
    {11, 5},   // PcDelete
    {13, 13},  // PhoneDelete
    {14, 14},  // Forget
};
constexpr int kPcDeleteWithParent = 12;

}  // namespace

Move MoveOf(DS_SYNCTYPE mode, const Inventory& sides, const ItemLink& link) {
  if (IsUnreadable(sides, link)) return Move::None;
  const size_t row = Row(mode);
  if (link.record < 0) {
    const bool pcGone = IsGonePc(sides, link);
    if (link.phone < 0) {
      if (IsFiltered(sides, link)) return Move::None;
      return pcGone ? Move::Drop : kNewMoves[row].pcOnly;
    }
    return pcGone ? kNewMoves[row].phoneOnly : kNewMoves[row].both;
  }
  const PairState state = StateOf(sides, link);
  if (IsFiltered(sides, link)) return kFilteredMoves[row][state.phone];
  const bool bothThere = state.pc != kGone && state.phone != kGone;
  if (bothThere && At(sides.pc, link.pc).isBroken) {
    // The phone's text heals it.
    return mode == DS_SYNCTYPE_REFRESH_SERVER ? Move::None : kPairMoves[row][kSame][kChanged];
  }
  if (link.changes.areKnown) return kPairMoves[row][state.pc][state.phone];
  if (mode == DS_SYNCTYPE_SLOW && bothThere &&
      (state.pc == kChanged) == (state.phone == kChanged)) {
    // What nobody touched stays as it is also where its text reads otherwise now: a time without a
    // zone does when the computer is in another one. Only what the PC has lost of it comes back.
    const bool reads = link.content == ContentMatch::Identical ||
                       (sides.isSettled && (link.content == ContentMatch::Different ||
                                            link.content == ContentMatch::PcHasMore));
    return state.pc == kSame && reads ? Move::None : Move::Settle;
  }
  // A slow sync compares all pairs; one that agrees needs nothing sent whoever touched it.
  if (mode == DS_SYNCTYPE_SLOW && bothThere && link.content == ContentMatch::Identical) {
    return Move::Settle;
  }
  return kPairMoves[row][state.pc][state.phone];
}

bool NeedsContent(DS_SYNCTYPE mode, const Inventory& sides, const ItemLink& link) {
  if (link.content != ContentMatch::Unknown || link.changes.areKnown) return false;
  return IsSettle(MoveOf(mode, sides, link)) ||
         (mode == DS_SYNCTYPE_SLOW && link.phone >= 0 && !IsGonePc(sides, link) &&
          !IsUnreadable(sides, link));
}

bool IsDisputed(const Inventory& sides, const ItemLink& link) {
  if (!link.changes.areKnown || link.phone < 0 || IsGonePc(sides, link)) return false;
  const Meaning& pc = At(sides.pc, link.pc).says;
  const Meaning& phone = At(sides.phone, link.phone).says;
  return (link.changes.pcTitle && link.changes.phoneTitle && pc.title != phone.title) ||
         (link.changes.pcUrl && link.changes.phoneUrl && pc.url != phone.url);
}

SyncPlan BuildPlan(DS_SYNCTYPE mode, const Inventory& sides) {
  SyncPlan plan;
  plan.mode = mode;
  const Doubts doubts = DoubtsOf(sides);
  plan.doubtful = doubts.file;
  for (int32_t i = 0; i < IndexOf(sides.links); ++i) {
    PlanStep step;
    step.link = i;
    plan.matched += IsMatched(mode, sides, At(sides.links, i));
    if (!PlanLink(mode, sides, At(sides.links, i), step)) continue;
    if (IsDoubtful(doubts, step)) {
      plan.held.push_back(step);
      continue;
    }
    plan.steps.push_back(step);
  }
  sides.isTree ? PlanTree(sides, plan) : PlanRecurrence(sides, plan);
  for (const PlanStep& step : plan.steps) {
    plan.pcAdds += step.act == Act::PcAdd;
    plan.phoneAdds += step.act == Act::PhoneAdd;
    plan.pcDeletes += step.act == Act::PcDelete;
    if (step.act != Act::PhoneDelete) continue;
    ++plan.phoneDeletes;
    plan.phoneFiltered += IsFiltered(sides, At(sides.links, step.link));
  }
  std::ranges::stable_sort(
      plan.steps, {}, [](const PlanStep& step) { return std::pair(RankOf(step), step.order); });
  return plan;
}

int RankOf(const PlanStep& step) {
  if (step.withParent && step.act == Act::PcDelete) return kPcDeleteWithParent;
  const Rank& rank = kRanks[static_cast<size_t>(step.act)];
  return step.isException ? rank.exception : rank.plain;
}

std::string ItemOf(const PlanStep& step, const Inventory& sides) {
  const ItemLink& link = At(sides.links, step.link);
  if (link.phone >= 0) return At(sides.phone, link.phone).name;
  if (link.record >= 0) return At(sides.records, link.record).name;
  const PcItem& item = At(sides.pc, link.pc);
  return item.label.empty() ? ToUtf8(item.id) : item.label;
}

ActWords WordsOf(Act act) {
  return kActWords[static_cast<size_t>(act)];
}

std::string DescribeStep(const PlanStep& step, const Inventory& sides, std::string_view name) {
  const ActWords words = WordsOf(step.act);
  if (words.action.empty()) return {};
  std::string line(words.side);
  if (!line.empty()) line += ' ';
  line.append(words.action).append(" ").append(WithName(ItemOf(step, sides), name));
  if (step.conflict == Conflict::PcWon) line += " (conflict: the PC wins)";
  if (step.conflict == Conflict::PhoneWon) line += " (conflict: the phone wins)";
  return line;
}

}  // namespace qv

#include "host/engine/plan_tree.h"

#include <limits>
#include <utility>

namespace qv {
namespace {

constexpr int32_t kBehindFolders = std::numeric_limits<int32_t>::max() / 2;

class TreePlan {
 public:
  TreePlan(const Inventory& sides, SyncPlan& plan)
      : sides_(sides), plan_(plan), stepOf_(sides.links.size(), -1) {}

  void Run() {
    for (int32_t i = 0; i < IndexOf(plan_.steps); ++i) At(stepOf_, At(plan_.steps, i).link) = i;
    const int32_t links = IndexOf(sides_.links);
    for (int32_t i = 0; i < links; ++i) Fold(i);
    for (int32_t i = 0; i < links; ++i) At(placings_, i) = PlacingOf(i);
    for (int32_t i = 0; i < links; ++i) BreakRing(i);
    for (int32_t i = 0; i < links; ++i) Place(i);
    for (int32_t i = 0; i < links; ++i) RequireFolders(i);
    for (int32_t i = 0; i < links; ++i) GoWithFolder(i);
    std::erase_if(plan_.steps, [](const PlanStep& step) { return step.link < 0; });
    for (const PlanStep& step : added_) plan_.steps.push_back(step);
    for (PlanStep& step : plan_.steps) step.order = OrderOf(step);
  }

 private:
  const ItemLink& Link(int32_t i) const { return At(sides_.links, i); }
  bool IsFolder(int32_t i) const {
    const ItemLink& link = Link(i);
    if (link.phone >= 0) return At(sides_.phone, link.phone).isFolder;
    if (link.pc >= 0) return At(sides_.pc, link.pc).isFolder;
    return IsFolderName(At(sides_.records, link.record).name);
  }
  bool IsOnPc(int32_t i) const {
    const int32_t pc = Link(i).pc;
    return pc >= 0 && At(sides_.pc, pc).change != PcChange::Gone;
  }
  bool IsOnPhone(int32_t i) const { return Link(i).phone >= 0; }

  PlanStep* StepOf(int32_t link) {
    const int32_t step = At(stepOf_, link);
    return step < 0 || At(plan_.steps, step).link < 0 ? nullptr : &At(plan_.steps, step);
  }
  bool Does(int32_t link, Act act) {
    const PlanStep* step = StepOf(link);
    return step != nullptr && step->act == act;
  }
  void Set(int32_t link, Act act) {
    if (PlanStep* step = StepOf(link)) {
      step->act = act;
      step->conflict = Conflict::None;
      return;
    }
    PlanStep step;
    step.link = link;
    step.act = act;
    At(stepOf_, link) = IndexOf(plan_.steps);
    plan_.steps.push_back(step);
  }
  void Drop(int32_t link) { StepOf(link)->link = -1; }
  void AddExtra(int32_t link, Act act) {
    PlanStep step;
    step.link = link;
    step.act = act;
    step.isExtra = Does(link, Act::PcReplace) || Does(link, Act::PhoneReplace);
    if (step.isExtra) {
      step.title = StepOf(link)->title;
      step.url = StepOf(link)->url;
    }
    added_.push_back(step);
  }

  bool IsTwoWay() const {
    return plan_.mode == DS_SYNCTYPE_NONE || plan_.mode == DS_SYNCTYPE_TWO_NORMAL ||
           plan_.mode == DS_SYNCTYPE_SLOW;
  }
  static bool HasFromPc(const PlanStep& step) {
    return step.title == Winner::Pc || step.url == Winner::Pc;
  }

  bool WillBeOnPc(int32_t i) {
    return Does(i, Act::PcAdd) || (IsOnPc(i) && !Does(i, Act::PcDelete));
  }
  bool WillBeOnPhone(int32_t i) {
    return Does(i, Act::PhoneAdd) || (IsOnPhone(i) && !Does(i, Act::PhoneDelete));
  }

  void Fold(int32_t i);
  Placing PlacingOf(int32_t i);
  int32_t ParentAfter(int32_t i) const {
    return At(placings_, i) == Placing::AsOnPhone ? Link(i).phoneParent : Link(i).pcParent;
  }
  void BreakRing(int32_t i);
  void Place(int32_t i);
  void RequireFolders(int32_t i);
  void RequireOnPc(int32_t folder);
  void RequireOnPhone(int32_t folder);
  void GoWithFolder(int32_t i);
  int32_t Depth(int32_t i, int32_t ItemLink::*parent) const;
  int32_t OrderOf(const PlanStep& step) const;

  const Inventory& sides_;
  SyncPlan& plan_;
  std::vector<int32_t> stepOf_;
  std::vector<Placing> placings_ = std::vector<Placing>(sides_.links.size());
  std::vector<PlanStep> added_;
};

// A folder has nothing but its name: one that differs is a rename, and no text is lost by it.
void TreePlan::Fold(int32_t i) {
  PlanStep* step = IsFolder(i) ? StepOf(i) : nullptr;
  if (step == nullptr) return;
  step->conflict = Conflict::None;
  if (step->act == Act::PhoneReplace) step->act = Act::PhoneMove;
}

Placing TreePlan::PlacingOf(int32_t i) {
  const ItemLink& link = Link(i);
  if (!IsOnPc(i) || !IsOnPhone(i) || link.pcParent == link.phoneParent) return Placing::Same;
  if (At(sides_.phone, link.phone).change == PhoneChange::Unreadable) return Placing::Same;
  if (At(sides_.pc, link.pc).isUnreadable) return Placing::Same;
  if (Does(i, Act::PcDelete) || Does(i, Act::PhoneDelete)) return Placing::Same;
  const bool onPhone = link.record >= 0 && link.recordParent != link.phoneParent;
  const bool onPc = link.record < 0 || link.recordParent != link.pcParent;
  switch (plan_.mode) {
    case DS_SYNCTYPE_ONEFROM_CLIENT:
      return onPhone ? Placing::AsOnPhone : Placing::Same;
    case DS_SYNCTYPE_ONEFROM_SERVER:
      return onPc ? Placing::AsOnPc : Placing::Same;
    case DS_SYNCTYPE_REFRESH_CLIENT:
      return Placing::AsOnPhone;
    case DS_SYNCTYPE_REFRESH_SERVER:
      return Placing::AsOnPc;
    case DS_SYNCTYPE_NONE:
    case DS_SYNCTYPE_TWO_NORMAL:
    case DS_SYNCTYPE_SLOW:
      break;
  }
  return onPhone && !onPc ? Placing::AsOnPhone : Placing::AsOnPc;
}

// One side has put this folder into that, the other that into this: both stay as the PC has them.
void TreePlan::BreakRing(int32_t i) {
  if (At(placings_, i) != Placing::AsOnPhone || !IsFolder(i)) return;
  size_t steps = 0;
  int32_t folder = ParentAfter(i);
  while (folder >= 0 && folder != i && steps++ < placings_.size()) folder = ParentAfter(folder);
  if (folder >= 0) At(placings_, i) = Placing::AsOnPc;
}

void TreePlan::Place(int32_t i) {
  const ItemLink& link = Link(i);
  const Placing placing = At(placings_, i);
  // A place that the other side may not be told yet must not pass for one that was agreed on.
  const bool isApart = IsOnPhone(i) && (IsOnPc(i) ? link.pcParent != link.phoneParent
                                                  : link.recordParent != link.phoneParent);
  if (isApart && placing == Placing::Same && Does(i, Act::Remember)) Drop(i);
  if (placing == Placing::AsOnPhone && !Does(i, Act::PcReplace)) {
    // Until it is done nothing else may be noted of the pair.
    if (IsFolder(i)) {
      Set(i, Act::PcReplace);
    } else {
      Does(i, Act::PhoneReplace) ? AddExtra(i, Act::PcMove) : Set(i, Act::PcMove);
    }
  }
  // What goes both ways comes to the PC first; and the phone's file goes by the title.
  const bool mixed = Does(i, Act::PcReplace) && IsTwoWay() && HasFromPc(*StepOf(i));
  const bool renamed = (mixed || Does(i, Act::PhoneReplace)) && StepOf(i)->title == Winner::Pc &&
                       link.changes.pcTitle;
  if (mixed && IsFolder(i)) {
    AddExtra(i, Act::PhoneMove);
  } else if (mixed) {
    AddExtra(i, Act::PhoneReplace);
    added_.back().isExtra = false;
    // The phone's text is put aside before it is overwritten.
    if (StepOf(i)->conflict == Conflict::PcWon) {
      std::swap(added_.back().conflict, StepOf(i)->conflict);
    }
  }
  const bool isPlaced = mixed && IsFolder(i);
  if (placing == Placing::AsOnPc || (renamed && !isPlaced)) {
    // A folder that both sides renamed or moved follows the PC.
    IsFolder(i) ? Set(i, Act::PhoneMove) : AddExtra(i, Act::PhoneMove);
  }
  if (PlanStep* step = StepOf(i)) step->placing = placing;
}

void TreePlan::RequireOnPc(int32_t folder) {
  while (folder >= 0 && !WillBeOnPc(folder)) {
    const bool wasToGo = Does(folder, Act::PcDelete);
    wasToGo ? Drop(folder) : Set(folder, Act::PcAdd);
    folder = wasToGo ? Link(folder).pcParent : Link(folder).phoneParent;
  }
}

void TreePlan::RequireOnPhone(int32_t folder) {
  while (folder >= 0 && !WillBeOnPhone(folder)) {
    const bool wasToGo = Does(folder, Act::PhoneDelete);
    wasToGo ? Drop(folder) : Set(folder, Act::PhoneAdd);
    folder = wasToGo ? Link(folder).phoneParent : Link(folder).pcParent;
  }
}

void TreePlan::RequireFolders(int32_t i) {
  const ItemLink& link = Link(i);
  const Placing placing = At(placings_, i);
  if (WillBeOnPc(i)) {
    const bool asOnPhone = Does(i, Act::PcAdd) || placing == Placing::AsOnPhone;
    RequireOnPc(asOnPhone ? link.phoneParent : link.pcParent);
  }
  if (WillBeOnPhone(i)) {
    const bool asOnPc = Does(i, Act::PhoneAdd) || placing == Placing::AsOnPc;
    RequireOnPhone(asOnPc ? link.pcParent : link.phoneParent);
  }
}

void TreePlan::GoWithFolder(int32_t i) {
  const int32_t folder = Link(i).pcParent;
  if (folder >= 0 && Does(i, Act::PcDelete) && Does(folder, Act::PcDelete)) {
    StepOf(i)->withParent = true;
  }
}

int32_t TreePlan::Depth(int32_t i, int32_t ItemLink::*parent) const {
  int32_t depth = 0;
  for (int32_t folder = Link(i).*parent; folder >= 0; folder = Link(folder).*parent) ++depth;
  return depth;
}

int32_t TreePlan::OrderOf(const PlanStep& step) const {
  const bool isFolder = IsFolder(step.link);
  switch (step.act) {
    case Act::PcAdd:
    case Act::PcReplace:
    case Act::PcMove:
      return isFolder ? Depth(step.link, &ItemLink::phoneParent) : kBehindFolders;
    case Act::PhoneAdd:
    case Act::PhoneMove:
      return isFolder ? Depth(step.link, &ItemLink::pcParent) : kBehindFolders;
    case Act::PhoneDelete:
      return isFolder ? kBehindFolders - Depth(step.link, &ItemLink::phoneParent) : 0;
    default:
      return 0;
  }
}

}  // namespace

void PlanTree(const Inventory& sides, SyncPlan& plan) {
  TreePlan(sides, plan).Run();
}

}  // namespace qv

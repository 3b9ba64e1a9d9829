#include "host/engine/plan_recurrence.h"

#include <algorithm>
#include <unordered_map>

#include "pim/outlook_manager.h"

namespace qv {
namespace {

// The identifier that a link has, or last had, on the PC; empty for what never was there.
std::u16string_view PcIdOf(const Inventory& sides, const ItemLink& link) {
  if (link.pc >= 0) return At(sides.pc, link.pc).id;
  return link.record >= 0 ? std::u16string_view(At(sides.records, link.record).sourceUid)
                          : std::u16string_view();
}

class RecurrencePlan {
 public:
  RecurrencePlan(const Inventory& sides, SyncPlan& plan)
      : sides_(sides), plan_(plan), stepOf_(sides.links.size(), -1) {}

  void Run() {
    if (!FindExceptions()) return;
    for (int32_t i = 0; i < IndexOf(plan_.steps); ++i) At(stepOf_, At(plan_.steps, i).link) = i;
    Revive();
    for (const int32_t link : exceptions_) {
      if (const int32_t series = SeriesOf(link); series >= 0) Settle(link, series);
    }
    std::erase_if(plan_.steps, [](const PlanStep& step) { return step.link < 0; });
    for (PlanStep& step : added_) plan_.steps.push_back(step);
    for (PlanStep& step : plan_.steps) step.isException = IsException(step.link);
  }

 private:
  bool IsException(int32_t link) const {
    const ItemLink& item = At(sides_.links, link);
    return IsSubItemId(PcIdOf(sides_, item)) ||
           (item.phone >= 0 && !At(sides_.phone, item.phone).seriesUid.empty());
  }

  // On the phone, where the series may be gone by now.
  std::u16string_view UidOf(const ItemLink& link) const {
    if (link.phone >= 0) return At(sides_.phone, link.phone).uid;
    return link.record >= 0 ? std::u16string_view(At(sides_.records, link.record).uid)
                            : std::u16string_view();
  }

  // False when there are none, nor a series that must take a uid.
  bool FindExceptions() {
    bool any = false;
    for (int32_t i = 0; i < IndexOf(sides_.links); ++i) {
      const ItemLink& link = At(sides_.links, i);
      if (IsException(i)) {
        any = true;
        exceptions_.push_back(i);
      }
      if (!link.adoptUid) continue;
      any = true;
      Add(i, Act::Adopt);
    }
    if (!any) return false;
    for (int32_t i = 0; i < IndexOf(sides_.links); ++i) {
      const std::u16string_view id = PcIdOf(sides_, At(sides_.links, i));
      if (!id.empty() && !IsSubItemId(id)) seriesLinks_.emplace(id, i);
      if (!IsException(i)) seriesByUid_.emplace(UidOf(At(sides_.links, i)), i);
    }
    return true;
  }

  PlanStep* StepOf(int32_t link) {
    const int32_t step = At(stepOf_, link);
    return step < 0 ? nullptr : &At(plan_.steps, step);
  }
  bool Does(int32_t link, Act act) {
    const PlanStep* step = StepOf(link);
    return step != nullptr && step->link >= 0 && step->act == act;
  }
  void Add(int32_t link, Act act) {
    PlanStep step;
    step.link = link;
    step.act = act;
    added_.push_back(step);
  }
  void Change(int32_t link, Act act) {
    PlanStep* step = StepOf(link);
    if (step == nullptr) return Add(link, act);
    step->act = act;
    step->conflict = Conflict::None;
  }

  void Drop(int32_t link) { StepOf(link)->link = -1; }

  // Gone from the PC, and not to be touched on the phone in this mode.
  bool IsLeftOnPhone(int32_t link) {
    const ItemLink& item = At(sides_.links, link);
    const bool gone = item.pc < 0 || At(sides_.pc, item.pc).change == PcChange::Gone;
    return gone && item.phone >= 0 && StepOf(link) == nullptr &&
           At(sides_.phone, item.phone).change != PhoneChange::Unreadable;
  }

  int32_t SeriesOf(int32_t link) const;
  void Revive();
  void Settle(int32_t exception, int32_t series);
  void GoWithParent(int32_t exception);

  const Inventory& sides_;
  SyncPlan& plan_;
  std::vector<int32_t> stepOf_;
  std::vector<int32_t> exceptions_;  // links of exceptions, on either side
  std::unordered_map<std::u16string_view, int32_t> seriesLinks_;  // by identifier on the PC
  std::unordered_map<std::u16string_view, int32_t> seriesByUid_;  // as the phone has or had it
  std::vector<PlanStep> added_;
  std::vector<char> resent_ = std::vector<char>(sides_.links.size());
};

// The link of an exception's series; -1 for none.
int32_t RecurrencePlan::SeriesOf(int32_t link) const {
  const ItemLink& item = At(sides_.links, link);
  if (const std::u16string_view id = PcIdOf(sides_, item); IsSubItemId(id)) {
    const auto found = seriesLinks_.find(SeriesPartOf(id));
    if (found != seriesLinks_.end()) return found->second;
  }
  if (item.phone < 0) return -1;
  const auto found = seriesByUid_.find(At(sides_.phone, item.phone).seriesUid);
  return found == seriesByUid_.end() ? -1 : found->second;
}

// Who changes or makes an exception works on its series: as with any change, that side's series is
// not deleted because the other side's is.
void RecurrencePlan::Revive() {
  const bool both = plan_.mode == DS_SYNCTYPE_TWO_NORMAL || plan_.mode == DS_SYNCTYPE_SLOW;
  for (int32_t i = 0; i < IndexOf(sides_.links); ++i) {
    if (!IsException(i)) continue;
    const int32_t series = SeriesOf(i);
    if (series < 0) continue;
    const ItemLink& link = At(sides_.links, i);
    const bool pc = link.pc >= 0 && (At(sides_.pc, link.pc).change == PcChange::Changed ||
                                     At(sides_.pc, link.pc).change == PcChange::New);
    const bool phone =
        link.phone >= 0 && (At(sides_.phone, link.phone).change == PhoneChange::Changed ||
                            At(sides_.phone, link.phone).change == PhoneChange::New);
    if (pc && Does(series, Act::PcDelete)) {
      if (both) Change(series, Act::PhoneAdd);
      if (plan_.mode == DS_SYNCTYPE_ONEFROM_CLIENT) Drop(series);
    } else if (phone && (Does(series, Act::PhoneDelete) || IsLeftOnPhone(series))) {
      if (both || plan_.mode == DS_SYNCTYPE_ONEFROM_CLIENT) Change(series, Act::PcAdd);
      if (plan_.mode == DS_SYNCTYPE_ONEFROM_SERVER && StepOf(series) != nullptr) Drop(series);
    }
  }
}

void RecurrencePlan::Settle(int32_t exception, int32_t series) {
  const bool isThere = At(sides_.links, exception).phone >= 0;
  if (Does(series, Act::PcDelete)) return GoWithParent(exception);
  // The series survives a deletion because the other side changed it; its exceptions do too.
  if (Does(series, Act::PcAdd) && (Does(exception, Act::PhoneDelete) || IsLeftOnPhone(exception))) {
    return Change(exception, Act::PcAdd);
  }
  if (Does(series, Act::PhoneAdd) && !isThere && Does(exception, Act::PcDelete)) {
    return Change(exception, Act::PhoneAdd);
  }
  const bool mayWritePhone = plan_.mode == DS_SYNCTYPE_TWO_NORMAL || plan_.mode == DS_SYNCTYPE_SLOW;
  const ItemLink& whole = At(sides_.links, series);
  if (!mayWritePhone || !Does(exception, Act::PcDelete) || At(resent_, series) != 0) return;
  if (whole.phone < 0 || At(sides_.phone, whole.phone).change == PhoneChange::Unreadable) return;
  At(resent_, series) = 1;
  // What would only be noted is sent now; what comes from the phone is sent behind that.
  const bool isNote = Does(series, Act::Pair) || Does(series, Act::Remember);
  if (isNote) {
    Change(series, Act::PhoneReplace);
  } else if (!Does(series, Act::PhoneReplace)) {
    Add(series, Act::PhoneReplace);
  }
}

void RecurrencePlan::GoWithParent(int32_t exception) {
  const ItemLink& link = At(sides_.links, exception);
  if (PlanStep* step = StepOf(exception); step != nullptr && step->act == Act::PcDelete) {
    step->withParent = true;
    return;
  }
  if (link.phone < 0) return;
  const PhoneChange change = At(sides_.phone, link.phone).change;
  if (change == PhoneChange::Same) return Change(exception, Act::PhoneDelete);
  PlanStep kept;
  kept.link = exception;
  plan_.orphaned.push_back(kept);
  if (StepOf(exception) != nullptr) Drop(exception);
}

}  // namespace

void PlanRecurrence(const Inventory& sides, SyncPlan& plan) {
  RecurrencePlan(sides, plan).Run();
}

}  // namespace qv

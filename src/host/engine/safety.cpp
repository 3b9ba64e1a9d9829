#include "host/engine/safety.h"

#include <algorithm>
#include <vector>

#include "host/engine/report_words.h"

namespace qv {
namespace {

// Deleting up to this many, or up to half of a side, is everyday work.
constexpr int64_t kFewDeletes = 10;
// So is adding up to this many, or as many as there are.
constexpr int64_t kFewAdds = 100;
constexpr size_t kNamed = 3;

struct SideView {
  const char* name;
  int64_t items;
  int64_t deletes;
  Act deletion;
  int64_t adds;
  Act addition;
};

std::string Count(int64_t number, std::string_view store) {
  return std::to_string(number) + " " + std::string(store);
}

// What a filter hides looks like a deletion, and must not pass for one.
std::string FilterNote(const SyncPlan& plan) {
  if (plan.phoneFiltered == 0) return {};
  return " (" + std::to_string(plan.phoneFiltered) +
         " of them only because the filter in qvsync.conf now leaves them out; those stay on the "
         "PC)";
}

std::string WayOut(const SideView& a, const SideView& b, std::string_view store) {
  std::string text = "; now ";
  text.append(a.name).append(" holds ").append(Count(a.items, store)).append(" and ");
  text.append(b.name).append(" ").append(Count(b.items, store));
  return text +
         ". Nothing was changed. If this is meant, run the sync again with --allow-mass-delete.";
}

// " (Ann, Ben, Cleo and 12 more)": what steps of an act are about.
std::string Examples(const SyncPlan& plan, const Inventory& sides, Act act, int64_t count,
                     const SafetyRules& rules) {
  std::vector<std::string> names;
  for (const PlanStep& step : plan.steps) {
    if (names.size() == kNamed) break;
    if (step.act != act) continue;
    std::string name = rules.nameOf ? rules.nameOf(step) : std::string();
    names.push_back(name.empty() ? ItemOf(step, sides) : std::move(name));
  }
  if (names.empty()) return {};
  return " (" + FirstFew(names, static_cast<size_t>(count)) + ")";
}

// A file that holds no item counts only where it held one before.
int64_t PhoneItems(const Inventory& sides) {
  return std::ranges::count_if(sides.phone, [](const PhoneItem& item) {
    return item.change != PhoneChange::Unreadable || item.record >= 0;
  });
}

// Whose state a refresh makes the other side take; null for any other mode.
const SideView* SourceOf(DS_SYNCTYPE mode, const SideView* views) {
  if (mode == DS_SYNCTYPE_REFRESH_SERVER) return &views[0];
  return mode == DS_SYNCTYPE_REFRESH_CLIENT ? &views[1] : nullptr;
}

std::string DeleteStop(const SyncPlan& plan, const Inventory& sides, std::string_view store,
                       const SafetyRules& rules, const SideView (&views)[2]) {
  const auto known = static_cast<int64_t>(sides.records.size());
  const SideView* source = SourceOf(plan.mode, views);
  const SideView& target = source == &views[0] ? views[1] : views[0];
  if (source != nullptr && source->items == 0 && target.items > 0) {
    return std::string(source->name) + " is empty, and " + target.name + " would be too" +
           WayOut(views[0], views[1], store);
  }
  for (const SideView& side : views) {
    if (known > 0 && side.items == 0) {
      return std::string(side.name) + " is empty, but " + Count(known, store) +
             " were in step at the last sync" + WayOut(views[0], views[1], store);
    }
  }
  for (const SideView& side : views) {
    if (side.deletes > kFewDeletes && side.deletes * 2 > side.items) {
      return "this would delete " + std::to_string(side.deletes) + " of the " +
             Count(side.items, store) + " on " + side.name +
             Examples(plan, sides, side.deletion, side.deletes, rules) +
             (&side == &views[1] ? FilterNote(plan) : std::string()) +
             WayOut(views[0], views[1], store);
    }
  }
  return {};
}

// The first sync brings whatever there is, and a refresh makes a copy: that was asked for.
std::string AddStop(const SyncPlan& plan, const Inventory& sides, std::string_view store,
                    const SafetyRules& rules, const SideView (&views)[2]) {
  if (rules.isFirst || SourceOf(plan.mode, views) != nullptr) return {};
  for (const SideView& side : views) {
    if (side.items == 0 || side.adds <= side.items || side.adds <= kFewAdds) continue;
    return "this would add " + Count(side.adds, store) + " to the " + std::to_string(side.items) +
           " on " + side.name + Examples(plan, sides, side.addition, side.adds, rules) +
           ". Nothing was changed. If this is meant, run the sync again with --allow-mass-add.";
  }
  return {};
}

}  // namespace

std::string SafetyStop(const SyncPlan& plan, const Inventory& sides, std::string_view store,
                       const SafetyRules& rules) {
  const SideView views[] = {
      {"the PC", sides.pcCount, plan.pcDeletes, Act::PcDelete, plan.pcAdds, Act::PcAdd},
      {"the phone", PhoneItems(sides), plan.phoneDeletes, Act::PhoneDelete, plan.phoneAdds,
       Act::PhoneAdd}};
  std::string stop;
  if (!rules.allowMassDelete) stop = DeleteStop(plan, sides, store, rules, views);
  if (stop.empty() && !rules.allowMassAdd) stop = AddStop(plan, sides, store, rules, views);
  return stop;
}

}  // namespace qv

#include "host/engine/safety.h"

#include <algorithm>

namespace qv {
namespace {

// Deleting up to this many, or up to half of a side, is everyday work.
constexpr int64_t kFewDeletes = 10;

struct SideView {
  const char* name;
  int64_t items;
  int64_t deletes;
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

}  // namespace

std::string SafetyStop(const SyncPlan& plan, const Inventory& sides, std::string_view store) {
  const SideView views[] = {{"the PC", sides.pcCount, plan.pcDeletes},
                            {"the phone", PhoneItems(sides), plan.phoneDeletes}};
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
             (&side == &views[1] ? FilterNote(plan) : std::string()) +
             WayOut(views[0], views[1], store);
    }
  }
  return {};
}

}  // namespace qv

#include "host/engine/safety.h"

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

std::string WayOut(const SideView& a, const SideView& b, std::string_view store) {
  std::string text = "; now ";
  text.append(a.name).append(" holds ").append(Count(a.items, store)).append(" and ");
  text.append(b.name).append(" ").append(Count(b.items, store));
  return text +
         ". Nothing was changed. If this is meant, run the sync again with --allow-mass-delete.";
}

}  // namespace

std::string SafetyStop(const SyncPlan& plan, const Inventory& sides, std::string_view store) {
  const SideView views[] = {
      {"the PC", sides.pcCount, plan.pcDeletes},
      {"the phone", static_cast<int64_t>(sides.phone.size()), plan.phoneDeletes}};
  const auto known = static_cast<int64_t>(sides.records.size());
  for (const SideView& side : views) {
    if (known > 0 && side.items == 0) {
      return std::string(side.name) + " is empty, but " + Count(known, store) +
             " were in step at the last sync" + WayOut(views[0], views[1], store);
    }
  }
  for (const SideView& side : views) {
    if (side.deletes > kFewDeletes && side.deletes * 2 > side.items) {
      return "this would delete " + std::to_string(side.deletes) + " of the " +
             Count(side.items, store) + " on " + side.name + WayOut(views[0], views[1], store);
    }
  }
  return {};
}

}  // namespace qv

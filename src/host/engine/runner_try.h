// The frames for work on one item and on a group, shared by the runner's files.
#pragma once

#include <tuple>

#include "host/engine/errors.h"
#include "host/engine/report_words.h"
#include "host/engine/runner.h"

namespace qv {

// What the report counts, and the losing texts that were put aside, of work that may come to
// nothing: taken back unless it was kept.
class GroupCounts {
 public:
  GroupCounts(StoreReport& report, ConflictFiles& conflicts)
      : report_(report),
        conflicts_(conflicts),
        before_{report.pc, report.phone, report.pcWon, report.phoneWon, report.same},
        notes_(report.conflicts.size()) {}
  GroupCounts(const GroupCounts&) = delete;
  GroupCounts& operator=(const GroupCounts&) = delete;
  ~GroupCounts() {
    if (kept_) return;
    std::tie(report_.pc, report_.phone, report_.pcWon, report_.phoneWon, report_.same) = before_;
    for (; report_.conflicts.size() > notes_; report_.conflicts.pop_back()) {
      conflicts_.Drop(report_.conflicts.back().kept);
    }
  }
  void Keep() { kept_ = true; }

 private:
  StoreReport& report_;
  ConflictFiles& conflicts_;
  std::tuple<SideCounts, SideCounts, int64_t, int64_t, int64_t> before_;
  size_t notes_;
  bool kept_ = false;
};

template <class Item, class Body>
bool Runner::Try(const char* side, const Item& item, Body&& body) {
  try {
    body();
    return true;
  } catch (const ItemError& error) {
    Fail(side, NameOf(item), error.what());
  } catch (const StatusError& error) {
    Fail(side, NameOf(item), StatusWords(error.status()));
  }
  run_.pc.RequireDatabase();
  return false;
}

}  // namespace qv

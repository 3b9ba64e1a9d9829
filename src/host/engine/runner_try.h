// The frames for work on one item and on a group, shared by the runner's files.
#pragma once

#include <tuple>

#include "host/engine/errors.h"
#include "host/engine/report_words.h"
#include "host/engine/runner.h"

namespace qv {

// What the report counts of work that may come to nothing: taken back unless it was kept. The
// losing texts that were put aside stay, and are told of: part of the work may be done all the
// same.
class GroupCounts {
 public:
  explicit GroupCounts(StoreReport& report)
      : report_(report),
        before_{report.pc, report.phone, report.pcWon, report.phoneWon, report.same} {}
  GroupCounts(const GroupCounts&) = delete;
  GroupCounts& operator=(const GroupCounts&) = delete;
  ~GroupCounts() {
    if (kept_) return;
    std::tie(report_.pc, report_.phone, report_.pcWon, report_.phoneWon, report_.same) = before_;
  }
  void Keep() { kept_ = true; }

 private:
  StoreReport& report_;
  std::tuple<SideCounts, SideCounts, int64_t, int64_t, int64_t> before_;
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

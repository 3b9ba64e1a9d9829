// The one frame for work on one item, shared by the runner's files.
#pragma once

#include "host/engine/errors.h"
#include "host/engine/report_words.h"
#include "host/engine/runner.h"

namespace qv {

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

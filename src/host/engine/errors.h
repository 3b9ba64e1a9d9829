// How a run is cut short, from one item to the whole.
#pragma once

#include <stdexcept>
#include <string>

#include "platform/com/status_error.h"

namespace qv {

// One item cannot be synced; the others go on.
class ItemError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// What was read is an item of another store's kind.
class AlienItem : public ItemError {
 public:
  using ItemError::ItemError;
};

// A store, or all of them, cannot be used at all. The text says which and why.
class StoreFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The store must not be touched as things stand, and was not. The text tells the way out.
class StoreRefusal : public StoreFailure {
 public:
  using StoreFailure::StoreFailure;
};

// The user has pressed stop.
class SyncStopped : public std::runtime_error {
 public:
  SyncStopped() : std::runtime_error("stopped") {}
};

}  // namespace qv

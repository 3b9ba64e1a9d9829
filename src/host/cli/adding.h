// Items of files onto the PC side: what `add` does.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "host/cli/item_changes.h"
#include "host/cli/pc_folder.h"
#include "items/calendar.h"

namespace qv {

// Null for an item that is no exception of a series.
const Calendar* ExceptionIn(const ComPtr<IItemCommon>& item);

class Adding {
 public:
  Adding(PcFolder& pc, GroupedChanges& changes) : pc_(pc), changes_(changes) {}

  // What cannot be added, and what an item loses, is told. Exceptions wait: their series may stand
  // behind them, or in another file.
  void AddFile(const std::string& path);
  // Behind the last file.
  void AddExceptions();

 private:
  struct FoundException {
    std::string place;
    ComPtr<IItemCommon> item;
  };

  void AddOne(const std::string& place, const ComPtr<IItemCommon>& item);

  PcFolder& pc_;
  GroupedChanges& changes_;
  std::unordered_map<std::u16string, std::string> added_;  // identifiers by uid
  std::vector<FoundException> exceptions_;
};

}  // namespace qv

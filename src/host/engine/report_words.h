// The words of a report: what failures and items are called in it.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "platform/com/types.h"

namespace qv {

// What a status means, for a person; never its number, which goes to the debug log.
std::string StatusWords(HRESULT status);
// The same of a system error number of the module's files.
std::string SystemErrorWords(uint32_t error);

// Tells what the sync database said, if it said anything while this object lives.
class DatabaseReason {
 public:
  DatabaseReason();
  // What could not be done, the status in words where it says more than that, and the database's
  // reason where there is a new one.
  std::string Explain(std::string_view doing, HRESULT status) const;

 private:
  std::string before_;
};

// "cleo.vcf (Cleo Carter)". The name is cut where it is long, and left out where it is empty or the
// item's own name says the same.
std::string WithName(std::string_view item, std::string_view name);
// For a message of several lines: a line end in a file's name begins none.
std::string InOneLine(std::string_view text);
// "Ann, Ben, Cleo and 12 more": of `count` the first few that are given.
std::string FirstFew(std::span<const std::string> names, size_t count);

}  // namespace qv

// What failures are called in a report.
#pragma once

#include <string>
#include <string_view>

#include "platform/com/types.h"

namespace qv {

// "0x80004005 (unspecified failure)".
std::string StatusWords(HRESULT status);

// Tells what the sync database said, if it said anything while this object lives.
class DatabaseReason {
 public:
  DatabaseReason();
  // The status in words, and the database's reason where there is a new one.
  std::string Explain(std::string_view doing, HRESULT status) const;

 private:
  std::string before_;
};

}  // namespace qv

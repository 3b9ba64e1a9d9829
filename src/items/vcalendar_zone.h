// The time zones of one calendar text: those of the system by name, else the text's own.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "items/calendar.h"
#include "platform/system/named_zones.h"
#include "support/vobject/lines.h"

namespace qv {

class CalendarZones {
 public:
  // Reads a VTIMEZONE (RFC 5545, 3.6.5) behind its BEGIN, which was the reader's last line, to its
  // END or the end of the text. Of two with one name the first counts.
  void Read(LineReader& reader);

  // Nothing for a zone that neither the system nor the text knows, and for a result out of range.
  std::optional<DATE> ToUtc(std::string_view name, DATE local);

  // The names that were asked for in vain.
  const std::set<std::string>& unknown() const { return unknown_; }

 private:
  // One of STANDARD and DAYLIGHT: from its onset on, or each year's, this offset holds. Seconds
  // since 1970; local ones count wall-clock time in the same manner.
  struct Observance {
    int64_t onset = 0;  // local time before the change
    int64_t from = 0;   // seconds east of UTC before
    int64_t to = 0;     // and behind it
    std::optional<Recurrence> rule;
    int64_t until = 0;  // local; 0 for none
  };
  using Observances = std::vector<Observance>;

  static std::optional<Observance> ReadObservance(LineReader& reader);
  // The last onset of the observance at or before the moment; nothing when there was none yet.
  static std::optional<int64_t> LastOnset(const Observance& observance, int64_t local);
  static int64_t ToUtc(const Observances& zone, int64_t local);

  std::unordered_map<std::string, Observances> own_;
  // What names were found to mean.
  struct Meaning {
    const ZoneRules* rules = nullptr;
    const Observances* own = nullptr;
  };
  std::unordered_map<std::string, Meaning> known_;
  std::set<std::string> unknown_;
};

}  // namespace qv

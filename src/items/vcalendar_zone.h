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
 private:
  struct Observance;
  using Observances = std::vector<Observance>;

 public:
  // Wall-clock time of one zone and UTC, whole seconds; 0.0 for what lies outside the years of
  // dates. Lives as long as the zones.
  class Clock {
   public:
    Clock() = default;  // of UTC
    DATE ToUtc(DATE local) const;
    DATE FromUtc(DATE utc) const;

   private:
    friend class CalendarZones;
    Clock(const ZoneRules* rules, const Observances* own) : rules_(rules), own_(own) {}
    const ZoneRules* rules_ = nullptr;
    const Observances* own_ = nullptr;
  };

  // Reads a VTIMEZONE (RFC 5545, 3.6.5) behind its BEGIN, which was the reader's last line, to its
  // END or the end of the text. Of two with one name the first counts.
  void Read(LineReader& reader);

  // Nothing for a zone that neither the system nor the text knows.
  std::optional<Clock> Find(std::string_view name);

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
    std::optional<int64_t> timeOfDay;  // of the rule's days; the onset's otherwise
    int64_t until = 0;                 // local; 0 for none
  };

  static std::optional<Observance> ReadObservance(LineReader& reader);
  // The last onset of the observance at or before the moment; nothing when there was none yet.
  static std::optional<int64_t> LastOnset(const Observance& observance, int64_t local);
  static int64_t ToUtc(const Observances& zone, int64_t local);
  static int64_t FromUtc(const Observances& zone, int64_t utc);

  std::unordered_map<std::string, Observances> own_;
  // What names were found to mean.
  std::unordered_map<std::string, std::optional<Clock>> known_;
  std::set<std::string> unknown_;
};

}  // namespace qv

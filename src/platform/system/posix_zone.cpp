#include <algorithm>
#include <optional>
#include <utility>

#include "platform/system/time_zone.h"

namespace qv {
namespace {

// rule  = name offset [ name [ offset ] [ "," date "," date ] ]
// name  = 3 or more letters | "<" 3 or more letters, digits, "+", "-" ">"
// offset, time = [ "+" | "-" ] hours [ ":" minutes [ ":" seconds ] ]
// date  = "M" month "." week "." weekday [ "/" time ] | "J" day [ "/" time ] | day [ "/" time ]
//
// Offsets are what is added to local time to get UTC; the time of a date is 02:00 unless given and
// may lie on another day (-167 to 167 hours, RFC 8536).
class RuleReader {
 public:
  explicit RuleReader(std::string_view rule) : rest_(rule) {}

  TimeZoneRecord Read() {
    TimeZoneRecord record;
    const bool hasName = SkipName();
    const std::optional<int> standard = hasName ? ReadTime(kOffsetHours) : std::nullopt;
    if (!standard) return record;
    record.bias = ToMinutes(*standard);
    if (!rest_.empty()) AddDaylight(*standard, record);
    return record;
  }

 private:
  static constexpr int kOffsetHours = 24;
  static constexpr int kTimeHours = 167;
  // What the C library takes for a rule that names daylight time without dates.
  static constexpr std::string_view kDefaultDates = ",M3.2.0,M11.1.0";

  static int ToMinutes(int seconds) { return (seconds + (seconds < 0 ? -30 : 30)) / 60; }

  void AddDaylight(int standard, TimeZoneRecord& record) {
    if (!SkipName()) return;
    int daylight = standard - 3600;
    if (!rest_.empty() && rest_[0] != ',') {
      const std::optional<int> given = ReadTime(kOffsetHours);
      if (!given) return;
      daylight = *given;
    }
    if (rest_.empty()) rest_ = kDefaultDates;
    const std::optional<SystemTime> start = ReadDate();
    const std::optional<SystemTime> end = start ? ReadDate() : std::nullopt;
    const int bias = ToMinutes(daylight) - record.bias;
    if (!end || !rest_.empty() || bias == 0) return;
    record.daylightDate = *start;
    record.standardDate = *end;
    record.daylightBias = bias;
    // Ireland calls its summer time the standard and sets clocks back in winter. A record is the
    // other way round: the lesser of the two offsets is the standard.
    if (bias > 0) {
      record.bias += bias;
      record.daylightBias = -bias;
      std::swap(record.daylightDate, record.standardDate);
    }
  }

  bool Skip(char c) {
    if (rest_.empty() || rest_[0] != c) return false;
    rest_.remove_prefix(1);
    return true;
  }

  static bool IsDigit(char c) { return c >= '0' && c <= '9'; }
  static bool IsLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

  bool SkipName() {
    const bool isQuoted = Skip('<');
    size_t length = 0;
    while (length < rest_.size() && (IsLetter(rest_[length]) ||
                                     (isQuoted && (IsDigit(rest_[length]) || rest_[length] == '+' ||
                                                   rest_[length] == '-')))) {
      ++length;
    }
    rest_.remove_prefix(length);
    return length >= 3 && (!isQuoted || Skip('>'));
  }

  std::optional<int> ReadNumber(int limit) {
    if (rest_.empty() || !IsDigit(rest_[0])) return std::nullopt;
    int number = 0;
    while (!rest_.empty() && IsDigit(rest_[0])) {
      number = number * 10 + (rest_[0] - '0');
      if (number > limit) return std::nullopt;
      rest_.remove_prefix(1);
    }
    return number;
  }

  // In seconds.
  std::optional<int> ReadTime(int hourLimit) {
    const bool isNegative = Skip('-');
    if (!isNegative) Skip('+');
    const std::optional<int> hours = ReadNumber(hourLimit);
    if (!hours) return std::nullopt;
    int seconds = *hours * 3600;
    for (const int unit : {60, 1}) {
      if (!Skip(':')) break;
      const std::optional<int> part = ReadNumber(59);
      if (!part) return std::nullopt;
      seconds += *part * unit;
    }
    return isNegative ? -seconds : seconds;
  }

  // Nothing for the forms Jn and n.
  std::optional<SystemTime> ReadDate() {
    if (!Skip(',') || !Skip('M')) return std::nullopt;
    const std::optional<int> month = ReadNumber(12);
    if (!month || *month == 0 || !Skip('.')) return std::nullopt;
    const std::optional<int> week = ReadNumber(5);
    if (!week || *week == 0 || !Skip('.')) return std::nullopt;
    const std::optional<int> dayOfWeek = ReadNumber(6);
    if (!dayOfWeek) return std::nullopt;
    int time = 2 * 3600;
    if (Skip('/')) {
      const std::optional<int> given = ReadTime(kTimeHours);
      if (!given) return std::nullopt;
      time = *given;
    }
    return MakeDate(*month, *week, *dayOfWeek, time);
  }

  // A time on another day cannot be said in a record, and moving the weekday instead would be a
  // week off in some years. The nearest moment of the day itself is taken.
  static SystemTime MakeDate(int month, int week, int dayOfWeek, int seconds) {
    seconds = std::clamp(seconds, 0, 86399);
    SystemTime date;
    date.month = static_cast<uint16_t>(month);
    date.day = static_cast<uint16_t>(week);
    date.dayOfWeek = static_cast<uint16_t>(dayOfWeek);
    date.hour = static_cast<uint16_t>(seconds / 3600);
    date.minute = static_cast<uint16_t>(seconds / 60 % 60);
    date.second = static_cast<uint16_t>(seconds % 60);
    return date;
  }

  std::string_view rest_;
};

}  // namespace

TimeZoneRecord ParsePosixZone(std::string_view rule) {
  return RuleReader(rule).Read();
}

}  // namespace qv

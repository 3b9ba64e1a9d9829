#include "items/moment_text.h"

#include <algorithm>
#include <cmath>

#include "platform/system/system_time.h"
#include "support/date_time.h"
#include "support/vobject/lines.h"

namespace qv {
namespace {

// Reads from the front of a text.
class Cursor {
 public:
  explicit Cursor(std::string_view text) : rest_(text) {}

  bool AtEnd() const { return rest_.empty(); }
  bool Skip(char c) {
    if (rest_.empty() || rest_.front() != c) return false;
    rest_.remove_prefix(1);
    return true;
  }
  bool SkipOne(std::string_view choice) {
    if (rest_.empty() || choice.find(rest_.front()) == choice.npos) return false;
    rest_.remove_prefix(1);
    return true;
  }
  bool HasDigit() const { return !rest_.empty() && IsDigit(rest_.front()); }
  void SkipDigits() {
    while (HasDigit()) rest_.remove_prefix(1);
  }
  // Exactly `count` digits.
  bool Number(size_t count, int& number) {
    if (rest_.size() < count) return false;
    number = 0;
    for (size_t i = 0; i < count; ++i) {
      if (!IsDigit(rest_[i])) return false;
      number = number * 10 + (rest_[i] - '0');
    }
    rest_.remove_prefix(count);
    return true;
  }

 private:
  static bool IsDigit(char c) { return c >= '0' && c <= '9'; }
  std::string_view rest_;
};

struct Moment {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  int offset = 0;  // minutes east
  bool hasTime = false;
  bool hasZone = false;
};

bool ReadDate(Cursor& cursor, Moment& moment) {
  if (!cursor.Number(4, moment.year)) return false;
  const bool extended = cursor.Skip('-');
  return cursor.Number(2, moment.month) && (!extended || cursor.Skip('-')) &&
         cursor.Number(2, moment.day);
}

bool ReadZone(Cursor& cursor, Moment& moment) {
  if (cursor.AtEnd()) return true;
  moment.hasZone = true;
  if (cursor.SkipOne("Zz")) return true;
  const bool west = cursor.Skip('-');
  if (!west && !cursor.Skip('+')) return false;
  int hours = 0;
  int minutes = 0;
  if (!cursor.Number(2, hours)) return false;
  cursor.Skip(':');
  if (!cursor.AtEnd() && !cursor.Number(2, minutes)) return false;
  moment.offset = (hours * 60 + minutes) * (west ? -1 : 1);
  return hours < 24 && minutes < 60;
}

bool ReadTime(Cursor& cursor, Moment& moment) {
  if (cursor.AtEnd()) return true;
  moment.hasTime = true;
  if (!cursor.SkipOne("Tt ") || !cursor.Number(2, moment.hour)) return false;
  cursor.Skip(':');
  if (cursor.HasDigit()) {
    if (!cursor.Number(2, moment.minute)) return false;
    cursor.Skip(':');
    if (cursor.HasDigit() && !cursor.Number(2, moment.second)) return false;
    if (cursor.SkipOne(".,")) cursor.SkipDigits();
  }
  return ReadZone(cursor, moment);
}

std::optional<Moment> ReadMoment(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  Cursor cursor(text);
  Moment moment;
  if (!ReadDate(cursor, moment) || !ReadTime(cursor, moment) || !cursor.AtEnd()) {
    return std::nullopt;
  }
  return moment;
}

void AppendDigits(std::string& text, int number, size_t width) {
  const size_t start = text.size();
  text.resize(start + width);
  for (size_t i = width; i-- > 0; number /= 10) {
    text[start + i] = static_cast<char>('0' + number % 10);
  }
}

// Without an offset the parts are the date's own; one moves it, and it is made anew from its parts
// so that equal moments are equal numbers.
std::optional<DATE> WithoutOffset(const DateTimeValue& date, int offset) {
  if (offset == 0) return date.value;
  const DateTimeValue moved = date - DateTimeSpan(0, 0, offset, 0);
  DateTimeValue exact;
  if (exact.SetDateTime(moved.GetYear(), moved.GetMonth(), moved.GetDay(), moved.GetHour(),
                        moved.GetMinute(), moved.GetSecond()) != DateStatus::Valid) {
    return std::nullopt;
  }
  return exact.value;
}

DATE DateOrNone(const DateTimeValue& date) {
  return date.IsDate() ? date.value : 0.0;
}

}  // namespace

std::optional<DATE> ParseDay(std::string_view text) {
  const std::optional<Moment> moment = ReadMoment(text);
  DateTimeValue date;
  if (!moment || date.SetDate(moment->year, moment->month, moment->day) != DateStatus::Valid ||
      !date.IsDate()) {
    return std::nullopt;
  }
  return date.value;
}

std::optional<Stamp> ParseStamp(std::string_view text) {
  const std::optional<Moment> moment = ReadMoment(text);
  DateTimeValue date;
  if (!moment || date.SetDateTime(moment->year, moment->month, moment->day, moment->hour,
                                  moment->minute, moment->second) != DateStatus::Valid) {
    return std::nullopt;
  }
  const std::optional<DATE> exact = WithoutOffset(date, moment->offset);
  if (!exact || *exact == 0.0) return std::nullopt;
  return Stamp{*exact, moment->hasTime, moment->hasZone};
}

std::optional<DATE> ParseMoment(std::string_view text) {
  const std::optional<Stamp> stamp = ParseStamp(text);
  if (!stamp) return std::nullopt;
  return stamp->date;
}

DATE LocalFromUtc(DATE date) {
  return DateOrNone(UtcToLocal(date, true));
}

DATE UtcFromLocal(DATE date) {
  return DateOrNone(LocalToUtc(date, true));
}

std::string DayText(DATE date) {
  const DateTimeValue value(date);
  std::string text;
  if (!std::isfinite(date) || !value.IsDate() || value.GetYear() < 0) return text;
  AppendDigits(text, value.GetYear(), 4);
  AppendDigits(text, value.GetMonth(), 2);
  AppendDigits(text, value.GetDay(), 2);
  return text;
}

std::string WallText(DATE date) {
  std::string text = DayText(date);
  if (text.empty()) return text;
  const DateTimeValue value(date);
  text += 'T';
  AppendDigits(text, value.GetHour(), 2);
  AppendDigits(text, value.GetMinute(), 2);
  AppendDigits(text, value.GetSecond(), 2);
  return text;
}

std::string MomentText(DATE date) {
  std::string text = WallText(date);
  if (!text.empty()) text += 'Z';
  return text;
}

std::string WithoutFolds(std::string_view value) {
  const auto isBreak = [&](size_t at) {
    return at < value.size() && (value[at] == '\r' || value[at] == '\n');
  };
  std::string text;
  text.reserve(value.size());
  for (size_t i = 0; i < value.size(); ++i) {
    const size_t breakAt = value[i] == '=' && isBreak(i + 1) ? i + 1 : i;
    if (!isBreak(breakAt)) {
      text += value[i];
      continue;
    }
    i = breakAt + (value.substr(breakAt).starts_with("\r\n") ? 1 : 0);
    if (i + 1 < value.size() && (value[i + 1] == ' ' || value[i + 1] == '\t')) ++i;
  }
  return text;
}

std::optional<Duration> ParseDuration(std::string_view text) {
  constexpr int64_t kDaySeconds = 86400;
  constexpr int64_t kMost = int64_t{10'000} * 366 * kDaySeconds;
  text = Trimmed(text);
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  if (text.empty() || (text[0] != 'P' && text[0] != 'p')) return std::nullopt;
  text.remove_prefix(1);
  Duration duration;
  bool inTime = false;
  bool any = false;
  while (!text.empty()) {
    if (text[0] == 'T' || text[0] == 't') {
      if (inTime) return std::nullopt;
      inTime = true;
      text.remove_prefix(1);
      continue;
    }
    int64_t number = 0;
    size_t digits = 0;
    for (; digits < text.size() && digits < 9 && text[digits] >= '0' && text[digits] <= '9';
         ++digits) {
      number = number * 10 + (text[digits] - '0');
    }
    if (digits == 0 || digits == text.size()) return std::nullopt;
    struct Unit {
      char letter;
      bool inTime;
      int64_t seconds;
    };
    constexpr Unit kUnits[] = {{'W', false, 7 * kDaySeconds},
                               {'D', false, kDaySeconds},
                               {'H', true, 3600},
                               {'M', true, 60},
                               {'S', true, 1}};
    const char letter = static_cast<char>(text[digits] & ~0x20);
    const auto unit = std::ranges::find_if(
        kUnits, [&](const Unit& u) { return u.letter == letter && u.inTime == inTime; });
    if (unit == std::end(kUnits)) return std::nullopt;
    const int64_t seconds = number * unit->seconds;
    (inTime ? duration.seconds : duration.days) += inTime ? seconds : seconds / kDaySeconds;
    any = true;
    if (duration.seconds > kMost || duration.days > kMost / kDaySeconds) return std::nullopt;
    text.remove_prefix(digits + 1);
  }
  if (!any) return std::nullopt;
  return negative ? Duration{-duration.days, -duration.seconds} : duration;
}

DATE Later(DATE date, int64_t seconds) {
  const std::optional<int64_t> from = VariantTimeToSeconds(date);
  if (!from) return 0.0;
  return SecondsToVariantTime(*from + seconds).value_or(0.0);
}

}  // namespace qv

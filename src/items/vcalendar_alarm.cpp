#include "items/vcalendar_alarm.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <limits>

#include "items/extra.h"
#include "support/text.h"
#include "support/vobject/decode.h"
#include "support/vobject/lines.h"
#include "support/vobject/raw_text.h"

namespace qv {
namespace {

bool IsOldAlarm(std::string_view name) {
  return SameWord(name, "AALARM") || SameWord(name, "DALARM");
}

bool IsComponent(const Line& line) {
  return SameWord(line.name, "BEGIN") && SameWord(Trimmed(line.value), "VALARM");
}

std::optional<AlarmTime> TimeOf(std::string_view value) {
  AlarmTime time;
  const std::string unfolded = WithoutFolds(value);
  const std::string_view text = Trimmed(unfolded);
  if (const std::optional<Duration> behind = ParseDuration(text)) {
    time.behind = *behind;
    return time;
  }
  time.moment = ParseStamp(text);
  if (!time.moment || !time.moment->hasTime) return std::nullopt;
  return time;
}

// Nothing for a time by the clock of another zone, and what it is behind of when nobody knows it.
std::optional<AlarmTime> TimeOf(const Line& line, std::string_view text) {
  std::optional<AlarmTime> time = TimeOf(text);
  ParameterReader parameters(line.parameters);
  for (Parameter parameter; time && parameters.Next(parameter);) {
    if (SameWord(parameter.name, "TZID") && time->moment && !time->moment->hasZone) time.reset();
    if (!time || !SameWord(parameter.name, "RELATED")) continue;
    time->fromEnd = SameWord(parameter.value, "END");
    if (!time->fromEnd && !SameWord(parameter.value, "START")) time.reset();
  }
  return time;
}

// Others than those that say how the value is written down.
bool HasOwnParameters(const Line& line) {
  ParameterReader parameters(line.parameters);
  for (Parameter parameter; parameters.Next(parameter);) {
    if (!IsTransport(parameter)) return true;
  }
  return false;
}

// A VALARM, line by line. Of components inside it only their lines as a whole count.
struct Component {
  Component(const std::string& bytes, Dialect dialect, std::u16string_view subject) {
    LineReader reader(bytes);
    ValueDecoder decoder;
    int depth = 0;
    for (Line line; reader.Next(line);) {
      if (SameWord(line.name, "END") && --depth == 0) {
        isWhole = true;
        return;
      }
      const int outside = depth;
      if (SameWord(line.name, "BEGIN")) ++depth;
      if (outside == 0) continue;
      if (outside == 1 && SameWord(line.name, "TRIGGER") && !line.malformed) {
        triggers += 1;
        time = TimeOf(line, line.value);
        begin = line.begin;
        end = reader.position();
      } else if (outside == 1 && SameWord(line.name, "ACTION") && !line.bare) {
        const std::string unfolded = WithoutFolds(line.value);
        const std::string_view action = Trimmed(unfolded);
        rings = rings && (SameWord(action, "DISPLAY") || SameWord(action, "AUDIO"));
        saysMore = saysMore || HasOwnParameters(line);
      } else if (outside == 1 && SameWord(line.name, "DESCRIPTION") && !line.bare) {
        const auto text = decoder.Text(line, dialect);
        saysMore = saysMore || !text || !(text->empty() || Unescape(*text, dialect) == subject);
      } else {
        saysMore = true;
      }
    }
  }

  bool isWhole = false;
  bool rings = true;
  bool saysMore = false;  // than that there is a reminder
  int triggers = 0;
  std::optional<AlarmTime> time;
  size_t begin = 0;  // of the trigger's line
  size_t end = 0;
};

// The first line of an extra, and where its value's first part lies in its bytes.
struct Head {
  explicit Head(const std::string& bytes) : reader(bytes) {
    if (!reader.Next(line) || line.malformed || line.bare) return;
    isAlarm = IsOldAlarm(line.name) && line.encoding != ValueEncoding::Base64;
    part = line.value.substr(0, line.value.find(';'));
    begin = line.end - line.value.size();
  }

  LineReader reader;  // holds a header that was folded
  Line line;
  bool isAlarm = false;
  std::string_view part;
  size_t begin = 0;
};

void SetBytes(ExtraProperty& extra, std::string_view bytes) {
  std::string header;
  AppendRaw(extra.property, header);
  extra.value = TextFromRaw(bytes.substr(header.size() + 1));
}

}  // namespace

bool MayBe(const ExtraProperty& extra, std::initializer_list<std::u16string_view> words) {
  const std::u16string_view property = extra.property;
  if (property.find_first_of(u"\r\n") != property.npos) return true;
  const auto same = [](char16_t a, char16_t b) {
    return a == b || (a >= u'a' && a <= u'z' && a - (u'a' - u'A') == b);
  };
  return std::ranges::any_of(words, [&](std::u16string_view word) {
    return std::search(property.begin(), property.end(), word.begin(), word.end(), same) !=
           property.end();
  });
}

std::optional<AlarmTime> AlarmTimeOf(const ExtraProperty& extra) {
  const std::string bytes = BytesOf(extra);
  const Head head(bytes);
  if (head.isAlarm) return TimeOf(head.line, head.part);
  if (!IsComponent(head.line)) return std::nullopt;
  const Component alarm(bytes, extra.dialect, {});
  return alarm.isWhole && alarm.rings && alarm.triggers == 1 ? alarm.time : std::nullopt;
}

std::optional<ExtraProperty> WithoutAlarmTime(const ExtraProperty& extra,
                                              std::u16string_view subject, bool isAlone) {
  std::string bytes = BytesOf(extra);
  ExtraProperty rest = extra;
  const Head head(bytes);
  if (head.isAlarm) {
    const bool isPlain =
        SameWord(head.line.name, "AALARM") && head.line.group.empty() &&
        !HasOwnParameters(head.line) &&
        head.line.value.find_first_not_of("; ", head.part.size()) == std::string_view::npos;
    if (isPlain && isAlone) return std::nullopt;
    bytes.erase(head.begin, head.part.size());
  } else {
    const Component alarm(bytes, extra.dialect, subject);
    if (!alarm.saysMore) return std::nullopt;
    bytes.erase(alarm.begin, alarm.end - alarm.begin);
  }
  SetBytes(rest, bytes);
  return rest;
}

bool LacksAlarmTime(const ExtraProperty& extra) {
  if (!MayBe(extra, {u"ALARM"})) return false;
  const std::string bytes = BytesOf(extra);
  const Head head(bytes);
  return head.isAlarm && Trimmed(WithoutFolds(head.part)).empty();
}

bool LacksTrigger(const ExtraProperty& extra) {
  if (!MayBe(extra, {u"BEGIN"})) return false;
  const std::string bytes = BytesOf(extra);
  const Head head(bytes);
  if (!IsComponent(head.line)) return false;
  const Component alarm(bytes, extra.dialect, {});
  return alarm.isWhole && alarm.rings && alarm.triggers == 0;
}

ExtraProperty LeadExtra(int64_t seconds) {
  return {std::u16string(kLeadName), FromAscii(std::to_string(seconds))};
}

int64_t LeadSeconds(int32_t minutes, const std::vector<ExtraProperty>& extras) {
  const auto told = std::ranges::find(extras, kLeadName, &ExtraProperty::property);
  if (told != extras.end()) {
    std::string text;
    AppendRaw(told->value, text);
    int64_t seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    constexpr int64_t kMost = int64_t{60} * std::numeric_limits<int32_t>::max();
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    if (isNumber && std::abs(seconds) < kMost && LeadMinutesOf(seconds) == minutes) return seconds;
  }
  return int64_t{minutes} * 60;
}

ExtraProperty WithAlarmTime(const ExtraProperty& extra, std::string_view moment) {
  std::string bytes = BytesOf(extra);
  const Head head(bytes);
  bytes.replace(head.begin, head.part.size(), moment);
  ExtraProperty whole = extra;
  SetBytes(whole, bytes);
  return whole;
}

}  // namespace qv

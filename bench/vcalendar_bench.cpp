// The vCalendar converter, value to value: bytes a second of the text that goes in.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "items/recurrence.h"
#include "items/vcalendar.h"

namespace {

// Events as a phone sends them, a third of them series, one in ten with a zone of its own.
std::vector<std::string> TypicalEvents() {
  std::vector<std::string> events;
  for (int i = 0; i < 10'000; ++i) {
    const std::string n = std::to_string(10000 + i);
    const std::string day = "202503" + std::to_string(10 + i % 20);
    const bool zoned = i % 10 == 0;
    std::string text =
        zoned ? "BEGIN:VCALENDAR\r\nVERSION:2.0\r\n" : "BEGIN:VCALENDAR\r\nVERSION:1.0\r\n";
    text += "BEGIN:VEVENT\r\nUID:4FBE8971-0BC3-424C-9C26-36C3E1EF" + n + "\r\n";
    text += "LAST-MODIFIED:20250304T050607Z\r\n";
    text += i % 3 == 0 && !zoned
                ? "SUMMARY;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BCller und S=C3=B6hne " + n
                : "SUMMARY:Quarterly review with the purchasing department " + n;
    text += "\r\nDESCRIPTION:Agenda as sent round last week, please bring the figures\r\n";
    text += "LOCATION:Meeting room " + n + "\r\n";
    text += zoned ? "DTSTART;TZID=Europe/Berlin:" + day +
                        "T090000\r\nDTEND;TZID=Europe/Berlin:" + day + "T103000\r\n"
                  : "DTSTART:" + day + "T080000Z\r\nDTEND:" + day + "T093000Z\r\n";
    if (i % 3 == 1)
      text += zoned ? "RRULE:FREQ=WEEKLY;BYDAY=MO;COUNT=10\r\n" : "RRULE:W1 MO TH #10\r\n";
    text += "AALARM:" + day + "T074500Z\r\nCATEGORIES:BUSINESS\r\nX-PHONE-ID:" + n + "\r\n";
    text += "END:VEVENT\r\nEND:VCALENDAR\r\n";
    events.push_back(std::move(text));
  }
  return events;
}

template <class Step>
void OverEvents(benchmark::State& state, Step step) {
  const std::vector<std::string> events = TypicalEvents();
  std::vector<qv::Calendar> items;
  size_t bytes = 0;
  for (const std::string& event : events) {
    items.push_back(*qv::ParseVCalendar(event));
    bytes += event.size();
  }
  for (auto _ : state) {
    for (size_t i = 0; i < events.size(); ++i) benchmark::DoNotOptimize(step(events[i], items[i]));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(events.size()));
}

void VCalendarParse(benchmark::State& state) {
  OverEvents(state,
             [](const std::string& text, const qv::Calendar&) { return qv::ParseVCalendar(text); });
}
BENCHMARK(VCalendarParse);

void VCalendarWrite(benchmark::State& state) {
  OverEvents(state,
             [](const std::string&, const qv::Calendar& item) { return qv::WriteVCalendar(item); });
}
BENCHMARK(VCalendarWrite);

void VCalendarParseAndWrite(benchmark::State& state) {
  OverEvents(state, [](const std::string& text, const qv::Calendar&) {
    return qv::WriteVCalendar(*qv::ParseVCalendar(text));
  });
}
BENCHMARK(VCalendarParseAndWrite);

}  // namespace

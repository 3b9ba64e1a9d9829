// The filters of the calendar and task stores.
#include <gtest/gtest.h>

#include "kit/samples.h"
#include "platform/com/lists.h"
#include "platform/system/utf8.h"
#include "stores/outlook/data_store_todo.h"
#include "support/date_time.h"

namespace qv {
namespace {

using test::StoreStack;
using Ids = std::vector<std::u16string>;

constexpr char16_t kJanuary[] = u"SINCE&EQ;20240101T000000Z&AND;BEFORE&EQ;20240131T235959Z";

TEST(DateWindow, IsReadByPositionAndNeedsBothBounds) {
  test::FixedZone zone("CET-1");
  ScopedService<TimeZone> useZone(zone);
  struct Case {
    const char16_t* text;
    const char16_t* since;
    const char16_t* before;
  };
  for (const Case& c :
       {Case{kJanuary, u"2024-01-01 00:00:00", u"2024-01-31 23:59:59"},
        Case{u"SINCE&EQ;20240101T000000Z", u"2024-01-01 00:00:00", u""},
        Case{u"BEFORE&EQ;20240101T240000Z", u"", u"2024-01-02 00:00:00"},
        // The value of the first runs on into the second, whose "Z" counts for it.
        Case{u"BEFORE&EQ;20240131T235959&AND;SINCE&EQ;20240101T000000Z", u"2024-01-01 00:00:00",
             u"2024-01-31 23:59:59"},
        Case{u"SINCE&EQ;20240101T000000&AND;BEFORE&EQ;20240131T235959", u"2023-12-31 23:00:00",
             u"2024-01-31 22:59:59"},
        Case{u"SINCE&EQ;2024&AND;BEFORE&EQ;20240231T000000Z", u"", u""}, Case{u"", u"", u""}}) {
    const DateWindow window = ParseDateWindow(c.text);
    const auto shown = [](const DateTimeValue& bound) { return FormatDateTime(bound); };
    EXPECT_EQ(shown(window.since), c.since) << ToUtf8(c.text);
    EXPECT_EQ(shown(window.before), c.before) << ToUtf8(c.text);
    const bool works = *c.since != 0 && *c.before != 0;
    EXPECT_EQ(static_cast<bool>(DateWindowTest(c.text)), works) << ToUtf8(c.text);
  }
}

TEST(DateWindow, TakesWhatTouchesItAndEverySeries) {
  const FilterTest test = DateWindowTest(kJanuary);
  struct Case {
    const char16_t* start;
    const char16_t* end;
    bool allDay;
    bool recurring;
    bool in;
  };
  for (const Case& c : {Case{u"", u"", false, false, true},
                        Case{u"2023-12-31 10:00:00", u"2024-01-01 00:00:00", false, false, true},
                        Case{u"2023-12-31 00:00:00", u"2024-01-01 00:00:00", true, false, false},
                        Case{u"2023-12-31 10:00:00", u"2023-12-31 23:59:59", false, false, false},
                        Case{u"2023-12-01 10:00:00", u"2024-03-01 10:00:00", false, false, true},
                        Case{u"2024-01-31 23:59:59", u"2024-02-02 00:00:00", false, false, true},
                        Case{u"2024-02-01 00:00:00", u"2024-02-02 00:00:00", false, false, false},
                        Case{u"2024-02-01 00:00:00", u"", false, false, false},
                        Case{u"2024-01-15 00:00:00", u"", true, false, true},
                        Case{u"", u"2024-01-01 00:00:00", false, false, true},
                        Case{u"", u"2024-01-01 00:00:00", true, false, false},
                        Case{u"2000-01-01 00:00:00", u"2000-01-01 01:00:00", false, true, true}}) {
    CalendarContent item;
    item.start = ParseDateTime(c.start).value;
    item.end = ParseDateTime(c.end).value;
    item.allDay = c.allDay;
    item.isRecurring = c.recurring;
    EXPECT_EQ(test(item), c.in) << ToUtf8(c.start) << " " << ToUtf8(c.end) << " " << c.allDay;
  }
}

TEST(CalendarFilter, LeavesOutOfTheTreeWhatTheWindowDoes) {
  StoreStack s(test::kCalendarSample);
  const std::u16string in = s.Add(test::Event(1, "a", nullptr));
  const std::u16string out = s.Add(test::Event(9, "b", nullptr));
  const auto filter = Query<IDataStoreFilter>(s.store);
  ASSERT_TRUE(filter);
  EXPECT_EQ(Query<IUnknown>(filter).get(), Query<IUnknown>(s.store).get()) << "one object";
  BOOL flag = 7;
  EXPECT_EQ(filter->IsFilterExsit(&flag), S_OK);
  EXPECT_EQ(flag, kFalse);
  ComPtr<IUnknown> chosen;
  const auto list = MakeObject<VarList>();
  for (const auto& id : {out, in, std::u16string(u"unknown"), std::u16string(u"xsub1")}) {
    list->Add(Variant::Text(id).get());
  }
  EXPECT_EQ(filter->GetFilteredUids(list.get(), chosen.Out()), S_OK);
  EXPECT_FALSE(chosen) << "without a filter text there is no list";

  s.bag->values[u"DataStore.Schedule.FilterRecordData"] =
      u"SINCE&EQ;20240210T000000Z&AND;BEFORE&EQ;20240212T000000Z";
  s.bag->values[u"DataStore.Schedule.SupportFilter"] = u"true";
  s.store = s.Another();
  s.status = Query<IStatusDB>(s.store);
  EXPECT_EQ(s.Current(), Ids{in});
  const auto on = Query<IDataStoreFilter>(s.store);
  on->IsFilterExsit(&flag);
  EXPECT_EQ(flag, kTrue);
  EXPECT_EQ(on->IsInFilter(Bstr(out), &flag), S_OK);
  EXPECT_EQ(flag, kFalse);
  EXPECT_TRUE(Failed(on->IsInFilter(Bstr(u"unknown"), &flag)));
  EXPECT_EQ(flag, kTrue) << "what cannot be read must not look deleted";
  EXPECT_EQ(on->IsInFilter(nullptr, &flag), E_POINTER);
  EXPECT_EQ(on->GetFilteredUids(list.get(), chosen.Out()), S_OK);
  std::vector<std::u16string> ids;
  for (int32_t i = 0; i < 3; ++i) {
    Variant id;
    ASSERT_EQ(Query<IVarList>(chosen)->Item(i, id.Out()), S_OK);
    ids.emplace_back(id.view());
  }
  EXPECT_EQ(ids, (Ids{in, u"unknown", u"xsub1"}));
  EXPECT_EQ(on->GetFilteredUids(nullptr, chosen.Out()), S_OK);
  EXPECT_FALSE(chosen);
  EXPECT_EQ(on->GetFilteredUids(list.get(), nullptr), E_POINTER);
}

TEST(TaskFilter, LeavesCompletedTasksOnThePcButSeriesGo) {
  StoreStack s(test::kTaskSample);
  const auto completed = [](const char* uid, const char* line) {
    std::string text = test::Task(1, uid, nullptr);
    return text.insert(text.find("SUMMARY"), std::string("STATUS:COMPLETED\r\n") + line);
  };
  const std::u16string open = s.Add(test::Task(1, "a", nullptr));
  const std::u16string done = s.Add(completed("b", ""));
  const std::u16string series =
      s.Add(completed("c", "DTSTART:20240205T100000Z\r\nRRULE:D1 #0\r\n"));
  auto& store = static_cast<CDataStoreTodo&>(*s.store);
  struct Case {
    const char16_t* filter;
    Ids in;
  };
  for (const Case& c : {Case{u"", {open, done, series}}, Case{kJanuary, {open, done, series}},
                        Case{u"x&AND;STATUS&NE;COMPLETED", {open, series}}}) {
    ASSERT_EQ(store.config().put_FilterRecordData(Bstr(c.filter)), S_OK);
    EXPECT_EQ(s.Current(), c.in) << ToUtf8(c.filter);
  }
}

TEST(TaskStore, TellsTheLogOfItsSearchForDuplicates) {
  StoreStack s(test::kTaskSample);
  s.Add(test::Task(1, "a", nullptr));
  ASSERT_EQ(s.store->PrepareSlowSync(), S_OK);
  auto winner = RESV_CONFLTLASTMODIFIED_NONE;
  BOOL found = 0;
  Bstr match;
  for (const bool stops : {true, false}) {
    s.Stop(stops);
    s.store->ProcessDuplication(nullptr, s.Content(test::Task(1, "other", nullptr)).get(),
                                s.mimeType, match.Out(), &winner, &found);
    EXPECT_EQ(s.log.Count(u"[CDataStoreTodo] ProcessDuplication Start"), stops ? 1u : 2u);
    EXPECT_EQ(s.log.Count(u"[CDataStoreTodo] ProcessDuplication End Succefully"), stops ? 0u : 1u);
  }
}

}  // namespace
}  // namespace qv

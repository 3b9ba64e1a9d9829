// Series and their sub-items in the profile file.
#include <gtest/gtest.h>

#include "items/calendar_days.h"
#include "items/item_objects.h"
#include "items/key_text.h"
#include "pim/calendar_content.h"
#include "pim/profile_fixture.h"
#include "platform/database/sqlite.h"
#include "support/date_time.h"

namespace qv::test {
namespace {

constexpr DATE kFirst = 45000.375;  // 09:00 UTC

CalendarContent FullAppointment() {
  CalendarContent item;
  item.subject = u"s";
  item.body = u"b";
  item.location = u"l";
  item.start = kFirst;
  item.end = kFirst + 3;
  item.allDay = true;
  item.reminderMinutes = 0;
  item.priority = 1;
  item.sensitivity = 2;
  item.status = kTaskCompleted;
  item.completed = kFirst + 2;
  item.isRecurring = true;
  item.recurrence = {RecurrenceType::YearlyByWeekday, 2, 64, 5, 31, 12, 9, kFirst + 400};
  item.entries = {{kDeletedOccurrence, kFirst}, {kReplacedOccurrence, kFirst + 7}};
  SettleDays(item);
  return item;
}

TEST(CalendarContentTest, EveryFieldComesBack) {
  std::vector<CalendarContent> contents(6, FullAppointment());
  contents[1] = {};
  contents[2].isTask = true;
  contents[3].reminderMinutes.reset();
  contents[4].reminderMinutes = -5;
  contents[5].entries.pop_back();
  for (const CalendarContent& content : contents) {
    std::string why;
    EXPECT_EQ(UnpackCalendar(PackCalendar(content), why), content) << why;
  }
}

class SubItemsTest : public ProfileFixture {
 protected:
  static ComPtr<IItemCommon> Item(const char16_t* subject, DATE occurrence = 0.0) {
    Calendar item;
    item.subject = subject;
    item.start = kFirst;
    if (occurrence != 0.0) item.entries = {{kReplacedOccurrence, occurrence}};
    return MakeCalendarItem(item);
  }
  std::u16string CreateSeries(const char16_t* subject) {
    std::u16string id;
    EXPECT_EQ(
        outlook.CreateItem(olAppointment, outlook.DefaultFolder(olAppointment), Item(subject), id),
        S_OK);
    return id;
  }
  OLSubMetaData Create(const char16_t* subject, DATE occurrence) {
    OLSubMetaData data;
    EXPECT_EQ(outlook.CreateSubItem(olAppointment, series, Item(subject, occurrence), data), S_OK)
        << outlook.lastError();
    return data;
  }
  std::vector<OLSubMetaData> All() {
    std::vector<OLSubMetaData> datas(3);
    EXPECT_EQ(outlook.GetSubMetaData(olAppointment, series, datas), S_OK) << outlook.lastError();
    return datas;
  }
  CalendarContent ContentOf(const std::u16string& id) {
    ComPtr<IItemCommon> item;
    EXPECT_EQ(outlook.GetItem(olAppointment, id, item), S_OK) << outlook.lastError();
    return item ? *CalendarOf(item.get()) : Calendar();
  }
  void Execute(const char* script) {
    SqliteDatabase db(files.File("pim/deep/Outlook.db"), SqliteDatabase::Durability::Normal);
    db.Execute(script);
  }

  std::u16string series = CreateSeries(u"series");
};

TEST_F(SubItemsTest, LiveWithinTheirSeriesAndLeaveItsTimeAlone) {
  const OLSubMetaData made = Create(u"moved", kFirst + 7);
  EXPECT_EQ(made.id, series + u"sub1");
  EXPECT_EQ(made.parentId, series);
  EXPECT_EQ(made.modified, DateFromUnixSeconds(kMorning + 3600)) << "local, as all times here";
  EXPECT_EQ(made.originalDate, UtcToLocal(kFirst + 7, true).value);
  clock.Advance(60);
  OLSubMetaData data;
  data.id = made.id;
  ASSERT_EQ(outlook.UpdateSubItem(olAppointment, series, Item(u"moved", kFirst + 7), data), S_OK);
  EXPECT_EQ(data.modified, made.modified) << "equal content is no change";
  ASSERT_EQ(outlook.UpdateSubItem(olAppointment, series, Item(u"again"), data), S_OK);
  EXPECT_EQ(data.modified, DateFromUnixSeconds(kMorning + 3660));
  EXPECT_EQ(data.originalDate, made.originalDate) << "a text that names none keeps its occurrence";
  ComPtr<IItemCommon> item;
  ASSERT_EQ(outlook.GetSubItem(olAppointment, data, item), S_OK);
  EXPECT_EQ(CalendarOf(item.get())->subject, u"again");
  EXPECT_EQ(ReplacedOccurrence(*CalendarOf(item.get())), kFirst + 7);
  EXPECT_EQ(FieldsOf(item.get())->sourceUid, made.id);
  OLMetaData whole;
  ASSERT_EQ(outlook.GetMetaData(olAppointment, series, whole), S_OK);
  EXPECT_EQ(whole.modified, DateFromUnixSeconds(kMorning + 3600));

  std::vector<OutlookManager::ListedItem> items;
  const std::u16string last = CreateSeries(u"last");
  ASSERT_EQ(outlook.ListItems(olAppointment, outlook.DefaultFolder(olAppointment), items), S_OK);
  ASSERT_EQ(items.size(), 3u);
  EXPECT_EQ(items[1].entryId, made.id);
  EXPECT_EQ(items[2].entryId, last);
}

TEST_F(SubItemsTest, ADeletedOneIsAnOccurrenceThatTheSeriesLacks) {
  const OLSubMetaData made = Create(u"moved", kFirst + 7);
  clock.Advance(60);
  ASSERT_EQ(outlook.DeleteSubItem(olAppointment, made), S_OK) << outlook.lastError();
  EXPECT_EQ(ContentOf(series).entries,
            (std::vector<RecurrenceEntry>{{kDeletedOccurrence, kFirst + 7}}));
  ASSERT_EQ(All().size(), 1u);
  EXPECT_TRUE(All()[0].isDeleted);
  ComPtr<IItemCommon> item;
  OLSubMetaData data = made;
  EXPECT_EQ(outlook.GetSubItem(olAppointment, made, item), E_FAIL);
  EXPECT_EQ(outlook.DeleteSubItem(olAppointment, made), E_FAIL);
  EXPECT_EQ(outlook.UpdateSubItem(olAppointment, series, Item(u"x"), data), E_FAIL);
  // The number is not used again, and the entry not doubled.
  const OLSubMetaData next = Create(u"back", kFirst + 7);
  EXPECT_EQ(next.id, series + u"sub2");
  ASSERT_EQ(outlook.DeleteSubItem(olAppointment, next), S_OK);
  EXPECT_EQ(ContentOf(series).entries.size(), 1u);
  ASSERT_EQ(outlook.DeleteSubItem(olAppointment, Create(u"of no occurrence", 0.0)), S_OK);
  EXPECT_EQ(ContentOf(series).entries.size(), 1u);

  ASSERT_EQ(outlook.DeleteItem(olAppointment, series), S_OK);
  EXPECT_TRUE(All().empty());
}

TEST_F(SubItemsTest, RefuseWhatHasNoPlace) {
  const OLSubMetaData made = Create(u"moved", kFirst + 7);
  OLSubMetaData data;
  EXPECT_EQ(outlook.CreateSubItem(olAppointment, series, Item(u"x", kFirst + 7), data), E_FAIL);
  EXPECT_NE(outlook.lastError().find("another exception"), std::string::npos);
  EXPECT_EQ(outlook.CreateSubItem(olAppointment, u"NOBODY", Item(u"x", kFirst), data), E_FAIL);
  EXPECT_EQ(outlook.CreateSubItem(olTask, series, Item(u"x", kFirst), data), E_FAIL);
  EXPECT_EQ(outlook.CreateSubItem(olAppointment, series, nullptr, data), E_POINTER);
  EXPECT_EQ(outlook.CreateSubItem(olContact, series, MakeContactItem({}), data), E_FAIL);
  const OLSubMetaData second = Create(u"other", kFirst + 14);
  data = second;
  EXPECT_EQ(outlook.UpdateSubItem(olAppointment, series, Item(u"x", kFirst + 7), data), E_FAIL);
  EXPECT_EQ(outlook.UpdateSubItem(olAppointment, CreateSeries(u"y"), Item(u"x"), data), E_FAIL);
  for (const char16_t* end : {u"sub9", u"sub", u"sub1x", u"sub99999999999999999999", u"sub-1"}) {
    data.id = series + end;
    ComPtr<IItemCommon> item;
    EXPECT_EQ(outlook.GetSubItem(olAppointment, data, item), E_FAIL);
    EXPECT_EQ(outlook.DeleteSubItem(olAppointment, data), E_FAIL);
  }
  EXPECT_EQ(All().size(), 2u);
  EXPECT_EQ(All()[0].md5, made.md5);
}

TEST_F(SubItemsTest, ListsManySeriesInTheOrderThatIsAskedFor) {
  const std::u16string first = series;
  Create(u"a", kFirst + 7);
  series = CreateSeries(u"second");
  Create(u"b", kFirst + 7);
  Create(u"c", kFirst + 14);
  std::vector<OLSubMetaData> datas;
  ASSERT_EQ(outlook.GetSubMetaDatas(olAppointment, {series, u"NOBODY", first}, datas), S_OK);
  ASSERT_EQ(datas.size(), 3u);
  EXPECT_EQ(datas[1].id, series + u"sub2");
  EXPECT_EQ(datas[2].parentId, first);
  ASSERT_EQ(outlook.GetSubMetaDatas(olTask, {series}, datas), S_OK);
  EXPECT_TRUE(datas.empty());
}

TEST_F(SubItemsTest, KeyTextsAreThoseOfTheZoneThatHolds) {
  for (const char* rule : {"CET-1CEST,M3.5.0,M10.5.0/3", "JST-9"}) {
    zone.Set(ParsePosixZone(rule));
    std::vector<OLMetaData> datas;
    ASSERT_EQ(outlook.GetMetaDatas(olAppointment, outlook.DefaultFolder(olAppointment), datas, 1),
              S_OK);
    EXPECT_EQ(datas.at(0).keyText, MakeCalendarKey(*CalendarOf(Item(u"series").get()))) << rule;
  }
  Calendar task;
  task.isTask = true;
  std::u16string id;
  const std::u16string folder = outlook.DefaultFolder(olTask);
  ASSERT_EQ(outlook.CreateItem(olTask, folder, MakeCalendarItem(task), id), S_OK);
  std::vector<OLMetaData> datas;
  ASSERT_EQ(outlook.GetMetaDatas(olTask, folder, datas, 1), S_OK);
  EXPECT_EQ(datas.at(0).keyText, u"") << "nobody compares it";
}

TEST_F(SubItemsTest, AFileOfTheFirstFormIsBroughtUpWhole) {
  const CalendarContent before = ContentOf(series);
  ASSERT_EQ(outlook.initialize(u"another"), 1);
  Execute(
      "DROP TABLE sub_items; ALTER TABLE contents DROP COLUMN entry_id;"
      "PRAGMA user_version=1");
  ASSERT_EQ(outlook.initialize(u""), 1) << outlook.lastError();
  EXPECT_EQ(ContentOf(series), before);
  EXPECT_EQ(Create(u"moved", kFirst).id, series + u"sub1");
  ASSERT_EQ(outlook.initialize(u"another"), 1);
  Execute("PRAGMA user_version=3");
  EXPECT_EQ(outlook.initialize(u""), 0);
  EXPECT_NE(outlook.lastError().find("newer version"), std::string::npos) << outlook.lastError();
}

TEST_F(SubItemsTest, ContentsThatWereMixedUpAreNeverHandedOut) {
  const std::u16string other = CreateSeries(u"other");
  const OLSubMetaData sub = Create(u"moved", kFirst);
  // As a damaged index leads astray: each row leads to the other's content, checksum and all.
  Execute(
      "UPDATE items SET number=-number; UPDATE items SET number=3+number;"
      "UPDATE items SET md5=(SELECT md5 FROM items AS o WHERE o.number=3-items.number);"
      "UPDATE sub_items SET entry_id=entry_id||'0'");
  ComPtr<IItemCommon> item;
  EXPECT_EQ(outlook.GetItem(olAppointment, other, item), E_FAIL);
  EXPECT_NE(outlook.lastError().find("not its own"), std::string::npos) << outlook.lastError();
  EXPECT_EQ(outlook.GetSubItem(olAppointment, sub, item), E_FAIL);
}

}  // namespace
}  // namespace qv::test

// Series and their exceptions through the engine.
#include <gtest/gtest.h>

#include "host/engine_rig.h"
#include "host/series_texts.h"

namespace qv {
namespace {

using test::Rig;

using test::Event;
using test::Exception;
using test::Series;

constexpr char kFirst[] = "20240331T150000Z";
constexpr char kSecond[] = "20240407T150000Z";

class EngineSeries : public testing::TestWithParam<const char*> {
 protected:
  EngineSeries() { rig.zone.Set(ParsePosixZone(GetParam())); }

  StoreReport Sync(DS_SYNCTYPE mode = DS_SYNCTYPE_NONE) {
    SyncOptions options;
    options.allowMassDelete = true;
    const StoreReport report = rig.Sync(mode, options);
    EXPECT_EQ(report.message, "");
    for (const ItemFailure& failure : report.failed) {
      ADD_FAILURE() << failure.side << " " << failure.item << ": " << failure.reason;
    }
    return report;
  }
  // Both sides hold these items, exceptions hang on their series, and there is nothing to do.
  void ExpectInStep(size_t items) {
    EXPECT_EQ(rig.PcItems().size(), items);
    EXPECT_EQ(rig.PcContents(), rig.PhoneContents());
    std::set<std::string> uids;
    for (const auto& [name, text] : rig.PhoneFiles()) {
      uids.insert(ToUtf8(CalendarOf(ReadItem(rig.kind, text).get())->fields.objUid));
    }
    for (const auto& [name, text] : rig.PhoneFiles()) {
      const auto item = ReadItem(rig.kind, text);
      const Calendar& calendar = *CalendarOf(item.get());
      if (calendar.isRecurring) continue;
      EXPECT_TRUE(uids.contains(ToUtf8(calendar.parentRecurUid))) << text;
    }
    const StoreReport again = Sync();
    for (const SideCounts& counts : {again.pc, again.phone}) {
      EXPECT_EQ(counts.added + counts.replaced + counts.deleted, 0);
    }
  }
  std::string PhoneText(const std::string& word) const {
    for (const auto& [name, text] : rig.PhoneFiles()) {
      if (text.find(word) != text.npos) return text;
    }
    return {};
  }
  std::string FileOf(const std::string& word) const {
    for (const auto& [name, text] : rig.PhoneFiles()) {
      if (text.find(word) != text.npos) return name;
    }
    return {};
  }
  // What the phone's user makes of a text.
  void PhoneEdit(const std::string& word, const std::string& from, const std::string& to) {
    std::string text = PhoneText(word);
    ASSERT_NE(text.find(from), text.npos) << text;
    text.replace(text.find(from), from.size(), to);
    rig.PhonePut(FileOf(word), text);
  }

  Rig rig{"calendar"};
};

// What the PC cannot hold rings when the event that was moved there rings.
TEST_P(EngineSeries, AlarmsOfThePhoneMoveWithTheEvent) {
  const auto event = [](const std::string& day, const std::string& alarms) {
    return test::Event("UID:a\r\nSUMMARY:meeting\r\nDTSTART:" + day + "T100000Z\r\nDTEND:" + day +
                       "T110000Z\r\n" + alarms);
  };
  const auto alarms = [](const std::string& day) {
    return "DALARM:" + day + "T094500Z;PT5M;2;soon\r\nAALARM:" + day + "T090000Z;;;bell\r\n";
  };
  rig.PhonePut("a.vcs", event("20240320", alarms("20240320")));
  Sync();
  const auto pc = rig.PcItems();
  ASSERT_EQ(pc.size(), 1u);
  EXPECT_NE(pc.begin()->second.find("AALARM:20240320T094500Z"), std::string::npos);
  rig.PcEdit(pc.begin()->first, event("20240426", "AALARM:20240426T093000Z\r\n"));
  Sync();
  const std::string text = PhoneText("meeting");
  EXPECT_NE(text.find("DALARM:20240426T093000Z;PT5M;2;soon\r\nAALARM:20240426T090000Z;;;bell\r\n"),
            text.npos)
      << text;
  EXPECT_EQ(text.find("X-QVBEGAN"), text.npos);
  const StoreReport again = Sync(DS_SYNCTYPE_SLOW);
  EXPECT_EQ(again.phone.replaced + again.pc.replaced + again.phone.added + again.pc.added, 0);
}

// Days are the same days wherever the computer is taken: nothing is written for it.
TEST_P(EngineSeries, AllDayItemsStayWhereTheyAreWhenTheZoneChanges) {
  const std::string lines = "DTSTART:20240310T000000\r\nDTEND:20240311T000000\r\nX-ALLDAY:1\r\n";
  rig.PhonePut("a.vcs", test::Event("UID:a\r\nSUMMARY:day\r\n" + lines));
  // As this program wrote it before, in Berlin.
  rig.PhonePut("b.vcs", test::Event("UID:b\r\nSUMMARY:old\r\nDTSTART:20240309T230000Z\r\n"
                                    "DTEND:20240310T230000Z\r\nX-ALLDAY:1\r\n"));
  rig.PhonePut("c.vcs", test::Event("UID:c\r\nSUMMARY:series\r\n" + lines +
                                    "RRULE:YM1 3 20300310T235959\r\n"
                                    "X-RECUR-ENTRY:1;20260310T000000Z\r\n"));
  rig.PcAdd(test::Event("SUMMARY:here\r\n" + lines));
  Sync();
  const auto phone = rig.PhoneFiles();
  const auto pc = rig.PcItems();
  ASSERT_EQ(phone.size(), 4u);
  for (const char* zone :
       {"NST3:30NDT,M3.2.0,M11.1.0", "<+1245>-12:45<+1345>,M9.5.0/2:45,M4.1.0/3:45",
        "EET-2EEST,M3.5.0/0,M10.5.0/0", "HST10"}) {
    SCOPED_TRACE(zone);
    rig.zone.Set(ParsePosixZone(zone));
    for (const DS_SYNCTYPE mode : {DS_SYNCTYPE_NONE, DS_SYNCTYPE_SLOW}) {
      const StoreReport report = Sync(mode);
      for (const SideCounts& counts : {report.pc, report.phone}) {
        EXPECT_EQ(counts.added + counts.replaced + counts.deleted, 0);
      }
    }
    EXPECT_EQ(rig.PhoneFiles(), phone);
    EXPECT_EQ(rig.PcItems(), pc);
    for (const auto& [id, text] : pc) EXPECT_NE(text.find("DTSTART:20240310T000000"), text.npos);
  }
}

TEST_P(EngineSeries, ComeFromThePhoneInAnyOrder) {
  rig.PhonePut("a-exception.vcs", Exception("moved", kFirst, "e1", "s1"));
  const StoreReport early = rig.Sync();
  ASSERT_EQ(early.failed.size(), 1u) << "its series is unknown";
  EXPECT_NE(early.failed[0].reason.find("of the series s1, which is not there"), std::string::npos);
  EXPECT_EQ(rig.PcItems().size(), 0u);
  EXPECT_NE(PhoneText("moved"), "") << "and it stays where it is";
  rig.PhonePut("b-series.vcs", Series("standup", "s1"));
  rig.PhonePut("0-exception.vcs", Exception("moved too", kSecond, "e2", "s1"));
  Sync();
  ExpectInStep(3);
  EXPECT_TRUE(IsSubItemId(rig.PcIdOf(Exception("moved", kFirst))));
  rig.PhonePut("c-exception.vcs", Exception("moved twice", kFirst, "e3", "s1"));
  const StoreReport twice = rig.Sync();
  ASSERT_EQ(twice.failed.size(), 1u);
  EXPECT_NE(twice.failed[0].reason.find("s1, which has another one of the same occurrence"),
            std::string::npos)
      << twice.failed[0].reason;
  EXPECT_EQ(twice.failed[0].name, "moved twice");
}

TEST_P(EngineSeries, MeetInASlowSyncAndTakeThePhonesUid) {
  const std::u16string series = rig.PcAdd(Series("standup"));
  rig.PcAddException(series, Exception("same", kFirst));
  rig.PhonePut("s.vcs", Series("standup", "phone-series"));
  rig.PhonePut("e1.vcs", Exception("same", kFirst, "e1", "phone-series"));
  rig.PhonePut("e2.vcs", Exception("new", kSecond, "e2", "phone-series"));
  const StoreReport report = Sync();
  EXPECT_EQ(report.mode, DS_SYNCTYPE_SLOW);
  EXPECT_EQ(report.pc.added, 1);
  EXPECT_EQ(report.phone.added + report.phone.replaced, 0);
  ExpectInStep(3);
}

TEST_P(EngineSeries, AnItemMayBecomeAnExceptionAndOneMayBreakFree) {
  rig.PhonePut("s.vcs", Series("standup", "s1"));
  rig.PhonePut("e.vcs", Exception("roving", kFirst, "e1", "s1"));
  Sync();
  PhoneEdit("roving", "X-PARENT-UID:s1\r\n", "");
  PhoneEdit("roving", std::string("X-RECUR-ENTRY:2;") + kFirst + "\r\n", "");
  Sync();
  EXPECT_EQ(rig.PcItems().size(), 2u);
  PhoneEdit("roving", "SUMMARY",
            std::string("X-PARENT-UID:s1\r\nX-RECUR-ENTRY:2;") + kSecond + "\r\nSUMMARY");
  Sync();
  ExpectInStep(2);
}

TEST_P(EngineSeries, ANewExceptionOfASeriesThatThePhoneDeletedStaysThereAndIsNamed) {
  rig.PhonePut("s.vcs", Series("standup", "s1"));
  Sync();
  rig.PhonePut("e.vcs", Exception("precious", kFirst, "e1", "s1"));
  rig.PhoneDelete("s.vcs");
  SyncOptions options;
  options.allowMassDelete = true;
  for (int round = 0; round < 2; ++round) {
    const StoreReport report = rig.Sync(DS_SYNCTYPE_NONE, options);
    ASSERT_EQ(report.failed.size(), 1u);
    EXPECT_EQ(report.failed[0].item, "e.vcs");
    EXPECT_NE(PhoneText("precious"), "");
  }
  rig.PhonePut("s.vcs", Series("standup", "s1"));
  Sync();
  ExpectInStep(2);
}

TEST_P(EngineSeries, ExceptionsMoveToOtherSeriesAndToOtherOccurrences) {
  rig.PhonePut("s.vcs", Series("standup", "s1"));
  rig.PhonePut("t.vcs", Series("review", "t1"));
  rig.PhonePut("e.vcs", Exception("roving", kFirst, "e1", "s1"));
  Sync();
  PhoneEdit("roving", "X-PARENT-UID:s1", "X-PARENT-UID:t1");
  Sync();
  Sync();  // the occurrence that it left is a deleted one
  ExpectInStep(3);
  // It moves on, and another takes its place.
  rig.PhonePut("e.vcs", Exception("roving", kSecond, "e1", "t1"));
  rig.PhonePut("f.vcs", Exception("following", kFirst, "f1", "t1"));
  Sync();
  ExpectInStep(4);
}

TEST_P(EngineSeries, ATouchedSeriesAndADeletedExceptionAreOneChange) {
  const std::u16string series = rig.PcAdd(Series("standup"));
  rig.PcAddException(series, Exception("moved", kFirst));
  Sync();
  const std::string text = PhoneText("standup");
  rig.PhonePut("renamed.vcs", text);
  rig.PhoneDelete(FileOf("standup") == "renamed.vcs" ? "none" : FileOf("standup"));
  rig.PhoneDelete(FileOf("moved"));
  Sync();
  ExpectInStep(1);
}

TEST_P(EngineSeries, AnEditInTheSecondOfTheLastChangeIsSeen) {
  const int64_t now = rig.clock.UtcSeconds();
  const std::u16string series = rig.PcAdd(Series("standup"));
  const std::u16string moved = rig.PcAddException(series, Exception("moved", kFirst));
  Sync();
  rig.clock.Set(now - 10);
  rig.PcEdit(moved, Exception("again", kFirst));
  Sync();
  EXPECT_NE(PhoneText("again"), "");
  ExpectInStep(2);
}

TEST_P(EngineSeries, ARuleThatThePcCannotHoldOutlivesItsEdits) {
  const std::string hourly = "RRULE:FREQ=HOURLY;INTERVAL=7\r\n";
  rig.PhonePut("s.vcs",
               test::Event("UID:s1\r\nSUMMARY:odd\r\nDTSTART:20240310T150000Z\r\n" + hourly));
  // The PC has the same, without its rule.
  rig.PcAdd(test::Event("SUMMARY:odd\r\nDTSTART:20240310T150000Z\r\nX-RECURRING:1\r\n"));
  EXPECT_EQ(Sync().matched, 1);
  const auto [id, text] = *rig.PcItems().begin();
  std::string edited = text;
  rig.PcEdit(id, edited.replace(edited.find("odd"), 3, "edited"));
  Sync();
  EXPECT_NE(PhoneText("edited").find(hourly), std::string::npos);
}

TEST_P(EngineSeries, OneWaySyncsLeaveWhatIsPendingPending) {
  const std::u16string series = rig.PcAdd(Series("standup"));
  const std::u16string moved = rig.PcAddException(series, Exception("moved", kFirst));
  Sync();
  rig.PcEdit(moved, Exception("edited", kFirst));
  PhoneEdit("standup", "standup", "renamed");
  Sync(DS_SYNCTYPE_ONEFROM_CLIENT);
  EXPECT_EQ(PhoneText("edited"), "");
  Sync();
  EXPECT_NE(PhoneText("edited"), "") << "the store noted the series' exceptions as agreed on";
  ExpectInStep(2);
  rig.PcEdit(series, Series("again"));
  rig.PcAddException(series, Exception("fresh", kSecond));
  PhoneEdit("edited", "edited", "on the phone");
  Sync(DS_SYNCTYPE_ONEFROM_CLIENT);
  Sync();
  EXPECT_NE(PhoneText("again"), "") << "the store noted the exception's series as agreed on";
  ExpectInStep(3);
  rig.PcAddException(series, Exception("fresher", "20240414T150000Z"));
  PhoneEdit("again", "again", "and again");
  Sync(DS_SYNCTYPE_ONEFROM_CLIENT);
  Sync();
  EXPECT_NE(PhoneText("fresher"), "");
  ExpectInStep(4);
}

// Times without a zone read otherwise elsewhere, and a weekday may be another one.
TEST_P(EngineSeries, WriteNothingWhenTheComputerHasMoved) {
  rig.PhonePut("floating.vcs", Event("SUMMARY:f\r\nDTSTART:20260302T090000\r\nRRULE:W1 MO #0\r\n"));
  rig.PhonePut("zoned.vcs", Event("SUMMARY:z\r\nDTSTART;TZID=Asia/Tokyo:20260302T050000\r\n"
                                  "RRULE:FREQ=WEEKLY;BYDAY=MO\r\n"));
  rig.PhonePut("utc.vcs", Series("u"));
  Sync();
  const auto files = rig.PhoneFiles();
  for (const char* zone : {"<+14>-14", "HST10", "JST-9", "UTC0"}) {
    SCOPED_TRACE(zone);
    rig.zone.Set(ParsePosixZone(zone));
    for (const DS_SYNCTYPE mode : {DS_SYNCTYPE_SLOW, DS_SYNCTYPE_TWO_NORMAL}) {
      const StoreReport report = Sync(mode);
      EXPECT_EQ(report.pc.replaced + report.phone.replaced + report.pc.added, 0);
      EXPECT_EQ(report.conflicts.size(), 0u);
      EXPECT_EQ(rig.PhoneFiles(), files);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Zones, EngineSeries, testing::ValuesIn(test::kSeriesZones),
                         [](const auto& info) { return std::string(info.param).substr(0, 3); });

}  // namespace
}  // namespace qv

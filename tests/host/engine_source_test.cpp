// What a sync takes for a change of the PC, and what it must not.
#include <gtest/gtest.h>

#include "host/engine_rig.h"
#include "platform/system/registry.h"
#include "support/date_time.h"

namespace qv {
namespace {

using test::CardText;
using test::Rig;

// Another profile of the PC's library, with folders of its own.
void ChooseOtherFolders(Rig& rig) {
  std::string conf = rig.folder.Get("profile/qvsync.conf").value();
  const auto set = [&](const std::string& key, const std::string& value) {
    const size_t at = conf.find("\n" + key + " =") + 1;
    conf.replace(at, conf.find('\n', at) - at, key + " = " + value);
  };
  set("Outlook.CurProfileName", "Other");
  {
    Profile profile(rig.profileFolder());
    OutlookManager other;
    ASSERT_TRUE(other.initialize(u"Other"));
    for (const StoreKind& kind : StoreKinds()) {
      if (kind.isTree) continue;
      set(std::string(kind.configName) + ".EntryId", ToUtf8(other.DefaultFolder(kind.pcKind)));
    }
  }
  rig.folder.Put("profile/qvsync.conf", conf);
}

TEST(EngineSource, AnotherFolderOfThePcDeletesNothing) {
  Rig rig;
  for (const char* name : {"Ann", "Ben", "Cleo"}) rig.PcAdd(CardText({.name = name}));
  ASSERT_EQ(rig.Sync().phone.added, 3);
  const auto before = rig.PhoneFiles();
  ChooseOtherFolders(rig);
  const PendingChanges pending = rig.Status().at(0);
  EXPECT_EQ(pending.pc.deleted, 0);
  EXPECT_NE(pending.note, "");
  // One way would have to take what is missing for deleted.
  const StoreReport oneWay = rig.Sync(DS_SYNCTYPE_ONEFROM_SERVER);
  EXPECT_EQ(oneWay.result, SyncResult::Refused);
  EXPECT_NE(oneWay.message.find("DataStore.Contact.EntryId"), std::string::npos) << oneWay.message;
  EXPECT_EQ(rig.PhoneFiles(), before);
  const StoreReport anew = rig.Sync();
  EXPECT_EQ(anew.mode, DS_SYNCTYPE_SLOW);
  EXPECT_NE(anew.note, "");
  EXPECT_EQ(rig.PhoneFiles(), before);
  EXPECT_EQ(rig.PcContents(), rig.PhoneContents());
  const StoreReport idle = rig.Sync();
  EXPECT_EQ(idle.mode, DS_SYNCTYPE_TWO_NORMAL);
  EXPECT_EQ(idle.note, "");
  EXPECT_EQ(idle.pc.added + idle.pc.deleted + idle.phone.added + idle.phone.deleted, 0);
}

// Local times in the hours around a change of the clocks are not the same again behind UTC.
TEST(EngineSource, WhatASlowSyncFoundEqualIsNoChangeOfThePcWhateverTheHour) {
  for (const int64_t hour : {0, 1, 2, 3, 4, 5, 6, 24, 240}) {
    SCOPED_TRACE(hour);
    Rig rig;
    test::FixedZone newYork("EST5EDT,M3.2.0,M11.1.0");
    rig.zone.Set(newYork.GetTimeZoneInformation());
    const int64_t start = 1'793'494'800;  // 31 October 2026, 21:00 there
    rig.clock.Set(start + hour * 3600);
    const std::u16string id = rig.PcAdd(CardText({.name = "Ann"}));
    rig.PhonePut("ann.vcf", CardText({.name = "Ann", .uid = "a1"}));
    ASSERT_EQ(rig.Sync().matched, 1);
    rig.PhonePut("ann.vcf",
                 CardText({.name = "Ann", .uid = "a1", .rev = "20260101T000000Z", .note = "new"}));
    const StoreReport report = rig.Sync();
    EXPECT_EQ(report.pcWon + report.phone.replaced, 0);
    EXPECT_EQ(rig.PcContents(), rig.PhoneContents());
    EXPECT_EQ(rig.PcItems().begin()->second,
              test::Content(CardText({.name = "Ann", .note = "new"}), true));
  }
}

}  // namespace
}  // namespace qv

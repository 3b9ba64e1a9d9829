// The date window of the calendar, through the engine.
#include <gtest/gtest.h>

#include "host/engine_rig.h"
#include "host/series_texts.h"

namespace qv {
namespace {

using test::Event;
using test::Rig;

class EngineFilter : public testing::Test {
 protected:
  void SetWindow(const std::string& since, const std::string& before) {
    constexpr const char* kConf = "profile/qvsync.conf";
    std::string text = rig.folder.Get(kConf).value();
    text.erase(std::min(text.size(), text.find("DataStore.Schedule.FilterRecordData")));
    if (!since.empty()) {
      text += "DataStore.Schedule.FilterRecordData = SINCE&EQ;" + since + "&AND;BEFORE&EQ;" +
              before + "\n";
    }
    rig.folder.Put(kConf, text);
  }
  static std::string On(const std::string& name, const std::string& day,
                        const std::string& more = {}) {
    return Event("SUMMARY:" + name + "\r\nDTSTART:" + day + "T100000Z\r\nDTEND:" + day +
                 "T110000Z\r\n" + more);
  }
  std::set<std::string> OnPhone() const { return Names(rig.PhoneContents()); }
  std::set<std::string> OnPc() { return Names(rig.PcContents()); }
  static std::set<std::string> Names(const std::multiset<std::string>& texts) {
    std::set<std::string> names;
    for (const std::string& text : texts) {
      const size_t from = text.find("SUMMARY:") + 8;
      names.insert(text.substr(from, text.find("\r\n", from) - from));
    }
    return names;
  }
  void ExpectIdle() {
    const StoreReport again = rig.Sync();
    for (const SideCounts& counts : {again.pc, again.phone}) {
      EXPECT_EQ(counts.added + counts.replaced + counts.deleted, 0);
    }
  }
  using Set = std::set<std::string>;

  Rig rig{"calendar"};
};

TEST_F(EngineFilter, WhatLeavesTheWindowLeavesThePhoneAloneAndComesBackWhole) {
  SetWindow("20240101T000000Z", "20241231T235959Z");
  rig.PcAdd(On("old", "20230601"));
  rig.PcAdd(test::Series("weekly"));
  rig.PhonePut("a.vcs", On("phone's", "20240601", "UID:u1\r\nX-PET:cat\r\n"));
  rig.PhonePut("b.vcs", On("outside", "20220601", "UID:u2\r\nX-PET:dog\r\n"));
  rig.Sync();
  EXPECT_EQ(OnPc(), (Set{"old", "weekly", "phone's", "outside"}));
  rig.Sync();
  EXPECT_EQ(OnPhone(), (Set{"weekly", "phone's"})) << "what is outside stays on the PC alone";
  ExpectIdle();
  const std::u16string id = rig.PcIdOf(On("phone's", "20240601"));
  rig.PcEdit(id, On("phone's", "20200101"));
  EXPECT_EQ(rig.Sync().phone.deleted, 1);
  EXPECT_EQ(OnPhone(), Set{"weekly"});
  EXPECT_EQ(OnPc().size(), 4u);
  ExpectIdle();
  rig.PcEdit(id, On("phone's", "20240901"));
  SetWindow("", "");
  rig.Sync();
  EXPECT_EQ(OnPhone(), OnPc());
  std::string all;
  for (const auto& [name, text] : rig.PhoneFiles()) all += text;
  for (const char* kept : {"UID:u1\r\n", "UID:u2\r\n", "X-PET:cat", "X-PET:dog"}) {
    EXPECT_NE(all.find(kept), all.npos) << kept;
  }
  ExpectIdle();
}

TEST_F(EngineFilter, ASlowSyncKnowsWhatTheFilterKeepsBack) {
  for (int i = 0; i < 3; ++i) rig.PcAdd(On("n" + std::to_string(i), "20230601"));
  rig.Sync();
  ASSERT_EQ(rig.PhoneFiles().size(), 3u);
  SetWindow("20240101T000000Z", "20241231T235959Z");
  SyncOptions options;
  options.allowMassDelete = true;
  rig.Sync(DS_SYNCTYPE_SLOW, options);
  rig.Sync(DS_SYNCTYPE_SLOW, options);
  EXPECT_EQ(rig.PcItems().size(), 3u) << "nothing is doubled";
  SetWindow("", "");
  rig.Sync(DS_SYNCTYPE_SLOW);
  EXPECT_EQ(rig.PcItems().size(), 3u);
  EXPECT_EQ(OnPhone(), OnPc());
  ExpectIdle();
}

TEST_F(EngineFilter, AChangeOfTheTextAloneIsNoMassDeletionWithoutSayingSo) {
  for (int i = 0; i < 20; ++i) rig.PcAdd(On("n" + std::to_string(i), "20230601"));
  rig.Sync();
  SetWindow("20240101T000000Z", "20241231T235959Z");
  EXPECT_EQ(rig.Status().front().leavePhone, 20);
  EXPECT_EQ(rig.Status().front().pc.deleted, 0);
  EXPECT_EQ(rig.Status().front().leavePhone, 20);
  EXPECT_EQ(rig.Status().front().pc.deleted, 0);
  const StoreReport refused = rig.Sync();
  EXPECT_NE(refused.message.find("filter"), std::string::npos) << refused.message;
  EXPECT_EQ(rig.PhoneFiles().size(), 20u);
  SyncOptions options;
  options.allowMassDelete = true;
  EXPECT_EQ(rig.Sync(DS_SYNCTYPE_NONE, options).phone.deleted, 20);
  EXPECT_EQ(rig.PcItems().size(), 20u);
  ExpectIdle();
}

}  // namespace
}  // namespace qv

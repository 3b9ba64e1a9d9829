// What a sync costs in waits for the disk and in calls of the system.
#include <gmock/gmock.h>

#include <algorithm>

#include "host/cli/adding.h"
#include "host/engine/runner.h"
#include "host/engine/transfer.h"
#include "host/engine_rig.h"
#include "kit/disk_waits.h"

namespace qv::test {
namespace {

constexpr int kItems = 1000;
constexpr int kMostWaits = 30;
constexpr int kMostCalls = 12;  // of one item
static_assert(kItems > static_cast<int>(kGroupItems), "more groups than one");

std::string Card(int number, const std::string& note) {
  const std::string name = "N" + std::to_string(number);
  return CardText(
      {.name = name, .uid = name + "@here", .note = note, .extra = "X-PET:dog " + name});
}

class EngineWaitsTest : public testing::Test {
 protected:
  EngineWaitsTest() {
    for (int i = 0; i < kItems; ++i) PutOnPhone(i, "");
  }
  ~EngineWaitsTest() override { onDiskWait = nullptr; }

  void PutOnPhone(int number, const std::string& note) {
    rig.PhonePut("c" + std::to_string(number) + ".vcf", Card(number, note));
  }

  template <class Body>
  static int WaitsOf(Body&& body) {
    int waits = 0;
    onDiskWait = [&](int, bool) { ++waits; };
    body();
    onDiskWait = nullptr;
    return waits;
  }

  // One sync that may wait only so often; "pc +0~0-0 phone +0~0-0".
  std::string Sync(const std::string& phone) {
    std::filesystem::create_directories(phone);
    Profile profile(rig.profileFolder());
    SyncOptions options;
    options.allowMassDelete = true;
    const auto sync = [&] { report = RunSync(profile, phone, {"contacts"}, options).stores.at(0); };
    EXPECT_LE(WaitsOf(sync), kMostWaits);
    EXPECT_EQ(report.result, SyncResult::Ok) << report.message;
    std::string text;
    for (const auto& [side, counts] : {std::pair{"pc", report.pc}, {" phone", report.phone}}) {
      text += std::string(side) + " +" + std::to_string(counts.added) + "~" +
              std::to_string(counts.replaced) + "-" + std::to_string(counts.deleted);
    }
    return text;
  }

  Rig rig;
  StoreReport report;
};

TEST_F(EngineWaitsTest, AThousandItemsWaitForTheDiskTogether) {
  const std::string other = rig.folder.File("other");
  EXPECT_EQ(Sync(rig.phoneFolder()), "pc +1000~0-0 phone +0~0-0");
  EXPECT_EQ(Sync(other), "pc +0~0-0 phone +1000~0-0");
  rig.clock.Set(2'000'000'000);  // the PC's changes are later
  for (int i = 0; i < 300; ++i) PutOnPhone(i, "changed on the phone");
  for (int i = 300; i < 600; ++i) rig.PhoneDelete("c" + std::to_string(i) + ".vcf");
  for (int i = 0; i < 40; ++i) {
    rig.PcEdit(rig.PcIdOf(Card(i, "")), Card(i, "changed on the PC"));
  }
  EXPECT_EQ(Sync(rig.phoneFolder()), "pc +0~260-300 phone +0~40-0");
  EXPECT_EQ(report.conflicts.size(), 40u);
  EXPECT_EQ(Sync(other), "pc +0~0-0 phone +0~300-300");
}

TEST_F(EngineWaitsTest, WhatFilesBringWaitsTogetherHoweverManyThereAre) {
  constexpr int kFiles = 50;
  std::vector<FileJob> jobs;
  for (int i = 0; i < kItems; ++i) {
    const std::string name = "in/" + std::to_string(i % kFiles) + ".vcf";
    const std::string before = i < kFiles ? "" : *rig.folder.Get(name);
    rig.folder.Put(name, before + Card(i, ""));
    if (i >= kFiles) continue;
    FileJob& job = jobs.emplace_back();
    job.row = FindFileStore(FileFormat::VCard, "contacts");
    job.folder = rig.folder.ModulePath(u"in");
    job.fileNames = FromUtf8(name.substr(3));
    job.places.resize(kItems / kFiles, "card");
  }
  const std::string other = rig.folder.File("other");
  std::filesystem::create_directories(other);
  Profile profile(rig.profileFolder());
  EXPECT_LE(WaitsOf([&] { EXPECT_EQ(RunImport(profile, other, jobs, {}).result, SyncResult::Ok); }),
            kMostWaits);
  EXPECT_EQ(std::ranges::count_if(
                rig.folder.Names(),
                [](const std::string& name) { return name.starts_with("other/contacts/"); }),
            kItems);

  Changes changes(true, "added");
  const auto pc = PcFolder::Open(profile, *FindStoreKind("contacts"));
  const auto add = [&] {
    GroupedChanges group(*pc, changes);
    Adding adding(*pc, group);
    for (const auto& [name, text] : rig.PhoneFiles()) adding.AddFile(rig.collection() + "/" + name);
    group.Settle();
  };
  EXPECT_LE(WaitsOf(add), kMostWaits);
  EXPECT_EQ(pc->Count(), kItems);
}

TEST_F(EngineWaitsTest, AnItemOfAFirstSyncFromThePhoneTakesFewCalls) {
  const int64_t calls = CountSystemCalls([&] { rig.Sync(); });
  if (calls < 0) GTEST_SKIP() << "no process may be traced here";
  EXPECT_EQ(rig.PcItems().size(), static_cast<size_t>(kItems));
  EXPECT_LE(calls, kMostCalls * kItems);
  EXPECT_GT(calls, kItems) << "they were not counted";
}

}  // namespace
}  // namespace qv::test

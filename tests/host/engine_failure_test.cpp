// One small sync, spoilt at every step; the run after it heals everything.
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>

#include "host/engine_rig.h"
#include "host/series_texts.h"
#include "host/tree_rig.h"
#include "kit/disk_waits.h"
#include "kit/file_size_limit.h"
#include "support/date_time.h"

namespace qv {
namespace {

using test::CardParts;
using test::CardText;
using test::Content;
using test::FailingFiles;
using test::Rig;

// The same items in the end, after a sync that has everything to do: `Known` has synced before
// and changed on both sides in every way, `Unknown` never has and holds much on both sides.
// `Series` is known, and a calendar of series with exceptions; `Tree` is known, and bookmarks.
enum class Meeting { Known, Unknown, Series, Tree };

class Scene : public Rig {
 public:
  using Rig::Rig;
  virtual ~Scene() = default;

  // `prepare` runs when the profile is open.
  void RunOnce(const std::function<void()>& prepare = [] {}) {
    Profile profile(profileFolder());
    prepare();
    RunSync(profile, phoneFolder(), {std::string(kind.name)}, {});
  }
  void ExpectHealed(const std::string& after) {
    const StoreReport healed = Sync();
    EXPECT_EQ(healed.result, SyncResult::Ok) << after << ": " << healed.message;
    for (const ItemFailure& failure : healed.failed) {
      ADD_FAILURE() << after << ": " << failure.item << " " << failure.reason;
    }
    ExpectEnd(after);
    const StoreReport quiet = Sync();
    EXPECT_EQ(quiet.pc.added + quiet.pc.replaced + quiet.pc.deleted, 0) << after;
    EXPECT_EQ(quiet.phone.added + quiet.phone.replaced + quiet.phone.deleted, 0) << after;
  }

 private:
  virtual void ExpectEnd(const std::string& after) = 0;
};

class Contacts final : public Scene {
 public:
  explicit Contacts(Meeting meeting) {
    meeting == Meeting::Known ? Disturb() : FillBoth();
    Keep();
  }

 private:
  void ExpectEnd(const std::string& after) override {
    std::multiset<std::string> expected;
    for (const auto& [name, note] : {std::pair{"pcEdit", "new"},
                                     {"phoneEdit", "new"},
                                     {"conflict", "newer"},
                                     {"sameEdit", "both"},
                                     {"pcNew", ""},
                                     {"bothNew", ""},
                                     {"phoneNew", ""},
                                     {"extra", ""}}) {
      expected.insert(Content(CardText({.name = name, .note = note}), true));
    }
    EXPECT_EQ(PcContents(), expected) << after;
    EXPECT_EQ(PhoneContents(), expected) << after;
    std::string phone;
    for (const auto& [name, text] : PhoneFiles()) phone += text;
    for (const char* pet : {"X-PET:dog", "X-PET:owl", "X-PET:fox"}) {
      EXPECT_THAT(phone, testing::HasSubstr(pet)) << after;
    }
    EXPECT_THAT(ConflictTexts(), testing::Contains(testing::HasSubstr("NOTE:older"))) << after;
  }

  void Disturb() {
    for (const char* name :
         {"pcEdit", "phoneEdit", "pcGone", "phoneGone", "conflict", "sameEdit"}) {
      ids_[name] = PcAdd(CardText({.name = name}));
    }
    PhonePut("extra.vcf", CardText({.name = "extra", .uid = "extra", .extra = "X-PET:cat"}));
    EXPECT_EQ(Sync().result, SyncResult::Ok);
    PcEdit(ids_["pcEdit"], CardText({.name = "pcEdit", .note = "new"}));
    PcEdit(ids_["conflict"], CardText({.name = "conflict", .note = "older"}));
    PcEdit(ids_["sameEdit"], CardText({.name = "sameEdit", .note = "both"}));
    PcDelete(ids_["pcGone"]);
    PcAdd(CardText({.name = "pcNew"}));
    PcAdd(CardText({.name = "bothNew"}));
    PhonePut("bothNew.vcf", CardText({.name = "bothNew", .extra = "X-PET:dog"}));
    PhonePut("phoneNew.vcf", CardText({.name = "phoneNew", .extra = "X-PET:owl"}));
    PhoneDelete(FileOf("phoneGone"));
    PhoneEdit("phoneEdit", "new");
    PhoneEdit("conflict", "newer");
    PhoneEdit("sameEdit", "both");
    PhonePut("extra.vcf", CardText({.name = "extra", .uid = "extra", .extra = "X-PET:fox"}));
  }

  void FillBoth() {
    const CardParts pc[] = {{.name = "pcEdit", .note = "new"},
                            {.name = "pcNew"},
                            {.name = "conflict", .note = "older"},
                            {.name = "sameEdit", .note = "both"},
                            {.name = "bothNew"},
                            {.name = "extra"}};
    for (const CardParts& card : pc) PcAdd(CardText(card));
    const CardParts phone[] = {
        {.name = "phoneEdit", .uid = "1", .note = "new"},
        {.name = "phoneNew", .extra = "X-PET:owl"},
        {.name = "conflict", .uid = "2", .rev = "20300101T000000Z", .note = "newer"},
        {.name = "sameEdit", .uid = "3", .note = "both"},
        {.name = "bothNew", .extra = "X-PET:dog"},
        {.name = "extra", .uid = "4", .extra = "X-PET:fox"}};
    for (const CardParts& card : phone) PhonePut(card.name + ".vcf", CardText(card));
  }

  std::string FileOf(const std::string& name) const {
    for (const auto& [file, text] : PhoneFiles()) {
      if (text.find("\nFN:" + name + "\r") != text.npos) return file;
    }
    return {};
  }
  void PhoneEdit(const std::string& name, const std::string& note) {
    clock.Advance(100);
    Contact contact = *ParseVCard(PhoneFiles().at(FileOf(name)));
    contact.note = FromUtf8(note);
    contact.fields.objModified = DateFromUnixSeconds(clock.UtcSeconds());
    PhonePut(FileOf(name), WriteVCard(contact));
  }

  std::map<std::string, std::u16string> ids_;
};

class SeriesScene final : public Scene {
 public:
  SeriesScene() : Scene("calendar") {
    for (const char* name : {"kept", "phoneEdit", "pcGone"}) {
      ids_[name] = PcAdd(test::Series(name));
      PcAddException(ids_[name], test::Exception(std::string(name) + "-moved", kFirst));
    }
    ids_["dropped"] = PcAddException(ids_["kept"], test::Exception("dropped", kSecond));
    EXPECT_EQ(Sync().result, SyncResult::Ok);
    clock.Advance(100);
    PcDelete(ids_["dropped"]);
    PcDelete(ids_["pcGone"]);
    PcEdit(PcIdOf(test::Exception("phoneEdit-moved", kFirst)), test::Exception("pcEdit", kFirst));
    const std::u16string added = PcAdd(test::Series("pcNew"));
    PcAddException(added, test::Exception("pcNew-moved", kFirst));
    std::string uid;
    for (const auto& [file, text] : PhoneFiles()) {
      if (text.find("SUMMARY:phoneEdit\r") == text.npos) continue;
      const size_t from = text.find("UID:") + 4;
      uid = text.substr(from, text.find('\r', from) - from);
      PhonePut(file, test::Series("renamed", uid));
    }
    PhonePut("e.vcs", test::Exception("phoneNew", kSecond, "e", uid));
    Keep();
  }

 private:
  void ExpectEnd(const std::string& after) override {
    const std::string deleted = std::string("X-RECUR-ENTRY:1;") + kSecond + "\r\n";
    std::multiset<std::string> expected;
    for (const std::string& text :
         {test::Series("kept", {}, deleted), test::Exception("kept-moved", kFirst),
          test::Series("renamed"), test::Exception("pcEdit", kFirst),
          test::Exception("phoneNew", kSecond), test::Series("pcNew"),
          test::Exception("pcNew-moved", kFirst)}) {
      expected.insert(Content(text, true, kind));
    }
    EXPECT_EQ(PcContents(), expected) << after;
    EXPECT_EQ(PhoneContents(), expected) << after;
  }

  static constexpr char kFirst[] = "20240331T150000Z";
  static constexpr char kSecond[] = "20240407T150000Z";
  std::map<std::string, std::u16string> ids_;
};

class TreeScene final : public test::TreeUsers<Scene> {
 public:
  TreeScene() {
    PcPut("Work/News.url", "http://news/");
    PcPut("Work/Deep/Note.url", "http://note/");
    PcPut("Gone/Old.url", "http://old/");
    PcPut("Top.url", "http://top/");
    PhonePut("Kept/k.vbm", "Kept", "http://kept/", "X-PET:cat\r\n");
    PcPut("A.url", "http://a/");
    PcPut("B.url", "http://b/");
    EXPECT_EQ(Sync().result, SyncResult::Ok);
    Move(PhonePath("Work"), PhonePath("Office"));
    Move(PhonePath("Top.vbm"), PhonePath("Office/Top.vbm"));
    Move(PhonePath("A.vbm"), PhonePath("C.vbm"));
    Move(PhonePath("B.vbm"), PhonePath("A.vbm"));
    Move(PhonePath("C.vbm"), PhonePath("B.vbm"));
    PcPut("A.url", "http://a/2");
    PhonePut("Office/Deep/fresh.vbm", "Fresh", "http://fresh/");
    Remove(PhonePath("Gone"));
    PcPut("Work/Deep/Note.url", "http://note/2");
    PcPut("Mine/More/m.url", "http://mine/");
    Move(PcPath("Kept/Kept.url"), PcPath("Mine/Hold.url"));
    Remove(PcPath("Kept"));
    Keep();
  }

 private:
  void ExpectEnd(const std::string& after) override {
    const std::multiset<std::string> expected = {"Office/",
                                                 "Office/News -> http://news/",
                                                 "Office/Top -> http://top/",
                                                 "A -> http://a/2",
                                                 "B -> http://b/",
                                                 "Office/Deep/",
                                                 "Office/Deep/Note -> http://note/2",
                                                 "Office/Deep/Fresh -> http://fresh/",
                                                 "Mine/",
                                                 "Mine/Hold -> http://kept/",
                                                 "Mine/More/",
                                                 "Mine/More/m -> http://mine/"};
    EXPECT_EQ(PcTree(), expected) << after;
    EXPECT_EQ(PhoneTree(), expected) << after;
  }
};

std::unique_ptr<Scene> MakeScene(Meeting meeting) {
  if (meeting == Meeting::Tree) return std::make_unique<TreeScene>();
  if (meeting == Meeting::Series) return std::make_unique<SeriesScene>();
  return std::make_unique<Contacts>(meeting);
}

// Runs with a database object that was prepared; false when that object failed nothing. The run
// calls its argument when the profile is open.
bool WithDatabase(const std::function<void(test::RecordingAccessor&)>& prepare,
                  const std::function<void(const std::function<void()>&)>& run) {
  ComPtr<test::RecordingAccessor> made;
  ClassCreator before;
  run([&] {
    before = RegisterClass(CLSID_DBAccessor, [&] {
      made = MakeObject<test::RecordingAccessor>();
      prepare(*made);
      made->AddRef();  // for the creator's caller
      return CreatedObject{made.get()};
    });
  });
  RegisterClass(CLSID_DBAccessor, before);
  return made->hasFailed();
}
bool SyncWith(Scene& rig, const std::function<void(test::RecordingAccessor&)>& prepare) {
  return WithDatabase(prepare, [&](const auto& opened) { rig.RunOnce(opened); });
}

class EngineFailureTest : public testing::TestWithParam<Meeting> {
 protected:
  const std::unique_ptr<Scene> scene_ = MakeScene(GetParam());
  Scene& rig = *scene_;
};
constexpr const char* kMeetings[] = {"Known", "Unknown", "Series", "Tree"};
INSTANTIATE_TEST_SUITE_P(All, EngineFailureTest,
                         testing::Values(Meeting::Known, Meeting::Unknown, Meeting::Series,
                                         Meeting::Tree),
                         [](const auto& test) { return kMeetings[static_cast<int>(test.param)]; });

TEST_P(EngineFailureTest, AFailedStatementAnywhereIsHealedByTheNextRun) {
  size_t n = 0;
  for (bool failed = true; failed; ++n) {
    rig.Restore();
    failed = SyncWith(rig, [n](test::RecordingAccessor& db) { db.FailAt(n); });
    rig.ExpectHealed("statement " + std::to_string(n));
  }
  EXPECT_GT(n, 50u);
}

// A group of new items of which one fails in every possible way: each is there and counted, or is
// named.
TEST(EngineGroupTest, AnItemThatFailsTakesNoOtherWithIt) {
  constexpr size_t kCards = 5;
  for (const bool toPc : {true, false}) {
    Rig rig;
    for (size_t i = 0; i < kCards; ++i) {
      const std::string text = CardText({.name = "N" + std::to_string(i), .extra = "X-PET:cat"});
      if (toPc) {
        rig.PhonePut("c" + std::to_string(i) + ".vcf", text);
      } else {
        rig.PcAdd(text);
      }
    }
    rig.Keep();
    FailingFiles files;
    files.Watch([](const FailingFiles::Call& call) {
      return FailingFiles::IsChange(call) && call.path.find(".vcf") != call.path.npos;
    });
    bool wasPartial = false;
    bool failed = true;
    for (size_t n = 0; failed; ++n) {
      rig.Restore();
      StoreReport report;
      const auto sync = [&](const std::function<void()>& opened) {
        Profile profile(rig.profileFolder());
        opened();
        report = RunSync(profile, rig.phoneFolder(), {"contacts"}, {}).stores.at(0);
      };
      if (toPc) {
        failed = WithDatabase([n](test::RecordingAccessor& db) { db.FailAt(n); }, sync);
      } else {
        const ScopedService<Files> use(files);
        sync([&] { files.FailAt(n, EIO); });
        failed = files.hasFailed();
      }
      const size_t there = toPc ? rig.PcContents().size() : rig.PhoneFiles().size();
      const auto counted = static_cast<size_t>((toPc ? report.pc : report.phone).added);
      EXPECT_LE(counted, there) << n;
      if (report.result == SyncResult::Failed) continue;
      EXPECT_EQ(counted, there) << n;
      std::set<std::string> named;
      for (const ItemFailure& failure : report.failed) named.insert(failure.item);
      EXPECT_EQ(named.size() + there, kCards) << n;
      wasPartial |= report.result == SyncResult::Partial;
    }
    EXPECT_TRUE(wasPartial);
  }
}

// Not with a known phone: a store whose last agreement ends early says so to nobody, and what went
// on one side comes back.
TEST(EngineRowFailureTest, AFailedReadOfARowAnywhereIsHealedByTheNextRun) {
  Contacts rig(Meeting::Unknown);
  size_t n = 0;
  for (bool failed = true; failed; ++n) {
    rig.Restore();
    failed = SyncWith(rig, [n](test::RecordingAccessor& db) { db.FailMoveAt(n); });
    rig.ExpectHealed("move " + std::to_string(n));
  }
}

TEST_P(EngineFailureTest, ADatabaseThatGoesAwayAnywhereIsHealedByTheNextRun) {
  size_t n = 0;
  for (bool failed = true; failed; ++n) {
    rig.Restore();
    failed = SyncWith(rig, [n](test::RecordingAccessor& db) { db.FailAt(n, E_FAIL, true); });
    rig.ExpectHealed("from statement " + std::to_string(n));
  }
}

// Each is a moment between what one group has noted and what the next one would.
TEST_P(EngineFailureTest, AFailedTransactionAnywhereIsHealedByTheNextRun) {
  size_t n = 0;
  for (bool failed = true; failed; ++n) {
    rig.Restore();
    failed = SyncWith(rig, [n](test::RecordingAccessor& db) { db.FailTransactionAt(n); });
    rig.ExpectHealed("from transaction " + std::to_string(n));
  }
  EXPECT_GT(n, 4u);
}

TEST_P(EngineFailureTest, AFailedFileOperationAnywhereIsHealedByTheNextRun) {
  for (const bool keepFailing : {false, true}) {
    FailingFiles files;
    size_t n = 0;
    do {
      rig.Restore();
      std::optional<ScopedService<Files>> use;
      rig.RunOnce([&] {
        use.emplace(files);
        files.FailAt(n, keepFailing ? ENOSPC : EIO, keepFailing);
      });
      use.reset();
      rig.ExpectHealed("file operation " + std::to_string(n) + (keepFailing ? " and on" : ""));
      ++n;
    } while (files.hasFailed());
    EXPECT_GT(n, 20u);
  }
}

// Of the databases' logs and the phone's files, one after the other grows too long.
TEST_P(EngineFailureTest, AFullDiskAnywhereIsHealedByTheNextRun) {
  for (rlim_t bytes = 100; bytes < 1'000'000; bytes += bytes / 3) {
    rig.Restore();
    std::optional<test::FileSizeLimit> limit;
    rig.RunOnce([&] { limit.emplace(bytes); });
    limit.reset();
    rig.ExpectHealed("full at " + std::to_string(bytes));
  }
}

// Kills this process after so many of the calls that a sync makes all the time.
class Killer final : public Clock, public Md5Provider {
 public:
  // With a disk, its power goes at the same moment.
  Killer(Clock& clock, size_t calls, test::LossyDisk* disk)
      : clock_(clock), calls_(calls), disk_(disk) {
    files_.Watch([this](const FailingFiles::Call&) {
      Count();
      return false;
    });
    test::onDiskWait = [this](int fd, bool wholeFileSystem) {
      Count();
      if (disk_) disk_->Wait(fd, wholeFileSystem);
    };
  }
  int64_t UtcSeconds() override {
    Count();
    return clock_.UtcSeconds();
  }
  SystemTime LocalTime() override { return clock_.LocalTime(); }
  std::optional<Md5Digest> Digest(std::string_view bytes) override {
    Count();
    return Md5Provider::Default().Digest(bytes);
  }

 private:
  void Count() const {
    if (calls_-- != 0) return;
    if (disk_) disk_->Cut();
    kill(getpid(), SIGKILL);
  }

  Clock& clock_;
  mutable size_t calls_;
  test::LossyDisk* disk_;
  FailingFiles files_;
  ScopedService<Files> useFiles_{files_};
  ScopedService<Clock> useClock_{*this};
  ScopedService<Md5Provider> useMd5_{*this};
};

// Also one that takes with it what was not waited for.
TEST_P(EngineFailureTest, AKillAnywhereIsHealedByTheNextRun) {
  size_t n = 0;
  bool withPower = false;
  for (bool killed = true; killed; n += !withPower) {
    withPower = !withPower;
    rig.Restore();
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      test::LossyDisk disk(rig.folder.path());
      Killer killer(rig.clock, n, withPower ? &disk : nullptr);
      rig.RunOnce();
      _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    killed = WIFSIGNALED(status);
    ASSERT_TRUE(killed || WEXITSTATUS(status) == 0);
    rig.ExpectHealed("call " + std::to_string(n) + (withPower ? " and power" : ""));
  }
  EXPECT_GT(n, 60u);
}

}  // namespace
}  // namespace qv

#include <gtest/gtest.h>

#include "framework/store_base.h"
#include "kit/accessor_fakes.h"
#include "kit/engine_bag.h"
#include "kit/platform_fakes.h"
#include "platform/com/class_factory.h"
#include "platform/com/lists.h"

namespace qv {
namespace {

constexpr StoreIdentity kIdentities[kFamilies] = {
    {StoreFamily::Pim, u"CPim", u"DataStore.Contact"},
    {StoreFamily::Favorites, u"CFav", u"DataStore.Bookmark"},
    {StoreFamily::Chrome, u"CChr", u"DataStore.Bookmark"},
    {StoreFamily::AddressBook, u"CAdr", u"DataStore.WindowsContact"},
    {StoreFamily::ImportExport, u"CIE", u"DataStore.IEVCard"},
    {StoreFamily::Backup, u"CBR", u"DataStore.BRContact"},
};

// A store whose real operations all answer with one code that no stub uses.
constexpr HRESULT kReached = -0x1234;

class BareStore final : public StoreBase {
 public:
  explicit BareStore(StoreFamily family) : BareStore(kIdentities[static_cast<size_t>(family)]) {}
  explicit BareStore(const StoreIdentity& identity) : StoreBase(identity) {}
  HRESULT initializeResult = S_OK;

 private:
  HRESULT OnInitialize() override { return initializeResult; }
  ComPtr<IItemCommon> OnParse(const IncomingText&) override { return nullptr; }
  HRESULT OnAdd(const IncomingText&, std::u16string&) override { return kReached; }
  HRESULT OnGet(const std::u16string&, bool, OutgoingItem&) override { return kReached; }
  HRESULT OnReplace(const std::u16string&, const IncomingText&) override { return kReached; }
  HRESULT OnDelete(const std::u16string&, bool) override { return kReached; }
  HRESULT OnGetAllUid(std::vector<std::u16string>&) override { return kReached; }
  HRESULT OnDeleteAll() override { return kReached; }
  HRESULT OnPrepareSlowSync() override { return kReached; }
  HRESULT OnProcessDuplication(const IncomingText&, DuplicateAnswer&) override { return kReached; }
  HRESULT OnProcessConflict(const IncomingText&, const std::u16string&,
                            RESV_CONFLTLASTMODIFIED&) override {
    return kReached;
  }
  HRESULT OnSentCommand(SENTCMD_TYPE, const std::u16string&, std::u16string_view, bool) override {
    return kReached;
  }
  HRESULT OnProcessOccurrence(const std::u16string&, OccurrenceAnswer&) override {
    return kReached;
  }
  HRESULT OnIsFolder(const std::u16string&, bool&) override { return kReached; }
  HRESULT OnGetParent(const std::u16string&, std::u16string&) override { return kReached; }
  HRESULT OnGetChildren(const std::u16string&, ComPtr<IUnknown>&) override { return kReached; }
};

class StubTable : public testing::TestWithParam<StoreFamily> {
 protected:
  StubTable() {
    RegisterListClasses();
    store = MakeObject<BareStore>(GetParam());
  }
  // What a slot answers: R for the store's own, F for E_FAIL, O for S_OK.
  static char Letter(HRESULT result) {
    return result == kReached ? 'R' : result == E_FAIL ? 'F' : result == S_OK ? 'O' : '?';
  }

  test::RecordingLog log;
  ScopedService<DebugLog> useLog{log};
  ComPtr<BareStore> store;
  Bstr uid{u"1"};
  Bstr type{u"text/x-vCard"};
  ComPtr<IUnknown> data = MakeObject<UnkList>();
};

TEST_P(StubTable, EachOperationIsRealOrAnswersFromItsRow) {
  Bstr text;
  ComPtr<IUnknown> object;
  BOOL flag = 7;
  auto winner = RESV_CONFLTLASTMODIFIED_IGNORE;
  std::string row;
  row += Letter(store->Replace(uid, data.get(), type, kFalse, nullptr, text.Out()));
  row += Letter(store->Delete(uid, kFalse));
  row += Letter(store->GetAllUid(object.Out()));
  row += Letter(store->DeleteAll());
  row += Letter(store->PrepareSlowSync());
  row += Letter(store->ProcessDuplication(nullptr, data.get(), type, text.Out(), &winner, &flag));
  EXPECT_EQ(flag, kFalse);
  EXPECT_EQ(winner, RESV_CONFLTLASTMODIFIED_IGNORE) << "written without a comparison";
  row += Letter(store->ProcessConflictLastModified(data.get(), type, uid, &winner));
  EXPECT_EQ(winner, RESV_CONFLTLASTMODIFIED_NONE);
  row += Letter(store->OnProcesseSentCmdSuccess(SENTCMD_ADD, uid, nullptr, kFalse));
  flag = 7;
  row += Letter(store->IsFolder(uid, &flag));
  EXPECT_EQ(flag, kFalse);
  row += Letter(store->GetParentUid(uid, text.Out()));
  EXPECT_NE(text.get(), nullptr) << "an empty text, not a null one";
  row += Letter(store->GetSubUids(uid, object.Out()));
  EXPECT_FALSE(object);
  flag = 7;
  row += Letter(store->ProcessConflictSubRecur(uid, text.Out(), &flag));
  EXPECT_EQ(flag, kFalse);

  static const std::map<StoreFamily, std::string> kExpected = {
      {StoreFamily::Pim, "RRRRRRRROOOR"},          {StoreFamily::Favorites, "RRRRRRRRRRRO"},
      {StoreFamily::Chrome, "RRRFRRRROROO"},       {StoreFamily::AddressBook, "RRRRRRRROOOO"},
      {StoreFamily::ImportExport, "FFFOFFFOOOOO"}, {StoreFamily::Backup, "FFROFFFOOOOO"},
  };
  EXPECT_EQ(row, kExpected.at(GetParam()));
}

TEST_P(StubTable, NullArgumentsComeFirst) {
  Bstr text;
  BOOL flag = 7;
  auto winner = RESV_CONFLTLASTMODIFIED_IGNORE;
  EXPECT_EQ(store->Add(nullptr, type, nullptr, text.Out()), E_POINTER);
  EXPECT_EQ(store->Add(data.get(), nullptr, nullptr, text.Out()), E_POINTER);
  EXPECT_EQ(store->CachParseData(nullptr, nullptr, data.get()), E_POINTER);
  EXPECT_EQ(store->Move(nullptr, nullptr), E_NOTIMPL);
  EXPECT_EQ(store->SetUserKey(nullptr), S_OK);
  EXPECT_EQ(store->SetTargetKey(nullptr), E_POINTER);
  EXPECT_EQ(store->SetDBAccessor(nullptr), E_POINTER);
  EXPECT_EQ(store->SetOutlookMgr(nullptr), GetParam() == StoreFamily::Pim ? E_POINTER : S_OK);
  EXPECT_EQ(store->IsFolder(nullptr, &flag), E_POINTER);
  EXPECT_EQ(store->GetParentUid(nullptr, text.Out()),
            GetParam() == StoreFamily::Chrome ? kReached : E_POINTER)
      << "one family has the same parent for whatever it is asked";
  EXPECT_EQ(store->GetSubUids(uid, nullptr), E_POINTER);
  EXPECT_EQ(store->ProcessConflictSubRecur(nullptr, text.Out(), &flag), E_POINTER);
  EXPECT_EQ(store->Replace(nullptr, data.get(), type, kFalse, nullptr, text.Out()), E_POINTER);
  EXPECT_EQ(store->Delete(nullptr, kFalse), E_POINTER);
  EXPECT_EQ(store->ProcessConflictLastModified(nullptr, type, uid, &winner), E_POINTER);
  EXPECT_EQ(winner, RESV_CONFLTLASTMODIFIED_IGNORE);
  EXPECT_EQ(store->GetCachedParseData(nullptr), E_POINTER);
  EXPECT_EQ(store->IsChangelogCreateByStatusDB(nullptr), E_POINTER);
  EXPECT_EQ(store->IsChangelogCreateByStatusDB(&flag), S_OK);
  EXPECT_EQ(flag, kTrue);
}

TEST_P(StubTable, InitializeLogsLoadsOnceAndKeepsTheBagOnlyWithIt) {
  EXPECT_EQ(store->Initialize(nullptr), E_FAIL) << "the one null that is no E_POINTER";
  const auto bag = MakeObject<test::MemoryBag>();
  store->initializeResult = E_FAIL;
  EXPECT_EQ(store->Initialize(bag.get()), E_FAIL);
  store->initializeResult = S_OK;
  EXPECT_EQ(store->Initialize(bag.get()), S_OK);
  bag->reads.clear();
  EXPECT_EQ(store->Initialize(bag.get()), DS_S_ALREADY_INITIALIZED);
  EXPECT_TRUE(bag->reads.empty());
  const std::u16string head =
      u"[QVSyncEngine] " + std::u16string(kIdentities[static_cast<size_t>(GetParam())].className) +
      u"::Initialize() ";
  EXPECT_EQ(log.Count(head + u"Start"), 4u);
  EXPECT_EQ(log.Count(head + u"End"), 1u);
}

TEST(StoreAccessor, MustBeOneAndHaveASession) {
  const auto store = MakeObject<BareStore>(StoreFamily::Pim);
  const auto db = test::OpenRecorder();
  int32_t session = 0;
  Check(db->GetSessionId(&session));
  EXPECT_EQ(store->SetDBAccessor(Query<IUnknown>(db).get()), S_OK);
  EXPECT_EQ(store->SetDBAccessor(MakeObject<UnkList>().get()), E_FAIL) << "no accessor";
  Check(db->EndSession(session));
  EXPECT_EQ(store->SetDBAccessor(Query<IUnknown>(db).get()), E_FAIL) << "session 0";
}

// What a store tells the log has no say in what it does.
TEST(StoreLog, OneThatThrowsHarmsNoSlot) {
  struct : DebugLog {
    void Write(std::u16string_view) override { throw StatusError(E_NOTIMPL); }
  } log;
  ScopedService<DebugLog> useLog(log);
  static constexpr StoreIdentity kTalks = {.family = StoreFamily::Pim,
                                           .className = u"CTalks",
                                           .configName = u"DataStore.Task",
                                           .duplicationStart = u"Start"};
  const auto store = MakeObject<BareStore>(kTalks);
  EXPECT_EQ(store->Initialize(MakeObject<test::MemoryBag>().get()), S_OK);
  Bstr match;
  BOOL found = 7;
  const ComPtr<IUnknown> data = MakeObject<UnkList>();
  EXPECT_EQ(
      store->ProcessDuplication(nullptr, data.get(), Bstr(u"t"), match.Out(), nullptr, &found),
      kReached);
}

TEST(StoreWithoutDatabase, TakesAnyAccessorAndKeepsNone) {
  static constexpr StoreIdentity kIdentity = {StoreFamily::Backup, u"CBR", u"DataStore.BRNote",
                                              false};
  const auto store = MakeObject<BareStore>(kIdentity);
  EXPECT_EQ(store->SetDBAccessor(nullptr), S_OK);
}

INSTANTIATE_TEST_SUITE_P(Families, StubTable,
                         testing::Values(StoreFamily::Pim, StoreFamily::Favorites,
                                         StoreFamily::Chrome, StoreFamily::AddressBook,
                                         StoreFamily::ImportExport, StoreFamily::Backup));

}  // namespace
}  // namespace qv

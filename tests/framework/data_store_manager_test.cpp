#include "framework/data_store_manager.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "framework/store_base.h"
#include "kit/accessor_fakes.h"
#include "kit/engine_bag.h"
#include "kit/platform_fakes.h"
#include "pim/outlook_manager.h"
#include "platform/com/class_factory.h"
#include "platform/com/lists.h"
#include "platform/database/sqlite_accessor.h"

namespace qv {
namespace {

constexpr CLSID kStoreClass = "{33333333-0000-0000-0000-000000000001}"_guid;
constexpr char16_t kStoreClassText[] = u"{33333333-0000-0000-0000-000000000001}";
constexpr char16_t kListClassText[] = u"{33333333-0000-0000-0000-000000000002}";
constexpr StoreIdentity kIdentity = {StoreFamily::Pim, u"CFake", u"DataStore.Contact"};

struct Journal {
  int made = 0;
  int alive = 0;
  std::vector<bool> readyAtInitialize;  // accessor and Outlook manager were there
  HRESULT initializeResult = S_OK;
  std::string profile;                // opened by the stores; none is while this is empty
  std::vector<std::string> sequence;  // of what is opened and what goes
};
Journal* g_journal = nullptr;

class FakeStore final : public StoreBase {
 public:
  FakeStore() : StoreBase(kIdentity) {
    ++g_journal->made;
    ++g_journal->alive;
  }
  ~FakeStore() override {
    --g_journal->alive;
    g_journal->sequence.push_back(HoldsProfile() ? "store, Outlook open" : "store");
  }

 private:
  static bool HoldsProfile() {
    for (const auto& file : std::filesystem::directory_iterator("/proc/self/fd")) {
      std::error_code error;
      if (read_symlink(file.path(), error) == g_journal->profile) return true;
    }
    return false;
  }
  // Does what needs an open session.
  HRESULT OnDeleteAll() override { return session().Run(u"DELETE FROM ExtraDB"); }
  HRESULT OnInitialize() override {
    g_journal->readyAtInitialize.push_back(session().accessor && session().session > 0 &&
                                           outlook() != nullptr);
    if (!g_journal->profile.empty()) outlook()->initialize(u"");
    return g_journal->initializeResult;
  }
  ComPtr<IItemCommon> OnParse(const IncomingText&) override { return nullptr; }
  HRESULT OnAdd(const IncomingText&, std::u16string&) override { return E_FAIL; }
  HRESULT OnGet(const std::u16string&, bool, OutgoingItem&) override { return E_FAIL; }
};

class Manager : public testing::Test {
 protected:
  Manager() {
    g_journal = &journal;
    SetSyncDatabasePath(":memory:");
    RegisterListClasses();
    RegisterClass(kStoreClass, CreateClass<FakeStore>);
    RegisterClass("{33333333-0000-0000-0000-000000000002}"_guid, CreateClass<UnkList>);
  }

  void Enable(const char16_t* name, const char16_t* uri, const char16_t* clsid = kStoreClassText) {
    const std::u16string key(name);
    bag->values[key] = u"true";
    bag->values[key + u".Sync"] = u"true";
    bag->values[key + u".CLSID"] = clsid;
    bag->values[key + u".SourceURI"] = uri;
  }

  ComPtr<IDataStore> Store(const char16_t* uri, HRESULT expected = S_OK) {
    ComPtr<IDataStore> store;
    EXPECT_EQ(manager->GetDataStore(Bstr(uri), store.Out()), expected);
    return store;
  }

  size_t Listed() {
    ComPtr<IUnknown> list;
    EXPECT_EQ(manager->GetDataStoreAll(list.Out()), S_OK);
    return Members<IDataStore>(*Query<IUnkList>(list)).size();
  }

  Journal journal;
  std::string_view failingCall;
  test::ScopedRecorderClass recorder{[this](std::string_view call) {
    journal.sequence.emplace_back(call);
    return call == failingCall ? -5 : S_OK;
  }};
  test::RecordingLog log;
  ScopedService<DebugLog> useLog{log};
  ComPtr<test::MemoryBag> bag = MakeObject<test::MemoryBag>();
  ComPtr<DataStoreManager> manager = MakeObject<DataStoreManager>();
};

TEST_F(Manager, WithoutEnabledStoresSucceedsEmpty) {
  Enable(u"DataStore.Contact", u"contacts");
  bag->values[u"DataStore.Contact"] = u"True";
  Enable(u"DataStore.Note", u"notes");
  bag->values[u"DataStore.Note.Sync"] = u"";
  EXPECT_EQ(manager->Initialize(bag.get()), S_OK);
  EXPECT_EQ(journal.made, 0);
  EXPECT_EQ(Listed(), 0u);
  EXPECT_FALSE(Store(u"contacts", S_FALSE));
  EXPECT_EQ(manager->SetTargetKey(nullptr), S_OK);
}

TEST_F(Manager, WiresEachStoreBeforeItInitializes) {
  Enable(u"DataStore.Note", u"notes");
  Enable(u"DataStore.Contact", u"contacts");
  ASSERT_EQ(manager->Initialize(bag.get()), S_OK);
  EXPECT_EQ(journal.readyAtInitialize, (std::vector<bool>{true, true}));
  EXPECT_TRUE(Store(u"contacts"));
  EXPECT_FALSE(Store(u"Contacts", S_FALSE)) << "case counts";
  IDataStore* out = nullptr;
  EXPECT_EQ(manager->GetDataStore(nullptr, &out), E_POINTER);
  EXPECT_EQ(manager->GetDataStore(Bstr(u"contacts"), nullptr), E_POINTER);
  EXPECT_EQ(Listed(), 2u);
  EXPECT_EQ(manager->RemoveDataStore(nullptr), E_POINTER);
  EXPECT_EQ(manager->RemoveDataStore(Bstr(u"x")), DS_S_UNKNOWN_SOURCEURI);
  EXPECT_EQ(manager->RemoveDataStore(Bstr(u"notes")), S_OK);
  EXPECT_EQ(journal.alive, 1);
  EXPECT_EQ(Listed(), 1u);
}

TEST_F(Manager, MakesTheStoresInTheOrderOfItsTable) {
  const char16_t* const names[] = {
      u"DataStore.Contact",        u"DataStore.Schedule",     u"DataStore.Task",
      u"DataStore.Note",           u"DataStore.Bookmark",     u"DataStore.WindowsContact",
      u"DataStore.OutlookExpress", u"DataStore.IEContactGrp", u"DataStore.IECSVContact",
      u"DataStore.IECSVSchedule",  u"DataStore.IECSVNote",    u"DataStore.IEVCard",
      u"DataStore.IEVCal",         u"DataStore.BRContactGrp", u"DataStore.BRContact",
      u"DataStore.BRSchedule",     u"DataStore.BRBookmark",   u"DataStore.BRNote"};
  for (const char16_t* name : names) Enable(name, name);
  ASSERT_EQ(manager->Initialize(bag.get()), S_OK);
  std::vector<std::u16string> order;
  for (const std::u16string& key : bag->reads) {
    if (key.ends_with(u".CLSID")) order.push_back(key.substr(0, key.size() - 6));
  }
  EXPECT_EQ(order, std::vector<std::u16string>(std::begin(names), std::end(names)));
  ComPtr<IUnknown> list;
  ASSERT_EQ(manager->GetDataStoreAll(list.Out()), S_OK);
  const auto all = Members<IDataStore>(*Query<IUnkList>(list));
  ASSERT_EQ(all.size(), std::size(names));
  for (size_t i = 0; i < all.size(); ++i) EXPECT_EQ(all[i].get(), Store(names[i]).get());
}

TEST_F(Manager, KeepsItsFailuresApartAndTheStoresMadeBefore) {
  struct Case {
    const char16_t* clsid;
    HRESULT storeResult;
    HRESULT expected;
  };
  for (const Case& c : {Case{u"contact", S_OK, DS_E_BAD_CLSID}, Case{u"", S_OK, DS_E_BAD_CLSID},
                        Case{u"{C143978A-DD5A-4EF8-ABCE-41AD22B2B060}", S_OK, DS_E_NO_STORE_CLASS},
                        Case{kListClassText, S_OK, DS_E_NO_STORE_CLASS}}) {
    manager = MakeObject<DataStoreManager>();
    Enable(u"DataStore.Contact", u"contacts");
    Enable(u"DataStore.Note", u"notes", c.clsid);
    EXPECT_EQ(manager->Initialize(bag.get()), c.expected);
    EXPECT_TRUE(Store(u"contacts"));
  }
  manager = MakeObject<DataStoreManager>();
  journal.initializeResult = E_NOTIMPL;
  EXPECT_EQ(manager->Initialize(bag.get()), E_NOTIMPL);
  EXPECT_EQ(journal.alive, 0) << "the store that failed is released";
  journal.sequence.clear();
  EXPECT_EQ(manager->Initialize(bag.get()), E_NOTIMPL);
  EXPECT_EQ(journal.sequence.front(), "EndSession") << "retries do not heap up";
}

TEST_F(Manager, ANullBagChangesNothing) {
  Enable(u"DataStore.Contact", u"contacts");
  ASSERT_EQ(manager->Initialize(bag.get()), S_OK);
  log.Clear();
  EXPECT_EQ(manager->Initialize(nullptr), E_POINTER);
  EXPECT_EQ(log.lines(),
            (std::vector<std::u16string>{u"[QVSyncEngine] CDataStoreManager::Initialize() Start",
                                         u"[QVSyncEngine] CDataStoreManager::Initialize() End"}));
  EXPECT_TRUE(Store(u"contacts"));
}

TEST_F(Manager, TearsDownItsStoresThenTheSessionAndOutlookFirstOfAllAtItsEnd) {
  test::TempFolder folder;
  const OutlookSettings before = TheOutlookSettings();
  TheOutlookSettings() = {folder.path(), true, true};
  journal.profile = folder.File("Outlook.db");
  Enable(u"DataStore.Contact", u"contacts");
  ASSERT_EQ(manager->Initialize(bag.get()), S_OK);
  ASSERT_EQ(manager->Initialize(bag.get()), S_OK);
  EXPECT_EQ(journal.made, 2);
  EXPECT_EQ(journal.alive, 1);
  manager.Reset();
  EXPECT_EQ(journal.sequence,
            (std::vector<std::string>{"Open", "Connect", "BeginSession", "store, Outlook open",
                                      "EndSession", "Open", "Connect", "BeginSession", "store",
                                      "EndSession"}));
  int32_t session = 7;
  EXPECT_EQ(recorder.last()->GetSessionId(&session), S_OK);
  EXPECT_EQ(session, 0) << "it was this one that was given back";
  TheOutlookSettings() = before;
}

TEST_F(Manager, ARetryLeavesTheStoresThatStayTheirSession) {
  Enable(u"DataStore.Contact", u"contacts");
  Enable(u"DataStore.Note", u"notes", u"bad");
  ASSERT_EQ(manager->Initialize(bag.get()), DS_E_BAD_CLSID);
  const ComPtr<IDataStore> kept = Store(u"contacts");
  Enable(u"DataStore.Note", u"notes");
  ASSERT_EQ(manager->Initialize(bag.get()), S_OK);
  EXPECT_EQ(Store(u"contacts").get(), kept.get());
  EXPECT_EQ(kept->DeleteAll(), S_OK) << "its session is open";
  EXPECT_EQ(Store(u"notes")->DeleteAll(), S_OK);
  manager.Reset();
  EXPECT_EQ(std::ranges::count(journal.sequence, "EndSession"), 2);
}

TEST_F(Manager, ASharedUriKeepsTheFirstAndHoldsTheSecondToTheEnd) {
  Enable(u"DataStore.Contact", u"same");
  Enable(u"DataStore.Note", u"same");
  ASSERT_EQ(manager->Initialize(bag.get()), S_OK);
  EXPECT_EQ(Listed(), 2u) << "the first, twice";
  EXPECT_EQ(manager->RemoveDataStore(Bstr(u"same")), S_OK);
  EXPECT_EQ(journal.alive, 1);
  EXPECT_EQ(Listed(), 0u);
  manager.Reset();
  EXPECT_EQ(journal.alive, 0);
}

TEST_F(Manager, AnAccessorThatDoesNotOpenEndsTheRun) {
  Enable(u"DataStore.Contact", u"contacts");
  const ClassCreator real = RegisterClass(CLSID_DBAccessor, nullptr);
  EXPECT_EQ(manager->Initialize(bag.get()), REGDB_E_CLASSNOTREG);
  RegisterClass(CLSID_DBAccessor, real);
  for (const char* call : {"Open", "Connect", "BeginSession"}) {
    failingCall = call;
    EXPECT_EQ(manager->Initialize(bag.get()), -5) << call;
    EXPECT_EQ(journal.sequence.back(), call);
  }
  EXPECT_EQ(journal.made, 0);
  failingCall = {};
  EXPECT_EQ(manager->Initialize(bag.get()), S_OK);
  manager.Reset();
  EXPECT_EQ(std::ranges::count(journal.sequence, "EndSession"), 1) << "of the one that was begun";
}

}  // namespace
}  // namespace qv

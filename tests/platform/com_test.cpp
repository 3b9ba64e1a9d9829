#include <gtest/gtest.h>

#include <latch>
#include <thread>

#include "items/converters.h"
#include "platform/com/class_factory.h"
#include "platform/com/edge.h"
#include "platform/com/lists.h"

namespace qv {
namespace {

struct IFirst : IDispatch {
  static constexpr IID kIid = "{11111111-0000-0000-0000-000000000001}"_guid;
  virtual HRESULT First(BSTR* out) noexcept = 0;
};
struct ISecond : IDispatch {
  static constexpr IID kIid = "{11111111-0000-0000-0000-000000000002}"_guid;
  virtual HRESULT Second() noexcept = 0;
};

constexpr CLSID kPairClass = "{11111111-0000-0000-0000-0000000000FF}"_guid;

class Pair final : public ComObject<IFirst, ISecond> {
 public:
  explicit Pair(int* finals = nullptr) : finals_(finals) {}
  HRESULT First(BSTR* out) noexcept override {
    return Slot(Requires(), Outs(out), [&] { return HandOut(out, u"first"); });
  }
  HRESULT Second() noexcept override { return S_OK; }

 private:
  void FinalRelease() override {
    if (finals_ == nullptr) return;
    ++*finals_;
    ComPtr<IFirst> borrowed(this);  // must not destroy the object a second time
    throw StatusError(E_FAIL);      // nor may this leave Release
  }
  int* finals_;
};

TEST(Bstr, KeepsEmbeddedNulAndTellsNullFromEmptyOnlyByPointer) {
  const std::u16string text(u"a\0b", 3);
  const Bstr full(text);
  EXPECT_EQ(full.str(), text);
  EXPECT_EQ(full.get()[3], u'\0');
  EXPECT_NE(Bstr(u"").get(), nullptr);
  EXPECT_EQ(View(nullptr), Bstr(u"").view());
}

TEST(Variant, CopiesOwnTheirTextAndTheirObject) {
  auto list = MakeObject<UnkList>();
  Variant text = Variant::Text(u"x");
  {
    const Variant copy(text);
    EXPECT_NE(copy.get().bstrVal, text.get().bstrVal);
    const Variant object = Variant::Object(list);
    const Variant second(object);
    EXPECT_EQ(list->AddRef(), 4u);
    list->Release();
  }
  EXPECT_EQ(text.view(), u"x");
  EXPECT_EQ(list->AddRef(), 2u);
  list->Release();
}

TEST(ComObject, GivesOneIdentityThroughEveryInterface) {
  const auto pair = MakeObject<Pair>();
  const auto first = Query<IFirst>(ComPtr<ISecond>(pair));
  ASSERT_TRUE(first);
  EXPECT_EQ(Query<IUnknown>(first).get(), Query<IUnknown>(ComPtr<ISecond>(pair)).get());
  EXPECT_TRUE(Query<IDispatch>(first));
  void* poisoned = &poisoned;
  EXPECT_EQ(first->QueryInterface(IUnkList::kIid, &poisoned), E_NOINTERFACE);
  EXPECT_EQ(poisoned, nullptr);
  EXPECT_EQ(first->QueryInterface(IUnkList::kIid, nullptr), E_POINTER);
}

TEST(ComObject, AnswersDispatchWithoutTypeInformation) {
  const auto pair = MakeObject<Pair>();
  IFirst* first = pair.get();
  uint32_t count = 77;
  EXPECT_EQ(first->GetTypeInfoCount(&count), S_OK);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(first->Invoke(1, IID{}, 0, 0, nullptr, nullptr, nullptr, nullptr), E_NOTIMPL);
}

TEST(ComObject, RunsFinalReleaseOnceWhileTheObjectStillLives) {
  const int32_t before = ComRoot::LiveObjects();
  int finals = 0;
  { const auto pair = MakeObject<Pair>(&finals); }
  EXPECT_EQ(finals, 1);
  EXPECT_EQ(ComRoot::LiveObjects(), before);
}

// Each thread has objects of its own; what is counted over all of them comes out even.
TEST(ModuleCounts, AreExactAfterManyThreads) {
  RegisterListClasses();
  constexpr int kThreads = 8;
  constexpr int kRounds = 100'000;
  const int32_t objects = ComRoot::LiveObjects();
  const int32_t locks = ServerLocks();
  std::vector<ComPtr<UnkList>> kept(kThreads);
  std::vector<std::thread> threads;
  std::latch start(kThreads);
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      ComPtr<IClassFactory> factory;
      GetClassFactory(CLSID_UnkList, IClassFactory::kIid, reinterpret_cast<void**>(factory.Out()));
      start.arrive_and_wait();
      for (int round = 0; round < kRounds; ++round) {
        factory->LockServer(kTrue);
        kept[static_cast<size_t>(i)] = MakeObject<UnkList>();
        if (round != 0) factory->LockServer(kFalse);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(ComRoot::LiveObjects() - objects, kThreads);
  EXPECT_EQ(ServerLocks() - locks, kThreads);
  kept.clear();
  EXPECT_EQ(ComRoot::LiveObjects(), objects);
  ComPtr<IClassFactory> factory;
  GetClassFactory(CLSID_UnkList, IClassFactory::kIid, reinterpret_cast<void**>(factory.Out()));
  for (int i = 0; i < kThreads + 3; ++i) factory->LockServer(kFalse);
  EXPECT_EQ(ServerLocks(), 0) << "one unlock too many is none";
}

TEST(Lists, OfAnyDepthAreLetGoWithoutTheStack) {
  const int32_t before = ComRoot::LiveObjects();
  ComPtr<IUnknown> chain = MakeObject<UnkList>();
  for (int i = 0; i < 200'000; ++i) {
    if (i < 100'000 || i % 3 == 0) {
      const auto list = MakeObject<VarList>();
      list->Add(Variant::Object(std::exchange(chain, nullptr)).get());
      chain = list;
    } else {
      const auto list = MakeObject<UnkList>();
      list->Add(std::exchange(chain, nullptr).get());
      chain = list;
    }
  }
  chain.Reset();
  EXPECT_EQ(ComRoot::LiveObjects(), before);
}

TEST(ClassFactory, CreatesAggregatesAndKeepsItsFailuresApart) {
  RegisterClass(kPairClass, CreateClass<Pair>);
  EXPECT_TRUE(CreateInstance<ISecond>(kPairClass));
  void* out = &out;
  EXPECT_EQ(CoCreateInstance("{22222222-0000-0000-0000-000000000000}"_guid, nullptr, CLSCTX_ALL,
                             IUnknown::kIid, &out),
            REGDB_E_CLASSNOTREG);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(CoCreateInstance(kPairClass, nullptr, CLSCTX_ALL, IUnkList::kIid, &out), E_NOINTERFACE);

  // An aggregated object answers every query but its own identity's through the outer one.
  const auto outer = MakeObject<UnkList>();
  IUnknown* outerIdentity = Query<IUnknown>(outer).get();
  EXPECT_EQ(CoCreateInstance(kPairClass, outerIdentity, CLSCTX_ALL, IFirst::kIid, &out),
            CLASS_E_NOAGGREGATION);
  ComPtr<IUnknown> inner;
  ASSERT_EQ(CoCreateInstance(kPairClass, outerIdentity, CLSCTX_ALL, IUnknown::kIid,
                             reinterpret_cast<void**>(inner.Out())),
            S_OK);
  const auto first = Query<IFirst>(inner);
  ASSERT_TRUE(first);
  EXPECT_TRUE(Query<IUnkList>(first));
  EXPECT_EQ(Query<IUnknown>(first).get(), outerIdentity);

  ComPtr<IClassFactory> factory;
  ASSERT_EQ(
      GetClassFactory(kPairClass, IClassFactory::kIid, reinterpret_cast<void**>(factory.Out())),
      S_OK);
  ComPtr<IFirst> made;
  EXPECT_EQ(factory->CreateInstance(nullptr, IFirst::kIid, reinterpret_cast<void**>(made.Out())),
            S_OK);
  RegisterClass(kPairClass, nullptr);
  EXPECT_EQ(GetClassFactory(kPairClass, IClassFactory::kIid, &out), CLASS_E_CLASSNOTAVAILABLE);
}

TEST(Guid, ReadsExactlyTheRegistryForm) {
  CLSID clsid;
  EXPECT_EQ(CLSIDFromString(u"{e5621430-b7ce-4727-9cED-29F8F3B1BF49}", &clsid), S_OK);
  EXPECT_EQ(FormatGuid(clsid), u"{E5621430-B7CE-4727-9CED-29F8F3B1BF49}");
  for (const char16_t* bad :
       {u"", u"E5621430-B7CE-4727-9CED-29F8F3B1BF49", u"{E5621430-B7CE-4727-9CED-29F8F3B1BF4}",
        u"{E5621430-B7CE-4727-9CED-29F8F3B1BF49} ", u"{E5621430xB7CE-4727-9CED-29F8F3B1BF49}",
        u"{G5621430-B7CE-4727-9CED-29F8F3B1BF49}", u"QVSyncDataStore.DataStoreContact.1"}) {
    EXPECT_TRUE(Failed(CLSIDFromString(bad, &clsid))) << Bstr(bad).view().size();
  }
}

TEST(Edge, TestsPointersThenClearsThenTurnsExceptionsIntoStatuses) {
  int value = 0;
  BSTR text = reinterpret_cast<BSTR>(&value);
  EXPECT_EQ(Slot(Requires(static_cast<int*>(nullptr)), Outs(&text), [] { return S_OK; }),
            E_POINTER);
  EXPECT_NE(text, nullptr) << "outs stay when a pointer is missing";
  EXPECT_EQ(Slot(Requires(&value), Outs(&text), []() -> HRESULT { throw StatusError(-7); }), -7);
  EXPECT_EQ(text, nullptr);
  EXPECT_EQ(Slot(Requires(), Outs(), []() -> HRESULT { throw std::bad_alloc(); }), E_FAIL);
  EXPECT_EQ(Slot(Requires(), Outs(), []() -> HRESULT { throw 1; }), E_FAIL);
}

TEST(Lists, KeepOrderAndRefuseIndexesOutOfRange) {
  const auto list = MakeObject<VarList>();
  for (const char16_t* text : {u"a", u"b", u"c"}) list->Add(Variant::Text(text).get());
  EXPECT_EQ(list->Remove(1), S_OK);
  Variant item;
  EXPECT_EQ(list->Item(1, item.Out()), S_OK);
  EXPECT_EQ(item.view(), u"c");
  for (const int32_t bad : {-1, 2, 1 << 30}) {
    EXPECT_EQ(list->Item(bad, item.Out()), E_INVALIDARG) << bad;
    EXPECT_EQ(item.type(), VT_EMPTY);
    EXPECT_EQ(list->Remove(bad), E_INVALIDARG) << bad;
  }
  const auto objects = MakeObject<UnkList>();
  EXPECT_EQ(objects->Add(nullptr), E_POINTER);
  EXPECT_EQ(objects->Count(nullptr), E_POINTER);
}

}  // namespace
}  // namespace qv

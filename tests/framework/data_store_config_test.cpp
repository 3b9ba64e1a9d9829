#include "framework/data_store_config.h"

#include <gtest/gtest.h>

#include <functional>

#include "kit/engine_bag.h"
#include "support/text.h"

namespace qv {
namespace {

using test::MemoryBag;

// One property, its values as the bag spells them.
struct Property {
  const char16_t* suffix;  // empty for one that is not kept in the bag
  const char16_t* value;   // not what a fresh object has
  std::function<HRESULT(IDataStoreConfig&, std::u16string_view)> put;
  std::function<std::u16string(IDataStoreConfig&)> get;
};

template <class Value, class Argument>
Property Of(const char16_t* suffix, const char16_t* value,
            HRESULT (IDataStoreConfig::*get)(Value*) noexcept,
            HRESULT (IDataStoreConfig::*put)(Argument) noexcept) {
  return {suffix, value,
          [put](IDataStoreConfig& config, std::u16string_view text) {
            if constexpr (std::is_same_v<Value, BSTR>) return (config.*put)(Bstr(text));
            if constexpr (std::is_same_v<Value, int32_t>) return (config.*put)(ToInt(text));
            if constexpr (std::is_same_v<Value, BOOL>)
              return (config.*put)(ToBool(text == u"true"));
          },
          [get](IDataStoreConfig& config) -> std::u16string {
            EXPECT_EQ((config.*get)(nullptr), E_POINTER);
            Value read{};
            EXPECT_EQ((config.*get)(&read), S_OK);
            if constexpr (std::is_same_v<Value, int32_t>) return Decimal(read);
            if constexpr (std::is_same_v<Value, BOOL>) return read != kFalse ? u"true" : u"false";
            if constexpr (std::is_same_v<Value, BSTR>) {
              std::u16string text(View(read));
              SysFreeString(read);
              return text;
            }
          }};
}

#define QV_PROPERTY(suffix, value, name) \
  Of(suffix, value, &IDataStoreConfig::get_##name, &IDataStoreConfig::put_##name)

TEST(DataStoreConfig, EveryPropertyStandsForItselfAndForItsOwnKey) {
  const Property properties[] = {
      QV_PROPERTY(u".SourceURI", u"a", sourceURI),
      QV_PROPERTY(u".TargetURI", u"b", TargetURI),
      QV_PROPERTY(u".SyncType", u"6", SyncType),
      QV_PROPERTY(u".MimeType", u"c", MimeType),
      QV_PROPERTY(u".Version", u"d", Version),
      QV_PROPERTY(u".SourceMaxLOBSize", u"-7", SourceMaxLOBSize),
      QV_PROPERTY(u".TargetMaxLOBSize", u"2147483647", TargetMaxLOBSize),
      QV_PROPERTY(u".EntryId", u"e", EntryId),
      QV_PROPERTY(u".SupportFilter", u"true", SupportFilter),
      QV_PROPERTY(u".FilterRecordData", u"f", FilterRecordData),
      QV_PROPERTY(u".SupportHierarchy", u"true", SupportHierarchy),
      QV_PROPERTY(u"", u"true", SupportFieldLevel),
      QV_PROPERTY(u"", u"g", FilterFieldData),
  };
  const auto fresh = MakeObject<DataStoreConfig>();
  for (const Property& one : properties) {
    const std::u16string_view suffix = one.suffix;
    const Bstr name(suffix == u".SupportHierarchy" ? u"DataStore.Bookmark" : u"DataStore.Schedule");
    const auto bag = MakeObject<MemoryBag>();
    const auto config = MakeObject<DataStoreConfig>();
    ASSERT_EQ(config->Load(name, bag.get()), S_OK);
    ASSERT_EQ(one.put(*config, one.value), S_OK);
    ASSERT_EQ(config->Save(), S_OK);
    const auto again = MakeObject<DataStoreConfig>();
    ASSERT_EQ(again->Load(name, bag.get()), S_OK);
    for (const Property& other : properties) {
      const bool isIt = &other == &one;
      const std::u16string untouched = other.get(*fresh);
      const std::u16string key = name.str() + other.suffix;
      const auto shown = ToUtf8(suffix) + " against " + ToUtf8(other.suffix);
      EXPECT_EQ(other.get(*config), isIt ? one.value : untouched) << shown;
      EXPECT_EQ(other.get(*again), isIt && !suffix.empty() ? one.value : untouched) << shown;
      if (bag->values.contains(key)) {
        EXPECT_EQ(bag->values[key], isIt ? one.value : untouched) << shown;
      }
    }
  }
}

TEST(DataStoreConfig, OnlyTheScheduleTakesAFilterAndOnlyByTheExactWord) {
  struct Case {
    const char16_t* store;
    const char16_t* flag;
    BOOL expected;
  };
  for (const Case& c :
       {Case{u"DataStore.Schedule", u"true", kTrue}, Case{u"datastore.schedule", u"true", kTrue},
        Case{u"DataStore.Schedule", u"True", kFalse}, Case{u"DataStore.Task", u"true", kFalse}}) {
    const auto bag = MakeObject<MemoryBag>();
    bag->values[std::u16string(c.store) + u".SupportFilter"] = c.flag;
    bag->values[std::u16string(c.store) + u".SupportHierarchy"] = u"true";
    const auto config = MakeObject<DataStoreConfig>();
    ASSERT_EQ(config->Load(Bstr(c.store), bag.get()), S_OK);
    BOOL value = 7;
    EXPECT_EQ(config->get_SupportFilter(&value), S_OK);
    EXPECT_EQ(value, c.expected) << ToUtf8(c.store) << ToUtf8(c.flag);
    EXPECT_EQ(config->get_SupportHierarchy(&value), S_OK);
    EXPECT_EQ(value, kFalse);
  }
}

TEST(DataStoreConfig, AFailureKeepsWhatWasReadAndTheNameOut) {
  const auto bag = MakeObject<MemoryBag>();
  const auto config = MakeObject<DataStoreConfig>();
  EXPECT_EQ(config->Load(Bstr(u"DataStore.Note"), nullptr), E_POINTER);
  bag->values[u"DataStore.Note.SourceURI"] = u"notes";
  bag->failingKey = u"DataStore.Note.MimeType";
  EXPECT_EQ(config->Load(Bstr(u"DataStore.Note"), bag.get()), E_INVALIDARG);
  Bstr uri;
  EXPECT_EQ(config->get_sourceURI(uri.Out()), S_OK);
  EXPECT_EQ(uri.view(), u"notes");
  EXPECT_EQ(config->Save(), E_FAIL);
  bag->failingKey.clear();
  ASSERT_EQ(config->Load(Bstr(u"DataStore.BRBookmark"), bag.get()), S_OK);
  ASSERT_EQ(config->Save(), S_OK);
  EXPECT_EQ(bag->writes.back(), u"DataStore.BRBookmark.EntryId") << "no hierarchy of a backup";
  EXPECT_TRUE(bag->allPersisted);
}

TEST(DataStoreConfig, ListsAreTakenByQuery) {
  const auto config = MakeObject<DataStoreConfig>();
  const auto words = MakeObject<VarList>();
  const auto names = MakeObject<VarList>();
  EXPECT_EQ(config->put_FilterKeywords(words.get()), S_OK);
  EXPECT_EQ(config->put_FilterPropNames(names.get()), S_OK);
  ComPtr<IUnknown> held;
  EXPECT_EQ(config->get_FilterKeywords(held.Out()), S_OK);
  EXPECT_EQ(Query<IVarList>(held).get(), words.get());
  EXPECT_EQ(config->get_FilterPropNames(held.Out()), S_OK);
  EXPECT_EQ(Query<IVarList>(held).get(), names.get());
  EXPECT_TRUE(Failed(config->put_FilterKeywords(MakeObject<UnkList>().get())));
  EXPECT_EQ(config->put_FilterPropNames(nullptr), S_OK);
  EXPECT_EQ(config->get_FilterPropNames(held.Out()), S_OK);
  EXPECT_FALSE(held);
}

}  // namespace
}  // namespace qv

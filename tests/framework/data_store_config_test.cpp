#include "framework/data_store_config.h"

#include <gtest/gtest.h>

#include "kit/engine_bag.h"
#include "support/text.h"

namespace qv {
namespace {

using test::MemoryBag;

TEST(DataStoreConfig, LoadsNumbersByTheCRule) {
  for (const auto& [text, number] : std::initializer_list<std::pair<const char16_t*, int32_t>>{
           {u"", 0}, {u"abc", 0}, {u" 2x", 2}, {u"-1", -1}, {u"99999999999", INT32_MAX}}) {
    const auto bag = MakeObject<MemoryBag>();
    bag->values[u"DataStore.Contact.SyncType"] = text;
    const auto config = MakeObject<DataStoreConfig>();
    ASSERT_EQ(config->Load(Bstr(u"DataStore.Contact"), bag.get()), S_OK);
    int32_t value = 77;
    EXPECT_EQ(config->get_SyncType(&value), S_OK);
    EXPECT_EQ(value, number) << ToUtf8(text);
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

TEST(DataStoreConfig, SavesInTheOrderOfLoadAndNeverTheBackupHierarchy) {
  const auto bag = MakeObject<MemoryBag>();
  const auto config = MakeObject<DataStoreConfig>();
  EXPECT_EQ(config->Save(), E_FAIL);
  bag->values[u"DataStore.BRBookmark.SupportHierarchy"] = u"true";
  ASSERT_EQ(config->Load(Bstr(u"DataStore.BRBookmark"), bag.get()), S_OK);
  BOOL hierarchy = kFalse;
  config->get_SupportHierarchy(&hierarchy);
  EXPECT_EQ(hierarchy, kTrue);
  config->put_SyncType(-3);
  ASSERT_EQ(config->Save(), S_OK);
  const std::vector<std::u16string> expected = {
      u"DataStore.BRBookmark.SourceURI",        u"DataStore.BRBookmark.TargetURI",
      u"DataStore.BRBookmark.SyncType",         u"DataStore.BRBookmark.MimeType",
      u"DataStore.BRBookmark.Version",          u"DataStore.BRBookmark.SourceMaxLOBSize",
      u"DataStore.BRBookmark.TargetMaxLOBSize", u"DataStore.BRBookmark.EntryId"};
  EXPECT_EQ(bag->writes, expected);
  EXPECT_EQ(bag->values[u"DataStore.BRBookmark.SyncType"], u"-3");
  EXPECT_TRUE(bag->allPersisted);

  bag->writes.clear();
  ASSERT_EQ(config->Load(Bstr(u"datastore.BOOKMARK"), bag.get()), S_OK);
  ASSERT_EQ(config->Save(), S_OK);
  EXPECT_EQ(bag->writes.back(), u"datastore.BOOKMARK.SupportHierarchy");
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
  EXPECT_EQ(config->get_sourceURI(nullptr), E_POINTER);
}

TEST(DataStoreConfig, ListsAreTakenByQuery) {
  const auto config = MakeObject<DataStoreConfig>();
  const auto list = MakeObject<VarList>();
  EXPECT_EQ(config->put_FilterKeywords(list.get()), S_OK);
  ComPtr<IUnknown> held;
  EXPECT_EQ(config->get_FilterKeywords(held.Out()), S_OK);
  EXPECT_EQ(Query<IVarList>(held).get(), list.get());
  EXPECT_TRUE(Failed(config->put_FilterKeywords(MakeObject<UnkList>().get())));
  EXPECT_EQ(config->put_FilterKeywords(nullptr), S_OK);
  EXPECT_EQ(config->get_FilterKeywords(held.Out()), S_OK);
  EXPECT_FALSE(held);
}

}  // namespace
}  // namespace qv

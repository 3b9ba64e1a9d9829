#include "pim/outlook_manager.h"

#include <gtest/gtest.h>

#include "items/item_objects.h"
#include "items/key_text.h"
#include "pim/contact_content.h"
#include "pim/profile_fixture.h"
#include "platform/database/sqlite.h"
#include "support/date_time.h"

namespace qv::test {
namespace {

Contact FullContact() {
  Contact contact;
  contact.givenName = u"J\u00F6rg";
  contact.familyName = u"O'Neil; \"x\"";
  contact.additionalNames = u"\U0001F600";
  contact.namePrefix = u"Dr.";
  contact.nameSuffix = u"jr.";
  contact.formattedName = u"J\u00F6rg O'Neil";
  contact.nickname = u"Jo";
  contact.telephones = {{PhoneKind::Mobile, u"+1 1"}, {PhoneKind::Video, u""}};
  contact.mails = {{MailKind::Home, u"a@b"}, {MailKind::Mobile, u"c@d"}};
  contact.webAddresses = {{PlaceKind::Work, u"http://x/"}};
  contact.addresses = {std::nullopt,
                       PostalAddress{PlaceKind::Home, {u"1", u"2", u"3", u"4", u"5", u"6", u"7"}}};
  contact.organisations = {{OrganisationKind::Other, u"Org", u"Dep;Sub"}};
  contact.jobTitles = {u"", u"Boss"};
  contact.messengers = {{MessengerKind::Jabber, u"j@k"}};
  contact.events = {{EventKind::Anniversary, 36526.0}};
  contact.photo = std::string("\xFF\xD8\0\x01", 4) + std::string(100'000, 'p');
  contact.photoType = u"JPEG";
  contact.note = std::u16string(u"line\r\nline\0end", 14) + char16_t{0xDC80};
  contact.groupUids = {u"g1", u"g2"};
  contact.groupNames = {u"Friends"};
  return contact;
}

Contact Named(const char16_t* name) {
  Contact contact;
  contact.formattedName = name;
  return contact;
}

TEST(ContactContentTest, EveryFieldComesBack) {
  std::vector<ContactContent> contents(5, FullContact());
  contents[1] = {};
  contents[2].telephones.pop_back();
  contents[3].addresses.erase(contents[3].addresses.begin());
  contents[4].jobTitles.erase(contents[4].jobTitles.begin());
  for (const ContactContent& content : contents) {
    std::string why;
    EXPECT_EQ(UnpackContact(PackContact(content), why), content) << why;
  }
}

TEST(ContactContentTest, DamagedBytesAreRefusedWithAReason) {
  Contact contact = FullContact();
  contact.photo.resize(10);
  const std::string whole = PackContact(contact);
  const ContactContent& expected = contact;
  std::string why;
  for (size_t length = 0; length < whole.size(); ++length) {
    const auto cut = UnpackContact(std::string_view(whole).substr(0, length), why);
    EXPECT_FALSE(cut == expected) << length;
    for (const char byte : {'\0', '\x7F', '\xFF'}) {
      std::string spoilt = whole;
      spoilt[length] = byte;
      UnpackContact(spoilt, why);  // whatever it says, it returns
    }
  }
  using namespace std::string_literals;
  const std::string bad[] = {
      ""s,
      "\2"s,
      "\1\1\5ab"s,
      "\1\x63\1a"s,
      "\1\2\1b\1\1a"s,
      "\1\x8\1"s,
      "\1\x8\2\0a"s,
      "\1\x8\3\x63\1a"s,
      "\1\xF\2\1\1"s,
      "\1\1\xFF"s,
      "\1\x8\2\1\5"s,
      "\1\1\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\1a"s,
  };
  for (const std::string& bytes : bad) {
    why.clear();
    EXPECT_FALSE(UnpackContact(bytes, why)) << testing::PrintToString(bytes);
    EXPECT_FALSE(why.empty()) << testing::PrintToString(bytes);
  }
}

TEST(ContactContentTest, AListShowsTheBestNameThereIs) {
  Contact contact;
  EXPECT_EQ(DisplayName(contact), u"");
  contact.telephones = {{PhoneKind::Home, u""}, {PhoneKind::Home, u"123"}};
  EXPECT_EQ(DisplayName(contact), u"123");
  contact.organisations = {{OrganisationKind::Work, u"Org", u""}};
  EXPECT_EQ(DisplayName(contact), u"Org");
  contact.familyName = u"Doe";
  EXPECT_EQ(DisplayName(contact), u"Doe");
  contact.givenName = u"Jane";
  EXPECT_EQ(DisplayName(contact), u"Jane Doe");
  contact.formattedName = u"Dr. Doe";
  EXPECT_EQ(DisplayName(contact), u"Dr. Doe");
}

class OutlookManagerTest : public ProfileFixture {
 protected:
  std::u16string Create(const Contact& contact) {
    std::u16string id;
    EXPECT_EQ(outlook.CreateItem(olContact, folder, MakeContactItem(contact), id), S_OK)
        << outlook.lastError();
    return id;
  }

  OLMetaData Meta(const std::u16string& id) {
    OLMetaData data;
    EXPECT_EQ(outlook.GetMetaData(olContact, id, data), S_OK) << outlook.lastError();
    return data;
  }

  std::vector<std::u16string> Ids(OutlookManager& manager) {
    std::vector<std::u16string> ids;
    EXPECT_EQ(manager.GetEntryIds(olContact, folder, ids), S_OK) << manager.lastError();
    return ids;
  }

  const std::u16string folder = outlook.DefaultFolder(olContact);
};

TEST_F(OutlookManagerTest, AnItemComesBackWholeAfterReopening) {
  Contact contact = FullContact();
  contact.fields.objUid = u"uid of the text";
  contact.fields.extras = {{u"X-EXTRA", u"1"}};
  contact.hidden = {{u"TEL", u"1", u"LABEL", true}};
  const std::u16string id = Create(contact);
  EXPECT_EQ(id.size(), 32u);
  EXPECT_EQ(id.find_first_not_of(u"0123456789ABCDEF"), std::u16string::npos);

  OutlookManager again;
  Open(again, u"Outlook");
  EXPECT_EQ(again.DefaultFolder(olContact), folder);
  ComPtr<IItemCommon> item;
  ASSERT_EQ(again.GetItem(olContact, id, item), S_OK) << again.lastError();
  const Contact& read = *ContactOf(item.get());
  EXPECT_EQ(static_cast<const ContactContent&>(read), static_cast<const ContactContent&>(contact));
  EXPECT_EQ(read.fields.sourceUid, id);
  EXPECT_EQ(read.fields.parentUid, u"");
  EXPECT_EQ(read.fields.modified, DateFromUnixSeconds(kMorning)) << "UTC";
  EXPECT_EQ(read.fields.md5, Meta(id).md5);
  EXPECT_EQ(read.fields.objUid, u"");
  EXPECT_TRUE(read.fields.extras.empty());
  EXPECT_TRUE(read.hidden.empty());
}

TEST_F(OutlookManagerTest, AChangeStampsTheLocalTimeOfItsMoment) {
  const std::u16string id = Create(Named(u"a"));
  EXPECT_EQ(Meta(id).modified, DateFromUnixSeconds(kMorning + 3600));
  const int64_t summer = 1'690'000'000;
  clock.Set(summer);
  ASSERT_EQ(outlook.UpdateItem(olContact, id, MakeContactItem(Named(u"a"))), S_OK);
  EXPECT_EQ(Meta(id).modified, DateFromUnixSeconds(kMorning + 3600))
      << "equal content is no change";
  ASSERT_EQ(outlook.UpdateItem(olContact, id, MakeContactItem(Named(u"b"))), S_OK);
  EXPECT_EQ(Meta(id).modified, DateFromUnixSeconds(summer + 7200));
  zone.Set(FixedZone("JST-9").GetTimeZoneInformation());
  EXPECT_EQ(Meta(id).modified, DateFromUnixSeconds(summer + 7200)) << "a move changes nothing";
}

TEST_F(OutlookManagerTest, ListingsComeInTheOrderOfCreationWithTheKeysOfTheTexts) {
  const std::vector<std::u16string> ids = {Create(FullContact()), Create(Named(u"b")),
                                           Create(Named(u"a"))};
  clock.Advance(5);
  ASSERT_EQ(outlook.UpdateItem(olContact, ids[0], MakeContactItem(FullContact())), S_OK);
  EXPECT_EQ(Ids(outlook), ids);
  std::vector<OLMetaData> datas(7);
  ASSERT_EQ(outlook.GetMetaDatas(olContact, folder, datas, 1), S_OK);
  ASSERT_EQ(datas.size(), 3u);
  for (size_t i = 0; i < ids.size(); ++i) EXPECT_EQ(datas[i].entryId, ids[i]);
  EXPECT_EQ(datas[0].keyText, MakeContactKey(FullContact()));
  EXPECT_EQ(datas[2].keyText, MakeContactKey(Named(u"a")));
  EXPECT_EQ(datas[0].md5, Meta(ids[0]).md5);
  EXPECT_EQ(datas[0].modified, Meta(ids[0]).modified);
  ASSERT_EQ(outlook.GetMetaDatas(olContact, folder, datas, 0), S_OK);
  EXPECT_EQ(datas.at(0).keyText, u"");
  std::vector<OutlookManager::ListedItem> items;
  ASSERT_EQ(outlook.ListItems(olContact, folder, items), S_OK);
  EXPECT_EQ(items.at(1).entryId, ids[1]);
  EXPECT_EQ(items.at(1).name, u"b");
  EXPECT_EQ(items.at(0).modified, datas.at(0).modified);
}

TEST_F(OutlookManagerTest, WhatIsNotThereFailsWithClearedOutsAndAReason) {
  const std::u16string id = Create(Named(u"a"));
  ASSERT_EQ(outlook.DeleteItem(olContact, id), S_OK);
  const auto item = MakeContactItem(Named(u"b"));
  for (const std::u16string& gone : {id, std::u16string(), std::u16string(u"' OR '1'='1")}) {
    int exists = 7;
    OLMetaData data(u"x", 1.0, u"x", u"x");
    ComPtr<IItemCommon> read = item;
    EXPECT_EQ(outlook.IsExistItem(olContact, gone, &exists), S_OK);
    EXPECT_EQ(exists, 0);
    EXPECT_EQ(outlook.GetMetaData(olContact, gone, data), E_FAIL);
    EXPECT_EQ(data.entryId + data.md5, u"");
    EXPECT_EQ(outlook.GetItem(olContact, gone, read), E_FAIL);
    EXPECT_FALSE(read);
    EXPECT_EQ(outlook.UpdateItem(olContact, gone, item), E_FAIL);
    EXPECT_EQ(outlook.DeleteItem(olContact, gone), E_FAIL);
    EXPECT_NE(outlook.lastError().find("no contact"), std::string::npos) << outlook.lastError();
  }
  std::u16string made = u"x";
  std::vector<std::u16string> ids(3);
  EXPECT_EQ(outlook.CreateItem(olContact, u"nowhere", item, made), E_FAIL);
  EXPECT_EQ(made, u"");
  EXPECT_NE(outlook.lastError().find("nowhere"), std::string::npos) << outlook.lastError();
  EXPECT_EQ(outlook.GetEntryIds(olContact, u"nowhere", ids), E_FAIL);
  EXPECT_TRUE(ids.empty());
  EXPECT_EQ(outlook.CreateItem(static_cast<OlObjectClass>(99), folder, item, made), E_FAIL);
  EXPECT_NE(outlook.lastError().find("99"), std::string::npos) << outlook.lastError();
  EXPECT_EQ(outlook.CreateItem(olContact, folder, nullptr, made), E_POINTER);
  int exists = 7;
  EXPECT_EQ(outlook.IsFolderExist(olContact, folder, &exists), 1);
  EXPECT_EQ(exists, 1);
  EXPECT_EQ(outlook.IsFolderExist(olNote, folder, &exists), 1);
  EXPECT_EQ(exists, 0);
}

TEST_F(OutlookManagerTest, AGroupIsKeptOrUndoneAsAWholeAndItsPartsAlone) {
  OutlookManager* told = nullptr;
  TheOutlookSettings().opened = [&](OutlookManager& manager) { told = &manager; };
  OutlookManager other;
  Open(other);
  EXPECT_EQ(told, &other);
  EXPECT_EQ(outlook.Commit(), E_FAIL);
  EXPECT_EQ(outlook.Rollback(), E_FAIL);
  const auto names = [&](OutlookManager& manager) {
    std::vector<OutlookManager::ListedItem> items;
    EXPECT_EQ(manager.ListItems(olContact, manager.DefaultFolder(olContact), items), S_OK);
    std::u16string all;
    for (const auto& item : items) all += item.name;
    return all;
  };
  const auto add = [&](const char16_t* name) {
    std::u16string id;
    EXPECT_EQ(outlook.CreateItem(olContact, outlook.DefaultFolder(olContact),
                                 MakeContactItem(Named(name)), id),
              S_OK);
  };
  for (const bool keep : {false, true}) {
    ASSERT_EQ(outlook.Begin(), S_OK);
    add(u"a");
    for (const bool keepPart : {false, true}) {
      ASSERT_EQ(outlook.Begin(), S_OK);
      add(keepPart ? u"b" : u"x");
      EXPECT_EQ(keepPart ? outlook.Commit() : outlook.Rollback(), S_OK);
    }
    EXPECT_EQ(names(outlook), u"ab");
    EXPECT_EQ(names(other), u"") << "before it is kept";
    EXPECT_EQ(keep ? outlook.Commit() : outlook.Rollback(), S_OK);
    EXPECT_EQ(names(other), keep ? u"ab" : u"");
  }
  // What is open when the manager goes, or takes another profile, is undone.
  ASSERT_EQ(outlook.Begin(), S_OK);
  add(u"c");
  Open(outlook, u"Second");
  EXPECT_EQ(names(other), u"ab");
}

TEST_F(OutlookManagerTest, ProfilesAreFilesOfTheirOwnWhateverTheirName) {
  const std::u16string id = Create(Named(u"a"));
  EXPECT_TRUE(files.Get("pim/deep/Outlook.db"));
  const std::pair<std::u16string, const char*> profiles[] = {
      {u"..", "pim/deep/...db"},         {u"a/..\\b:*?", "pim/deep/a+..+b+++.db"},
      {u"file:x", "pim/deep/file+x.db"}, {std::u16string(u"n\0l\n", 4), "pim/deep/n+l+.db"},
      {u"\u00E4", "pim/deep/\u00E4.db"},
  };
  for (const auto& [profile, file] : profiles) {
    ASSERT_EQ(outlook.initialize(profile), 1) << outlook.lastError();
    EXPECT_TRUE(files.Get(file)) << file;
    EXPECT_TRUE(Failed(outlook.DeleteItem(olContact, id)));
  }
  EXPECT_EQ(outlook.initialize(std::u16string(400, u'n')), 0);
  EXPECT_EQ(outlook.isInitialized(), 0);
  Open(outlook);
  EXPECT_EQ(outlook.initialize(u"Outlook"), 1);
  EXPECT_EQ(Ids(outlook), std::vector<std::u16string>{id});
}

TEST_F(OutlookManagerTest, NothingIsStoredWithoutAChecksum) {
  FailingMd5 broken;
  ScopedService<Md5Provider> use(broken);
  std::u16string id;
  EXPECT_EQ(outlook.CreateItem(olContact, folder, MakeContactItem(Named(u"a")), id), E_FAIL);
  EXPECT_TRUE(Ids(outlook).empty());
}

TEST_F(OutlookManagerTest, DamageIsToldAndNeverHandedOut) {
  const std::u16string id = Create(Named(u"abcdef"));
  const std::u16string other = Create(Named(u"whole"));
  {
    SqliteDatabase db(files.File("pim/deep/Outlook.db"), SqliteDatabase::Durability::Normal);
    db.Execute("UPDATE contents SET content=CAST(replace(content,'cd','xy') AS BLOB)");
  }
  ComPtr<IItemCommon> item;
  EXPECT_EQ(outlook.GetItem(olContact, id, item), E_FAIL);
  EXPECT_NE(outlook.lastError().find("damaged"), std::string::npos) << outlook.lastError();
  EXPECT_EQ(outlook.GetItem(olContact, other, item), S_OK) << outlook.lastError();

  files.Put("pim/deep/rubbish.db", std::string(5000, 'x'));
  EXPECT_EQ(outlook.initialize(u"rubbish"), 0);
  EXPECT_NE(outlook.lastError().find("rubbish.db"), std::string::npos) << outlook.lastError();
  EXPECT_EQ(outlook.isInitialized(), 0);
  std::vector<OLMetaData> datas(2);
  EXPECT_EQ(outlook.GetMetaDatas(olContact, folder, datas, 1), E_FAIL);
  EXPECT_TRUE(datas.empty());
  EXPECT_EQ(outlook.DefaultFolder(olContact), u"");
}

TEST_F(OutlookManagerTest, AFolderThatCannotBeMadeIsNamed) {
  TheOutlookSettings().folder = files.Put("plain file", "x");
  EXPECT_EQ(outlook.initialize(u"x"), 0);
  EXPECT_NE(outlook.lastError().find("plain file"), std::string::npos) << outlook.lastError();
  TheOutlookSettings().folder = "";
  EXPECT_EQ(outlook.initialize(u"x"), 0);
  TheOutlookSettings() = {files.path(), false, false};
  EXPECT_EQ(OutlookManager::isOutlookInstalled(), 0);
  EXPECT_EQ(OutlookManager::isOutlookValid(), 0);
}

}  // namespace
}  // namespace qv::test

// What the stores of contacts and of notes do beyond the contract.
#include <gtest/gtest.h>

#include "framework/class_table.h"
#include "kit/samples.h"

namespace qv {
namespace {

using test::Card;
using test::StoreStack;
using test::Table;

class ContactStore : public testing::Test {
 protected:
  StoreStack s{test::kContactSample};
};

TEST_F(ContactStore, WhatOutlookCannotHoldComesBackFromTheSideTables) {
  const std::string text =
      "BEGIN:VCARD\r\nVERSION:2.1\r\nN:O'Hara;Kim\r\nUID:u'1\r\nX-PET;KIND=cat:it's\r\n"
      "TEL;CELL;X-SECRET:123\r\nEMAIL;INTERNET;HOME:a@x\r\nEMAIL;X-CLUB:b@x\r\n"
      "ADR;DOM;HOME:;;Way 1;Town;;;\r\nEND:VCARD\r\n";
  const std::u16string id = s.Add(text);
  EXPECT_EQ(s.db->Rows(u"ExtraDB", {u"property", u"value"}), (Table{{u"X-PET;KIND=cat", u"it's"}}));
  EXPECT_EQ(s.db->Rows(u"HiddenDB", {u"property"}).size(), 4u);
  const std::string first = s.Get(id);
  for (const char* kept :
       {"UID:u'1\r\n", "X-PET;KIND=cat:it's\r\n", "X-SECRET:123", "X-CLUB:b@x", "DOM"}) {
    EXPECT_NE(first.find(kept), std::string::npos) << kept << "\n" << first;
  }
  EXPECT_EQ(s.Get(id), first) << "reading prunes nothing that is in use";

  Bstr fields;
  ASSERT_EQ(s.store->Replace(Bstr(id), s.Content(Card(1, "u'1", nullptr)).get(), s.mimeType, kFalse,
                             nullptr, fields.Out()),
            S_OK);
  EXPECT_TRUE(s.db->Rows(u"ExtraDB", {u"value"}).empty());
  EXPECT_TRUE(s.db->Rows(u"HiddenDB", {u"value"}).empty());
}

TEST_F(ContactStore, AnotherConfiguredTypeGivesNothingAndSucceeds) {
  const std::u16string id = s.Add(Card(1, "u1", nullptr));
  s.bag->values[u"DataStore.Contact.MimeType"] = u"text/vcard";
  const auto other = s.Another();
  Bstr type;
  Bstr parent;
  ComPtr<IUnknown> item;
  ComPtr<IUnknown> content;
  EXPECT_EQ(other->Get(Bstr(id), kFalse, type.Out(), parent.Out(), item.Out(), content.Out()),
            S_OK);
  EXPECT_EQ(parent.view(), u"/");
  EXPECT_TRUE(type.get() == nullptr && !item && !content);
}

TEST_F(ContactStore, InitializeNeedsItsFolderAndOutlook) {
  struct Case {
    const char16_t* folder;
    bool installed;
    bool valid;
    const char16_t* message;
  };
  const std::u16string good = s.outlookFolder;
  for (const Case& c :
       {Case{u"", true, true, u"[DataStoreContact] Folder Not Exist"},
        Case{u"NO SUCH", true, true, u"[DataStoreContact] Folder Not Exist"},
        Case{good.c_str(), false, true, nullptr}, Case{good.c_str(), true, false, nullptr}}) {
    OutlookManager manager;
    TheOutlookSettings().installed = c.installed;
    TheOutlookSettings().valid = c.valid;
    s.bag->values[u"DataStore.Contact.EntryId"] = c.folder;
    s.log.Clear();
    const auto store = CreateInstance<IDataStore>(ClassId(u"DataStoreContact"));
    store->SetOutlookMgr(ToUnknownArgument(&manager));
    EXPECT_EQ(store->Initialize(s.bag.get()), E_FAIL);
    if (c.message != nullptr) {
      EXPECT_EQ(s.log.Count(c.message), 1u);
    }
    EXPECT_EQ(s.log.Count(u"[QVSyncEngine] CDataStoreContact::Initialize() End"), 0u);
  }
}

class NoteStore : public testing::Test {
 protected:
  std::u16string Add(const char16_t* type, const std::string& text) {
    Bstr id;
    Check(s.store->Add(s.Content(text).get(), Bstr(type), nullptr, id.Out()));
    return id.str();
  }
  std::u16string Match(const char16_t* type, const std::string& text) {
    Bstr found;
    BOOL duplicated = 0;
    auto winner = RESV_CONFLTLASTMODIFIED_NONE;
    Check(s.store->ProcessDuplication(nullptr, s.Content(text).get(), Bstr(type), found.Out(),
                                      &winner, &duplicated));
    return found.str();
  }
  // What a store configured for `type` gives of the item; the status for nothing.
  std::string GetAs(const char16_t* type, const std::u16string& id) {
    s.bag->values[u"DataStore.Note.MimeType"] = type;
    const auto store = s.Another();
    Bstr given, parent;
    ComPtr<IUnknown> item, content;
    const HRESULT status =
        store->Get(Bstr(id), kFalse, given.Out(), parent.Out(), item.Out(), content.Out());
    if (Failed(status)) return status == E_FAIL && !content ? "nothing" : "wrong";
    EXPECT_EQ(given.view(), type);
    return ContentBytes(content.get());
  }

  StoreStack s{test::kNoteSample};
};

TEST_F(NoteStore, TakesThreeTypesInAnyCaseAndGivesThemAsSpelled) {
  const std::u16string id = Add(u"TEXT/Plain", "gr\xFC\xDF dich");
  EXPECT_EQ(GetAs(u"text/plain", id), "gr\xFC\xDF dich");
  EXPECT_EQ(GetAs(u"TEXT/PLAIN", id), "nothing");
  for (const char16_t* type : {u"text/vnote", u"text/x-vnote"}) {
    const std::string text = GetAs(type, id);
    EXPECT_NE(text.find("=C3=BC=C3=9F dich"), std::string::npos) << text;
  }
  EXPECT_NE(Add(u"Text/X-vNote", test::VNote(1, "u", nullptr)), u"");
}

TEST_F(NoteStore, PlainTextLeavesTheExtrasWhereTheyAre) {
  const std::string text = "BEGIN:VNOTE\r\nVERSION:1.1\r\nBODY:b\r\nX-COLOR:red\r\nEND:VNOTE\r\n";
  const std::u16string id = Add(u"text/vnote", text);
  EXPECT_EQ(GetAs(u"text/plain", id), "b");
  EXPECT_EQ(s.db->Rows(u"ExtraDB", {u"property"}), (Table{{u"X-COLOR"}}));
  EXPECT_NE(GetAs(u"text/vnote", id).find("X-COLOR:red\r\n"), std::string::npos);
}

TEST_F(NoteStore, PlainTextsEndAtTheirFirstNulAndMatchByTheirWords) {
  const std::u16string words = Add(u"text/plain", "same words");
  const std::u16string empty = Add(u"text/plain", "");
  ASSERT_EQ(s.store->PrepareSlowSync(), S_OK);
  EXPECT_EQ(Match(u"text/plain", std::string("\0behind", 7)), empty);
  EXPECT_EQ(Match(u"text/plain", std::string("same words\0behind", 17)), words);
}

TEST_F(NoteStore, KnowsNeitherExceptionsNorAFilter) {
  Bstr match(u"poison");
  BOOL conflicted = 7;
  EXPECT_EQ(s.store->ProcessConflictSubRecur(Bstr(u"any"), match.Out(), &conflicted), S_OK);
  EXPECT_EQ(conflicted, kFalse);
  EXPECT_EQ(match.get(), nullptr);
  EXPECT_FALSE(Query<IDataStoreFilter>(s.store));
}

}  // namespace
}  // namespace qv

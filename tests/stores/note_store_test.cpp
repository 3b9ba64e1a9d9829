#include <gtest/gtest.h>

#include "framework/class_table.h"
#include "kit/samples.h"

namespace qv {
namespace {

using test::StoreStack;
using test::Table;

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

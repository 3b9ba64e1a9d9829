#include "pim/contact_document.h"

#include <gtest/gtest.h>

#include "support/text.h"

namespace qv {
namespace {

constexpr const char* kHead = "<contact xmlns='http://schemas.microsoft.com/Contact' Version='1'>";

ContactDocument Parsed(const std::string& bytes) {
  std::string why;
  auto contact = ContactDocument::Parse(bytes, why);
  if (!contact) throw std::runtime_error(why);
  return std::move(*contact);
}

TEST(ContactDocument, WhatIsNoContactIsRefusedWithItsReason) {
  std::string laughs = "<!DOCTYPE x [<!ENTITY a \"ha\">";
  for (char c = 'b'; c < 'k'; ++c) {
    laughs += std::string("<!ENTITY ") + c + " \"";
    for (int i = 0; i < 10; ++i) laughs += std::string("&") + static_cast<char>(c - 1) + ";";
    laughs += "\">";
  }
  const std::pair<std::string, const char*> kRows[] = {
      {"", "empty"},
      {"no XML", "line 1"},
      {std::string(kHead) + "<Notes>cut", "line 1"},
      {"<vcard/>", "vcard"},
      {"<contact/>", "outermost"},
      {"<c:contact xmlns:c='http://schemas.microsoft.com/Contact' c:Version='2'/>", "version 2"},
      {laughs + "]>" + kHead + "<Notes>&j;</Notes></contact>", "DOCTYPE"},
      {"<!DOCTYPE x SYSTEM 'file:///etc/passwd'>" + std::string(kHead) + "</contact>", "DOCTYPE"},
  };
  for (const auto& [bytes, word] : kRows) {
    std::string why;
    EXPECT_FALSE(ContactDocument::Parse(bytes, why)) << bytes.substr(0, 60);
    EXPECT_NE(why.find(word), why.npos) << why;
  }
}

TEST(ContactDocument, RemovedNodesHaveNoNumberAndGapsClose) {
  ContactDocument contact = Parsed(
      std::string(kHead) +
      "<UrlCollection xmlns:i='http://www.w3.org/2001/XMLSchema-instance'><Url i:nil='true'/>"
      "<Url><Value>a</Value></Url><Url i:nil='true'/><Url><Value i:nil='true'/></Url>"
      "<Url><Value>c</Value><Value>second</Value></Url></UrlCollection></contact>");
  const auto value = [&](int number) {
    std::u16string text;
    const std::u16string path = u"UrlCollection/Url[" + Decimal(number) + u"]/Value";
    const auto found = contact.GetString(path, text);
    if (found == ContactDocument::Found::NoNode) return std::u16string(u"no node");
    return found == ContactDocument::Found::NoValue ? std::u16string(u"no value") : text;
  };
  const auto values = [&] {
    return value(1) + u"," + value(2) + u"," + value(3) + u"," + value(4);
  };
  EXPECT_EQ(values(), u"a,no value,c,no node");
  EXPECT_FALSE(contact.IsChanged());
  EXPECT_TRUE(contact.MoveNode(u"UrlCollection/Url[3]", 1));
  EXPECT_EQ(values(), u"c,a,no value,no node");
  EXPECT_TRUE(contact.DeleteNode(u"UrlCollection/Url[2]"));
  EXPECT_EQ(values(), u"c,no value,no node,no node");
  const std::u16string node = contact.CreateNode(u"UrlCollection");
  EXPECT_EQ(node, u"UrlCollection/Url[3]");
  EXPECT_TRUE(contact.SetString(node + u"/Value", u"<&\x0B>"));
  EXPECT_EQ(values(), u"c,no value,<& >,no node");
  for (const char16_t* none : {u"UrlCollection/Url[0]/Value", u"UrlCollection/Url/Value", u"/",
                               u"UrlCollection/Url[4]/Value", u"A/B[1]/C[1]/D", u"Url[1]/x/y"}) {
    EXPECT_FALSE(contact.SetString(none, u"x")) << ToUtf8(none);
  }
  EXPECT_EQ(Parsed(contact.Bytes()).Bytes(), contact.Bytes());
}

}  // namespace
}  // namespace qv

#include "support/xml/xml_tree.h"

#include <gtest/gtest.h>

#include <random>

#include "kit/platform_fakes.h"
#include "platform/com/status_error.h"
#include "support/text.h"
#include "support/xml/base64.h"

namespace qv {
namespace {

XmlTreeNode Parse(std::u16string text, std::u16string_view root = {}) {
  XmlResults results;
  return ParseXmlText(std::move(text), root, results);
}

TEST(XmlTreeTest, TextsAreWrittenAsTheyWereRead) {
  // What is read, and what is written for it; null for the same.
  const struct {
    const char16_t* text;
    const char16_t* written;
  } kCases[] = {
      {u"<a/>", nullptr},
      {u"\uFEFF <a x='1' y=2 z w = \"&lt;&#x1F600;\t\n\" ></a>",
       u"<a x=\"1\" y=\"2\" z=\"\" w=\"&lt;\xD83D\xDE00\t\n\"/>"},
      {u"<?xml version='1.0'?><!-- & <x> --><a><![CDATA[<&]]>b<c/> d </a>",
       u"<?xml version=\"1.0\"?><!-- & <x> --><a><![CDATA[<&]]>b<c/> d </a>"},
      {u"<!DOCTYPE a [<!ENTITY x 'y'>]><a/>", u"<!DOCTYPE a [<!ENTITY x 'y'>]&gt;<a/>"},
      {u"<a><PRE>&<</PRE><pre>&amp;</pre></a>", nullptr},
      {u"<a>&AMP;&Quot;&apos;&#65;&#x42;&gt;</a>", u"<a>&amp;&quot;&apos;AB&gt;</a>"},
      {u"<a>\n  <b/>\n</a>\n", u"<a><b/></a>"},
      {u"<a>&#32;&#10;</a>", u"<a>&#32;\n</a>"},
      {u"<PRE ><b/></PRE>", nullptr},
      {u"&#xFEFF;<a/>", u"&#65279;<a/>"},
      {u"<a b='1' b='2'/><c/>", u"<a b=\"1\" b=\"2\"/><c/>"},
  };
  for (const auto& [text, written] : kCases) {
    XmlResults results;
    const XmlTreeNode top = ParseXmlText(text, {}, results);
    EXPECT_EQ(results.error, XmlError::None) << ToUtf8(text);
    EXPECT_EQ(ToUtf8(top.ToText(false)), ToUtf8(written == nullptr ? text : written));
    const std::u16string formatted = top.ToText(true);
    const XmlTreeNode again = Parse(formatted);
    EXPECT_EQ(again.ToText(false), top.ToText(false)) << ToUtf8(formatted);
    EXPECT_EQ(again.ToText(true), formatted);
  }
}

TEST(XmlTreeTest, TroubleIsNamedWithItsPlace) {
  const struct {
    const char16_t* text;
    XmlError error;
    int line;
    int column;
    const char16_t* root = u"";
  } kCases[] = {
      {u"", XmlError::Empty, 1, 1},
      {u"only text", XmlError::NoTag, 1, 1},
      {u"<?xml?><!-- -->", XmlError::NoElements, 1, 1},
      {u"<a>\n<>", XmlError::MissingName, 2, 1},
      {u"<a>\r\n x</></a>", XmlError::MissingEndName, 2, 3},
      {u"<a><b></a></b>", XmlError::UnmatchedEnd, 1, 7},
      {u"</a>", XmlError::UnmatchedEnd, 1, 1},
      {u"<a x=http://y/z/></a>", XmlError::UnmatchedEnd, 1, 18},
      {u"<a><!-- ", XmlError::UnclosedClear, 1, 4},
      {u"<a><![cdata[x]]></a>", XmlError::UnmatchedEnd, 1, 17},
      {u"<a b=\"c></a>", XmlError::UnexpectedToken, 1, 6},
      {u"<a <b/></a>", XmlError::UnexpectedToken, 1, 1},
      {u"<a =\"1\"/>", XmlError::UnexpectedToken, 1, 4},
      {u"<a", XmlError::UnexpectedToken, 1, 1},
      {u"<a>&nbsp;</a>", XmlError::UnknownEntity, 1, 4},
      {u"<a>x &amp</a>", XmlError::UnknownEntity, 1, 6},
      {u"<a b='&#12'/>", XmlError::UnknownEntity, 1, 7},
      {u"<a>&#0;&#x110000;</a>", XmlError::UnknownEntity, 1, 4},
      {u"<a>&#x110000;</a>", XmlError::UnknownEntity, 1, 4},
      {u"<a>&#xG;</a>", XmlError::UnknownEntity, 1, 4},
      {u"<!DOCTYPE a [<!ENTITY b '1'><!ENTITY c '&b;&b;'>]><a>&c;</a>", XmlError::UnexpectedToken,
       1, 40},
      {u"<b/>", XmlError::RootNotFound, 1, 1, u"a"},
  };
  for (const auto& [text, error, line, column, root] : kCases) {
    XmlResults results;
    EXPECT_FALSE(ParseXmlText(text, root, results)) << ToUtf8(text);
    EXPECT_EQ(results.error, error) << ToUtf8(text);
    EXPECT_EQ(results.line, line) << ToUtf8(text);
    EXPECT_EQ(results.column, column) << ToUtf8(text);
  }
  XmlResults results;
  EXPECT_EQ(ToUtf8(ParseXmlText(u"<a><b>", u"a", results).ToText(false)), "<a><b/></a>");
  EXPECT_EQ(results.error, XmlError::MissingEnd);
  EXPECT_EQ(XmlErrorText(static_cast<XmlError>(21)), u"Unknown");
  EXPECT_EQ(XmlErrorText(XmlError::Base64Buffer),
            u"Error: Base64 decode output buffer is too small");
}

TEST(XmlTreeTest, TreesAreBuiltAndTakenApart) {
  XmlTreeNode child;
  {
    XmlTreeNode top = XmlTreeNode::CreateTop(u"Msg");
    top.AddAttribute(u"a", u"<'1'>");
    top.AddText(u"&");
    top.AddChild(u"z");
    top.AddChild(u"x", 0).AddText(u"one");
    child = top.AddChild(u"y", 1);
    top.AddClear({u"c", u"<!--", u"-->"});
    EXPECT_EQ(ToUtf8(top.ToText(false)),
              "<Msg a=\"&lt;&apos;1&apos;&gt;\">&amp;<x>one</x><y/><z/><!--c--></Msg>");
    EXPECT_EQ(top.ChildCount(), 3);
    EXPECT_EQ(top.Child(2).Name(), u"z");
    EXPECT_EQ(top.Child(0).Text(), u"one");
    EXPECT_EQ(top.Clear(0).value, u"c");
    EXPECT_FALSE(top.Child(u"X"));
    top.DeleteChild(top.Child(u"x"));
    EXPECT_EQ(top.Child(0).Name(), u"y");
    EXPECT_FALSE(top.Child(2));
  }
  EXPECT_EQ(child.Parent().Name(), u"Msg");
  EXPECT_EQ(Parse(std::u16string(u"<a/>\0\0</b>", 10)).ToText(false), u"<a/>");
  XmlTreeNode declared = XmlTreeNode::CreateTop(u"xml", true);
  declared.AddAttribute(u"version", u"1.0");
  declared.AddChild(u"a").AddChild(u"b");
  EXPECT_EQ(ToUtf8(declared.ToText(true)), "<?xml version=\"1.0\"?>\n<a>\n\t<b/>\n</a>\n");
  XmlTreeNode none;
  EXPECT_FALSE(none.AddChild(u"a"));
  none.AddText(u"a");
  EXPECT_TRUE(none.ToText(true).empty());
  EXPECT_FALSE(none.Child(u"a").Child(3).Attribute(u"b"));
  const XmlTreeNode pairs = Parse(u"<p><a n='1'/>t<b/><a n='2' n='3'/></p>").Child(u"p");
  size_t at = 0;
  EXPECT_EQ(pairs.Child(u"a", at).Attribute(u"n"), u"1");
  const XmlTreeNode second = pairs.Child(u"a", at);
  EXPECT_FALSE(pairs.Child(u"a", at));
  at = 0;
  EXPECT_EQ(second.Attribute(u"n", at), u"2");
  EXPECT_EQ(second.Attribute(u"n", at), u"3");
  EXPECT_FALSE(second.Attribute(u"n", at));
}

bool EndsWithText(const XmlTreeNode& node) {
  const std::u16string text = node.ToText(false);
  return !text.ends_with(u"/>") && text[text.rfind(u'<') - 1] == u'!';
}

TEST(XmlTreeTest, AnyTreeComesBackTheSameTwice) {
  std::mt19937 random(5);
  constexpr std::u16string_view kSigns = u"a<>&\"' \n\u00E4]-";
  const auto text = [&] {
    std::u16string value(1 + random() % 5, u'x');
    for (char16_t& sign : value) sign = kSigns[random() % kSigns.size()];
    return value + u"!";  // no text of white space alone
  };
  for (int round = 0; round < 500; ++round) {
    XmlTreeNode top = XmlTreeNode::CreateTop({});
    std::vector<XmlTreeNode> nodes{top.AddChild(u"root")};
    for (int step = 0; step < 20; ++step) {
      XmlTreeNode node = nodes[random() % nodes.size()];
      const int what = static_cast<int>(random() % 5);
      if (what < 2) nodes.push_back(node.AddChild(what == 0 ? u"a" : u"b"));
      if (what == 2) node.AddAttribute(u"n", text());
      // Two texts side by side would come back as one.
      if (what == 3 && !EndsWithText(node)) node.AddText(text());
      if (what == 4) node.AddClear({u"&<x", u"<![CDATA[", u"]]>"});
    }
    const std::u16string plain = top.ToText(false);
    const std::u16string formatted = top.ToText(true);
    ASSERT_EQ(Parse(plain).ToText(false), plain);
    ASSERT_EQ(Parse(formatted).ToText(false), plain) << ToUtf8(formatted);
    ASSERT_EQ(Parse(formatted).ToText(true), formatted);
  }
}

TEST(XmlTreeTest, DepthAndWidthAreNoTrouble) {
  std::u16string deep;
  for (int i = 0; i < 100'000; ++i) deep += u"<a>";
  for (int i = 0; i < 100'000; ++i) deep += u"</a>";
  const XmlTreeNode top = Parse(deep);
  ASSERT_TRUE(top);
  EXPECT_EQ(Parse(top.ToText(true)).ToText(false), top.ToText(false));
  EXPECT_TRUE(Parse(deep.substr(0, 300'000)));
  std::u16string wide = u"<a>t";
  for (int i = 0; i < 100'000; ++i) wide += u"<b/>";
  const XmlTreeNode many = Parse(wide + u"</a>").Child(u"a");
  for (int32_t i = 0; i < many.ChildCount(); ++i) ASSERT_TRUE(many.Child(i));
  for (int32_t i = many.ChildCount(); i-- > 0;) ASSERT_TRUE(many.Child(i));
  const XmlTreeNode mixed = Parse(u"<a>1<b/>2<!--3--><c/>4<!--5--></a>").Child(u"a");
  for (const int32_t i : {1, 0, 2, 1}) {
    EXPECT_EQ(mixed.Text(i), std::u16string(1, u"124"[i]));
    EXPECT_EQ(mixed.Child(i % 2).Name(), std::u16string(1, u"bc"[i % 2]));
    EXPECT_EQ(mixed.Clear(i % 2).value, std::u16string(1, u"35"[i % 2]));
  }
}

TEST(XmlTreeTest, FilesSayWhatTheyAreOrAreGuessed) {
  const test::TempFolder folder;
  const std::u16string path = folder.ModulePath(u"a.xml");
  const std::string wide = ToUtf16Le(u"<a>\u0416</a>");
  const struct {
    std::string bytes;
    const char16_t* text;
    XmlError error = XmlError::None;
  } kCases[] = {
      {"\xFF\xFE" + wide, u"\u0416"},
      {wide, u"\u0416"},
      {"\xFE\xFF" + wide, u"\u0416"},
      {"\xEF\xBB\xBF<a>\xD0\x96</a>", u"\u0416"},
      {"<a>\xE4</a>", u"\u00E4"},
      {"", u"", XmlError::Empty},
      {"\xEF\xBB\xBF<a>\xD0</a>", u"", XmlError::CannotConvert},
  };
  for (const auto& [bytes, text, error] : kCases) {
    folder.Put("a.xml", bytes);
    XmlResults results;
    const XmlTreeNode top = ParseXmlFile(path, u"a", results);
    EXPECT_EQ(results.error, error);
    EXPECT_EQ(top.Child(u"a").Text(), text);
  }
  XmlResults results;
  folder.Put("a.xml", "\xEF\xBB\xBF<a>\xE4</a>");
  EXPECT_EQ(ParseXmlFile(path, u"a", results, false).Child(u"a").Text(), u"\u00E4")
      << "nothing is guessed: the mark is text";
  EXPECT_FALSE(ParseXmlFile(folder.ModulePath(u"b.xml"), {}, results));
  EXPECT_EQ(results.error, XmlError::FileNotFound);

  test::RecordingLog log;
  const ScopedService<DebugLog> useLog(log);
  folder.Put("a.xml", "<b/>");
  EXPECT_FALSE(OpenXmlFile(path, u"a"));
  ASSERT_EQ(log.lines().size(), 2u);
  EXPECT_NE(log.lines()[1].find(u"First Tag should be 'a'"), std::u16string::npos);

  EXPECT_EQ(Parse(u"<a b='1'><c/></a>").WriteFile(path, true), XmlError::None);
  EXPECT_EQ(folder.Get("a.xml"),
            "\xFF\xFE" + ToUtf16Le(u"<?xml version=\"1.0\" encoding=\"utf-16\"?>\n"
                                   u"<a b=\"1\">\n\t<c/>\n</a>\n"));
  EXPECT_EQ(Parse(u"<?xml version='1.1'?><a/>").WriteFile(path, false), XmlError::None);
  EXPECT_EQ(folder.Get("a.xml"), "\xFF\xFE" + ToUtf16Le(u"<?xml version=\"1.1\"?><a/>"));
  EXPECT_EQ(Parse(u"<a><?pi x?></a>").Child(u"a").WriteFile(path, false), XmlError::None);
  EXPECT_EQ(folder.Get("a.xml"),
            "\xFF\xFE" + ToUtf16Le(u"<?xml version=\"1.0\" encoding=\"utf-16\"?>\n"
                                   u"<a><?pi x=\"\"?></a>"));
  EXPECT_EQ(Parse(u"<a/>").WriteFile(folder.ModulePath(u"no\\a.xml"), true), XmlError::CannotOpen);
  test::FailingFiles files;
  const ScopedService<Files> useFiles(files);
  files.FailAt(1, EDQUOT);
  EXPECT_EQ(Parse(u"<a/>").WriteFile(path, true), XmlError::CannotWrite);
  files.FailAt(0, ENOSPC);
  EXPECT_EQ(Parse(u"<a/>").WriteFile(path, true), XmlError::CannotOpen);
  EXPECT_EQ(XmlTreeNode().WriteFile(folder.ModulePath(u"none.xml"), true), XmlError::None);
  EXPECT_FALSE(folder.Get("none.xml"));
}

TEST(XmlTreeTest, Base64IsDecodedOrRefused) {
  const struct {
    const char16_t* text;
    const char* bytes;
    XmlError error = XmlError::None;
    size_t limit = 10;
  } kCases[] = {
      {u"", ""},
      {u"QU JD\r\nRA==", "ABCD"},
      {u"QUJDRA", "ABC", XmlError::Base64Length},
      {u"QUJDR===", "ABC", XmlError::Base64Truncated},
      {u"QUJD*A==", "", XmlError::Base64Character},
      {u"QQ==QQ==", "", XmlError::Base64Character},
      {u"QUJD", "", XmlError::Base64Buffer, 2},
  };
  for (const auto& [text, bytes, error, limit] : kCases) {
    XmlError got = XmlError::Empty;
    EXPECT_EQ(DecodeBase64(text, got, limit), bytes) << ToUtf8(text);
    EXPECT_EQ(got, error) << ToUtf8(text);
  }
}

}  // namespace
}  // namespace qv

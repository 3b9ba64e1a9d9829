#include "items/folder_document.h"

#include <gtest/gtest.h>

#include "kit/platform_fakes.h"
#include "platform/system/utf8.h"
#include "support/date_time.h"

namespace qv {
namespace {

class FolderDocument : public testing::Test {
 protected:
  test::FixedZone zone_{"CET-1CEST,M3.5.0,M10.5.0/3"};
  ScopedService<TimeZone> scope_{zone_};
};

TEST_F(FolderDocument, ReadsNames) {
  using namespace std::string_literals;
  const struct {
    std::string text;
    std::u16string name;
  } kRows[] = {
      {"<Folder><name>News</name></Folder>", u"News"},
      {"\xEF\xBB\xBF<?xml version='1.0'?>\r\n<Folder>\r\n<name> a\tb </name>\r\n</Folder>\r\n",
       u" a\tb "},
      {"\xFE\xFF\0<\0F\0o\0l\0d\0e\0r\0>\0<\0n\0a\0m\0e\0>\x5C\x71\0<\0/\0n\0a\0m\0e\0>"
       "\0<\0/\0F\0o\0l\0d\0e\0r\0>"s,
       u"\u5C71"},
      {"<o:FOLDER xmlns:o='a>b' c=\"'>\"><o:Name x='/'>a</o:Name ></o:FOLDER>", u"a"},
      {"<!DOCTYPE Folder [<!ENTITY a '>'><!-- don't ]> --><?p '?>]><Folder><name>a</name></Folder>",
       u"a"},
      {"<!-- <Folder> --><?p <a>?><Folder><name>a<!-- b -->c<?d?>e</name></Folder><!-- -->",
       u"ace"},
      {"<Folder><name><![CDATA[a&amp;<b>]]>]]&gt;c</name></Folder>", u"a&amp;<b>]]>c"},
      {"<Folder><name>&lt;&gt;&amp;&quot;&apos;&#65;&#x1F600;&#0066;</name></Folder>",
       u"<>&\"'A\U0001F600B"},
      {"<Folder><name>&#0;&#xD800;&#x110000;&#99999999999;&#1;\x01\xFF</name></Folder>",
       u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"<Folder><name>a & b &nbsp; &#; &#x; &#65</name></Folder>", u"a & b &nbsp; &#; &#x; &#65"},
      {"<Folder><Ext><name>b</name><Folder><name>c</name></Folder></Ext><name/><name> </name>"
       "<name>a</name><name>d</name></Folder>",
       u"a"},
  };
  for (const auto& row : kRows) {
    const std::optional<Folder> folder = ParseFolderDocument(row.text);
    ASSERT_TRUE(folder) << row.text;
    EXPECT_EQ(folder->name, row.name) << row.text;
    EXPECT_TRUE(folder->fields.isFolder);
    EXPECT_EQ(ParseFolderDocument(WriteFolderDocument(*folder))->name, row.name) << row.text;
  }
}

TEST_F(FolderDocument, IsNoneWhenIllFormedOrWithoutAName) {
  std::string deep = "<Folder><name>a</name>";
  for (int i = 0; i < 100000; ++i) deep += "<a>";
  for (const std::string& bad : {
           std::string(),
           std::string("News"),
           std::string("<name>a</name>"),
           std::string("<Folder/>"),
           std::string("<Folder><name> &#32;\n</name></Folder>"),
           std::string("<Folder><x><name>a</name></x></Folder>"),
           std::string("<Folder><name>a</name>"),
           std::string("<Folder><name>a</Folder></name>"),
           std::string("<Folder><name>a</NAME></Folder>"),
           std::string("<Folder><name>a</name></Folder></Folder>"),
           std::string("<Folder><name>a</name></Folder><Folder/>"),
           std::string("<Folder><name>a</name></Folder>b"),
           std::string("<Folder><name>a</name></Folder"),
           std::string("<Folder><name>a</name><b c='></b></Folder>"),
           std::string("<Folder><name>a</name>< b/></Folder>"),
           std::string("<Folder><name>a</name><b<c/></Folder>"),
           std::string("<Folder><name>a</name><!-- </Folder>"),
           std::string("<Folder><name>a</name><![CDATA[ </Folder>"),
           std::string("<Folder><!DOCTYPE a><name>a</name></Folder>"),
           std::string("<![CDATA[ ]]><Folder><name>a</name></Folder>"),
           std::string("<!DOCTYPE Folder [<!ENTITY a '>]><Folder><name>a</name></Folder>"),
           deep,
       }) {
    EXPECT_FALSE(ParseFolderDocument(bad)) << bad.substr(0, 80);
  }
}

TEST_F(FolderDocument, HoldsLocalTimesWhereTheTextHoldsUtc) {
  const std::optional<Folder> folder = ParseFolderDocument(
      "<Folder><created>\n 2024-01-15T23:00:00Z </created><accessed>soon</accessed>"
      "<name>a</name><modified>20240716T010000+0200</modified></Folder>");
  ASSERT_TRUE(folder);
  EXPECT_EQ(FormatDateTime(folder->created), u"2024-01-16 00:00:00");
  EXPECT_EQ(FormatDateTime(folder->modified), u"2024-07-16 01:00:00");
  EXPECT_EQ(folder->accessed, 0.0);
  EXPECT_EQ(folder->fields.objModified, folder->modified);
  EXPECT_EQ(WriteFolderDocument(*folder),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<Folder><name>a</name><created>20240115T230000Z</created>"
            "<modified>20240715T230000Z</modified><accessed></accessed></Folder>\n");
}

TEST_F(FolderDocument, WritesWhatXmlCannotHoldAsReplacements) {
  Folder folder;
  folder.name = std::u16string(u"<&>\"\r\n\t\x01\0\xFFFE", 10) + char16_t{0xD800} + u"\U0001F600";
  const std::string text = WriteFolderDocument(folder);
  EXPECT_NE(text.find("<name>&lt;&amp;&gt;\"&#13;&#10;\t\uFFFD\uFFFD\uFFFD\uFFFD\U0001F600</name>"),
            text.npos)
      << text;
  EXPECT_EQ(ParseFolderDocument(text)->name, u"<&>\"\r\n\t\uFFFD\uFFFD\uFFFD\uFFFD\U0001F600");
}

}  // namespace
}  // namespace qv

// Bookmark pages: those of several browsers, broken ones, large ones, and our own read back.
#include "host/bookmark_page.h"

#include <gmock/gmock.h>

#include <ostream>

namespace qv {

bool operator==(const PageEntry& a, const PageEntry& b) {
  return a.title == b.title && a.url == b.url && a.isFolder == b.isFolder && a.depth == b.depth &&
         a.added == b.added;
}

void PrintTo(const PageEntry& entry, std::ostream* out) {
  *out << entry.depth << (entry.isFolder ? " folder \"" : " \"") << entry.title << "\" <"
       << entry.url << "> " << entry.added;
}

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Optional;

PageEntry Folder(size_t depth, const std::string& title, int64_t added = 0) {
  return {title, "", true, depth, added};
}

PageEntry Link(size_t depth, const std::string& title, const std::string& url, int64_t added = 0) {
  return {title, url, false, depth, added};
}

// One bookmark in a list.
std::string PageOf(const std::string& anchor) {
  return std::string("<!DOCTYPE NETSCAPE-Bookmark-file-1>\n<DL><p>\n<DT>")
      .append(anchor)
      .append("\n</DL><p>\n");
}

TEST(BookmarkPageTest, ReadsUnclosedItemsWithDescriptionsRulesAndIcons) {
  EXPECT_THAT(
      ReadBookmarkPage(
          "<!DOCTYPE NETSCAPE-Bookmark-file-1>\n<!-- Generated. DO NOT EDIT! -->\n"
          "<META HTTP-EQUIV=\"Content-Type\" CONTENT=\"text/html; charset=UTF-8\">\n"
          "<meta http-equiv=\"Content-Security-Policy\" content=\"img-src data: *\"></meta>\n"
          "<TITLE>Bookmarks</TITLE>\n<H1>Menu</H1>\n\n<DL><p>\n"
          "    <DT><H3 ADD_DATE=\"1700000000\" LAST_MODIFIED=\"1700000001\" "
          "PERSONAL_TOOLBAR_FOLDER=\"true\">Leiste &auml;&#246;\xC3\xBC</H3>\n"
          "    <DD>A folder &lt;DL&gt; of mine\n    <DL><p>\n"
          "        <DT><A HREF=\"https://example.org/?a=1&amp;b=2&copy=3\" ADD_DATE=\"1700000002\" "
          "ICON_URI=\"https://example.org/i.ico\" ICON=\"data:image/png;base64,iVBORw0KGgo=\" "
          "LAST_CHARSET=\"UTF-8\" TAGS=\"a,b\">Tom &amp;\n  Jerry</A>\n"
          "<DD>What it is about\n        <HR>        <DT><H3>Empty</H3>\n        <DL><p>\n"
          "        </DL><p>\n        <DT><A HREF=\"place:sort=8\">Recent</A>\n    </DL><p>\n"
          "    <DT><A HREF=\"javascript:alert('x')\">Run</A>\n</DL>\n"),
      Optional(
          ElementsAre(Folder(0, "Leiste \xC3\xA4\xC3\xB6\xC3\xBC", 1700000000),
                      Link(1, "Tom & Jerry", "https://example.org/?a=1&b=2&copy=3", 1700000002),
                      Folder(1, "Empty"), Link(1, "Recent", "place:sort=8"),
                      Link(0, "Run", "javascript:alert('x')"))));
}

TEST(BookmarkPageTest, ReadsLinesEndedByCarriageReturnsAndAMark) {
  EXPECT_THAT(
      ReadBookmarkPage(
          "\xEF\xBB\xBF\r\n<!DOCTYPE netscape-bookmark-file-1>\r\n<TITLE>Bookmarks</TITLE>\r\n"
          "<H1>Bookmarks</H1>\r\n<DL><p>\r\n    <DT><H3 FOLDED ADD_DATE=\"1700000000\">Links</H3>"
          "\r\n    <DL><p>\r\n        <DT><A HREF=\"http://a.example/\" ADD_DATE=\"1700000000\" "
          "LAST_VISIT=\"1700000001\" LAST_MODIFIED=\"1700000002\">A\r\n  b</A>\r\n    </DL><p>\r\n"
          "    <DT><A HREF=\" http://c.example/\r\n\">C</A>\r\n</DL><p>\r\n"),
      Optional(ElementsAre(Folder(0, "Links", 1700000000),
                           Link(1, "A b", "http://a.example/", 1700000000),
                           Link(0, "C", "http://c.example/"))));
}

TEST(BookmarkPageTest, ReadsClosedLowerCaseItemsWithoutTheDoctype) {
  EXPECT_THAT(
      ReadBookmarkPage(
          "<!DOCTYPE html><html><head><meta charset='utf-8'><title>x</title></head><body>\n"
          "<h1>Bookmarks</h1><dl><dt><h3 id=1>One</h3><dl>\n<dt><h3>Two</h3>\n<dl>"
          "<dt><a add_date='1700000000123' href='http://a/'>a <b>b</b></a></dt>\n"
          "</dl></dt><dd><p>Some text</p></dd></dl></dt>\n"
          "<dt><a href='http://c/'></a></dt></dl></body></html>"),
      Optional(ElementsAre(Folder(0, "One"), Folder(1, "Two"),
                           Link(2, "a b", "http://a/", 1700000000), Link(0, "", "http://c/"))));
}

// A list after no heading is no folder, and its entries are not those of the folder before it.
TEST(BookmarkPageTest, ReadsListsThatNoHeadingNames) {
  EXPECT_THAT(
      ReadBookmarkPage("<DL><DT><H3>F</H3><DL></DL><DL><DT><A HREF=x>X</A></DL>"
                       "<DT><H3>G</H3><DT><A HREF=y>Y</A><DL><DT><A HREF=z>Z</A></DL></DL>"),
      Optional(ElementsAre(Folder(0, "F"), Link(0, "X", "x"), Folder(0, "G"), Link(0, "Y", "y"),
                           Link(0, "Z", "z"))));
}

TEST(BookmarkPageTest, ReadsWhatIsCutOffUnclosedOrCannotBeDecoded) {
  EXPECT_THAT(ReadBookmarkPage(PageOf("<A HREF=x>X\n<DT><A HREF=y>Y<DD>text\n<DT><H3>Z</H3></DL>")
                                   .append("</DL></DL><DL><DT><A HREF=w>W")),
              Optional(ElementsAre(Link(0, "X", "x"), Link(0, "Y", "y"), Folder(0, "Z"),
                                   Link(0, "W", "w"))));
  EXPECT_THAT(
      ReadBookmarkPage(PageOf(std::string("<A HREF=x>a < b &unknown; \0c</A><A>n</A>", 41))),
      Optional(ElementsAre(Link(0, "a < b &unknown; c", "x"), Link(0, "n", ""))));
}

TEST(BookmarkPageTest, DecodesByTheMetaOnlyWhatIsNotUtf8) {
  const auto titleOf = [](const std::string& charset, const std::string& title) {
    std::string page = "<!DOCTYPE NETSCAPE-Bookmark-file-1>";
    page.append("<META CONTENT='text/html; CharSet=")
        .append(charset)
        .append("'><DL><DT><A HREF=x>");
    const auto entries =
        ReadBookmarkPage(page.append(title).append("</A><DT><A HREF=y>y</A></DL>"));
    return entries && entries->size() == 2 ? entries->front().title : "not read";
  };
  EXPECT_EQ(titleOf("windows-1252", "\xC3\xA4"), "\xC3\xA4");
  EXPECT_EQ(titleOf("windows-1251", "\xE4"), "\xD0\xB4");
  EXPECT_EQ(titleOf("Shift_JIS", "\x83\x65"), "\xE3\x83\x86");
  EXPECT_EQ(titleOf("iso-8859-1", "\x80\xE4"), "\xE2\x82\xAC\xC3\xA4");
  EXPECT_EQ(titleOf("nonsense", "\xE4"), "\xC3\xA4");
  EXPECT_EQ(titleOf("UTF-8", "\xC3\xA4 \xE4!"), "\xC3\xA4 \xEF\xBF\xBD!");
  EXPECT_EQ(titleOf("UTF-16", "\xC3\xA4 \xE4!"), "\xC3\xA4 \xEF\xBF\xBD!");
}

TEST(BookmarkPageTest, ReadsTimesOfEveryUnit) {
  const std::pair<const char*, int64_t> kCases[] = {{"1700000000", 1700000000},
                                                    {" 1700000000 ", 1700000000},
                                                    {"1700000000999", 1700000000},
                                                    {"1700000000999999", 1700000000},
                                                    {"0", 0},
                                                    {"-5", 0},
                                                    {"", 0},
                                                    {"soon", 0},
                                                    {"17x", 0},
                                                    {"9223372036854775807", 0},
                                                    {"99999999999999999999999999999", 0}};
  for (const auto& [text, added] : kCases) {
    EXPECT_THAT(ReadBookmarkPage(
                    PageOf(std::string("<A HREF=x ADD_DATE=\"").append(text).append("\">t</A>"))),
                Optional(ElementsAre(Link(0, "t", "x", added))))
        << text;
  }
}

TEST(BookmarkPageTest, TellsOtherTextsFromBookmarkPages) {
  for (const char* text :
       {"", " ", "\xEF\xBB\xBF", "plain text", "\xFF\xFE", "BEGIN:VCARD\r\nEND:VCARD\r\n",
        "<!DOCTYPE html><a href=x>x</a>", "<html><h3>News</h3><p>text<dl><dt>t<dd>d</dl></html>",
        "<dl><dt><a name=x>x</a></dl><!DOCTYPE NETSCAPE-Bookmark-file-1>",
        "{\"roots\": {\"url\": \"<!DOCTYPE NETSCAPE\"}}"}) {
    EXPECT_EQ(ReadBookmarkPage(text), std::nullopt) << text;
  }
  EXPECT_THAT(ReadBookmarkPage("\n <!doctype Netscape-BOOKMARK-file-1>"), Optional(ElementsAre()));
}

TEST(BookmarkPageTest, WritesWhatItReads) {
  const std::vector<PageEntry> entries = {
      Link(0, "\"q\" & 'r' <b>bold</b> &amp; &copy; </A>", "http://x/?a=1&b=\"2\"&lt=<c>'#d"),
      Folder(0, "</H3></DL><DL>", 1700000000),
      Link(1, "", "javascript:void(\"a&b\")", 1),
      Folder(1, "\xC3\xA4 \xF0\x9F\x98\x80 \xC2\xA0 <!--", 99'999'999'999),
      Link(2, "-->", "data:text/html,<DL>%0A"),
      Folder(2, ""),
      Folder(1, "no content"),
      Link(1, "last", ""),
      Link(0, "top", "http://\xC3\xA4.example/\xF0\x9F\x98\x80")};
  const std::string page = WriteBookmarkPage(entries);
  EXPECT_THAT(ReadBookmarkPage(page), Optional(entries)) << page;
  EXPECT_THAT(page, HasSubstr("\n    <DT><H3 ADD_DATE=\"1700000000\">&lt;/H3&gt;&lt;/DL&gt;&lt;DL"
                              "&gt;</H3>\n    <DL><p>\n        <DT><A HREF=\"javascript"));
}

TEST(BookmarkPageTest, WritesTitlesAndDepthsAsTheyAreMeant) {
  EXPECT_THAT(
      ReadBookmarkPage(
          WriteBookmarkPage({Link(3, " \t\n ", "x"), Folder(2, " a \n b "), Link(7, "in", "y"),
                             Folder(5, "deep"), Link(6, "deeper", "z"), Link(2, "out", "w")})),
      Optional(ElementsAre(Link(0, "", "x"), Folder(0, "a b"), Link(1, "in", "y"),
                           Folder(1, "deep"), Link(2, "deeper", "z"), Link(0, "out", "w"))));
  EXPECT_THAT(ReadBookmarkPage(WriteBookmarkPage({})), Optional(ElementsAre()));
}

// The time limit of the test is what tells a quadratic parse.
TEST(BookmarkPageTest, ReadsLargeAndDeepPagesWhole) {
  constexpr size_t kCount = 50'000;
  const std::string icon(200, 'A');
  std::string wide = "<!DOCTYPE NETSCAPE-Bookmark-file-1><DL><p>\n<DT><H3>all</H3>\n<DL><p>\n";
  std::string deep = "<!DOCTYPE NETSCAPE-Bookmark-file-1><DL><p>\n";
  for (size_t i = 0; i < kCount; ++i) {
    wide.append("<DT><A HREF=\"http://x/\" ICON=\"data:image/png;base64,").append(icon);
    wide.append("\">\xC3\xA4</A>\n<DD>text\n");
    deep.append("<DT><H3>f</H3><DL><p>\n");
  }
  wide.append("</DL><p><DT><A HREF=\"http://y/\" ICON=\"")
      .append(11'000'000, 'A')
      .append("\">y</A>");
  for (const std::string& page : {wide, std::string(wide).append("\xFF")}) {
    const auto entries = ReadBookmarkPage(page);
    ASSERT_TRUE(entries.has_value());
    ASSERT_EQ(entries->size(), kCount + 2);
    EXPECT_EQ((*entries)[kCount].depth, 1u);
    EXPECT_EQ(entries->back().url, "http://y/");
    EXPECT_EQ(entries->back().depth, 0u);
  }
  const auto folders = ReadBookmarkPage(deep);
  ASSERT_TRUE(folders.has_value());
  EXPECT_EQ(folders->size(), kCount);
  EXPECT_EQ(folders->back().depth, kCount - 1);
}

}  // namespace
}  // namespace qv

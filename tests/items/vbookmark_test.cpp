#include "items/vbookmark.h"

#include <gtest/gtest.h>

#include "kit/platform_fakes.h"
#include "platform/system/utf8.h"
#include "support/date_time.h"

namespace qv {
namespace {

std::string Wrap(const std::string& lines) {
  return "BEGIN:VBKM\r\nVERSION:1.0\r\n" + lines + "END:VBKM\r\n";
}

class VBookmark : public testing::Test {
 protected:
  test::FixedZone zone_;  // UTC
  ScopedService<TimeZone> scope_{zone_};
};

struct Row {
  const char* in;
  const char* out;
};

TEST_F(VBookmark, ReadsEveryFormAndWritesOne) {
  const Row kRows[] = {
      {"URL:http://a/\r\nTITLE:A\r\n", "TITLE:A\r\nURL:http://a/\r\n"},
      {"", "TITLE:\r\nURL:\r\n"},
      {"UID:7\r\nLAST-MODIFIED:2024-01-02T03:04:05Z\r\n",
       "X-IRMC-LUID:7\r\nLAST-MODIFIED:20240102T030405Z\r\nTITLE:\r\nURL:\r\n"},
      {"X-UID:7\r\nUID:8\r\n", "X-IRMC-LUID:7\r\nTITLE:\r\nURL:\r\nUID:8\r\n"},
      {"LAST-MODIFIED:yesterday\r\n", "TITLE:\r\nURL:\r\nLAST-MODIFIED:yesterday\r\n"},
      {"TITLE;CHARSET=ISO-8859-1;ENCODING=QUOTED-PRINTABLE:a=E4=\r\n b\r\n",
       "TITLE;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:a=C3=A4 b\r\nURL:\r\n"},
      {"TITLE;ENCODING=BASE64:QQ==\r\n\r\nURL;ENCODING=BASE64:!\r\n",
       "TITLE:A\r\nURL:\r\nURL;ENCODING=BASE64:!\r\n"},
      {"TITLE:a\r\n b\r\nURL:http://a/\r\n b\r\n\tc\r\n", "TITLE:a b\r\nURL:http://a/bc\r\n"},
      {"URL;ENCODING=QUOTED-PRINTABLE:http:=09//=0D=0Aa=00/\r\n", "TITLE:\r\nURL:http://a/\r\n"},
      {"URL:\t\r\nURL:http://a/\r\nURL:http://b/\r\n",
       "TITLE:\r\nURL:http://a/\r\nURL:http://b/\r\n"},
      {"URL:http://a/;b\\;c\\\\d\\e\r\n", "TITLE:\r\nURL:http://a/;b;c\\\\d\\\\e\r\n"},
      {"a.X-ICON;TYPE=\"x;y\":\\;=\xE4\r\nBEGIN:VCARD\r\nTITLE:x\r\nEND:VCARD\r\nTITLE:A\r\n",
       "TITLE:A\r\nURL:\r\na.X-ICON;TYPE=\"x;y\":\\;=\xE4\r\n"
       "BEGIN:VCARD\r\nTITLE:x\r\nEND:VCARD\r\n"},
  };
  for (const Row& row : kRows) {
    const std::optional<Bookmark> bookmark = ParseVBookmark(Wrap(row.in));
    ASSERT_TRUE(bookmark) << row.in;
    EXPECT_EQ(WriteVBookmark(*bookmark), Wrap(row.out)) << row.in;
    EXPECT_EQ(WriteVBookmark(*ParseVBookmark(Wrap(row.out))), Wrap(row.out)) << row.out;
  }
}

TEST_F(VBookmark, TakesTheFirstWholeOneAndNothingOfOneThatIsCutOff) {
  const std::string text =
      "BEGIN:VBKM\r\nTITLE:cut\r\nURL:cut\r\nUID:1\r\nX-A:b\r\n" + Wrap("TITLE:a\r\n");
  EXPECT_EQ(WriteVBookmark(*ParseVBookmark(text)), Wrap("TITLE:a\r\nURL:\r\n"));
  EXPECT_EQ(VBookmarksIn(text + "between\n" + "begin:vbkm\nend:vbkm\n").size(), 2u);
  for (const char* bad : {"", "URL:x\r\n", "BEGIN:VBKM\r\nURL:x\r\n", "BEGIN:VNOTE\nEND:VNOTE\n"}) {
    EXPECT_FALSE(ParseVBookmark(bad)) << bad;
  }
}

TEST_F(VBookmark, BringsEveryUrlAndTitleBack) {
  Bookmark bookmark;
  for (const char16_t* text :
       {u"http://a/b;c?d=e&f=%41#g", u"file:\\\\host\\a;b\\;", u"=41", u" x ", u"END:VBKM",
        u"http://b\u00FCcher.example/\u5C71\U0001F600", u"javascript:alert('\\\\')"}) {
    bookmark.title = bookmark.url = text;
    const std::optional<Bookmark> again = ParseVBookmark(WriteVBookmark(bookmark));
    ASSERT_TRUE(again) << ToUtf8(text);
    EXPECT_EQ(again->url, text) << ToUtf8(text);
    EXPECT_EQ(again->title, text) << ToUtf8(text);
  }
  bookmark.title = u"a\tb\r\nc";
  EXPECT_EQ(ParseVBookmark(WriteVBookmark(bookmark))->title, bookmark.title);
}

TEST_F(VBookmark, LeavesOutExtrasThatWouldNotComeBack) {
  // A version with an open quote is no extra: it would not be written.
  EXPECT_TRUE(ParseVBookmark(Wrap("version;X\"a:b=\r\n"))->fields.extras.empty());
  Bookmark bookmark;
  bookmark.fields.extras = {{u"END", u"VBKM"}, {u"X-A", u"b"}, {u"X-C", u"d\r\nURL:e"}};
  EXPECT_EQ(WriteVBookmark(bookmark), Wrap("TITLE:\r\nURL:\r\nX-A:b\r\n"));
}

TEST_F(VBookmark, HoldsLocalTimeWhereTheTextHoldsUtc) {
  zone_.Set(ParsePosixZone("CET-1CEST,M3.5.0,M10.5.0/3"));
  const struct {
    const char* utc;
    const char16_t* local;
  } kRows[] = {{"20240115T230000Z", u"2024-01-16 00:00:00"},
               {"20240715T230000Z", u"2024-07-16 01:00:00"}};
  for (const auto& row : kRows) {
    const std::string text =
        Wrap(std::string("LAST-MODIFIED:").append(row.utc) + "\r\nTITLE:\r\nURL:\r\n");
    const std::optional<Bookmark> bookmark = ParseVBookmark(text);
    ASSERT_TRUE(bookmark) << row.utc;
    EXPECT_EQ(FormatDateTime(bookmark->fields.objModified), row.local) << row.utc;
    EXPECT_EQ(WriteVBookmark(*bookmark), text);
  }
  EXPECT_EQ(ParseVBookmark(Wrap("URL:x\r\n"))->fields.objModified, 0.0);
}

}  // namespace
}  // namespace qv

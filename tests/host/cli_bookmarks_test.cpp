// `qvsync` with bookmarks, as a person calls it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/run_program.h"

namespace qv {
namespace {

using test::Outcome;
using test::ProgramFolder;
using testing::HasSubstr;
using testing::Not;

constexpr char kPage[] =
    "<!DOCTYPE NETSCAPE-Bookmark-file-1>\n<TITLE>Bookmarks</TITLE>\n<DL><p>\n"
    "<DT><H3>Work</H3>\n<DL><p>\n<DT><A HREF=\"http://news/?a=1&amp;b=2\">News &amp; more</A>\n"
    "<DT><A HREF=\"http://other/\">News &amp; more</A>\n<DT><H3>Deep</H3>\n<DL><p>\n"
    "<DT><A HREF=\"http://deep/\">a/b: ../c</A>\n</DL><p>\n</DL><p>\n"
    "<DT><A HREF=\"http://top/\"></A>\n<DT><A>No address</A>\n</DL><p>\n";

std::string Vbm(const std::string& title, const std::string& url) {
  return "BEGIN:VBKM\r\nVERSION:1.0\r\nTITLE:" + title + "\r\nURL:" + url + "\r\nEND:VBKM\r\n";
}

TEST(CliBookmarksTest, ABrowsersPageGoesInOnceAndComesOutAgain) {
  ProgramFolder box;
  ASSERT_EQ(box.Run({"init"}).code, 0);
  const std::string page = box.files().Put("page.html", kPage);
  const Outcome added = box.Run({"add", "bookmarks", page});
  EXPECT_EQ(added.out,
            "Work/News & more.url\nWork/News & more(2).url\nWork/Deep/a+b+ ..+c.url\n"
            "http+++top+.url\n");
  EXPECT_EQ(added.code, 1);
  EXPECT_THAT(added.err, HasSubstr("No address: it holds no address (URL)"));
  const Outcome again = box.Run({"add", "bookmarks", page});
  EXPECT_THAT(again.err, HasSubstr("that are there already were left out"));
  const Outcome list = box.Run({"list", "bookmarks"});
  EXPECT_THAT(list.out, HasSubstr("\nWork/ "));
  EXPECT_THAT(list.out, HasSubstr("\n    a+b+ ..+c.url "));
  EXPECT_THAT(box.Run({"list", "bookmarks", "--json"}).out,
              HasSubstr(R"({"id":"Work/Deep/","name":"Deep",)"));
  // The page of one folder, into another profile.
  const std::string out = box.Run({"show", "bookmarks", "--html", "Work"}).out;
  EXPECT_THAT(out, HasSubstr("HREF=\"http://news/?a=1&amp;b=2\""));
  EXPECT_THAT(out, Not(HasSubstr("http://top/")));
  ProgramFolder other;
  ASSERT_EQ(other.Run({"init"}).code, 0);
  EXPECT_EQ(other.Run({"add", "bookmarks", "-"}, out).code, 0);
  EXPECT_EQ(other.files().Get("profile/favorites/Deep/a+b+ ..+c.url"),
            "[InternetShortcut]\r\nURL=http://deep/\r\n");
}

TEST(CliBookmarksTest, TextsAreShownAddedReplacedAndDeleted) {
  ProgramFolder box;
  ASSERT_EQ(box.Run({"init", "--favorites", box.files().File("fav")}).code, 0);
  ASSERT_EQ(box.Run({"add", "bookmarks", "-"}, Vbm("News", "http://news/")).out, "News.url\n");
  box.files().Put("fav/Own.url",
                  "[DEFAULT]\nBASEURL=x\n[InternetShortcut]\nURL=http://own/\nIconIndex=1");
  EXPECT_THAT(box.Run({"show", "bookmarks", "Own.url"}).out, HasSubstr("URL:http://own/\r\n"));
  EXPECT_EQ(box.Run({"replace", "bookmarks", "Own.url", "-"}, Vbm("Mine", "http://mine/")).code, 0);
  EXPECT_EQ(box.files().Get("fav/Mine.url"),
            "[DEFAULT]\nBASEURL=x\n[InternetShortcut]\nURL=http://mine/\nIconIndex=1");
  EXPECT_EQ(box.Run({"delete", "bookmarks", "Mine.url"}).code, 0);
  for (const char* id :
       {"../profile/qvsync.conf", "Mine.url", "/etc/passwd", "News.url/", "..", ""}) {
    EXPECT_NE(box.Run({"show", "bookmarks", id}).code, 0) << id;
    EXPECT_NE(box.Run({"delete", "bookmarks", id}).code, 0) << id;
  }
  EXPECT_TRUE(box.files().Get("profile/qvsync.conf").has_value());
  EXPECT_TRUE(box.files().Get("fav/News.url").has_value());
  EXPECT_EQ(box.Run({"show", "contacts", "--html"}).code, 2);
}

TEST(CliBookmarksTest, WhatCannotBeShownIsNamedWithTheWayOut) {
  ProgramFolder box;
  ASSERT_EQ(box.Run({"init"}).code, 0);
  const std::string url = "[InternetShortcut]\nURL=http://a/\n";
  box.files().Put("profile/favorites/Work/What is C++?.url", url);
  box.files().Put("profile/favorites/Home: 2026/a\n.url", url);
  box.files().Put("profile/favorites/Work/notes 10:30.txt", "theirs");
  const Outcome list = box.Run({"list", "bookmarks"});
  EXPECT_EQ(list.code, 0);
  EXPECT_THAT(list.err, HasSubstr("note: Work/What is C++?.url is there and takes no part"));
  EXPECT_THAT(list.err, HasSubstr("note: Home: 2026/ is there and takes no part"));
  EXPECT_THAT(list.err, HasSubstr("rename it"));
  EXPECT_THAT(list.err, Not(HasSubstr("notes")));
  const Outcome refused = box.Run({"delete", "bookmarks", "Work/"});
  EXPECT_NE(refused.code, 0);
  EXPECT_THAT(refused.err, HasSubstr("it holds Work/What is C++?.url"));
  EXPECT_EQ(box.files().Get("profile/favorites/Work/notes 10:30.txt"), "theirs");
}

TEST(CliBookmarksTest, EqualTitlesOfAPageGoOnWhereTheyEnd) {
  ProgramFolder box;
  ASSERT_EQ(box.Run({"init"}).code, 0);
  const std::string longTitle(251, 'x');
  const std::string head = "<!DOCTYPE NETSCAPE-Bookmark-file-1>\n<DL><p>\n";
  std::string page = head;
  for (const char* url : {"1", "2", "1", "3"}) {
    for (const std::string& title : {std::string("News"), longTitle}) {
      page += "<DT><A HREF=\"http://" + std::string(url) + "/\">" + title + "</A>\n";
    }
  }
  const std::string cut(245, 'x');
  const std::string added = box.Run({"add", "bookmarks", "-"}, page).out;
  for (const char* name : {"News.url", "News(2).url", "News(3).url"}) {
    EXPECT_THAT(added, HasSubstr(std::string(name) + "\n"));
  }
  EXPECT_THAT(added, HasSubstr(longTitle + ".url\n" + "News(2).url"));
  EXPECT_THAT(added, HasSubstr(cut + ".url\n"));
  EXPECT_THAT(added, Not(HasSubstr("(4)")));
  EXPECT_EQ(box.Run({"add", "bookmarks", "-"}, page).out, "");
}

TEST(CliBookmarksTest, AFlatDeviceAndWrongFavoritesAreTold) {
  ProgramFolder box;
  ASSERT_EQ(box.Run({"init", "--flat", "--device", "7"}).code, 0);
  EXPECT_THAT(*box.files().Get("profile/registry.ini"),
              HasSubstr("DeviceDB\\7]\nSupportBookmarkHier=0"));
  const Outcome added = box.Run({"add", "bookmarks", "-"}, kPage);
  EXPECT_THAT(added.err, HasSubstr("the device takes none"));
  EXPECT_TRUE(
      box.files().Get("profile/favorites/Quovia Mobile Bookmarks/a+b+ ..+c.url").has_value());
  ProgramFolder wrong;
  const Outcome refused = wrong.Run({"init", "--favorites", wrong.files().File("a:b")});
  EXPECT_EQ(refused.code, 2);
  EXPECT_THAT(refused.err, HasSubstr("cannot be the Favorites"));
}

}  // namespace
}  // namespace qv

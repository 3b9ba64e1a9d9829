#include "platform/system/internet_shortcut.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "kit/platform_fakes.h"
#include "platform/ansi_page.h"

namespace qv {
namespace {

using test::ScopedAnsiPage;
using test::TempFolder;

TEST(InternetShortcut, TheUrlIsTheFirstBehindTheFirstSection) {
  const struct {
    std::string_view bytes;
    std::u16string_view url;
    bool hasRange;
  } cases[] = {
      {"[InternetShortcut]\r\nURL=http://a/\r\n", u"http://a/", true},
      {"[InternetShortcut]\nURL=http://a/?b=c\n", u"http://a/?b=c", true},
      {"[InternetShortcut]\rURL=http://a/", u"http://a/", true},
      {"\xEF\xBB\xBF[DEFAULT]\r\nBASEURL=http://no/\r\n[InternetShortcut]\r\nIconIndex=1\r\n"
       "URL=http://yes/\r\nURL=http://no/\r\n[InternetShortcut]\r\nURL=http://no/\r\n",
       u"http://yes/", true},
      {"[InternetShortcut]\r\nURL=\r\nModified=0", u"", true},
      {"[InternetShortcut]\r\nURL=", u"", true},
      {"[InternetShortcut]\r\nURL=http://\xFC/", u"http://ü/", true},
      {"URL=http://a/\r\n[InternetShortcut]\r\n", u"", false},
      {"[InternetShortcut.A]\r\nURL=http://a/\r\n", u"", false},
      // As other programs and people write them.
      {"[internetshortcut]\r\nurl=http://a/\r\n", u"http://a/", true},
      {"[InternetShortcut]\r\nURL = http://a/?b = c \t\r\n", u"http://a/?b = c", true},
      {"[InternetShortcut]\r\nURL= http://a/", u"http://a/", true},
      {"[InternetShortcut]\n\n Url\t=http://a/\n[X]\nURL=http://no/", u"http://a/", true},
      {"[InternetShortcut]\nurl2=http://no/\nurl=http://no/\nURL=http://a/", u"http://a/", true},
      {"[InternetShortcut]\nURLs\n[X]\nURL=http://a/", u"http://a/", true},
      {"\xEF\xBB\xBF[InternetShortcut]\nURL=http://\xC3\xBC/", u"http://ü/", true},
      {"[InternetShortcut]\nURL=http://\xC3\xBC/", u"http://ü/", true},
      {"[InternetShortcut]\nURL=   \n", u"", true},
      {"", u"", false},
  };
  for (const auto& [bytes, url, hasRange] : cases) {
    EXPECT_EQ(FindUrlRange(bytes).has_value(), hasRange) << bytes;
    EXPECT_EQ(ShortcutUrl(bytes), url) << bytes;
  }
}

TEST(InternetShortcut, NoAddressIsLostToTheCodePage) {
  const std::string head = "[InternetShortcut]\r\nURL=";
  EXPECT_EQ(ShortcutBytes(u""), head + "\r\n");
  EXPECT_EQ(ShortcutBytes(u"http://ü/\r\n?"), head + "http://\xFC/%0D%0A?\r\n");
  EXPECT_EQ(ShortcutBytes(u"http://ü/?"), head + "http://\xFC/?\r\n");
  EXPECT_EQ(ShortcutBytes(u"http://ü/日\U0001F600"),
            head + "http://%C3%BC/%E6%97%A5%F0%9F%98%80\r\n");
  const ScopedAnsiPage korean("EUC-KR");
  EXPECT_EQ(ShortcutBytes(u"http://한/"), head + "http://\xC7\xD1/\r\n");
  EXPECT_EQ(ShortcutUrl(ShortcutBytes(u"http://한/")), u"http://한/");
}

// What Windows opens is the line in UTF-7 where there is one: it says what the plain one cannot.
TEST(InternetShortcut, TheLineInUtf7IsReadAndKeptInStep) {
  TempFolder folder;
  const std::u16string path = folder.ModulePath(u"a.url");
  const auto file = [](const std::string& plain, const std::string& wide) {
    return "[InternetShortcut.A]\r\nURL=" + plain + "\r\n[InternetShortcut.W]\r\nURL=" + wide +
           "\r\nIconFile=+-\r\n[InternetShortcut]\r\nURL=" + plain + "\r\nIconIndex=0\r\n";
  };
  const std::string moon = "http://e/??+??";
  const struct {
    std::string plain;
    std::string wide;
    std::u16string url;  // that is read
  } files[] = {
      {moon, "http://e/?+ZeU-+-+2D3eAA-", u"http://e/?日+\U0001F600"},
      {"http://e/%E6%97%A5", "http://e/+ZeU", u"http://e/日"},
      {"http://e/L", "http://e/+AUE-", u"http://e/Ł"},
      {"http://new/", "http://e/+ZeU-", u"http://new/"},  // of a program that knows one line alone
      {"http://e/?", "http://e/+Z", u"http://e/?"},
      {"http://e/?", "http://e/\xFC", u"http://e/?"},
  };
  const std::u16string addresses[] = {u"http://e/", u"http://ü/~\\+a", u"http://日/\U0001F600",
                                      u"http://e/日"};
  for (const auto& [plain, wide, url] : files) {
    EXPECT_EQ(ShortcutUrl(file(plain, wide)), url) << wide;
    for (const std::u16string& address : addresses) {
      folder.Put("a.url", file(plain, wide));
      InternetShortcut shortcut;
      ASSERT_EQ(shortcut.Load(path), kNoError);
      shortcut.SetURL(address, 0);
      ASSERT_EQ(shortcut.Save(path), kNoError);
      EXPECT_FALSE(shortcut.SetURL(address, 0)) << "it says this already";
      const std::string bytes = *folder.Get("a.url");
      EXPECT_EQ(ShortcutUrl(bytes), address) << bytes;
      const size_t from = bytes.find("W]\r\nURL=") + 8;
      const std::string now = bytes.substr(from, bytes.find('\r', from) - from);
      EXPECT_EQ(CodePages::Default().DecodeNamed(now, "UTF-7"), address) << bytes;
      const size_t last = bytes.rfind("URL=") + 4;
      EXPECT_EQ(bytes, file(bytes.substr(last, bytes.find('\r', last) - last), now));
    }
  }
}

// UTF-16 of each order, with a mark and without one.
TEST(InternetShortcut, WideFilesAreReadAndKeepTheirForm) {
  TempFolder folder;
  const std::u16string path = folder.ModulePath(u"a.url");
  for (const size_t low : {0u, 1u}) {
    for (const std::u16string mark : {u"\uFEFF", u""}) {
      const auto file = [&](const std::u16string& url) {
        std::string bytes;
        for (const char16_t unit :
             mark + u"; Ġ\r\n[InternetShortcut]\r\nURL=" + url + u"\r\nIconFile=日\r\n") {
          const char pair[] = {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
          bytes.append({pair[low], pair[1 - low]});
        }
        return bytes;
      };
      folder.Put("a.url", file(u"http://日/"));
      InternetShortcut shortcut;
      ASSERT_EQ(shortcut.Load(path), kNoError);
      EXPECT_FALSE(shortcut.SetURL(u"http://日/", 0));
      EXPECT_TRUE(shortcut.SetURL(u"http://Ġ/\U0001F600", 0));
      ASSERT_EQ(shortcut.Save(path), kNoError);
      EXPECT_EQ(folder.Get("a.url"), file(u"http://Ġ/\U0001F600"));
      folder.Put("a.url", file(u"").substr(0, 8));
      ASSERT_EQ(shortcut.Load(path), kNoError);
      EXPECT_TRUE(shortcut.SetURL(u"http://日/", 0));
      ASSERT_EQ(shortcut.Save(path), kNoError);
      EXPECT_EQ(ShortcutUrl(*folder.Get("a.url")), u"http://日/");
    }
  }
}

TEST(InternetShortcut, BytesThatMeanTheAddressStay) {
  TempFolder folder;
  const std::u16string path = folder.ModulePath(u"a.url");
  const std::pair<std::string, std::string> kRows[] = {
      {"http://n\xC3\xA4/", "http://\xC3\xBC/"},  // UTF-8 stays UTF-8
      {"http://n\xE4/", "http://\xFC/"},          // of the page
      {" http://n\xE4/ ", " http://\xFC/ "}};
  for (const auto& [url, other] : kRows) {
    const std::string bytes = "[InternetShortcut]\nURL=" + url + "\nIconFile=\xC3\xA4\xFF";
    folder.Put("a.url", bytes);
    InternetShortcut shortcut;
    ASSERT_EQ(shortcut.Load(path), kNoError);
    EXPECT_FALSE(shortcut.SetURL(u"http://nä/", 0)) << url;
    ASSERT_EQ(shortcut.Save(path), kNoError);
    EXPECT_EQ(folder.Get("a.url"), bytes);
    EXPECT_TRUE(shortcut.SetURL(u"http://ü/", 0));
    ASSERT_EQ(shortcut.Save(path), kNoError);
    EXPECT_EQ(folder.Get("a.url"), "[InternetShortcut]\nURL=" + other + "\nIconFile=\xC3\xA4\xFF");
  }
  // What the page writes as bytes that mean something else in UTF-8.
  EXPECT_EQ(ShortcutUrl(ShortcutBytes(u"http://Ã¼/")), u"http://%C3%83%C2%BC/");
}

TEST(InternetShortcut, EverythingElseInTheFileStays) {
  const struct {
    std::string before;
    std::string after;
  } cases[] = {
      {"[InternetShortcut]\r\nURL=http://old/\r\nIconFile=\xFF\r\n",
       "[InternetShortcut]\r\nURL=http://n\xE4/\r\nIconFile=\xFF\r\n"},
      {"[InternetShortcut]\nURL=", "[InternetShortcut]\nURL=http://n\xE4/"},
      {"", "[InternetShortcut]\r\nURL=http://n\xE4/\r\n"},
      {std::string(40, '\0'), "[InternetShortcut]\r\nURL=http://n\xE4/\r\n"},
      {"[internetshortcut]\nUrl = http://old/ \nIconFile=",
       "[internetshortcut]\nUrl = http://n\xE4/ \nIconFile="},
      {"; note\r\n", "; note\r\n[InternetShortcut]\r\nURL=http://n\xE4/\r\n"},
      {"[InternetShortcut]", "[InternetShortcut]\r\n[InternetShortcut]\r\nURL=http://n\xE4/\r\n"},
  };
  TempFolder folder;
  const std::u16string path = folder.ModulePath(u"a.url");
  for (const auto& [before, after] : cases) {
    folder.Put("a.url", before);
    InternetShortcut shortcut;
    EXPECT_EQ(shortcut.Load(path), kNoError);
    shortcut.SetURL(u"http://nä/", 0);
    EXPECT_EQ(shortcut.Save(path), kNoError);
    EXPECT_EQ(folder.Get("a.url"), after);
    EXPECT_EQ(ShortcutUrl(after), u"http://nä/");
  }
}

TEST(InternetShortcut, LoadForgetsAndSaveMakesNoFile) {
  TempFolder folder;
  folder.Put("a.url", "[InternetShortcut]\r\nURL=http://old/\r\n");
  InternetShortcut shortcut;
  EXPECT_EQ(shortcut.Load(folder.ModulePath(u"a.url")), kNoError);
  EXPECT_EQ(shortcut.Load(folder.ModulePath(u"none.url")), kFileNotFound);
  EXPECT_EQ(shortcut.Save(folder.ModulePath(u"none.url")), kFileNotFound);
  std::filesystem::create_symlink("a.url", folder.File("link.url"));
  EXPECT_EQ(shortcut.Save(folder.ModulePath(u"link.url")), kAccessDenied);
  EXPECT_EQ(shortcut.Save(folder.ModulePath(u"a.url")), kNoError);
  EXPECT_EQ(folder.Get("a.url"), "");
}

}  // namespace
}  // namespace qv

#include "platform/system/internet_shortcut.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "kit/platform_fakes.h"
#include "platform/system/code_page.h"

namespace qv {
namespace {

using test::TempFolder;

// The ANSI page for a while.
class ScopedAnsiPage {
 public:
  explicit ScopedAnsiPage(std::string_view name) : previous_(CodePages::Default().AnsiPage()) {
    EXPECT_TRUE(CodePages::Default().SetAnsiPage(name));
  }
  ScopedAnsiPage(const ScopedAnsiPage&) = delete;
  ScopedAnsiPage& operator=(const ScopedAnsiPage&) = delete;
  ~ScopedAnsiPage() { CodePages::Default().SetAnsiPage(previous_); }

 private:
  std::string previous_;
};

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
      {"[internetshortcut]\r\nURL=http://a/\r\n", u"", false},
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
  EXPECT_EQ(ShortcutBytes(u"http://ü/?"), head + "http://\xFC/?\r\n");
  EXPECT_EQ(ShortcutBytes(u"http://ü/日\U0001F600"),
            head + "http://%C3%BC/%E6%97%A5%F0%9F%98%80\r\n");
  const ScopedAnsiPage korean("EUC-KR");
  EXPECT_EQ(ShortcutBytes(u"http://한/"), head + "http://\xC7\xD1/\r\n");
  EXPECT_EQ(ShortcutUrl(ShortcutBytes(u"http://한/")), u"http://한/");
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

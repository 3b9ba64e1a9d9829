#include "platform/system/code_page.h"

#include <gtest/gtest.h>

#include "platform/ansi_page.h"

namespace qv {
namespace {

using test::ScopedAnsiPage;

CodePages& Pages() {
  return CodePages::Default();
}

TEST(CodePages, BothWays) {
  const struct {
    std::string_view ansi;
    uint32_t page;
    std::u16string_view text;
    std::string_view bytes;
  } cases[] = {
      {"windows-1252", kAnsiPage, u"", ""},
      {"windows-1252", kAnsiPage, u"Zoë €", "Zo\xEB \x80"},
      {"windows-1252", kThreadAnsiPage, u"Zoë €", "Zo\xEB \x80"},
      {"windows-1252", kUtf8Page, u"Zoë €", "Zoë €"},
      {"windows-1252", 1251, u"Да", "\xC4\xE0"},
      {"windows-1251", kAnsiPage, u"Да", "\xC4\xE0"},
      {"euc-kr", kAnsiPage, u"한국 a", "\xC7\xD1\xB1\xB9 a"},
      {"CP932", kAnsiPage, u"日本\\", "\x93\xFA\x96\x7B\\"},
      {"utf-8", kAnsiPage, u"\U0001F600", "\U0001F600"},
      {"ISO-2022-JP", kAnsiPage, u"日a", "\x1B$BF|\x1B(Ba"},
      {"windows-1252", 59999, u"plain", "plain"},
  };
  for (const auto& [ansi, page, text, bytes] : cases) {
    const ScopedAnsiPage use(ansi);
    ASSERT_TRUE(use.isSet()) << ansi;
    EXPECT_EQ(Pages().AnsiPage(), ansi);
    EXPECT_EQ(Pages().Encode(text, page), bytes) << ansi << ' ' << page;
    EXPECT_EQ(Pages().Decode(bytes, page), text) << ansi << ' ' << page;
  }
}

TEST(CodePages, PiecesMayEndWithinACharacter) {
  const struct {
    std::string_view ansi;
    uint32_t page;
    std::string_view bytes;
    std::u16string_view text;
    size_t left;
  } cases[] = {
      {"windows-1252", kUtf8Page, "a\xF0\x9F\x98", u"a", 3},
      {"windows-1252", kUtf8Page, "a\xE2\x82\xAC", u"a€", 0},
      {"windows-1252", kUtf8Page, "\xFF\xC3", u"\uFFFD", 1},
      {"windows-1252", kUtf8Page, "\x80\x80\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD", 0},
      {"windows-1252", kAnsiPage, "\xEB\x81", u"ë\uFFFD", 0},
      {"EUC-KR", kAnsiPage, "\xC7\xD1\xB1", u"한", 1},
      {"EUC-KR", kAnsiPage, "a", u"a", 0},
      {"windows-1252", kAnsiPage, "", u"", 0},
  };
  for (const auto& [ansi, page, bytes, text, left] : cases) {
    const ScopedAnsiPage use(ansi);
    std::u16string got = u"x";
    EXPECT_EQ(Pages().DecodePart(bytes, page, got), bytes.size() - left) << ansi << ' ' << bytes;
    EXPECT_EQ(got, u"x" + std::u16string(text)) << ansi << ' ' << bytes;
  }
}

TEST(CodePages, WhatDoesNotFitIsReplaced) {
  EXPECT_EQ(Pages().Encode(u"日a\U0001F600b\xD800", kAnsiPage), "?a?b?");
  EXPECT_EQ(Pages().Encode(u"ü", 59999), "?");
  EXPECT_EQ(Pages().Decode("a\x81z", kAnsiPage), u"a\uFFFDz");
  EXPECT_EQ(Pages().Decode("\xFF\xFE", 59999), u"\uFFFD\uFFFD");
  const ScopedAnsiPage use("ISO-2022-JP");
  EXPECT_EQ(Pages().Encode(u"日ü", kAnsiPage), "\x1B$BF|\x1B(B?");
  // Longer than any buffer, and bad throughout.
  const std::string bad(50'000, '\x81');
  EXPECT_EQ(Pages().Decode(bad, 1252), std::u16string(bad.size(), u'\uFFFD'));
  EXPECT_EQ(Pages().Encode(std::u16string(50'000, u'日'), 1252), std::string(50'000, '?'));
  // Pairs wherever they fall.
  std::u16string pairs = u"a";
  std::string marks = "a";
  for (int i = 0; i < 100; ++i) {
    pairs += u"\U0001F600é\U0001F600";
    marks += "?\xE9?";
  }
  EXPECT_EQ(Pages().Encode(pairs, 1252), marks);
}

TEST(CodePages, ByCharsetName) {
  const struct {
    std::string_view charset;
    std::string_view bytes;
    std::optional<std::u16string> text;
  } cases[] = {
      {"utf-8", "Zoë\xFF", u"Zoë\uFFFD"},
      {"Iso-8859-1", "Zo\xEB", u"Zoë"},
      {"shift_jis", "\x93\xFA\x93", u"日\uFFFD"},  // cut at the end
      {"EUC-KR", "\xC7z", u"\uFFFDz"},
      {"us-ascii", "a\xEB", u"a\uFFFD"},
      {"utf-16be", std::string_view("\0a\xD8\0\0b", 6), u"a\uFFFDb"},
      {"UTF-16", std::string_view("\xFE\xFF\0a", 4), u"a"},
      {"no-such-charset", "a", std::nullopt},
      {"", "a", std::nullopt},
      {"UTF-8//IGNORE", "a", std::nullopt},
      {"../../etc/passwd", "a", std::nullopt},
      {std::string_view("UTF-8\0x", 7), "a", std::nullopt},
      {"x-a-name-that-is-far-longer-than-the-name-of-any-charset-could-ever-be", "a", std::nullopt},
  };
  for (int round = 0; round < 2; ++round) {
    for (const auto& [charset, bytes, text] : cases) {
      EXPECT_EQ(Pages().DecodeNamed(bytes, charset), text) << charset;
    }
  }
  // A text may name any number of them.
  for (int i = 0; i < 200; ++i) EXPECT_FALSE(Pages().DecodeNamed("a", "x-" + std::to_string(i)));
  EXPECT_EQ(Pages().DecodeNamed("Zo\xEB", "latin1"), u"Zoë");
}

TEST(CodePages, AnUnknownAnsiPageChangesNothing) {
  const std::string before = Pages().AnsiPage();
  for (const std::string_view name : {"", "no-such-page", "CP1252//TRANSLIT", "CP 1252"}) {
    EXPECT_FALSE(Pages().SetAnsiPage(name)) << name;
    EXPECT_EQ(Pages().AnsiPage(), before);
  }
}

}  // namespace
}  // namespace qv

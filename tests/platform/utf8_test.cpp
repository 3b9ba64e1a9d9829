#include "platform/system/utf8.h"

#include <gtest/gtest.h>

namespace qv {
namespace {

TEST(Utf8, TextComesBackThroughBytes) {
  const std::u16string texts[] = {
      u"",
      u"plain",
      u"eight by",
      u"Grüße an Zoë aus Köln, mit ß",
      u"日本語 mixed in",
      u"\U0001F600 at the start and \U0010FFFF",
      std::u16string(u"a\0b", 3),
      u"\u07FF\u0800\uFFFF",
  };
  for (const std::u16string& text : texts) {
    const std::string bytes = ToUtf8(text);
    EXPECT_EQ(FromUtf8(bytes), text) << bytes;
    std::u16string appended = u"before ";
    EXPECT_TRUE(AppendUtf8(bytes, appended)) << bytes;
    EXPECT_EQ(appended, u"before " + text);
  }
}

TEST(Utf8, BadBytesAreReplacedAndRefused) {
  const struct {
    std::string_view bytes;
    std::u16string_view text;
  } cases[] = {
      {"\x80", u"\uFFFD"},
      {"a\xFF"
       "b",
       u"a\uFFFDb"},
      {"\xC0\xAF", u"\uFFFD\uFFFD"},                      // overlong
      {"\xE0\x80\xAF", u"\uFFFD\uFFFD\uFFFD"},            // overlong
      {"\xF0\x8F\xBF\xBF", u"\uFFFD\uFFFD\uFFFD\uFFFD"},  // overlong
      {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},            // a surrogate
      {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},  // above U+10FFFF
      {"\xE2\x82", u"\uFFFD"},                            // cut at the end
      {"\xE2\x82z", u"\uFFFDz"},                          // cut by the next character
      {"\xF0\x9F\x98\xC3\xA9", u"\uFFFD\u00E9"},          // cut by the next sequence
      {"12345678\xC3", u"12345678\uFFFD"},
  };
  for (const auto& [bytes, text] : cases) {
    EXPECT_EQ(FromUtf8(bytes), text) << testing::PrintToString(bytes);
    std::u16string kept = u"kept";
    EXPECT_FALSE(AppendUtf8(bytes, kept)) << testing::PrintToString(bytes);
    EXPECT_EQ(kept, u"kept");
  }
}

TEST(Utf8, LoneSurrogatesAreReplaced) {
  const char16_t high = 0xD83D;
  const char16_t low = 0xDE00;
  const std::u16string bad[] = {{high}, {low}, {low, high}, {high, u'a'}, {high, high, low}};
  const std::string expected[] = {"\uFFFD", "\uFFFD", "\uFFFD\uFFFD", "\uFFFDa",
                                  "\uFFFD\U0001F600"};
  for (size_t i = 0; i < std::size(bad); ++i) {
    EXPECT_EQ(ToUtf8(bad[i]), expected[i]) << i;
    EXPECT_FALSE(IsWellFormed(bad[i])) << i;
  }
  EXPECT_TRUE(IsWellFormed(u"a\U0001F600"));
}

}  // namespace
}  // namespace qv

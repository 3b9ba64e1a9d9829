#include "support/text.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>

#include "kit/platform_fakes.h"
#include "support/counted_ptr.h"

namespace qv {
namespace {

TEST(Text, ReplaceAllNeverSearchesWhatItMade) {
  const struct {
    std::string text, from, to, result;
    size_t count;
  } cases[] = {
      {"aaa", "a", "aa", "aaaaaa", 3},
      {"aaa", "aa", "a", "aa", 1},
      {"it's 'so'", "'", "''", "it''s ''so''", 3},
      {"abcabc", "abc", "", "", 2},
      {"abab", "ab", "ba", "baba", 2},
      {"abc", "x", "y", "abc", 0},
      {"", "x", "y", "", 0},
      {"abc", "", "y", "abc", std::string::npos},
      {"abc", "b", "b", "abc", std::string::npos},
      {"", "", "", "", std::string::npos},
  };
  for (const auto& [text, from, to, result, count] : cases) {
    std::string narrow = text;
    EXPECT_EQ(ReplaceAll(narrow, from, to), count) << text << ' ' << from;
    EXPECT_EQ(narrow, result);
    std::u16string wide = FromUtf8(text);
    EXPECT_EQ(ReplaceAll(wide, FromUtf8(from), FromUtf8(to)), count) << text << ' ' << from;
    EXPECT_EQ(ToUtf8(wide), result);
  }
}

TEST(Text, Numbers) {
  const struct {
    std::u16string_view text;
    int32_t number;
  } cases[] = {
      {u"", 0},
      {u"12", 12},
      {u" \t\n-12x", -12},
      {u"+7", 7},
      {u"- 7", 0},
      {u"+-7", 0},
      {u"x7", 0},
      {u"0x1F", 0},
      {u"1.9", 1},
      {u"2147483647", 2147483647},
      {u"2147483648", 2147483647},
      {u"-2147483648", INT32_MIN},
      {u"-99999999999999999999999", INT32_MIN},
      {u"99999999999999999999999", INT32_MAX},
  };
  for (const auto& [text, number] : cases) EXPECT_EQ(ToInt(text), number) << ToUtf8(text);
  EXPECT_EQ(Decimal(0), u"0");
  EXPECT_EQ(Decimal(INT64_MIN), u"-9223372036854775808");
  std::u16string padded;
  for (const int number : {7, 12345, -1, -12, 0}) {
    AppendPadded(padded, number, 4);
    padded.push_back(u'|');
  }
  EXPECT_EQ(padded, u"0007|12345|-001|-012|0000|");
}

TEST(Text, ComparesAsciiLettersOnly) {
  EXPECT_TRUE(EqualsIgnoreCase(u"Text/X-vCard", u"TEXT/x-VCARD"));
  EXPECT_TRUE(EqualsIgnoreCase("a[Z", "A[z"));
  for (const auto& [a, b] : {std::pair(u"a", u"ab"), {u"ä", u"Ä"}, {u"@", u"`"}, {u"[", u"{"}}) {
    EXPECT_FALSE(EqualsIgnoreCase(std::u16string_view(a), b)) << ToUtf8(a);
  }
}

TEST(Text, Utf16BytesHaveTheLowOneFirst) {
  const std::u16string text = u"A\u20AC\xD800";
  EXPECT_EQ(ToUtf16Le(text), std::string("A\0\xAC\x20\0\xD8", 6));
  EXPECT_EQ(FromUtf16Le(ToUtf16Le(text) + "x"), text);
  EXPECT_EQ(FromAscii("a-9"), u"a-9");
}

TEST(Text, FileNames) {
  for (const auto& [name, clean] : {std::pair(u"a/b:c", u"a+b+c"),
                                    {u"\\/:*?\"<>|", u"+++++++++"},
                                    {u" .a\u0001 ", u" .a\u0001 "}}) {
    std::u16string text = name;
    SanitizeFileName(text);
    EXPECT_EQ(text, clean);
  }
  EXPECT_TRUE(IsDotName(u".") && IsDotName(u".."));
  EXPECT_FALSE(IsDotName(u"") || IsDotName(u"...") || IsDotName(u".a"));
}

TEST(Text, FreshIdentifiersAndChecksums) {
  test::CountingGuids guids;
  {
    const ScopedService<GuidSource> use(guids);
    EXPECT_EQ(MakeGuidText(), u"00000001-0000-4000-8000-000000000000");
  }
  const std::u16string fresh = MakeGuidText();
  EXPECT_TRUE(ParseGuid(u"{" + fresh + u"}"));
  EXPECT_EQ(fresh.find_first_of(u"abcdef"), fresh.npos);
  EXPECT_EQ(ComputeMd5(u""), u"d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(ComputeMd5(u"abc"), u"ce1473cf80c6b3fda8e3dfc006adc315");
  test::FailingMd5 broken;
  const ScopedService<Md5Provider> use(broken);
  EXPECT_EQ(ComputeMd5(u"abc"), u"");
}

// Counts the objects that live.
struct Counted {
  explicit Counted(int& alive) : alive_(alive) { ++alive_; }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;
  ~Counted() { --alive_; }
  int& alive_;
};

TEST(CountedPtr, TheLastCopyDeletes) {
  int alive = 0;
  {
    CountedPtr<Counted> first(std::make_unique<Counted>(alive).release());
    CountedPtr<Counted> second = first;
    CountedPtr<Counted> empty;
    first = static_cast<Counted*>(nullptr);  // no effect
    EXPECT_EQ(first.get(), second.get());
    first = second.get();  // no effect either
    EXPECT_EQ(alive, 1);
    first = std::make_unique<Counted>(alive).release();
    EXPECT_EQ(alive, 2);
    second = first;
    EXPECT_EQ(alive, 1);
    second = *&second;
    first.Release();
    EXPECT_TRUE(first.IsEmpty());
    EXPECT_EQ(&second->alive_, &alive);
    empty = std::move(second);
    EXPECT_EQ(alive, 1);
  }
  EXPECT_EQ(alive, 0);
}

TEST(CountedPtr, AnEmptyOneRaisesWhenUsed) {
  const CountedPtr<std::string> empty;
  const auto messageOf = [](auto use) -> std::string {
    try {
      use();
    } catch (NullPointerException* raised) {
      const std::unique_ptr<NullPointerException> owned(raised);
      return owned->what();
    }
    return "nothing raised";
  };
  const std::string expected = "[CountedPtr Exception] Attempted to dereference null pointer";
  EXPECT_EQ(messageOf([&] { (*empty).clear(); }), expected);
  EXPECT_EQ(messageOf([&] { empty->clear(); }), expected);
}

}  // namespace
}  // namespace qv

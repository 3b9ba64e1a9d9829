#include "host/conf_bag.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "kit/platform_fakes.h"
#include "platform/system/files.h"
#include "support/text.h"

namespace qv {
namespace {

using test::FailingFiles;
using test::TempFolder;

constexpr const char* kText =
    "# a remark, kept\r\n"
    "\r\n"
    "  A.Key   =  old value # not a remark  \r\n"
    "Unknown.Key=x=y\r\n"
    "Empty.Key =\r\n"
    "Last.Key = \xC3\xA4";

ComPtr<ConfBag> OpenBag(const std::string& path) {
  std::string bytes;
  EXPECT_FALSE(Files::Default().Read(path, bytes));
  return MakeObject<ConfBag>(path, ConfText(bytes));
}

TEST(ConfTextTest, ReadsKeysAndNamesTheLineOfEachFault) {
  const ConfText good(std::string("\xEF\xBB\xBF") + kText);
  EXPECT_THAT(good.problems(), testing::IsEmpty());
  ASSERT_EQ(good.entries().size(), 4u);
  EXPECT_EQ(good.Find("A.Key")->value, "old value # not a remark");
  EXPECT_EQ(good.Find("A.Key")->line, 3u);
  EXPECT_EQ(good.Find("Unknown.Key")->value, "x=y");
  EXPECT_EQ(good.Find("Last.Key")->value, "\xC3\xA4");
  EXPECT_EQ(good.Find("a.key"), nullptr);

  const struct {
    std::string text;
    size_t line;
    const char* word;
  } kFaults[] = {
      {"a = 1\nno sign\n", 2, "\"=\""},         {"= 1\n", 1, "no key"},
      {"a = 1\n\n#\na = 2\n", 4, "line 1"},     {"a = \xFF\n", 1, "UTF-8"},
      {std::string("a = \0\n", 6), 1, "UTF-8"},
  };
  for (const auto& fault : kFaults) {
    const ConfText text(fault.text);
    ASSERT_EQ(text.problems().size(), 1u) << fault.text;
    EXPECT_EQ(text.problems()[0].line, fault.line) << fault.text;
    EXPECT_THAT(text.problems()[0].text, testing::HasSubstr(fault.word));
  }
}

TEST(ConfBagTest, WritesOneLineAndKeepsEveryOtherByte) {
  const TempFolder folder;
  const std::string path = folder.Put("conf", kText);
  std::filesystem::create_symlink(path, folder.File("link"));
  const auto bag = OpenBag(folder.File("link"));
  // An edit by hand, made behind the bag's back.
  folder.Put("conf", std::string("New.Key = by hand\r\n") + kText);

  WriteConfigText(bag.get(), u"A.Key", u"new");
  WriteConfigText(bag.get(), u"Empty.Key", u"filled");
  WriteConfigText(bag.get(), u"Absent.Key", u"");
  WriteConfigText(bag.get(), u"Added.Key", u"\u00FC");
  WriteConfigText(bag.get(), u"Added.Key", u"again");

  EXPECT_EQ(folder.Get("conf"),
            "New.Key = by hand\r\n"
            "# a remark, kept\r\n"
            "\r\n"
            "  A.Key   =  new  \r\n"
            "Unknown.Key=x=y\r\n"
            "Empty.Key =filled\r\n"
            "Last.Key = \xC3\xA4\r\n"
            "Added.Key = again\r\n");
  EXPECT_TRUE(std::filesystem::is_symlink(folder.File("link")));
  EXPECT_EQ(ReadConfigText(bag.get(), u"New.Key"), u"by hand");
  EXPECT_EQ(ReadConfigText(bag.get(), u"Absent.Key"), u"");
}

TEST(ConfBagTest, RefusesWhatALineCannotHoldAndChangesNothingWhenTheDiskFails) {
  const TempFolder folder;
  const auto bag = OpenBag(folder.Put("conf", kText));
  const std::pair<const char16_t*, std::u16string> kBad[] = {
      {u"", u"x"},     {u"a=b", u"x"},  {u"#a", u"x"},
      {u"a", u"x\ny"}, {u"a", u"x\ry"}, {u"a", u" x"},
      {u"a\nb", u"x"}, {u"a ", u"x"},   {u"a", std::u16string(u"x\0y", 3)},
  };
  for (const auto& [key, value] : kBad) {
    EXPECT_EQ(bag->SetValue(Bstr(key), Variant::Text(value).get(), kTrue), E_INVALIDARG)
        << ToUtf8(key) << " = " << ToUtf8(value);
  }
  FailingFiles files;
  const ScopedService<Files> use(files);
  for (size_t step = 0; step < 2; ++step) {  // the read, then the write
    files.FailAt(step, ENOSPC);
    EXPECT_EQ(bag->SetValue(Bstr(u"A.Key"), Variant::Text(u"new").get(), kTrue), E_FAIL);
    EXPECT_EQ(ReadConfigText(bag.get(), u"A.Key"), u"old value # not a remark");
  }
  EXPECT_EQ(bag->GetValue(nullptr, nullptr), E_POINTER);
  EXPECT_EQ(folder.Get("conf"), kText);
}

TEST(ConfBagTest, HoldsAValueThatIsNotToPersistInMemoryAlone) {
  const TempFolder folder;
  const auto bag = OpenBag(folder.Put("conf", kText));
  EXPECT_EQ(bag->SetValue(Bstr(u"A.Key"), Variant::Text(u"for now").get(), kFalse), S_OK);
  WriteConfigText(bag.get(), u"Other.Key", u"1");
  EXPECT_EQ(ReadConfigText(bag.get(), u"A.Key"), u"for now");
  EXPECT_EQ(folder.Get("conf"), std::string(kText) + "\r\nOther.Key = 1\r\n");
}

}  // namespace
}  // namespace qv

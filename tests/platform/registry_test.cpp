#include "platform/system/registry.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <thread>

#include "kit/platform_fakes.h"

namespace qv {
namespace {

using test::FailingFiles;
using test::TempFolder;

constexpr std::string_view kKey = R"(SOFTWARE\Some Vendor\1.0\Sync)";

// What another process does comes at least this long after our last look.
void LetTheLookAge() {
  std::this_thread::sleep_for(std::chrono::microseconds(100));
}

TEST(FileRegistry, AKeyMustBeMadeBeforeItsValues) {
  TempFolder folder;
  FileRegistry registry(folder.File("deep/er/values.conf"));
  EXPECT_FALSE(registry.KeyExists(kKey));
  EXPECT_FALSE(registry.WriteNumber(kKey, "Value", 1));
  EXPECT_FALSE(registry.WriteText(kKey, "Value", u"x"));
  EXPECT_TRUE(folder.Names().empty());
  EXPECT_TRUE(registry.CreateKey(kKey));
  EXPECT_TRUE(registry.KeyExists(kKey));
  EXPECT_FALSE(registry.KeyExists(R"(SOFTWARE\Some Vendor\1.0)"));
  EXPECT_FALSE(registry.KeyExists(R"(software\some vendor\1.0\sync)"));
  EXPECT_EQ(registry.ReadNumber(kKey, "Value"), std::nullopt);
  EXPECT_TRUE(registry.WriteNumber(kKey, "Value", 7));
  EXPECT_TRUE(registry.CreateKey(kKey));  // again: nothing is lost
  EXPECT_EQ(registry.ReadNumber(kKey, "Value"), 7u);
  EXPECT_FALSE(registry.WriteNumber("Other", "Value", 1));
}

TEST(FileRegistry, ValuesComeBackWithTheirKind) {
  TempFolder folder;
  FileRegistry writer(folder.File("values.conf"));
  FileRegistry reader(folder.File("values.conf"));
  ASSERT_TRUE(writer.CreateKey(kKey));
  for (const uint32_t number : {0u, 1u, 2147483648u, 4294967295u}) {
    EXPECT_TRUE(writer.WriteNumber(kKey, "Value", number));
    EXPECT_EQ(reader.ReadNumber(kKey, "Value"), number);
    EXPECT_EQ(reader.ReadText(kKey, "Value"), std::nullopt);
  }
  for (const std::u16string_view text :
       {u"", u"1", u"C:\\Users\\me\\new", u"  blanks  ", u"two\nlines\r\ttab", u"\"quoted\"",
        u"a;b=c#d[e]%41", u"日本 \U0001F600"}) {
    EXPECT_TRUE(writer.WriteText(kKey, "Value", text));
    EXPECT_EQ(reader.ReadText(kKey, "Value"), text);
    EXPECT_EQ(reader.ReadNumber(kKey, "Value"), std::nullopt);
  }
  // What a line cannot hold is refused, not mangled.
  EXPECT_TRUE(writer.WriteText(kKey, "Value", u"stays"));
  EXPECT_FALSE(writer.WriteText(kKey, "Value", std::u16string_view(u"a\0b", 3)));
  EXPECT_FALSE(writer.WriteText(kKey, "Value", u"a\xD800"));
  EXPECT_EQ(reader.ReadText(kKey, "Value"), u"stays");
}

TEST(FileRegistry, AnyNameIsAKeyAndAValue) {
  TempFolder folder;
  const std::string_view names[] = {"",    " ",     "%",       "%25",   "[a]",   "a]b[c",
                                    "a=b", "#note", "\n[x]\n", "größe", "a[de]", "\xFF\x01"};
  FileRegistry writer(folder.File("values.conf"));
  uint32_t number = 0;
  for (const std::string_view key : names) {
    ASSERT_TRUE(writer.CreateKey(key)) << testing::PrintToString(key);
    for (const std::string_view value : names) {
      EXPECT_TRUE(writer.WriteNumber(key, value, ++number)) << testing::PrintToString(value);
    }
  }
  FileRegistry reader(folder.File("values.conf"));
  number = 0;
  for (const std::string_view key : names) {
    EXPECT_TRUE(reader.KeyExists(key)) << testing::PrintToString(key);
    for (const std::string_view value : names) {
      EXPECT_EQ(reader.ReadNumber(key, value), ++number)
          << testing::PrintToString(key) << testing::PrintToString(value);
    }
  }
}

TEST(FileRegistry, EveryReplacementIsSeenAtTheNextCall) {
  TempFolder folder;
  FileRegistry writer(folder.File("values.conf"));
  FileRegistry reader(folder.File("values.conf"));
  ASSERT_TRUE(writer.CreateKey(kKey));
  for (uint32_t i = 0; i < 100; ++i) {
    ASSERT_TRUE(writer.WriteNumber(kKey, "Value", i % 3));
    ASSERT_EQ(reader.ReadNumber(kKey, "Value"), i % 3) << i;
  }
  // As another process does it, past this class.
  folder.Put("new", "[Key]\nValue=77\n");
  std::filesystem::rename(folder.File("new"), folder.File("values.conf"));
  LetTheLookAge();
  EXPECT_EQ(reader.ReadNumber("Key", "Value"), 77u);
  std::filesystem::remove(folder.File("values.conf"));
  LetTheLookAge();
  EXPECT_FALSE(reader.KeyExists(kKey));
}

// Two quick replacements may give a file of the same size, inode and time.
TEST(FileRegistry, AYoungFileIsNotTakenForTheSame) {
  using FileClock = std::filesystem::file_time_type::clock;
  TempFolder folder;
  const std::string path = folder.Put("values.conf", "[Key]\nValue=1\n");
  FileRegistry reader(path);
  for (int attempt = 0; attempt < 1000; ++attempt) {
    const auto written = FileClock::now();
    std::filesystem::last_write_time(path, written);
    LetTheLookAge();
    const std::optional<uint32_t> before = reader.ReadNumber("Key", "Value");
    if (FileClock::now() - written > std::chrono::milliseconds(15)) continue;  // a busy machine
    const uint32_t next = before.value() % 9 + 1;
    folder.Put("values.conf", "[Key]\nValue=" + std::to_string(next) + "\n");
    std::filesystem::last_write_time(path, written);
    LetTheLookAge();
    ASSERT_EQ(reader.ReadNumber("Key", "Value"), next);
    return;
  }
  GTEST_SKIP() << "never quick enough";
}

TEST(FileRegistry, TwoWritersLoseNothing) {
  TempFolder folder;
  const std::string path = folder.File("values.conf");
  ASSERT_TRUE(FileRegistry(path).CreateKey(kKey));
  constexpr int kRounds = 40;
  const auto write = [&](const std::string& prefix) {
    FileRegistry registry(path);
    for (int i = 0; i < kRounds; ++i) registry.WriteNumber(kKey, prefix + std::to_string(i), 1);
  };
  std::thread other(write, "other");
  write("own");
  other.join();
  FileRegistry registry(path);
  for (int i = 0; i < kRounds; ++i) {
    for (const std::string prefix : {"own", "other"}) {
      EXPECT_EQ(registry.ReadNumber(kKey, prefix + std::to_string(i)), 1u) << prefix << i;
    }
  }
}

TEST(FileRegistry, WhatAPersonWroteIsReadAndKept) {
  TempFolder folder;
  folder.Put("values.conf",
             "# a note\n[Key]\nOn=1\nBig=4294967296\nNegative=-1\nHex=0x1\nWord=yes\n"
             "Half=\"\nEmpty=\nOpen=\"a\"b\n");
  FileRegistry registry(folder.File("values.conf"));
  EXPECT_EQ(registry.ReadNumber("Key", "On"), 1u);
  for (const std::string_view value : {"Big", "Negative", "Hex", "Word", "Half", "Empty", "Open"}) {
    EXPECT_EQ(registry.ReadNumber("Key", value), std::nullopt) << value;
    EXPECT_EQ(registry.ReadText("Key", value), std::nullopt) << value;
  }
  EXPECT_TRUE(registry.WriteNumber("Key", "On", 2));
  const std::string bytes = folder.Get("values.conf").value();
  EXPECT_NE(bytes.find("# a note"), bytes.npos) << bytes;
  EXPECT_NE(bytes.find("Word=yes"), bytes.npos) << bytes;
}

TEST(FileRegistry, ADamagedFileIsNotWrittenOver) {
  TempFolder folder;
  const std::string rubbish("SyncStop=1\n\xFF\0[", 14);
  folder.Put("values.conf", rubbish);
  FileRegistry registry(folder.File("values.conf"));
  EXPECT_FALSE(registry.KeyExists(kKey));
  EXPECT_FALSE(registry.CreateKey(kKey));
  EXPECT_FALSE(registry.WriteNumber(kKey, "Value", 1));
  EXPECT_EQ(folder.Get("values.conf"), rubbish);
  std::filesystem::create_directory(folder.File("folder"));
  EXPECT_FALSE(FileRegistry(folder.File("folder")).CreateKey(kKey));
  folder.Put("empty", "");
  EXPECT_TRUE(FileRegistry(folder.File("empty")).CreateKey(kKey));
}

TEST(FileRegistry, AFailedWriteIsToldAndLeavesTheOldValue) {
  TempFolder folder;
  FileRegistry registry(folder.File("values.conf"));
  ASSERT_TRUE(registry.CreateKey(kKey));
  ASSERT_TRUE(registry.WriteNumber(kKey, "Value", 1));
  FailingFiles files;
  const ScopedService<Files> use(files);
  files.FailAt(0, ENOSPC, true);
  EXPECT_FALSE(registry.WriteNumber(kKey, "Value", 2));
  EXPECT_FALSE(registry.CreateKey("Other"));
  EXPECT_EQ(registry.ReadNumber(kKey, "Value"), 1u);
  EXPECT_FALSE(registry.KeyExists("Other"));
}

}  // namespace
}  // namespace qv

#include "support/user_flags.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "kit/platform_fakes.h"
#include "platform/system/registry.h"
#include "support/wide_files.h"

namespace qv {
namespace {

using test::FailingFiles;
using test::TempFolder;

constexpr std::u16string_view kStopLine = u"Checked StopByUser in DataStore";

class UserFlags : public testing::Test {
 protected:
  TempFolder folder_;
  FileRegistry registry_{folder_.File("values.conf")};
  ScopedService<Registry> useRegistry_{registry_};
  test::RecordingLog log_;
  ScopedService<DebugLog> useLog_{log_};
};

TEST_F(UserFlags, StopIsOnWhenExactly1) {
  EXPECT_FALSE(IsSyncStopped());
  ASSERT_TRUE(registry_.CreateKey(R"(SOFTWARE\Quovia\Quovia Deskhub\1.0\Sync)"));
  EXPECT_FALSE(IsSyncStopped());
  for (const uint32_t value : {0u, 2u, 0xFFFFFFFFu}) {
    ASSERT_TRUE(registry_.WriteNumber(kSyncKey, "SyncStop", value));
    EXPECT_FALSE(IsSyncStopped()) << value;
  }
  ASSERT_TRUE(registry_.WriteText(kSyncKey, "SyncStop", u"1"));
  EXPECT_FALSE(IsSyncStopped());
  EXPECT_TRUE(log_.lines().empty());
  ASSERT_TRUE(registry_.WriteNumber(kSyncKey, "SyncStop", 1));
  EXPECT_TRUE(IsSyncStopped());
  EXPECT_EQ(log_.Count(kStopLine), 1u);
}

TEST_F(UserFlags, HierarchyIsAskedPerDevice) {
  const std::string key = R"(SOFTWARE\Quovia\Quovia Deskhub\1.0\DeviceDB\4294967295)";
  ASSERT_TRUE(registry_.CreateKey(key));
  ASSERT_TRUE(registry_.WriteNumber(key, "SupportBookmarkHier", 1));
  EXPECT_TRUE(IsBookmarkHierSupported(4294967295u));
  EXPECT_FALSE(IsBookmarkHierSupported(1));
  ASSERT_TRUE(registry_.WriteNumber(key, "SupportBookmarkHier", 2));
  EXPECT_FALSE(IsBookmarkHierSupported(4294967295u));
}

TEST(WideFiles, TextComesBackUpToItsFirstNul) {
  TempFolder folder;
  const std::u16string path = folder.ModulePath(u"ü.vnt");
  EXPECT_EQ(ReadWideFile(path), u"");
  for (const std::u16string_view text : {u"", u"\uFEFFBEGIN\r\nZoë", u"a\xD800"}) {
    EXPECT_NE(WriteWideFile(path, text), 0);
    EXPECT_EQ(ReadWideFile(path), text);
  }
  EXPECT_NE(WriteWideFile(path, std::u16string_view(u"A\0B", 3)), 0);
  EXPECT_EQ(folder.Get("ü.vnt"), std::string("A\0\0\0B\0", 6));
  EXPECT_EQ(ReadWideFile(path), u"A");
  folder.Put("odd", std::string("A\0B", 3));
  EXPECT_EQ(ReadWideFile(folder.ModulePath(u"odd")), u"A");
}

TEST(WideFiles, WhatCannotBeReadOrWritten) {
  TempFolder folder;
  EXPECT_EQ(ReadWideFile(folder.ModulePath(u"")), u"");
  EXPECT_EQ(WriteWideFile(folder.ModulePath(u"no/file"), u"x"), 0);
  EXPECT_EQ(WriteWideFile(folder.ModulePath(u"a?b"), u"x"), 0);
  EXPECT_EQ(ReadWideFile(folder.ModulePath(u"a?b")), u"");
  FailingFiles files;
  const ScopedService<Files> use(files);
  files.FailAt(0, ENOSPC);
  EXPECT_EQ(WriteWideFile(folder.ModulePath(u"file"), u"x"), 0);
}

TEST(NarrowText, GoesThroughTheAnsiPage) {
  EXPECT_EQ(ToAnsi(nullptr), nullptr);
  EXPECT_EQ(ToWide(nullptr), u"");
  EXPECT_STREQ(ToAnsi(Bstr(u"Zoë 日")).get(), "Zo\xEB ?");
  EXPECT_STREQ(ToAnsi(Bstr(u"")).get(), "");
  EXPECT_EQ(ToWide("Zo\xEB"), u"Zoë");
  EXPECT_EQ(ToWide("Zoë", 65001), u"Zoë");
  EXPECT_EQ(ToWide(std::string(1000, 'x').c_str()), std::u16string(1000, u'x'));
}

}  // namespace
}  // namespace qv

#include "platform/system/recycle_bin.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include "kit/platform_fakes.h"

namespace qv {
namespace {

namespace fs = std::filesystem;
using test::FailingFiles;
using test::FakeRecycleBin;
using test::RecordingLog;
using test::TempFolder;

class RecycleTest : public testing::Test {
 protected:
  // A folder "tree" with links out of it, and what they lead to.
  RecycleTest() {
    folder_.Put("kept/file", "kept");
    folder_.Put("tree/a/b/file", "x");
    folder_.Put("tree/bad\xFF\\name", "x");
    fs::create_directory(folder_.File("tree/empty"));
    fs::create_symlink("../kept", folder_.File("tree/way"));
    fs::create_symlink("../kept/file", folder_.File("tree/link"));
    fs::create_directory(folder_.File("bin"));
  }

  std::u16string Path(std::u16string_view name) const { return folder_.ModulePath(name); }
  bool Stands(const char* name) const { return fs::exists(fs::symlink_status(folder_.File(name))); }

  TempFolder folder_;
  FakeRecycleBin bin_{folder_.File("bin")};
  RecordingLog log_;
  ScopedService<RecycleBin> useBin_{bin_};
  ScopedService<DebugLog> useLog_{log_};
};

TEST_F(RecycleTest, TheBinTakesWhatItGets) {
  fs::create_directory_symlink("kept", folder_.File("link"));
  EXPECT_EQ(RecycleEntry(Path(u"tree\\a\\b\\file")), kNoError);
  EXPECT_EQ(RecycleEntry(Path(u"tree")), kNoError);
  EXPECT_EQ(RecycleEntry(Path(u"link\\")), kNoError);
  EXPECT_FALSE(Stands("tree"));
  EXPECT_TRUE(Stands("bin/file"));
  EXPECT_TRUE(Stands("bin/tree/empty"));
  EXPECT_TRUE(fs::is_symlink(folder_.File("bin/link")));
  EXPECT_EQ(RecycleEntry(Path(u"tree")), kFileNotFound);
  EXPECT_EQ(RecycleEntry(Path(u"tree\\a")), kPathNotFound);
  EXPECT_EQ(RecycleEntry(Path(u"kept\\..")), kInvalidName);
  EXPECT_EQ(bin_.asked().size(), 3u);
  EXPECT_TRUE(log_.lines().empty());
}

TEST_F(RecycleTest, WhatTheBinRefusesIsRemovedAndLogged) {
  bin_.Refuse(EXDEV);
  EXPECT_EQ(RecycleEntry(Path(u"tree\\link")), kNoError);
  EXPECT_EQ(RecycleEntry(Path(u"tree\\way")), kNoError);
  ASSERT_EQ(log_.lines().size(), 2u);
  EXPECT_NE(log_.lines()[0].find(u"/tree/link: "), std::u16string::npos);
  fs::create_symlink("../kept", folder_.File("tree/a/way"));
  EXPECT_EQ(RecycleEntry(Path(u"tree")), kNoError);
  EXPECT_FALSE(Stands("tree"));
  EXPECT_THAT(folder_.Names(), testing::ElementsAre("kept/file"));
}

TEST_F(RecycleTest, WhateverFailsTheAnswerIsTrue) {
  bin_.Refuse(ENOSPC);
  FailingFiles disk;
  const ScopedService<Files> use(disk);
  size_t failures = 0;
  for (;; ++failures) {
    folder_.Put("again/a/file", "");
    folder_.Put("again/b", "");
    disk.FailAt(failures, EACCES);
    const SystemError answer = RecycleEntry(Path(u"again"));
    EXPECT_EQ(answer, disk.hasFailed() ? kAccessDenied : kNoError) << failures;
    if (!disk.hasFailed()) break;
  }
  EXPECT_FALSE(Stands("again"));
  EXPECT_GT(failures, 5u);
}

TEST_F(RecycleTest, TheTopFolderIsNotTouched) {
  FailingFiles disk;
  const ScopedService<Files> use(disk);
  disk.FailAt(0, EIO, true);
  for (const char16_t* top : {u"C:\\", u"\\", u"C:\\\\"})
    EXPECT_EQ(RecycleEntry(top), kAccessDenied);
  EXPECT_TRUE(bin_.asked().empty());
}

TEST_F(RecycleTest, AFolderOfManyLevelsGoes) {
  std::string deep = folder_.File("deep");
  for (; deep.size() < 3000; deep += "/d") fs::create_directory(deep);
  bin_.Refuse(EPERM);
  EXPECT_EQ(RecycleEntry(Path(u"deep")), kNoError);
  EXPECT_FALSE(Stands("deep"));
}

// The real one, in a fresh process that knows of no other home. 0 when all is well.
int TakeForReal() {
  TempFolder folder;
  const std::string home = folder.File("home");
  const std::string path = folder.Put("file", "x");
  fs::create_directory(home);
  setenv("HOME", home.c_str(), 1);
  setenv("XDG_DATA_HOME", home.c_str(), 1);
  setenv("GIO_USE_VFS", "local", 1);
  RecycleBin& bin = RecycleBin::Default();
  if (!bin.Take(folder.File("home/../file")) || !fs::exists(path)) return 2;
  if (bin.Take(folder.File("none")) != std::errc::no_such_file_or_directory) return 3;
  // A bin may refuse; what it takes must be in the trash.
  if (bin.Take(path)) return fs::exists(path) ? 0 : 4;
  return !fs::exists(path) && fs::exists(home + "/Trash/files/file") ? 0 : 5;
}

TEST(DesktopTrashDeathTest, TakesFilesIntoTheUsersTrash) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";  // runs the program anew
  EXPECT_EXIT(_exit(TakeForReal()), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace qv

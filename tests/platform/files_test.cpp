#include "platform/system/files.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>

#include "kit/platform_fakes.h"

namespace qv {
namespace {

namespace fs = std::filesystem;
using test::TempFolder;

Files& Disk() {
  return Files::Default();
}

mode_t BitsOf(const std::string& path) {
  struct stat data {};
  stat(path.c_str(), &data);
  return data.st_mode & 0777;
}

TEST(Files, BytesComeBack) {
  TempFolder folder;
  const std::string path = folder.File("file");
  std::string large;
  for (int i = 0; i < 100'000; ++i) large += "line " + std::to_string(i) + '\n';
  for (const std::string& bytes : {std::string(), std::string("a\0b\xFF", 4), large}) {
    for (const auto write : {&Files::Write, &Files::WriteAtomic}) {
      EXPECT_FALSE((Disk().*write)(path, "something longer than nothing"));
      EXPECT_FALSE((Disk().*write)(path, bytes));
      std::string read = "poison";
      EXPECT_FALSE(Disk().Read(path, read));
      EXPECT_TRUE(read == bytes) << read.size() << " for " << bytes.size();
      FileInfo info;
      EXPECT_FALSE(Disk().Stat(path, info));
      EXPECT_EQ(info.size, bytes.size());
      EXPECT_FALSE(info.isFolder);
      EXPECT_GT(info.modifiedNs, 1'000'000'000'000'000'000);
    }
  }
  // A file whose size is told as 0.
  std::string status;
  EXPECT_FALSE(Disk().Read("/proc/self/status", status));
  EXPECT_THAT(status, testing::HasSubstr("\nPid:"));
}

TEST(Files, OnlyRegularFilesAreRead) {
  TempFolder folder;
  const std::string pipe = folder.File("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  folder.Put("file", "x");
  const struct {
    std::string path;
    int error;
  } cases[] = {{folder.path(), EISDIR},
               {folder.File("missing"), ENOENT},
               {folder.File("file/below"), ENOTDIR},
               {pipe, EINVAL},
               {"/dev/zero", EINVAL}};
  for (const auto& [path, error] : cases) {
    std::string bytes = "poison";
    EXPECT_EQ(Disk().Read(path, bytes).value(), error) << path;
    EXPECT_EQ(bytes, "") << path;
  }
}

TEST(Files, AtomicWriteKeepsBitsAndLinks) {
  TempFolder folder;
  const std::string path = folder.Put("file", "old");
  for (const mode_t bits : {0600u, 0664u, 0440u}) {
    ASSERT_EQ(chmod(path.c_str(), bits), 0);
    EXPECT_FALSE(Disk().WriteAtomic(path, "new"));
    EXPECT_EQ(BitsOf(path), bits);
  }
  fs::create_symlink("file", folder.File("link"));
  EXPECT_FALSE(Disk().WriteAtomic(folder.File("link"), "through"));
  EXPECT_TRUE(fs::is_symlink(folder.File("link")));
  EXPECT_EQ(folder.Get("file"), "through");
  fs::create_symlink("nowhere", folder.File("broken"));
  EXPECT_FALSE(Disk().WriteAtomic(folder.File("broken"), "whole"));
  EXPECT_EQ(folder.Get("broken"), "whole");
}

TEST(Files, AtomicWriteTakesOverWhatAKilledRunLeft) {
  TempFolder folder;
  folder.Put(".file.tmp", "half of a much longer text");
  EXPECT_FALSE(Disk().WriteAtomic(folder.File("file"), "all"));
  EXPECT_EQ(folder.Get("file"), "all");
  // Somebody's link under the temporary name is not written through.
  folder.Put("precious", "kept");
  fs::create_symlink("precious", folder.File(".file.tmp"));
  EXPECT_FALSE(Disk().WriteAtomic(folder.File("file"), "again"));
  EXPECT_EQ(folder.Get("precious"), "kept");
  EXPECT_THAT(folder.Names(), testing::ElementsAre("file", "precious"));
}

TEST(Files, AStagedFileTakesItsPlaceWithTheBitsOfTheOldOne) {
  TempFolder folder;
  folder.Put("file", "old");
  ASSERT_EQ(chmod(folder.File("file").c_str(), 0640), 0);
  fs::create_symlink("file", folder.File("link"));
  StagedFile staged;
  ASSERT_FALSE(Disk().Stage(folder.File("link"), "new", staged));
  EXPECT_EQ(folder.Get("file"), "old");
  EXPECT_EQ(folder.Get(".file.tmp"), "new");
  EXPECT_EQ(Disk().RenameNew(staged.temporary, staged.target).value(), EEXIST);
  ASSERT_FALSE(Disk().Rename(staged.temporary, staged.target));
  EXPECT_EQ(folder.Get("link"), "new");
  EXPECT_EQ(BitsOf(folder.File("file")), 0640u);
  EXPECT_TRUE(fs::is_symlink(folder.File("link")));
  EXPECT_EQ(Disk().Stage(folder.File("missing/file"), "bytes", staged).value(), ENOENT);
}

TEST(Files, AtomicWriteTakesTheLongestNames) {
  TempFolder folder;
  std::string wide;
  while (wide.size() + 3 <= 255) wide += "日";
  for (const std::string& name : {std::string(255, 'n'), wide}) {
    EXPECT_FALSE(Disk().WriteAtomic(folder.File(name), "bytes")) << name.size();
    EXPECT_EQ(folder.Get(name), "bytes");
  }
  EXPECT_EQ(Disk().WriteAtomic(folder.File(std::string(256, 'n')), "bytes").value(), ENAMETOOLONG);
}

TEST(Files, AFailedWriteLeavesWhatStood) {
  TempFolder folder;
  folder.Put("folder/inside", "kept");
  EXPECT_TRUE(Disk().WriteAtomic(folder.File("folder"), "bytes"));
  EXPECT_EQ(Disk().WriteAtomic(folder.File("missing/file"), "bytes").value(), ENOENT);
  EXPECT_EQ(Disk().Write(folder.File("missing/file"), "bytes").value(), ENOENT);
  EXPECT_EQ(Disk().Write("/dev/full", "bytes").value(), ENOSPC);
}

TEST(Files, ListTakesFilesAndFoldersOnly) {
  TempFolder folder;
  folder.Put("a.vcf", "12345");
  folder.Put(".hidden", "");
  folder.Put("sub/deeper", "");
  fs::create_symlink("a.vcf", folder.File("link"));
  fs::create_symlink("nowhere", folder.File("broken"));
  fs::create_symlink("loop", folder.File("loop"));
  ASSERT_EQ(mkfifo(folder.File("pipe").c_str(), 0600), 0);
  std::vector<FolderEntry> entries{{"poison", {}}};
  EXPECT_FALSE(Disk().List(folder.path(), entries));
  std::vector<std::string> found;
  for (const FolderEntry& entry : entries) {
    found.push_back(entry.name + (entry.info.isFolder ? "/" : std::to_string(entry.info.size)));
  }
  EXPECT_THAT(found, testing::UnorderedElementsAre("a.vcf5", ".hidden0", "sub/", "link5"));
  EXPECT_EQ(Disk().List(folder.File("missing"), entries).value(), ENOENT);
  EXPECT_TRUE(entries.empty());
  EXPECT_EQ(Disk().List(folder.File("a.vcf"), entries).value(), ENOTDIR);
}

TEST(Files, FoldersAndNames) {
  TempFolder folder;
  EXPECT_FALSE(Disk().MakeFolder(folder.File("a/b/c")));
  EXPECT_FALSE(Disk().MakeFolder(folder.File("a/b/c")));
  EXPECT_FALSE(Disk().SyncFolder(folder.File("a/b")));
  folder.Put("a/file", "x");
  EXPECT_TRUE(Disk().MakeFolder(folder.File("a/file")));
  EXPECT_TRUE(Disk().MakeFolder(folder.File("a/file/below")));
  EXPECT_EQ(Disk().SyncFolder(folder.File("a/file")).value(), ENOTDIR);
  EXPECT_FALSE(Disk().Rename(folder.File("a/file"), folder.File("a/b/moved")));
  EXPECT_EQ(Disk().Rename(folder.File("a/file"), folder.File("other")).value(), ENOENT);
  EXPECT_THAT(folder.Names(), testing::ElementsAre("a/b/moved"));
  EXPECT_FALSE(Disk().Remove(folder.File("a/b/moved")));
  EXPECT_FALSE(Disk().Remove(folder.File("a/b/moved")));
  EXPECT_TRUE(Disk().Remove(folder.File("a")));
}

std::string Listed(const PlainEntry& entry) {
  constexpr const char* kMarks[] = {"", "/", "?"};
  return entry.name + kMarks[static_cast<size_t>(entry.kind)];
}

TEST(Files, EntriesAreListedAsTheyStand) {
  TempFolder folder;
  folder.Put("a.url", "12345");
  folder.Put("sub/deeper", "");
  folder.Put("bad\xFFname", "");
  fs::create_symlink("a.url", folder.File("link"));
  fs::create_symlink("sub", folder.File("way"));
  fs::create_symlink("nowhere", folder.File("broken"));
  ASSERT_EQ(mkfifo(folder.File("pipe").c_str(), 0600), 0);
  ASSERT_FALSE(Disk().SetModified(folder.File("a.url"), 1'000'000'000));
  for (const bool withTimes : {false, true}) {
    std::vector<PlainEntry> entries{{"poison"}};
    EXPECT_FALSE(Disk().ListEntries(folder.path(), withTimes, entries));
    std::vector<std::string> found;
    for (const PlainEntry& entry : entries) {
      found.push_back(Listed(entry));
      if (withTimes && entry.name == "a.url") {
        EXPECT_EQ(entry.modifiedNs, 1'000'000'000'000'000'000);
        EXPECT_EQ(entry.size, 5u);
        EntryStat stat;
        ASSERT_FALSE(Disk().StatEntry(folder.File("a.url"), stat));
        EXPECT_EQ(entry.inode, stat.inode);
        EXPECT_EQ(entry.changedNs, stat.changedNs);
        EXPECT_GT(entry.changedNs, entry.modifiedNs) << "of the setting of the other";
      }
    }
    EXPECT_THAT(found, testing::UnorderedElementsAre("a.url", "sub/", "bad\xFFname", "link?",
                                                     "way?", "broken?", "pipe?"));
  }
}

TEST(Files, ATimeFarOffIsTheFarthestThereIs) {
  TempFolder folder;
  const std::string path = folder.Put("file", "");
  // The file system may have a limit of its own.
  if (Disk().SetModified(path, int64_t{1} << 40)) GTEST_SKIP();
  EntryStat stat;
  ASSERT_FALSE(Disk().StatEntry(path, stat));
  EXPECT_GT(stat.modifiedNs, int64_t{4'000'000'000'000'000'000});
}

// In a process of its own, whose files may not grow.
int CreateBeyondTheLimit(const std::string& path, bool isKilled) {
  signal(SIGXFSZ, isKilled ? SIG_DFL : SIG_IGN);
  const rlimit limit{1000, 1000};
  if (setrlimit(RLIMIT_FSIZE, &limit) != 0) return -1;
  return Disk().CreateNew(path, std::string(5000, 'x')).value();
}

TEST(FilesDeathTest, WhatCannotBeWrittenWholeIsTakenAway) {
  TempFolder folder;
  const std::string path = folder.File("file");
  EXPECT_EXIT(_exit(CreateBeyondTheLimit(path, false)), testing::ExitedWithCode(EFBIG), "");
  EXPECT_FALSE(fs::exists(path));
  const int fd = open(folder.path().c_str(), O_WRONLY | O_TMPFILE, 0600);
  if (fd < 0) GTEST_SKIP() << "no files without a name here";
  close(fd);
  EXPECT_EXIT(_exit(CreateBeyondTheLimit(path, true)), testing::KilledBySignal(SIGXFSZ), "");
  EXPECT_FALSE(fs::exists(path)) << "half of a file";
}

TEST(NativePath, TurnsTheModulesForm) {
  const struct {
    std::u16string_view path;
    std::optional<std::string> native;
  } cases[] = {{u"C:\\Users\\me\\a.url", "/Users/me/a.url"},
               {u"\\folder\\ü.vcf", "/folder/ü.vcf"},
               {u"d:name", "name"},
               {u"C:", ""},
               {u"", ""},
               {u"CC:\\a", std::nullopt},
               {u"C:\\a:b", std::nullopt},
               {std::u16string_view(u"a\0b", 3), std::nullopt},
               {u"a\xD800", std::nullopt}};
  for (const char16_t refused : std::u16string_view(u"/:*?\"<>|\n\x1F")) {
    EXPECT_FALSE(ToNativePath(std::u16string{u'n', u'n', refused})) << static_cast<int>(refused);
  }
  for (const auto& [path, native] : cases) {
    EXPECT_EQ(ToNativePath(path), native) << testing::PrintToString(path);
  }
}

TEST(NativePath, TurnsBack) {
  EXPECT_EQ(FromNativePath("/home/ü/a b.url"), u"\\home\\ü\\a b.url");
  EXPECT_EQ(FromNativePath(""), u"");
  for (const char* refused : {"a\\b", "c:", "a?", "a\x01", "a\xFF", "\xED\xA0\x80"}) {
    EXPECT_EQ(FromNativePath(refused), std::nullopt) << refused;
  }
}

TEST(NativePath, IsPrintedSoThatItCanBeFoundAgain) {
  const std::pair<std::string_view, std::u16string_view> kRows[] = {
      {"Work: 2026", u"Work: 2026"},
      {"C++?.url", u"C++?.url"},
      {"l\xFFne\n", u"l\\xFFne\\x0A"},
      {"\xE6\x97\xA5\xE6\x97", u"日\\xE6\\x97"},
      {"\xF0\x9F\x98\x80", u"\U0001F600"},
      {"\xC0\x80\x7F", u"\\xC0\\x80\\x7F"},
      {"", u""}};
  for (const auto& [name, text] : kRows) EXPECT_EQ(PrintableName(name), text) << name;
}

TEST(Files, WhatIsSettledMayBeManyAndMayHaveGone) {
  TempFolder folder;
  for (const size_t count : {0u, 1u, 20u}) {
    std::vector<std::string> files = {folder.File("gone")};
    for (size_t i = 0; i < count; ++i) files.push_back(folder.Put("f" + std::to_string(i), "x"));
    const std::vector<std::string> folders = {folder.path(), folder.File("none")};
    EXPECT_FALSE(Disk().Settle(files, folders)) << count;
    files.push_back(folder.File("f0/below"));
    EXPECT_EQ(Disk().Settle(files, {}).value(), count == 0 ? 0 : ENOTDIR) << count;
  }
}

}  // namespace
}  // namespace qv

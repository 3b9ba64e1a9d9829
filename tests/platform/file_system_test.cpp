#include "platform/system/file_system.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

#include "kit/platform_fakes.h"
#include "platform/system/environment.h"

namespace qv {
namespace {

namespace fs = std::filesystem;
using test::FailingFiles;
using test::TempFolder;
using Names = std::vector<std::u16string>;

Names NamesIn(const std::u16string& folder) {
  std::vector<EntryInfo> entries;
  EXPECT_EQ(ListFolder(folder, ListDetail::Names, entries), kNoError);
  Names names;
  for (const EntryInfo& entry : entries) names.push_back(entry.name);
  return names;
}

TEST(FileSystem, ListsSortedByUnit) {
  TempFolder folder;
  // In UTF-8 the emoji would come last.
  for (const char* name : {"b", "a", "B", "\uFF5E", "\U0001F600", ".x", "a b", "ä"}) {
    folder.Put(name, "");
  }
  for (const char* odd : {"bad\xFF", "a:b", "a\\b", "que?", "line\n"}) folder.Put(odd, "");
  fs::create_directory(folder.File("Work: 2026"));
  EXPECT_EQ(NamesIn(folder.ModulePath(u"")),
            (Names{u".x", u"B", u"a", u"a b", u"b", u"ä", u"\U0001F600", u"\uFF5E"}));
  std::vector<EntryInfo> entries;
  std::vector<UnusableEntry> unusable = {{"poison"}};
  ASSERT_EQ(ListFolder(folder.ModulePath(u""), ListDetail::Names, entries, &unusable), kNoError);
  std::vector<std::string> odd;
  for (const UnusableEntry& entry : unusable) {
    odd.push_back(entry.name + (entry.kind == EntryKind::Folder ? "/" : ""));
  }
  EXPECT_THAT(odd, testing::ElementsAre("Work: 2026/", "a:b", "a\\b", "bad\xFF", "line\n", "que?"));
  EXPECT_EQ(ListFolder(folder.ModulePath(u"no"), ListDetail::Names, entries, &unusable), 2u);
  EXPECT_TRUE(unusable.empty());
}

TEST(FileSystem, ListsKindsAndTimes) {
  TempFolder folder;
  folder.Put("file", "");
  fs::create_directory(folder.File("folder"));
  fs::create_symlink("folder", folder.File("link"));
  ASSERT_EQ(SetFileModified(folder.ModulePath(u"file"), 1'234'567'890), kNoError);
  ASSERT_EQ(SetFileModified(folder.ModulePath(u"link"), 1), kNoError) << "of the link alone";
  std::vector<EntryInfo> entries;
  ASSERT_EQ(ListFolder(folder.ModulePath(u""), ListDetail::Modified, entries), kNoError);
  ASSERT_EQ(entries.size(), 3u);
  EXPECT_EQ(entries[0].modified, 1'234'567'890);
  EXPECT_EQ(entries[0].kind, EntryKind::File);
  EXPECT_EQ(entries[1].kind, EntryKind::Folder);
  EXPECT_EQ(entries[2].kind, EntryKind::Other);
  EXPECT_EQ(entries[2].modified, 1);
}

TEST(FileSystem, FindsExactlyThisEntry) {
  TempFolder folder;
  const std::string path = folder.Put("File.url", "12345");
  const timespec times[2] = {{1'000'000'000, 999'999'999}, {-2, 500'000'000}};
  ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  EntryInfo entry;
  ASSERT_EQ(FindEntry(folder.ModulePath(u"File.url"), entry), kNoError);
  EXPECT_EQ(entry.name, u"File.url");
  EXPECT_EQ(entry.kind, EntryKind::File);
  EXPECT_EQ(entry.size, 5u);
  EXPECT_EQ(entry.accessed, 1'000'000'000);
  EXPECT_EQ(entry.modified, -2);  // down, not towards zero
  ASSERT_EQ(SetFileModified(folder.ModulePath(u"File.url"), 7), kNoError);
  ASSERT_EQ(FindEntry(folder.ModulePath(u"File.url"), entry), kNoError);
  EXPECT_EQ(entry.modified, 7);
  EXPECT_EQ(entry.accessed, 1'000'000'000);
  EXPECT_FALSE(EntryExists(folder.ModulePath(u"file.url")));
  // A link is found as such, however its path ends.
  fs::create_symlink(folder.path(), folder.File("link"));
  for (const char16_t* name : {u"link", u"link\\"}) {
    ASSERT_EQ(FindEntry(folder.ModulePath(name), entry), kNoError);
    EXPECT_EQ(entry.name, u"link");
    EXPECT_EQ(entry.kind, EntryKind::Other);
  }
}

TEST(FileSystem, OnlyRegularFilesAreReadAndReplaced) {
  TempFolder folder;
  folder.Put("file", "old");
  fs::create_directory(folder.File("folder"));
  fs::create_symlink("file", folder.File("link"));
  ASSERT_EQ(mkfifo(folder.File("pipe").c_str(), 0600), 0);
  const struct {
    const char16_t* name;
    SystemError number;
  } cases[] = {{u"folder", kAccessDenied},       {u"link", kAccessDenied},
               {u"pipe", kAccessDenied},         {u"none", kFileNotFound},
               {u"none\\deeper", kPathNotFound}, {u"file\\x", kPathNotFound},
               {u"a?b", kInvalidName},           {u"folder\\..", kInvalidName}};
  for (const auto& [name, number] : cases) {
    const std::u16string path = folder.ModulePath(name);
    std::string bytes = "poison";
    EXPECT_EQ(ReadFileBytes(path, bytes), number) << testing::PrintToString(path);
    EXPECT_EQ(bytes, "");
    EXPECT_EQ(ReplaceFileBytes(path, "new"), number) << testing::PrintToString(path);
  }
  EXPECT_EQ(folder.Get("file"), "old");
  EXPECT_EQ(ReplaceFileBytes(folder.ModulePath(u"file"), "new"), kNoError);
  std::string bytes;
  EXPECT_EQ(ReadFileBytes(folder.ModulePath(u"file"), bytes), kNoError);
  EXPECT_EQ(bytes, "new");
}

TEST(FileSystem, WhatIsTakenIsNotReplaced) {
  TempFolder folder;
  folder.Put("file", "kept");
  folder.Put("other", "");
  fs::create_directory(folder.File("empty"));
  fs::create_symlink("nowhere", folder.File("broken"));
  for (const char16_t* name : {u"file", u"empty", u"broken"}) {
    const std::u16string path = folder.ModulePath(name);
    EXPECT_EQ(CreateNewFile(path, "new"), kFileExists);
    EXPECT_EQ(MakeFolder(path), kAlreadyExists);
    EXPECT_EQ(RenameEntry(folder.ModulePath(u"other"), path), kAlreadyExists);
  }
  // Two names of one file are two entries.
  fs::create_hard_link(folder.File("other"), folder.File("OTHER"));
  EXPECT_EQ(RenameEntry(folder.ModulePath(u"other"), folder.ModulePath(u"OTHER")), kAlreadyExists);
  EXPECT_THAT(folder.Names(), testing::ElementsAre("OTHER", "file", "other"));
  EXPECT_EQ(folder.Get("file"), "kept");
  EXPECT_EQ(CreateNewFile(folder.ModulePath(u"new"), "bytes"), kNoError);
  EXPECT_EQ(folder.Get("new"), "bytes");
  EXPECT_EQ(RenameEntry(folder.ModulePath(u"new"), folder.ModulePath(u"NEW")), kNoError);
  EXPECT_EQ(folder.Get("NEW"), "bytes");
  EXPECT_EQ(MakeFolder(folder.ModulePath(u"empty\\below")), kNoError);
  EXPECT_EQ(RenameEntry(folder.ModulePath(u"empty"), folder.ModulePath(u"empty\\below\\x")),
            kInvalidParameter);
}

TEST(FileSystem, NewNamesMustBeNames) {
  TempFolder folder;
  folder.Put("file", "kept");
  for (const char16_t* name : {u"", u".", u"..", u"new\\", u"a:b", u"a*", u"a\tb", u"a|b"}) {
    const std::u16string path = folder.ModulePath(name);
    EXPECT_EQ(CreateNewFile(path, ""), kInvalidName) << testing::PrintToString(path);
    EXPECT_EQ(MakeFolder(path), kInvalidName) << testing::PrintToString(path);
    EXPECT_EQ(RenameEntry(folder.ModulePath(u"file"), path), kInvalidName)
        << testing::PrintToString(path);
  }
  EXPECT_EQ(CreateNewFile(folder.ModulePath(u"a") + u"/b", ""), kInvalidName);
  EXPECT_EQ(CreateNewFile(u"", ""), kInvalidName);
  EXPECT_EQ(CreateNewFile(folder.ModulePath(std::u16string(256, u'n')), ""), kNameTooLong);
  EXPECT_EQ(NamesIn(folder.ModulePath(u"")), Names{u"file"});
}

TEST(FileSystem, MissingNamesAndFoldersAreToldApart) {
  TempFolder folder;
  folder.Put("file", "");
  EXPECT_EQ(CreateNewFile(folder.ModulePath(u"no\\file"), ""), kPathNotFound);
  EXPECT_EQ(MakeFolder(folder.ModulePath(u"no\\folder")), kPathNotFound);
  EXPECT_EQ(MakeFolder(folder.ModulePath(u"file\\folder")), kPathNotFound);
  EXPECT_EQ(DeleteFile(folder.ModulePath(u"no")), kFileNotFound);
  EXPECT_EQ(DeleteFile(folder.ModulePath(u"no\\file")), kPathNotFound);
  EXPECT_EQ(RemoveFolder(folder.ModulePath(u"no")), kFileNotFound);
  EXPECT_EQ(SetFileModified(folder.ModulePath(u"no"), 1), kFileNotFound);
  EXPECT_EQ(RenameEntry(folder.ModulePath(u"no"), folder.ModulePath(u"x")), kFileNotFound);
  EXPECT_EQ(RenameEntry(folder.ModulePath(u"file"), folder.ModulePath(u"no\\x")), kPathNotFound);
}

TEST(FileSystem, DeletesWhatItIsToldTo) {
  TempFolder folder;
  folder.Put("folder/file", "");
  folder.Put("target", "kept");
  fs::create_symlink("target", folder.File("link"));
  fs::create_symlink("folder", folder.File("way"));
  EXPECT_EQ(DeleteFile(folder.ModulePath(u"folder")), kAccessDenied);
  EXPECT_EQ(RemoveFolder(folder.ModulePath(u"folder")), kFolderNotEmpty);
  EXPECT_EQ(RemoveFolder(folder.ModulePath(u"way\\")), kPathNotFound);
  EXPECT_EQ(DeleteFile(folder.ModulePath(u"link")), kNoError);
  EXPECT_EQ(DeleteFile(folder.ModulePath(u"way")), kNoError);
  EXPECT_THAT(folder.Names(), testing::ElementsAre("folder/file", "target"));
  EXPECT_EQ(DeleteFile(folder.ModulePath(u"folder\\file")), kNoError);
  EXPECT_EQ(RemoveFolder(folder.ModulePath(u"folder")), kNoError);
}

TEST(FileSystem, ErrorsHaveTheirNumbers) {
  TempFolder folder;
  folder.Put("file", "old");
  const struct {
    int error;
    SystemError number;
  } cases[] = {{EACCES, 5},      {EPERM, 5},    {EISDIR, 5}, {EROFS, 5},         {ENOSPC, 112},
               {EDQUOT, 112},    {EINVAL, 87},  {EIO, 31},   {EBUSY, 31},        {ENOTDIR, 3},
               {ENOTEMPTY, 145}, {EEXIST, 183}, {ENOENT, 2}, {ENAMETOOLONG, 206}};
  FailingFiles disk;
  const ScopedService<Files> use(disk);
  disk.Watch(FailingFiles::IsChange);
  for (const auto& [error, number] : cases) {
    disk.FailAt(0, error, true);
    EXPECT_EQ(ReplaceFileBytes(folder.ModulePath(u"file"), "new"), number) << error;
    EXPECT_EQ(SetFileModified(folder.ModulePath(u"file"), 1), number) << error;
    EXPECT_EQ(DeleteFile(folder.ModulePath(u"file")), number) << error;
  }
}

TEST(FileSystem, LinksLeaveTheTree) {
  TempFolder folder;
  folder.Put("real/sub/file", "");
  fs::create_symlink("real", folder.File("root"));
  fs::create_symlink("sub", folder.File("real/link"));
  const std::u16string root = folder.ModulePath(u"root");
  for (const char16_t* path :
       {u"\\file", u"\\sub\\file", u"\\sub", u"\\link", u"\\none\\sub\\file"}) {
    EXPECT_FALSE(LeavesTree(root, root + path)) << testing::PrintToString(path);
    EXPECT_FALSE(LeavesTree(root + u"\\", root + path)) << testing::PrintToString(path);
  }
  for (const char16_t* path : {u"", u"2\\file", u"\\link\\file", u"\\link\\", u"\\..",
                               u"\\sub\\.\\x", u"\\none\\..\\..\\x", u"\\sub\\file\\x", u"\\a?b"}) {
    EXPECT_TRUE(LeavesTree(root, root + path)) << testing::PrintToString(path);
  }
  EXPECT_TRUE(LeavesTree(root, folder.ModulePath(u"real\\sub")));
}

TEST(Environment, ReplacesTheFirstVariable) {
  const test::ScopedEnvironment set("QV_TEST_NAME", "Zoë");
  const test::ScopedEnvironment unset("QV_TEST_NONE", nullptr);
  const struct {
    std::u16string_view text;
    std::optional<std::u16string> expanded;
  } cases[] = {{u"%QV_TEST_NAME%", u"Zoë"},
               {u"a\\%QV_TEST_NAME%\\%QV_TEST_NONE%", u"a\\Zoë\\%QV_TEST_NONE%"},
               {u"%QV_TEST_NONE%\\%QV_TEST_NAME%", std::nullopt},
               {std::u16string_view(u"%QV_TEST_NAME\0x%", 16), std::nullopt},
               {u"100% sure", u"100% sure"},
               {u"100%% sure", u"100%% sure"},
               {u"", u""}};
  for (const auto& [text, expanded] : cases) {
    EXPECT_EQ(ExpandEnvironment(text), expanded) << testing::PrintToString(text);
  }
}

}  // namespace
}  // namespace qv

// Stand-ins for the platform services, and folders and environment that a test may spoil.
//
// A fake takes effect for the life of a `ScopedService`:
//
//   FakeClock clock(1'700'000'000);
//   ScopedService<Clock> use(clock);
//
// For registry values use a `FileRegistry` in a `TempFolder`.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "platform/system/clock.h"
#include "platform/system/debug_log.h"
#include "platform/system/files.h"
#include "platform/system/identifiers.h"
#include "platform/system/recycle_bin.h"
#include "platform/system/service.h"
#include "platform/system/time_zone.h"

namespace qv::test {

// An empty folder of its own, removed with all that is in it.
class TempFolder {
 public:
  TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  ~TempFolder();

  const std::string& path() const { return path_; }
  // The native path of `name` (relative, "/" between parts) inside.
  std::string File(std::string_view name) const;
  // The same in the module's form, with "\".
  std::u16string ModulePath(std::u16string_view name) const;
  // Make the file with every folder above it; throws when that fails.
  std::string Put(std::string_view name, std::string_view bytes) const;
  // The bytes of a file inside; nothing when it cannot be read.
  std::optional<std::string> Get(std::string_view name) const;
  // Every regular file inside, at any depth, as relative names in order.
  std::vector<std::string> Names() const;

 private:
  std::string path_;
};

// An environment variable for a while; null unsets it.
class ScopedEnvironment {
 public:
  ScopedEnvironment(std::string name, const char* value);
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;
  ~ScopedEnvironment();

 private:
  std::string name_;
  std::optional<std::string> previous_;
};

// Stands still until it is moved. Local time is `offsetSeconds` ahead of UTC.
class FakeClock final : public Clock {
 public:
  explicit FakeClock(int64_t utcSeconds, int64_t offsetSeconds = 0)
      : utcSeconds_(utcSeconds), offsetSeconds_(offsetSeconds) {}
  void Set(int64_t utcSeconds) { utcSeconds_ = utcSeconds; }
  void Advance(int64_t seconds) { utcSeconds_ += seconds; }

  int64_t UtcSeconds() override { return utcSeconds_; }
  SystemTime LocalTime() override;

 private:
  int64_t utcSeconds_;
  int64_t offsetSeconds_;
};

// A zone of the test's choice, whatever TZ says.
class FixedZone final : public TimeZone {
 public:
  FixedZone() = default;  // UTC
  explicit FixedZone(const TimeZoneRecord& record) : record_(record) {}
  // By rule: FixedZone("CET-1CEST,M3.5.0,M10.5.0/3").
  explicit FixedZone(std::string_view rule) : record_(ParsePosixZone(rule)) {}
  void Set(const TimeZoneRecord& record) { record_ = record; }

  TimeZoneRecord GetTimeZoneInformation() override { return record_; }

 private:
  TimeZoneRecord record_;
};

// Keeps every line.
class RecordingLog final : public DebugLog {
 public:
  void Write(std::u16string_view line) override { lines_.emplace_back(line); }
  const std::vector<std::u16string>& lines() const { return lines_; }
  // How often exactly this line was written.
  size_t Count(std::u16string_view line) const;
  void Clear() { lines_.clear(); }

 private:
  std::vector<std::u16string> lines_;
};

// Identifiers that count up: 00000001-0000-4000-8000-000000000000 first.
class CountingGuids final : public GuidSource {
 public:
  GUID New() override;

 private:
  uint32_t last_ = 0;
};

// A checksum service that is broken.
class FailingMd5 final : public Md5Provider {
 public:
  std::optional<Md5Digest> Digest(std::string_view) override { return std::nullopt; }
};

// Real files, except that chosen operations fail and do nothing.
//
// To fail each step of a job in turn: run it once and take `operations()`, then run it once for
// every n below that with `FailAt(n, ENOSPC)`.
class FailingFiles : public Files {
 public:
  enum class Verb {
    Stat,
    List,
    Read,
    ReadPieces,
    Write,
    Append,
    WriteAtomic,
    Stage,
    SyncFolder,
    Settle,
    Remove,
    Rename,
    MakeFolder,
    StatEntry,
    ListEntries,
    CreateNew,
    RenameNew,
    MakeNewFolder,
    RemoveFolder,
    SetModified
  };
  struct Call {
    Verb verb;
    std::string path;  // for Rename and RenameNew the old name, for Settle nothing
  };
  // Which calls are counted and may fail.
  using Filter = std::function<bool(const Call&)>;

  explicit FailingFiles(Files& real = Files::Default()) : real_(real) {}

  // The n-th counted call (from 0, counted from now on) fails with `error` (an errno value);
  // with `keepFailing` all behind it do too, as on a disk that has gone.
  void FailAt(size_t n, int error, bool keepFailing = false);
  // Counts from now on, nothing fails.
  void Reset();
  // Null counts every call.
  void Watch(Filter filter) { filter_ = std::move(filter); }
  // True for the calls that change something on the disk.
  static bool IsChange(const Call& call);

  size_t operations() const { return count_; }
  // Whether a call has been failed since FailAt.
  bool hasFailed() const { return hasFailed_; }

  std::error_code Stat(const std::string& path, FileInfo& info) override {
    return Pass(Verb::Stat, &Files::Stat, path, info);
  }
  std::error_code List(const std::string& folder, std::vector<FolderEntry>& entries) override {
    return Pass(Verb::List, &Files::List, folder, entries);
  }
  std::error_code Read(const std::string& path, std::string& bytes) override {
    return Pass(Verb::Read, &Files::Read, path, bytes);
  }
  std::error_code ReadPieces(const std::string& path,
                             const std::function<bool(std::string_view)>& take) override {
    return Pass(Verb::ReadPieces, &Files::ReadPieces, path, take);
  }
  std::error_code Write(const std::string& path, std::string_view bytes) override {
    return Pass(Verb::Write, &Files::Write, path, bytes);
  }
  std::error_code Append(const std::string& path, std::string_view bytes) override {
    return Pass(Verb::Append, &Files::Append, path, bytes);
  }
  std::error_code WriteAtomic(const std::string& path, std::string_view bytes) override {
    return Pass(Verb::WriteAtomic, &Files::WriteAtomic, path, bytes);
  }
  std::error_code Stage(const std::string& path, std::string_view bytes,
                        StagedFile& staged) override {
    return Pass(Verb::Stage, &Files::Stage, path, bytes, staged);
  }
  std::error_code SyncFolder(const std::string& folder) override {
    return Pass(Verb::SyncFolder, &Files::SyncFolder, folder);
  }
  std::error_code Remove(const std::string& path) override {
    return Pass(Verb::Remove, &Files::Remove, path);
  }
  std::error_code Rename(const std::string& from, const std::string& to) override {
    return Pass(Verb::Rename, &Files::Rename, from, to);
  }
  std::error_code MakeFolder(const std::string& path) override {
    return Pass(Verb::MakeFolder, &Files::MakeFolder, path);
  }
  std::error_code StatEntry(const std::string& path, EntryStat& stat) override {
    return Pass(Verb::StatEntry, &Files::StatEntry, path, stat);
  }
  std::error_code ListEntries(const std::string& folder, bool withTimes,
                              std::vector<PlainEntry>& entries) override {
    return Pass(Verb::ListEntries, &Files::ListEntries, folder, withTimes, entries);
  }
  std::error_code CreateNew(const std::string& path, std::string_view bytes) override {
    return Pass(Verb::CreateNew, &Files::CreateNew, path, bytes);
  }
  std::error_code RenameNew(const std::string& from, const std::string& to) override {
    return Pass(Verb::RenameNew, &Files::RenameNew, from, to);
  }
  std::error_code MakeNewFolder(const std::string& path) override {
    return Pass(Verb::MakeNewFolder, &Files::MakeNewFolder, path);
  }
  std::error_code RemoveFolder(const std::string& path) override {
    return Pass(Verb::RemoveFolder, &Files::RemoveFolder, path);
  }
  std::error_code SetModified(const std::string& path, int64_t seconds) override {
    return Pass(Verb::SetModified, &Files::SetModified, path, seconds);
  }
  std::error_code Settle(std::span<const std::string> files,
                         std::span<const std::string> folders) override {
    const std::error_code error = Count(Verb::Settle, {});
    return error ? error : real_.Settle(files, folders);
  }

 private:
  std::error_code Count(Verb verb, const std::string& path);
  template <class Call, class... Arguments>
  std::error_code Pass(Verb verb, Call call, const std::string& path, Arguments&&... more) {
    const std::error_code error = Count(verb, path);
    return error ? error : (real_.*call)(path, std::forward<Arguments>(more)...);
  }

  Files& real_;
  Filter filter_;
  size_t count_ = 0;
  std::optional<size_t> failAt_;
  int error_ = 0;
  bool keepFailing_ = false;
  bool hasFailed_ = false;
};

// Takes entries into a folder, which must be on the same file system, under their own names; a
// second one of a name gets "~" behind it.
class FakeRecycleBin final : public RecycleBin {
 public:
  explicit FakeRecycleBin(std::string folder) : folder_(std::move(folder)) {}
  // From now on, with an errno value; 0 takes again.
  void Refuse(int error) { error_ = error; }
  // Every path that was handed over, refused or not.
  const std::vector<std::string>& asked() const { return asked_; }

  std::error_code Take(const std::string& path) override;

 private:
  std::string folder_;
  std::vector<std::string> asked_;
  int error_ = 0;
};

}  // namespace qv::test

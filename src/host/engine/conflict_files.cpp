#include "host/engine/conflict_files.h"

#include "host/engine/errors.h"
#include "host/engine/model.h"
#include "platform/system/clock.h"
#include "platform/system/files.h"
#include "platform/system/service.h"
#include "support/date_time.h"
#include "support/text.h"

namespace qv {
namespace {

constexpr size_t kLongestStem = 150;

// The file's own name without its extension, cut between characters.
std::string StemOf(const std::string& name, std::string_view extension) {
  std::string stem(BaseOfName(name));
  if (stem.ends_with(extension)) stem.resize(stem.size() - extension.size());
  if (stem.size() <= kLongestStem) return stem;
  size_t end = kLongestStem;
  while (end > 0 && (static_cast<unsigned char>(stem[end]) & 0xC0) == 0x80) --end;
  return stem.substr(0, end);
}

}  // namespace

std::string ConflictFiles::Keep(const StoreKind& kind, const std::string& phoneFile,
                                const char* side, std::string_view text) {
  Files& files = Service<Files>::Get();
  std::error_code error;
  if (!made_) error = files.MakeFolder(folder_);
  if (error) throw ItemError("cannot make " + folder_ + ": " + error.message());
  made_ = true;
  const DATE now = DateFromUnixSeconds(Service<Clock>::Get().UtcSeconds());
  const std::string stem = ToUtf8(FormatCompactDateTime(now)) + "Z-" + std::string(kind.name) +
                           "-" + StemOf(phoneFile, kind.extension) + "-" + side;
  std::string name = stem + std::string(kind.extension);
  FileInfo info;
  for (int n = 2; !files.Stat(folder_ + "/" + name, info); ++n) {
    name = stem + "(" + std::to_string(n) + ")" + std::string(kind.extension);
  }
  const std::string path = folder_ + "/" + name;
  error = files.WriteAtomic(path, text);
  if (!error) error = files.SyncFolder(folder_);
  if (error) {
    throw ItemError("the losing text cannot be kept in " + path + ": " + error.message());
  }
  return "conflicts/" + name;
}

void ConflictFiles::Drop(const std::string& kept) {
  // One that stays is a copy too many, nothing worse.
  static_cast<void>(Service<Files>::Get().Remove(folder_ + kept.substr(kept.find('/'))));
}

}  // namespace qv

#include "host/engine/conflict_files.h"

#include <utility>

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
  StagedFile staged;
  error = files.Stage(folder_ + "/" + name, text, staged);
  if (!error) error = files.RenameNew(staged.temporary, folder_ + "/" + name);
  for (int n = 2; error == std::errc::file_exists; ++n) {
    name = stem + "(" + std::to_string(n) + ")" + std::string(kind.extension);
    error = files.RenameNew(staged.temporary, folder_ + "/" + name);
  }
  if (error) {
    static_cast<void>(files.Remove(staged.temporary));
    throw ItemError("the losing text cannot be kept in " + folder_ + "/" + name + ": " +
                    error.message());
  }
  unsettled_.push_back(folder_ + "/" + name);
  return "conflicts/" + name;
}

void ConflictFiles::Settle() {
  if (unsettled_.empty()) return;
  const std::vector<std::string> files = std::exchange(unsettled_, {});
  std::vector<std::string> folders = {folder_};
  if (std::exchange(isNewFolder_, false)) folders.push_back(folder_.substr(0, folder_.rfind('/')));
  if (const std::error_code error = Service<Files>::Get().Settle(files, folders)) {
    throw StoreFailure("the losing texts of conflicts cannot be kept in " + folder_ + ": " +
                       error.message());
  }
}

void ConflictFiles::Drop(const std::string& kept) {
  // One that stays is a copy too many, nothing worse.
  static_cast<void>(Service<Files>::Get().Remove(folder_ + kept.substr(kept.find('/'))));
}

}  // namespace qv

#include "stores/unsettled_changes.h"

#include <iterator>
#include <vector>

#include "platform/system/native_entry.h"
#include "platform/system/service.h"

namespace qv {
namespace {

// The path itself and those below it, which stand together.
void MoveIn(std::set<std::string>& paths, const std::string& from, const std::string& to) {
  std::vector<std::string> moved;
  const auto take = [&](auto first, auto last) {
    for (auto path = first; path != last; ++path) moved.push_back(to + path->substr(from.size()));
    paths.erase(first, last);
  };
  if (const auto self = paths.find(from); self != paths.end()) take(self, std::next(self));
  take(paths.lower_bound(from + '/'), paths.lower_bound(from + static_cast<char>('/' + 1)));
  paths.insert(moved.begin(), moved.end());
}

}  // namespace

void UnsettledChanges::AddFolderOf(std::u16string_view path) {
  if (const auto folder = ToNativePath(path.substr(0, path.rfind(u'\\')))) folders_.insert(*folder);
}

void UnsettledChanges::Made(std::u16string_view path, EntryKind kind) {
  AddFolderOf(path);
  const auto native = ToNativePath(path);
  if (native && kind == EntryKind::Folder) folders_.insert(*native);
  if (native && kind == EntryKind::File) files_.insert(*native);
}

void UnsettledChanges::Moved(std::u16string_view from, std::u16string_view to) {
  AddFolderOf(from);
  AddFolderOf(to);
  const auto source = ToNativePath(from);
  const auto target = ToNativePath(to);
  if (!source || !target) return;
  for (std::set<std::string>* paths : {&files_, &folders_}) MoveIn(*paths, *source, *target);
}

void UnsettledChanges::Removed(std::u16string_view path) {
  AddFolderOf(path);
}

SystemError UnsettledChanges::Settle() {
  if (IsEmpty()) return kNoError;
  const std::vector<std::string> files(files_.begin(), files_.end());
  const std::vector<std::string> folders(folders_.begin(), folders_.end());
  if (const std::error_code error = Service<Files>::Get().Settle(files, folders)) {
    return NumberOf(error, folders.front());
  }
  files_.clear();
  folders_.clear();
  return kNoError;
}

}  // namespace qv

#include "host/engine/phone_folder.h"

#include <algorithm>
#include <utility>

#include "platform/system/service.h"
#include "support/text.h"

namespace qv {
namespace {

constexpr size_t kLongestUidName = 100;
constexpr size_t kLongestTitleName = 150;  // bytes
constexpr std::u16string_view kNameSigns = u"._@+-";

bool IsNameSign(char16_t c) {
  return (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') ||
         kNameSigns.find(c) != kNameSigns.npos;
}

// Every file system takes such a name.
bool IsFitForName(std::u16string_view uid) {
  return !uid.empty() && uid.size() <= kLongestUidName && uid.front() != u'.' &&
         std::ranges::all_of(uid, IsNameSign);
}

std::string Lower(std::string name) {
  for (char& c : name) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return name;
}

Files& TheFiles() {
  return Service<Files>::Get();
}

// What every file system takes: no sign of a path, no control character, no blank or dot at the
// end, no dot in front.
std::string NameOfTitle(std::u16string_view title) {
  std::u16string name(title);
  SanitizeFileName(name);
  std::ranges::replace_if(
      name, [](char16_t c) { return c < u' ' || c == 0x7F; }, u'+');
  if (name.starts_with(u'.')) name.front() = u'+';
  std::string stem = ToUtf8(name);
  if (stem.size() > kLongestTitleName) {
    size_t end = kLongestTitleName;
    while (end > 0 && (static_cast<unsigned char>(stem[end]) & 0xC0) == 0x80) --end;
    stem.resize(end);
  }
  while (stem.ends_with(' ') || stem.ends_with('.')) stem.pop_back();
  return stem.empty() ? "untitled" : stem;
}

}  // namespace

PhoneFolder::PhoneFolder(std::string folder, std::string_view extension, bool isTree)
    : folder_(std::move(folder)), extension_(extension), isTree_(isTree) {}

std::string PhoneFolder::PathOf(std::string_view name) const {
  if (IsFolderName(name)) name.remove_suffix(1);
  return name.empty() ? folder_ : std::string(folder_).append("/").append(name);
}

bool PhoneFolder::IsItem(std::string_view name) const {
  return name.size() > extension_.size() &&
         EqualsIgnoreCase(name.substr(name.size() - extension_.size()),
                          std::string_view(extension_));
}

std::error_code PhoneFolder::ListBelow(const std::string& folder, std::vector<FolderEntry>& items) {
  std::vector<PlainEntry> entries;
  if (const std::error_code error = TheFiles().ListEntries(PathOf(folder), true, entries)) {
    return error;
  }
  std::vector<PlainEntry> others;
  for (PlainEntry& entry : entries) {
    const bool isItem = IsItem(entry.name);
    if (entry.name.starts_with('.')) {
      if (isItem) Leave(folder + entry.name, LeftKind::Hidden);
      const auto meant = NameBehindTemporary(entry.name);
      if (meant && IsItem(*meant)) leftovers_.push_back(PathOf(folder + entry.name));
      continue;
    }
    if (entry.kind == EntryKind::Other) {
      others.push_back(std::move(entry));
      continue;
    }
    FolderEntry item;
    item.name = folder + entry.name;
    item.info.size = entry.size;
    item.info.modifiedNs = entry.modifiedNs;
    item.info.changedNs = entry.changedNs;
    item.info.inode = entry.inode;
    item.info.isFolder = entry.kind == EntryKind::Folder;
    if (item.info.isFolder && isItem && !isTree_) {
      noFiles_.emplace(item.name, NoFile{"it is a folder, not a file", false});
      item.info = {};
    }
    if (item.info.isFolder) item.name += '/';
    if (item.info.isFolder ? isTree_ : isItem) {
      items.push_back(std::move(item));
    } else {
      Leave(std::move(item.name), item.info.isFolder ? LeftKind::Folder : LeftKind::File);
    }
  }
  return others.empty() ? std::error_code() : Follow(folder, others, items);
}

// A link to a file is as good as the file. None of the rest is ever opened: that could wait for
// ever.
std::error_code PhoneFolder::Follow(const std::string& folder, std::vector<PlainEntry>& others,
                                    std::vector<FolderEntry>& items) {
  std::vector<FolderEntry> entries;
  if (const std::error_code error = TheFiles().List(PathOf(folder), entries)) return error;
  std::unordered_map<std::string_view, const FileInfo*> reached;
  for (const FolderEntry& entry : entries) reached.emplace(entry.name, &entry.info);
  for (const PlainEntry& other : others) {
    const auto found = reached.find(other.name);
    std::string name = folder + other.name;
    if (found != reached.end() && found->second->isFolder) {
      Leave(std::move(name), LeftKind::Link);
    } else if (!IsItem(name)) {
      Leave(std::move(name), found == reached.end() ? LeftKind::Special : LeftKind::File);
    } else if (found != reached.end()) {
      items.push_back({std::move(name), *found->second});
    } else {
      FileInfo info;
      const std::error_code error = TheFiles().Stat(PathOf(name), info);
      NoFile noFile{"it is a pipe or a device, not a file; remove it", false};
      if (error) noFile = {"it is a link that leads nowhere (" + error.message() + ")", true};
      noFiles_.emplace(name, std::move(noFile));
      items.push_back({std::move(name), {}});
    }
  }
  return {};
}

const PhoneFolder::NoFile* PhoneFolder::NoFileAt(const std::string& name) const {
  const auto found = noFiles_.find(name);
  return found == noFiles_.end() ? nullptr : &found->second;
}

std::error_code PhoneFolder::List(std::vector<FolderEntry>& items) {
  items.clear();
  left_.clear();
  noFiles_.clear();
  leftovers_.clear();
  std::error_code error = ListBelow("", items);
  for (size_t i = 0; !error && i < items.size(); ++i) {
    if (!items[i].info.isFolder) continue;
    const std::string folder = items[i].name;
    error = ListBelow(folder, items);
    if (error == std::errc::no_such_file_or_directory) error.clear();
  }
  if (error) items.clear();
  std::ranges::sort(items, {}, &FolderEntry::name);
  std::ranges::sort(left_, {}, &LeftAlone::name);
  return error;
}

std::error_code PhoneFolder::Stat(const std::string& name, FileInfo& info) const {
  return TheFiles().Stat(PathOf(name), info);
}

std::error_code PhoneFolder::Read(const std::string& name, std::string& text) const {
  return TheFiles().Read(PathOf(name), text);
}

std::error_code PhoneFolder::Write(const std::string& name, std::string_view text) {
  Touch(name);
  return TheFiles().WriteAtomic(PathOf(name), text);
}

std::error_code PhoneFolder::Stage(const std::string& name, std::string_view text,
                                   StagedFile& staged) {
  const std::error_code error = TheFiles().Stage(PathOf(name), text, staged);
  if (!error) staged_.push_back(staged.temporary);
  return error;
}

std::error_code PhoneFolder::SettleStaged() {
  const std::vector<std::string> staged = std::exchange(staged_, {});
  return TheFiles().Settle(staged, {});
}

std::error_code PhoneFolder::Place(const std::string& name, const StagedFile& staged, bool isNew) {
  Touch(name);
  return isNew ? TheFiles().RenameNew(staged.temporary, staged.target)
               : TheFiles().Rename(staged.temporary, staged.target);
}

void PhoneFolder::Discard(const StagedFile& staged) {
  // One that stays is found and discarded by the next run.
  static_cast<void>(TheFiles().Remove(staged.temporary));
}

void PhoneFolder::DiscardLeftovers() {
  for (const std::string& path : std::exchange(leftovers_, {})) {
    static_cast<void>(TheFiles().Remove(path));
  }
}

std::error_code PhoneFolder::Remove(const std::string& name) {
  Touch(name);
  return IsFolderName(name) ? TheFiles().RemoveFolder(PathOf(name))
                            : TheFiles().Remove(PathOf(name));
}

std::error_code PhoneFolder::MakeFolder(const std::string& name) {
  Touch(name);
  return TheFiles().MakeNewFolder(PathOf(name));
}

std::error_code PhoneFolder::Rename(const std::string& from, const std::string& to) {
  Touch(from);
  Touch(to);
  return TheFiles().RenameNew(PathOf(from), PathOf(to));
}

std::error_code PhoneFolder::Sync() {
  // One that was removed since has gone with all that was in it.
  std::vector<std::string> folders;
  for (const std::string& folder : std::exchange(touched_, {})) folders.push_back(PathOf(folder));
  return folders.empty() ? std::error_code() : TheFiles().Settle({}, folders);
}

std::error_code PhoneFolder::Make() const {
  return TheFiles().MakeFolder(folder_);
}

std::string PhoneFolder::Numbered(std::string_view folder, const std::string& stem,
                                  std::string_view tail, std::string_view own) {
  const auto [taken, isNew] = taken_.try_emplace(std::string(folder));
  if (isNew) {
    std::vector<PlainEntry> entries;
    // A folder that cannot be listed cannot be written to either.
    static_cast<void>(TheFiles().ListEntries(PathOf(folder), false, entries));
    for (PlainEntry& entry : entries) ++taken->second[Lower(std::move(entry.name))];
  }
  if (!own.empty() && FolderOfName(own) == folder) {
    std::string base(BaseOfName(own));
    if (IsFolderName(base)) base.pop_back();
    // One that differs in letter case alone may be beside it.
    const auto held = taken->second.find(Lower(std::move(base)));
    if (held != taken->second.end() && --held->second == 0) taken->second.erase(held);
  }
  std::string name = stem;
  name += tail;
  for (int n = 2; !taken->second.try_emplace(Lower(name), 1).second; ++n) {
    name = stem;
    name.append("(").append(std::to_string(n)).append(")").append(tail);
  }
  return std::string(folder).append(name);
}

std::string PhoneFolder::FreeName(std::u16string_view uid) {
  std::string stem = ToUtf8(IsFitForName(uid) ? std::u16string(uid) : ComputeMd5(uid));
  if (stem.empty()) stem = ToUtf8(MakeGuidText());  // the checksum service is broken
  return Numbered("", stem, extension_);
}

std::string PhoneFolder::FreeName(std::string_view folder, std::u16string_view title, bool isFolder,
                                  std::string_view own) {
  std::string name = Numbered(folder, NameOfTitle(title), isFolder ? "" : extension_, own);
  if (isFolder) name += '/';
  return name;
}

}  // namespace qv

#include "host/engine/phone_folder.h"

#include <algorithm>
#include <utility>

#include "platform/system/service.h"
#include "support/text.h"

namespace qv {
namespace {

constexpr size_t kLongestUidName = 100;
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

}  // namespace

PhoneFolder::PhoneFolder(std::string folder, std::string_view extension)
    : folder_(std::move(folder)), extension_(extension) {}

std::error_code PhoneFolder::List(std::vector<FolderEntry>& items) {
  items.clear();
  if (const std::error_code error = TheFiles().List(folder_, items)) return error;
  std::erase_if(items, [this](const FolderEntry& entry) {
    const std::string_view name = entry.name;
    return entry.info.isFolder || name.starts_with('.') || name.size() <= extension_.size() ||
           !EqualsIgnoreCase(name.substr(name.size() - extension_.size()),
                             std::string_view(extension_));
  });
  std::ranges::sort(items, {}, &FolderEntry::name);
  return {};
}

std::error_code PhoneFolder::Stat(const std::string& name, FileInfo& info) const {
  return TheFiles().Stat(PathOf(name), info);
}

std::error_code PhoneFolder::Read(const std::string& name, std::string& text) const {
  return TheFiles().Read(PathOf(name), text);
}

std::error_code PhoneFolder::Write(const std::string& name, std::string_view text) const {
  return TheFiles().WriteAtomic(PathOf(name), text);
}

std::error_code PhoneFolder::Remove(const std::string& name) const {
  return TheFiles().Remove(PathOf(name));
}

std::error_code PhoneFolder::Sync() const {
  return TheFiles().SyncFolder(folder_);
}

std::error_code PhoneFolder::Make() const {
  return TheFiles().MakeFolder(folder_);
}

std::string PhoneFolder::FreeName(std::u16string_view uid) {
  std::string stem = ToUtf8(IsFitForName(uid) ? std::u16string(uid) : ComputeMd5(uid));
  if (stem.empty()) stem = ToUtf8(MakeGuidText());  // the checksum service is broken
  if (!taken_) {
    taken_.emplace();
    std::vector<FolderEntry> entries;
    // A folder that cannot be listed cannot be written to either.
    static_cast<void>(TheFiles().List(folder_, entries));
    for (FolderEntry& entry : entries) taken_->insert(Lower(std::move(entry.name)));
  }
  std::string name = stem + extension_;
  for (int n = 2; !taken_->insert(Lower(name)).second; ++n) {
    name = stem + "(" + std::to_string(n) + ")" + extension_;
  }
  return name;
}

}  // namespace qv

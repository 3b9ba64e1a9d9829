#include "pim/contact_files.h"

#include <algorithm>
#include <utility>

#include "platform/system/clock.h"
#include "platform/system/files.h"
#include "platform/system/service.h"
#include "platform/system/utf8.h"
#include "support/date_time.h"
#include "support/text.h"

namespace qv {
namespace {

constexpr std::string_view kExtension = ".contact";
constexpr uint64_t kMostBytes = uint64_t{64} << 20;
constexpr std::u16string_view kPicturePath = u"PhotoCollection/Photo[1]/Url";

Files& Disk() {
  return Service<Files>::Get();
}

bool IsContactName(std::string_view name) {
  return name.size() > kExtension.size() &&
         EqualsIgnoreCase(name.substr(name.size() - kExtension.size()), kExtension);
}

std::string FolderOf(const std::string& path) {
  const size_t cut = path.rfind('/');
  return cut == path.npos ? std::string() : path.substr(0, cut);
}

void TakeStamp(const EntryStat& stat, ContactFiles::Entry& entry) {
  entry.size = stat.size;
  entry.inode = stat.inode;
  entry.modifiedNs = stat.modifiedNs;
  entry.changedNs = stat.changedNs;
  entry.createdNs = stat.createdNs;
}

bool SameStamp(const IndexedContact& a, const IndexedContact& b) {
  return a.size == b.size && a.inode == b.inode && a.modifiedNs == b.modifiedNs &&
         a.changedNs == b.changedNs;
}

// An id of the form of a GUID that always is the same for these.
std::u16string MadeId(std::u16string_view storedId, std::string_view path) {
  std::u16string id = ComputeMd5(Concat({storedId, u" ", FromUtf8(path)}));
  for (char16_t& c : id) {
    if (c >= u'a' && c <= u'f') c = static_cast<char16_t>(c - u'a' + u'A');
  }
  for (const size_t at : {8u, 13u, 18u, 23u}) id.insert(at, 1, u'-');
  return id;
}

}  // namespace

ContactFilesSettings& TheContactFilesSettings() {
  static ContactFilesSettings settings;
  return settings;
}

// What one look finds.
struct ContactFiles::Walk {
  std::unordered_map<std::string, IndexedContact> known;  // by path, from the index
  Entries found;
  std::vector<Problem> problems;
  std::vector<std::string> blind;  // folders that cannot be listed, with "/" at their end

  std::error_code Gather(const std::string& root) {
    std::vector<std::string> open = {""};
    while (!open.empty()) {
      const std::string folder = std::move(open.back());
      open.pop_back();
      std::vector<PlainEntry> entries;
      if (const std::error_code error = Disk().ListEntries(root + "/" + folder, true, entries)) {
        if (folder.empty()) return error;
        // Nobody knows what else is in it.
        problems.push_back({CONTACT_PROBLEM_UNREADABLE, folder, {}, error.message()});
        blind.push_back(folder);
        continue;
      }
      for (PlainEntry& entry : entries) {
        std::string path = folder + entry.name;
        if (entry.kind == EntryKind::Folder) open.push_back(path + "/");
        if (entry.kind != EntryKind::File || !IsContactName(entry.name)) continue;
        Entry& found_ = found[path];
        found_.path = std::move(path);
        found_.size = entry.size;
        found_.inode = entry.inode;
        found_.modifiedNs = entry.modifiedNs;
        found_.changedNs = entry.changedNs;
        found_.createdNs = entry.createdNs;
      }
    }
    return {};
  }
};

std::string ContactFiles::Now() {
  const DATE now = DateFromUnixSeconds(Service<Clock>::Get().UtcSeconds());
  std::string text = ToUtf8(FormatDateTime(now));  // "YYYY-MM-DD hh:mm:ss"
  if (text.size() == 19) text[10] = 'T';
  return text + "Z";
}

ContactFiles::ContactFiles(std::string folder, std::string index)
    : folder_(std::move(folder)), indexPath_(std::move(index)) {
  while (folder_.size() > 1 && folder_.ends_with('/')) folder_.pop_back();
}

ContactFiles::~ContactFiles() {
  try {
    SaveIndex();
  } catch (const std::exception&) {  // the next look reads the files
  }
}

ContactIndex* ContactFiles::Index() {
  if (index_ || indexPath_.empty()) return index_.get();
  FileInfo info;
  if (lookOnly_ && Disk().Stat(indexPath_, info)) return nullptr;
  index_ = std::make_unique<ContactIndex>(indexPath_);
  return index_.get();
}

std::error_code ContactFiles::Look() {
  Walk walk;
  if (const std::error_code error = walk.Gather(folder_)) return error;
  SaveIndex();
  if (ContactIndex* index = Index()) {
    for (IndexedContact& row : index->Load()) {
      std::string path = row.path;
      walk.known.emplace(std::move(path), std::move(row));
    }
  }
  // Without an index what this look knows already serves as one.
  if (walk.known.empty()) walk.known.insert(entries_.begin(), entries_.end());
  ReadUnknown(walk);
  GiveIds(walk);
  for (const auto& [path, entry] : walk.found) {
    const auto row = walk.known.find(path);
    const bool isSame = row != walk.known.end() && SameStamp(row->second, entry) &&
                        row->second.id == entry.id && row->second.storedId == entry.storedId &&
                        row->second.picture == entry.picture;
    if (!isSame && entry.isReadable) unsaved_[path] = entry;
  }
  for (const auto& [path, row] : walk.known) {
    if (walk.found.contains(path)) continue;
    unsaved_[path] = IndexedContact{.path = path};
    if (!row.picture.empty()) lostPictures_[row.id] = row.picture;
  }
  entries_ = std::move(walk.found);
  std::ranges::sort(walk.problems, {}, &Problem::path);
  problems_ = std::move(walk.problems);
  Count();
  hasLooked_ = true;
  SaveIndex();
  return {};
}

// What the index does not know as it is now is read.
void ContactFiles::ReadUnknown(Walk& walk) {
  std::unordered_map<uint64_t, const IndexedContact*> moved;  // by inode: those whose path is free
  for (const auto& [path, row] : walk.known) {
    if (!walk.found.contains(path)) moved.emplace(row.inode, &row);
  }
  for (auto& [path, entry] : walk.found) {
    const auto row = walk.known.find(path);
    if (row != walk.known.end() && SameStamp(row->second, entry)) {
      static_cast<IndexedContact&>(entry) = row->second;
      continue;
    }
    const IndexedContact* before = row != walk.known.end() ? &row->second : nullptr;
    const auto other = moved.find(entry.inode);
    if (before == nullptr && other != moved.end()) before = other->second;
    Problem problem;
    if (const auto contact = Read(path, entry, problem)) {
      entry.storedId = contact->Id();
      contact->GetString(kPicturePath, entry.picture);
    } else {
      entry.isReadable = false;
      if (problem.reason.empty()) continue;
      if (before != nullptr) {
        entry.id = before->id;
        entry.storedId = before->storedId;
        entry.picture = before->picture;
      }
      problem.id = entry.id;
      walk.problems.push_back(std::move(problem));
    }
    // It goes on as what it was, where its own id does not say otherwise.
    if (before != nullptr && before->storedId == entry.storedId) entry.id = before->id;
  }
  std::erase_if(walk.found,
                [](const auto& row) { return !row.second.isReadable && row.second.id.empty(); });
  // What lies in a folder that cannot be listed is as it was.
  for (const std::string& folder : walk.blind) {
    for (const auto& [path, row] : walk.known) {
      if (!path.starts_with(folder)) continue;
      Entry& entry = walk.found[path];
      static_cast<IndexedContact&>(entry) = row;
      entry.isReadable = false;
    }
  }
}

void ContactFiles::GiveIds(Walk& walk) {
  std::unordered_map<std::u16string, const Entry*> owners;
  // Those that have their id already keep it; of several the first.
  for (const auto& [path, entry] : walk.found) {
    if (!entry.id.empty()) owners.emplace(entry.id, &entry);
  }
  for (auto& [path, entry] : walk.found) {
    if (!entry.id.empty() && owners[entry.id] == &entry) continue;
    entry.id = entry.storedId;
    if (entry.id.empty() || !owners.emplace(entry.id, &entry).second) {
      entry.id = MadeId(entry.storedId, path);
      owners.emplace(entry.id, &entry);
    }
  }
  for (const auto& [path, entry] : walk.found) {
    if (!entry.isReadable || entry.storedId.empty() || entry.id == entry.storedId) continue;
    const auto owner = owners.find(entry.storedId);
    const std::string whose = owner != owners.end() ? owner->second->path : std::string();
    walk.problems.push_back({CONTACT_PROBLEM_SHAREDID, path, entry.id, whose});
  }
}

void ContactFiles::Count() {
  paths_.clear();
  pictures_.clear();
  for (const auto& [path, entry] : entries_) {
    paths_.emplace(entry.id, path);
    if (!entry.picture.empty()) ++pictures_[entry.picture];
  }
}

const ContactFiles::Entry* ContactFiles::Find(std::u16string_view id) const {
  const auto path = paths_.find(std::u16string(id));
  if (path == paths_.end()) return nullptr;
  const auto entry = entries_.find(path->second);
  return entry == entries_.end() ? nullptr : &entry->second;
}

int32_t ContactFiles::CountPictureUsers(std::u16string_view url) const {
  const auto count = pictures_.find(std::u16string(url));
  return count == pictures_.end() ? 0 : count->second;
}

std::u16string ContactFiles::LostPicture(std::u16string_view id) const {
  const auto url = lostPictures_.find(std::u16string(id));
  return url == lostPictures_.end() ? std::u16string() : url->second;
}

std::optional<ContactDocument> ContactFiles::Read(const std::string& path, Entry& seen,
                                                  Problem& problem) {
  problem = {CONTACT_PROBLEM_UNREADABLE, path, {}, {}};
  const std::string full = FullPath(path);
  EntryStat stat;
  if (const std::error_code error = Disk().StatEntry(full, stat)) {
    if (error != std::errc::no_such_file_or_directory) problem.reason = error.message();
    return std::nullopt;
  }
  TakeStamp(stat, seen);
  if (stat.size > kMostBytes) {
    problem.kind = CONTACT_PROBLEM_TOOLARGE;
    problem.reason = "it has " + std::to_string(stat.size >> 20) + " MB; a contact has 64 at most";
    return std::nullopt;
  }
  std::string bytes;
  if (const std::error_code error = Disk().Read(full, bytes)) {
    problem.reason = error.message();
    return std::nullopt;
  }
  auto contact = ContactDocument::Parse(bytes, problem.reason);
  if (!contact) {
    problem.kind = CONTACT_PROBLEM_NOCONTACT;
    return std::nullopt;
  }
  contact->SetNow(Now());
  return contact;
}

std::error_code ContactFiles::Write(Entry& seen, const ContactDocument& contact, bool keepTime) {
  if (lookOnly_) return std::make_error_code(std::errc::permission_denied);
  const std::string full = FullPath(seen.path);
  Entry now = seen;
  EntryStat stat;
  if (const std::error_code error = Disk().StatEntry(full, stat)) return error;
  TakeStamp(stat, now);
  if (!SameStamp(now, seen)) {
    return std::make_error_code(std::errc::resource_unavailable_try_again);
  }
  StagedFile staged;
  if (const std::error_code error = Disk().Stage(full, contact.Bytes(), staged)) return error;
  if (const std::error_code error = Disk().Rename(staged.temporary, staged.target)) {
    Disk().Remove(staged.temporary);
    return error;
  }
  if (keepTime) Disk().SetModified(full, stat.modifiedNs / 1'000'000'000);
  if (!Disk().StatEntry(full, stat)) TakeStamp(stat, now);
  now.storedId = contact.Id();
  now.picture.clear();
  contact.GetString(kPicturePath, now.picture);
  unsettledFiles_.insert(full);
  unsettledFolders_.insert(FolderOf(full));
  seen = now;
  Remember(std::move(now));
  return {};
}

std::error_code ContactFiles::Stat(Entry& entry) const {
  EntryStat stat;
  if (const std::error_code error = Disk().StatEntry(FullPath(entry.path), stat)) return error;
  TakeStamp(stat, entry);
  return {};
}

ContactFiles::Entry ContactFiles::Made(const std::string& path, const ContactDocument& contact) {
  Entry entry;
  entry.path = path;
  const std::string full = FullPath(path);
  EntryStat stat;
  if (!Disk().StatEntry(full, stat)) TakeStamp(stat, entry);
  entry.id = contact.Id();
  entry.storedId = entry.id;
  contact.GetString(kPicturePath, entry.picture);
  unsettledFiles_.insert(full);
  unsettledFolders_.insert(FolderOf(full));
  Remember(entry);
  return entry;
}

std::error_code ContactFiles::Rename(Entry& seen, const std::string& name) {
  if (lookOnly_) return std::make_error_code(std::errc::permission_denied);
  const std::string folder = FolderOf(seen.path);
  const std::string path = folder.empty() ? name : folder + "/" + name;
  const std::string from = FullPath(seen.path);
  const std::string to = FullPath(path);
  if (const std::error_code error = Disk().RenameNew(from, to)) return error;
  unsettledFiles_.erase(from);
  unsettledFiles_.insert(to);
  unsettledFolders_.insert(FolderOf(to));
  Forget(seen.path);
  seen.path = path;
  EntryStat stat;
  if (!Disk().StatEntry(to, stat)) TakeStamp(stat, seen);
  Remember(seen);
  return {};
}

std::error_code ContactFiles::Remove(const Entry& seen) {
  if (lookOnly_) return std::make_error_code(std::errc::permission_denied);
  const std::string full = FullPath(seen.path);
  EntryStat stat;
  if (const std::error_code error = Disk().StatEntry(full, stat)) return error;
  if (const std::error_code error = Disk().Remove(full)) return error;
  unsettledFiles_.erase(full);
  unsettledFolders_.insert(FolderOf(full));
  Forget(seen.path);
  return {};
}

void ContactFiles::Remember(Entry entry) {
  Entry& known = entries_[entry.path];
  if (!known.picture.empty()) --pictures_[known.picture];
  if (!entry.picture.empty()) ++pictures_[entry.picture];
  paths_[entry.id] = entry.path;
  unsaved_[entry.path] = entry;
  known = std::move(entry);
}

void ContactFiles::Forget(const std::string& path) {
  const auto known = entries_.find(path);
  if (known == entries_.end()) return;
  if (!known->second.picture.empty()) --pictures_[known->second.picture];
  const auto named = paths_.find(known->second.id);
  if (named != paths_.end() && named->second == path) paths_.erase(named);
  entries_.erase(known);
  unsaved_[path] = IndexedContact{.path = path};
}

void ContactFiles::SaveIndex() {
  if (lookOnly_ || unsaved_.empty()) return;
  ContactIndex* index = Index();
  if (index != nullptr) {
    SqliteTransaction group = index->Group();
    for (const auto& [path, row] : unsaved_) {
      if (row.id.empty()) {
        index->Remove(path);
      } else {
        index->Put(row);
      }
    }
    group.Commit();
  }
  unsaved_.clear();
}

std::error_code ContactFiles::Settle() {
  if (unsettledFolders_.empty()) return {};
  const std::vector<std::string> files(unsettledFiles_.begin(), unsettledFiles_.end());
  const std::vector<std::string> folders(unsettledFolders_.begin(), unsettledFolders_.end());
  if (const std::error_code error = Disk().Settle(files, folders)) return error;
  unsettledFiles_.clear();
  unsettledFolders_.clear();
  SaveIndex();
  return {};
}

}  // namespace qv

// The contacts of a folder: which file is which contact, and what is wrong with some.
//
// What takes part is a regular file whose name ends in ".contact", letter case aside, at any depth;
// links are no files. A contact goes by the id that its file says. A file without one, or with one
// that another file says too, goes by an id made of that and of its path, until its first write
// puts that one into it; whose an id is that several say, the index tells, else the order of paths.
//
// Nothing that cannot be read counts as gone: a file that the index knew stays the contact that it
// was, and what nobody knows is a problem without an id.
//
// Paths are native ones. Failures of single files are values; SqliteError is thrown for the index.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <unordered_map>
#include <vector>

#include "pim/contact_document.h"
#include "pim/contact_index.h"
#include "platform/contacts/contact_folder.h"

namespace qv {

// Where the index is; set before a manager is initialised. Without a path there is none.
struct ContactFilesSettings {
  std::string index;
  // Managers begin so, see IContactFolder::SetLookOnly.
  bool lookOnly = false;
};
ContactFilesSettings& TheContactFilesSettings();

class ContactFiles {
 public:
  // A file as it was seen, or written, last.
  struct Entry : IndexedContact {
    int64_t createdNs = 0;
    bool isReadable = true;
  };
  struct Problem {
    CONTACT_PROBLEM kind = CONTACT_PROBLEM_UNREADABLE;
    std::string path;   // within the folder; a folder ends in "/"
    std::u16string id;  // empty where nobody knows whose the file is
    std::string reason;
  };

  // The present as such files say it: "2026-11-24T10:00:00Z".
  static std::string Now();

  ContactFiles(std::string folder, std::string index);
  ~ContactFiles();

  const std::string& folder() const { return folder_; }
  std::string FullPath(const std::string& path) const { return folder_ + "/" + path; }
  bool isLookOnly() const { return lookOnly_; }
  void SetLookOnly(bool lookOnly) { lookOnly_ = lookOnly; }
  bool hasLooked() const { return hasLooked_; }

  // Walks the folder. Opens no file that the index knows as it is. On failure (of the folder
  // itself) what was known before stays.
  std::error_code Look();
  using Entries = std::map<std::string, Entry>;  // by path
  const Entries& entries() const { return entries_; }
  const std::vector<Problem>& problems() const { return problems_; }
  // 36 upper-case characters.
  const Entry* Find(std::u16string_view id) const;
  int32_t CountPictureUsers(std::u16string_view url) const;
  // Of one that the last look found gone; empty where it is not known.
  std::u16string LostPicture(std::u16string_view id) const;

  // One file as it is now. Nothing, with the reason, for one that cannot be read; without a reason
  // for one that has gone.
  std::optional<ContactDocument> Read(const std::string& path, Entry& seen, Problem& problem);
  // The file has this content from now on. std::errc::resource_unavailable_try_again, and nothing
  // is written, where it is not as it was `seen`, which is brought up to date. `keepTime` leaves
  // the time of last write, to the second.
  std::error_code Write(Entry& seen, const ContactDocument& contact, bool keepTime);
  // How it is now.
  std::error_code Stat(Entry& entry) const;
  // A new file took this place.
  Entry Made(const std::string& path, const ContactDocument& contact);
  // Never replaces.
  std::error_code Rename(Entry& seen, const std::string& name);
  // A missing file is std::errc::no_such_file_or_directory.
  std::error_code Remove(const Entry& seen);
  std::error_code Settle();

 private:
  struct Walk;
  void ReadUnknown(Walk& walk);
  void GiveIds(Walk& walk);
  void Count();
  // These two keep what is known beside what was done.
  void Remember(Entry entry);
  void Forget(const std::string& path);
  void SaveIndex();
  ContactIndex* Index();

  std::string folder_;
  std::string indexPath_;
  bool lookOnly_ = false;
  bool hasLooked_ = false;
  std::unique_ptr<ContactIndex> index_;
  Entries entries_;
  std::vector<Problem> problems_;
  std::unordered_map<std::u16string, std::string> paths_;            // by id
  std::unordered_map<std::u16string, int32_t> pictures_;             // by Url
  std::unordered_map<std::u16string, std::u16string> lostPictures_;  // by id
  // Not in the index yet, by path; without an id for what has gone.
  std::unordered_map<std::string, IndexedContact> unsaved_;
  std::set<std::string> unsettledFiles_;
  std::set<std::string> unsettledFolders_;
};

}  // namespace qv

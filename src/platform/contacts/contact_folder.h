// What our contact objects tell beyond those of the platform's contract: how a file was seen, what
// is wrong with some of them, and when what was written is on disk.
#pragma once

#include "platform/contacts/contact_objects.h"

namespace qv {

enum CONTACT_PROBLEM : int32_t {
  CONTACT_PROBLEM_UNREADABLE,  // a file that cannot be opened, a folder that cannot be listed
  CONTACT_PROBLEM_NOCONTACT,   // no XML, cut, another root, a document type, another version
  CONTACT_PROBLEM_TOOLARGE,    // above 64 MB
  // Another file says the same id: it goes by one of its own, which its first write puts into it.
  CONTACT_PROBLEM_SHAREDID,
};

struct CONTACT_FILESTAMP {
  int64_t modifiedNs;  // since 1970, UTC: of the last write
  int64_t changedNs;   // of the last write, rename or other change
  int64_t createdNs;   // where it is not known the earlier of these two
  uint64_t size;
  uint64_t inode;
};

// Of a contact.
struct IContactFile : IUnknown {
  static constexpr IID kIid = IID_IContactFile;

  // As the walk saw it that the contact comes from; with `anew` as it is now.
  virtual HRESULT GetStamp(BOOL anew, CONTACT_FILESTAMP* stamp) noexcept = 0;
  // False for a file that is there and has a problem: who it is, is known from before.
  virtual HRESULT IsReadable(BOOL* readable) noexcept = 0;
  // Who it is: 36 upper-case characters, whatever the length of its path.
  virtual HRESULT GetGuid(BSTR* guid) noexcept = 0;
  // "PhotoCollection/Photo[1]/Url" as the walk knows it, without a look at the file.
  virtual HRESULT GetPictureUrl(BSTR* url) noexcept = 0;
  // Removes the file, whatever it holds. kContactNotFound where it has gone already.
  virtual HRESULT DeleteFile() noexcept = 0;
  // To another name in its own folder. Never replaces: HRESULT_FROM_WIN32(183) where it is taken.
  virtual HRESULT RenameFile(const char16_t* name) noexcept = 0;
  // Commits without a new time of last write.
  virtual HRESULT CommitQuietly() noexcept = 0;

 protected:
  ~IContactFile() = default;
};

// Of the nodes of a contact.
struct IContactNodes : IUnknown {
  static constexpr IID kIid = IID_IContactNodes;

  // To this number, from 1; one past the end is the end.
  virtual HRESULT MoveArrayNode(const char16_t* node, uint32_t number) noexcept = 0;
  // An IVarList of the node's labels.
  virtual HRESULT GetLabels(const char16_t* node, IUnknown** labels) noexcept = 0;

 protected:
  ~IContactNodes() = default;
};

// Of a manager.
struct IContactFolder : IUnknown {
  static constexpr IID kIid = IID_IContactFolder;

  // A new, empty contact, which the manager knows of once it was committed.
  virtual HRESULT NewContact(IContact** contact) noexcept = 0;
  // While it is set nothing at all is written: commits, deletes and renames fail.
  virtual HRESULT SetLookOnly(BOOL lookOnly) noexcept = 0;
  virtual HRESULT IsLookOnly(BOOL* lookOnly) noexcept = 0;
  // Of the last GetContacts, in the order of their paths. `id` is empty where nobody knows whose
  // the file is: what a listing lacks may be that. `path` and `reason` are for a person.
  virtual HRESULT CountProblems(int32_t* count) noexcept = 0;
  virtual HRESULT GetProblem(int32_t index, CONTACT_PROBLEM* kind, BSTR* path, BSTR* id,
                             BSTR* reason) noexcept = 0;
  // How many contacts of the last GetContacts name this picture.
  virtual HRESULT CountPictureUsers(const char16_t* url, int32_t* count) noexcept = 0;
  // The picture of a contact that the last GetContacts found gone; empty where nobody knows it.
  virtual HRESULT GetLostPicture(const char16_t* id, BSTR* url) noexcept = 0;
  // What was written so far is on disk: one wait for a group.
  virtual HRESULT Settle() noexcept = 0;

 protected:
  ~IContactFolder() = default;
};

}  // namespace qv

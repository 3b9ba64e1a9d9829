// The platform's contact objects: a person's contacts as property trees, one file each.
//
// A path names a value: "Notes" at the top of the tree, "NameCollection/Name[1]/FormattedName" in a
// node of a collection. Nodes count from 1, in order, without gaps: a node that was removed has no
// number, whatever stands in the file in its place. Names are compared exactly.
//
// A contact's id is `/GUID:"8-4-4-4-12" /PATH:"native path"`: the GUID says who it is, the path
// where it was last seen. Every identifier that an operation takes may be a whole id, the part
// before " /PATH", or the GUID alone; letters compare without regard to case.
//
// Failures are negative: HRESULT_FROM_WIN32 of the system's error number (system/file_system.h)
// where there is one, else E_FAIL. Null pointers give E_POINTER. Outs are cleared first.
#pragma once

#include "platform/com/bstr.h"
#include "platform/com/component_ids.h"
#include "platform/com/stream.h"
#include "platform/com/unknown.h"

namespace qv {

// Characters of an id or a path with the terminator; what is longer is kContactIdTooLong.
inline constexpr uint32_t kContactIdLength = 260;
inline constexpr HRESULT kContactIdTooLong = StatusFromBits(0x8007007Au);
// No such collection, node or contact.
inline constexpr HRESULT kContactNotFound = StatusFromBits(0x80070002u);
// The file is no contact, cannot be read, or has changed since it was loaded.
inline constexpr HRESULT kContactDamaged = StatusFromBits(0x8007000Du);
inline constexpr HRESULT kContactChanged = StatusFromBits(0x80070473u);

struct IContactProperties : IUnknown {
  static constexpr IID kIid = IID_IContactProperties;

  // S_FALSE and an empty text for a value that is not there though its node is; kContactNotFound
  // without the node.
  virtual HRESULT GetString(const char16_t* path, BSTR* value) noexcept = 0;
  // The node must be there. An empty value takes the leaf away.
  virtual HRESULT SetString(const char16_t* path, const char16_t* value) noexcept = 0;
  // Bytes that lie in the contact itself. As GetString for what is missing; `contentType` may be
  // empty.
  virtual HRESULT GetBinary(const char16_t* path, BSTR* contentType, IStream** bytes) noexcept = 0;
  virtual HRESULT SetBinary(const char16_t* path, const char16_t* contentType,
                            IStream* bytes) noexcept = 0;
  // Replaces the labels of a node.
  virtual HRESULT SetLabels(const char16_t* node, uint32_t count,
                            const char16_t* const* labels) noexcept = 0;
  // Appends a node and gives its path: "PhoneNumberCollection" -> "PhoneNumberCollection/
  // PhoneNumber[2]". A missing collection is made.
  virtual HRESULT CreateArrayNode(const char16_t* collection, BSTR* node) noexcept = 0;
  // Those behind it move up.
  virtual HRESULT DeleteArrayNode(const char16_t* node) noexcept = 0;
  // The paths of the nodes of a collection that carry all of these labels, in order, as an
  // IVarList; with none asked for, of every node. Labels compare exactly.
  virtual HRESULT GetPropertyCollection(const char16_t* collection, uint32_t count,
                                        const char16_t* const* labels,
                                        IUnknown** paths) noexcept = 0;

 protected:
  ~IContactProperties() = default;
};

// The object answers to IContactProperties and IPersistStreamInit too. It reads its file when the
// first property is asked for.
struct IContact : IUnknown {
  static constexpr IID kIid = IID_IContact;

  // Into a buffer of `size` characters. A new contact has no id until it was committed.
  virtual HRESULT GetContactID(char16_t* id, uint32_t size) noexcept = 0;
  virtual HRESULT GetPath(char16_t* path, uint32_t size) noexcept = 0;
  // Writes what was changed to the contact's file: whole or not at all, its other content as it
  // was. kContactChanged, and nothing is written, where somebody else wrote the file since it was
  // loaded. Of a contact that `IPersistStreamInit::Save` has written: that file is its own from now
  // on.
  virtual HRESULT CommitChanges() noexcept = 0;

 protected:
  ~IContact() = default;
};

struct IContactCollection : IUnknown {
  static constexpr IID kIid = IID_IContactCollection;

  virtual HRESULT Reset() noexcept = 0;
  // S_FALSE at the end.
  virtual HRESULT Next() noexcept = 0;
  virtual HRESULT GetCurrent(IContact** contact) noexcept = 0;

 protected:
  ~IContactCollection() = default;
};

struct IContactManager : IUnknown {
  static constexpr IID kIid = IID_IContactManager;

  virtual HRESULT Initialize(const char16_t* application, const char16_t* version) noexcept = 0;
  // kContactNotFound where no file has this id any more.
  virtual HRESULT Load(const char16_t* id, IContact** contact) noexcept = 0;
  // Every contact, in the order of their paths. A folder that cannot be listed is a failure.
  virtual HRESULT GetContacts(IContactCollection** contacts) noexcept = 0;

 protected:
  ~IContactManager() = default;
};

struct IPersistStreamInit : IUnknown {
  static constexpr IID kIid = IID_IPersistStreamInit;

  // Makes the object a new, empty contact.
  virtual HRESULT InitNew() noexcept = 0;
  virtual HRESULT Save(IStream* stream, BOOL clearDirty) noexcept = 0;

 protected:
  ~IPersistStreamInit() = default;
};

}  // namespace qv

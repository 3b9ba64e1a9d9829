// The component interfaces of the item objects and of `cdata`.
//
// One item object offers `IItemCommon` and the interface of its kind, reached by query. Texts that
// come out are new strings; an index out of range gives E_INVALIDARG and cleared outs; lists have
// the three operations XCount, GetX (index from 0) and AddX.
#pragma once

#include "platform/com/bstr.h"
#include "platform/com/component_ids.h"
#include "platform/com/unknown.h"

namespace qv {

struct IItemCommon : IDispatch {
  static constexpr IID kIid = IID_IItemCommon;
  virtual HRESULT get_SourceUid(BSTR* value) noexcept = 0;
  virtual HRESULT put_SourceUid(BSTR value) noexcept = 0;
  virtual HRESULT get_ParentUid(BSTR* value) noexcept = 0;
  virtual HRESULT put_ParentUid(BSTR value) noexcept = 0;
  virtual HRESULT get_Created(DATE* value) noexcept = 0;
  virtual HRESULT put_Created(DATE value) noexcept = 0;
  virtual HRESULT get_Modified(DATE* value) noexcept = 0;
  virtual HRESULT put_Modified(DATE value) noexcept = 0;
  virtual HRESULT get_ObjUid(BSTR* value) noexcept = 0;
  virtual HRESULT put_ObjUid(BSTR value) noexcept = 0;
  virtual HRESULT get_ObjModified(DATE* value) noexcept = 0;
  virtual HRESULT put_ObjModified(DATE value) noexcept = 0;
  virtual HRESULT get_KeyFields(BSTR* value) noexcept = 0;
  virtual HRESULT put_KeyFields(BSTR value) noexcept = 0;
  virtual HRESULT get_Md5(BSTR* value) noexcept = 0;
  virtual HRESULT put_Md5(BSTR value) noexcept = 0;
  virtual HRESULT get_IsFolder(BOOL* value) noexcept = 0;
  virtual HRESULT put_IsFolder(BOOL value) noexcept = 0;
  // Drops what the item carries but the PC side cannot hold: extras and hidden labels.
  virtual HRESULT DropSideData() noexcept = 0;

 protected:
  ~IItemCommon() = default;
};

struct IContactItem : IDispatch {
  static constexpr IID kIid = IID_IContactItem;
  // The five name fields, in their declared order, then the two display names.
  virtual HRESULT get_GivenName(BSTR* value) noexcept = 0;
  virtual HRESULT put_GivenName(BSTR value) noexcept = 0;
  virtual HRESULT get_FamilyName(BSTR* value) noexcept = 0;
  virtual HRESULT put_FamilyName(BSTR value) noexcept = 0;
  virtual HRESULT get_AdditionalNames(BSTR* value) noexcept = 0;
  virtual HRESULT put_AdditionalNames(BSTR value) noexcept = 0;
  virtual HRESULT get_NamePrefix(BSTR* value) noexcept = 0;
  virtual HRESULT put_NamePrefix(BSTR value) noexcept = 0;
  virtual HRESULT get_NameSuffix(BSTR* value) noexcept = 0;
  virtual HRESULT put_NameSuffix(BSTR value) noexcept = 0;
  virtual HRESULT get_FormattedName(BSTR* value) noexcept = 0;
  virtual HRESULT put_FormattedName(BSTR value) noexcept = 0;
  virtual HRESULT get_Nickname(BSTR* value) noexcept = 0;
  virtual HRESULT put_Nickname(BSTR value) noexcept = 0;
  // Views on the first organisation, the first job title and the first messenger address; a write
  // makes the entry where there is none (organisation kind work, messenger kind other).
  virtual HRESULT get_CompanyName(BSTR* value) noexcept = 0;
  virtual HRESULT put_CompanyName(BSTR value) noexcept = 0;
  virtual HRESULT get_Department(BSTR* value) noexcept = 0;
  virtual HRESULT put_Department(BSTR value) noexcept = 0;
  virtual HRESULT get_JobTitle(BSTR* value) noexcept = 0;
  virtual HRESULT put_JobTitle(BSTR value) noexcept = 0;
  virtual HRESULT get_MessengerAddress(BSTR* value) noexcept = 0;
  virtual HRESULT put_MessengerAddress(BSTR value) noexcept = 0;
  virtual HRESULT get_Note(BSTR* value) noexcept = 0;
  virtual HRESULT put_Note(BSTR value) noexcept = 0;
  // Kind numbers: items/contact.h. A kind outside its table gives E_INVALIDARG.
  virtual HRESULT TelephoneCount(int32_t* count) noexcept = 0;
  virtual HRESULT GetTelephone(int32_t index, int32_t* kind, BSTR* number) noexcept = 0;
  virtual HRESULT AddTelephone(int32_t kind, BSTR number) noexcept = 0;
  virtual HRESULT MailCount(int32_t* count) noexcept = 0;
  virtual HRESULT GetMail(int32_t index, int32_t* kind, BSTR* address) noexcept = 0;
  virtual HRESULT AddMail(int32_t kind, BSTR address) noexcept = 0;
  virtual HRESULT WebAddressCount(int32_t* count) noexcept = 0;
  virtual HRESULT GetWebAddress(int32_t index, int32_t* kind, BSTR* address) noexcept = 0;
  virtual HRESULT AddWebAddress(int32_t kind, BSTR address) noexcept = 0;
  virtual HRESULT MessengerCount(int32_t* count) noexcept = 0;
  virtual HRESULT GetMessenger(int32_t index, int32_t* kind, BSTR* address) noexcept = 0;
  virtual HRESULT AddMessenger(int32_t kind, BSTR address) noexcept = 0;
  virtual HRESULT OrganisationCount(int32_t* count) noexcept = 0;
  virtual HRESULT GetOrganisation(int32_t index, int32_t* kind, BSTR* name,
                                  BSTR* department) noexcept = 0;
  virtual HRESULT AddOrganisation(int32_t kind, BSTR name, BSTR department) noexcept = 0;
  virtual HRESULT JobTitleCount(int32_t* count) noexcept = 0;
  virtual HRESULT GetJobTitle(int32_t index, BSTR* title) noexcept = 0;
  virtual HRESULT AddJobTitle(BSTR title) noexcept = 0;
  virtual HRESULT EventCount(int32_t* count) noexcept = 0;
  virtual HRESULT GetEvent(int32_t index, int32_t* kind, DATE* date) noexcept = 0;
  virtual HRESULT AddEvent(int32_t kind, DATE date) noexcept = 0;
  virtual HRESULT GroupUidCount(int32_t* count) noexcept = 0;
  virtual HRESULT GetGroupUid(int32_t index, BSTR* uid) noexcept = 0;
  virtual HRESULT AddGroupUid(BSTR uid) noexcept = 0;
  virtual HRESULT GroupNameCount(int32_t* count) noexcept = 0;
  virtual HRESULT GetGroupName(int32_t index, BSTR* name) noexcept = 0;
  virtual HRESULT AddGroupName(BSTR name) noexcept = 0;
  // Addresses are a list by position that may have gaps; `AddressCount` counts positions.
  virtual HRESULT AddressCount(int32_t* count) noexcept = 0;
  virtual HRESULT HasAddress(int32_t position, BOOL* present) noexcept = 0;
  // E_INVALIDARG for a position without an address.
  virtual HRESULT GetAddress(int32_t position, int32_t* kind, BSTR* postOffice, BSTR* extended,
                             BSTR* street, BSTR* locality, BSTR* region, BSTR* postalCode,
                             BSTR* country) noexcept = 0;
  virtual HRESULT AddAddress(int32_t kind, BSTR postOffice, BSTR extended, BSTR street,
                             BSTR locality, BSTR region, BSTR postalCode,
                             BSTR country) noexcept = 0;
  // Grows the list with gaps up to the position; a new address has the kind other, an address that
  // stood there keeps its kind. A negative position, or one above 99999, gives E_INVALIDARG.
  virtual HRESULT SetAddress(int32_t position, BSTR postOffice, BSTR extended, BSTR street,
                             BSTR locality, BSTR region, BSTR postalCode,
                             BSTR country) noexcept = 0;
  // The picture's bytes; `buffer` null asks for the size alone. Too small a buffer: E_INVALIDARG.
  virtual HRESULT GetPhoto(uint8_t* buffer, int32_t size, int32_t* length) noexcept = 0;
  virtual HRESULT PutPhoto(const uint8_t* bytes, int32_t size, BSTR type) noexcept = 0;
  virtual HRESULT get_PhotoType(BSTR* value) noexcept = 0;
  // What the item cannot hold. The property's text may end in a mark: items/extra.h.
  virtual HRESULT ExtraCount(int32_t* count) noexcept = 0;
  virtual HRESULT GetExtra(int32_t index, BSTR* property, BSTR* value) noexcept = 0;
  virtual HRESULT AddExtra(BSTR property, BSTR value) noexcept = 0;
  virtual HRESULT HiddenCount(int32_t* count) noexcept = 0;
  virtual HRESULT GetHidden(int32_t index, BSTR* property, BSTR* value, BSTR* extended,
                            BOOL* iscustom) noexcept = 0;
  virtual HRESULT AddHidden(BSTR property, BSTR value, BSTR extended, BOOL iscustom) noexcept = 0;
  // An empty formatted name becomes family, given and additional names, joined by blanks.
  virtual HRESULT Normalize() noexcept = 0;

 protected:
  ~IContactItem() = default;
};

// Appointments and tasks. Numbers: items/calendar.h.
struct ICalendarItem : IDispatch {
  static constexpr IID kIid = IID_ICalendarItem;
  virtual HRESULT get_Subject(BSTR* value) noexcept = 0;
  virtual HRESULT put_Subject(BSTR value) noexcept = 0;
  virtual HRESULT get_Body(BSTR* value) noexcept = 0;
  virtual HRESULT put_Body(BSTR value) noexcept = 0;
  virtual HRESULT get_Location(BSTR* value) noexcept = 0;
  virtual HRESULT put_Location(BSTR value) noexcept = 0;
  // UTC; 0.0 for none. Of a task the end is when it is due.
  virtual HRESULT get_Start(DATE* value) noexcept = 0;
  virtual HRESULT put_Start(DATE value) noexcept = 0;
  virtual HRESULT get_End(DATE* value) noexcept = 0;
  virtual HRESULT put_End(DATE value) noexcept = 0;
  virtual HRESULT get_AllDay(BOOL* value) noexcept = 0;
  virtual HRESULT put_AllDay(BOOL value) noexcept = 0;
  virtual HRESULT get_IsTask(BOOL* value) noexcept = 0;
  virtual HRESULT put_IsTask(BOOL value) noexcept = 0;
  // The lead time in minutes counts while the reminder is on.
  virtual HRESULT get_ReminderSet(BOOL* value) noexcept = 0;
  virtual HRESULT put_ReminderSet(BOOL value) noexcept = 0;
  virtual HRESULT get_ReminderMinutes(int32_t* value) noexcept = 0;
  virtual HRESULT put_ReminderMinutes(int32_t value) noexcept = 0;
  virtual HRESULT get_Priority(int32_t* value) noexcept = 0;
  virtual HRESULT put_Priority(int32_t value) noexcept = 0;
  virtual HRESULT get_Sensitivity(int32_t* value) noexcept = 0;
  virtual HRESULT put_Sensitivity(int32_t value) noexcept = 0;
  virtual HRESULT get_Status(int32_t* value) noexcept = 0;  // of a task: 2 is completed
  virtual HRESULT put_Status(int32_t value) noexcept = 0;
  virtual HRESULT get_Completed(DATE* value) noexcept = 0;
  virtual HRESULT put_Completed(DATE value) noexcept = 0;
  virtual HRESULT get_IsRecurring(BOOL* value) noexcept = 0;
  virtual HRESULT put_IsRecurring(BOOL value) noexcept = 0;
  // E_INVALIDARG for a type that there is not.
  virtual HRESULT get_RecurrenceType(int32_t* value) noexcept = 0;
  virtual HRESULT put_RecurrenceType(int32_t value) noexcept = 0;
  virtual HRESULT get_RecurrenceInterval(int32_t* value) noexcept = 0;
  virtual HRESULT put_RecurrenceInterval(int32_t value) noexcept = 0;
  virtual HRESULT get_RecurrenceDaysOfWeek(int32_t* value) noexcept = 0;
  virtual HRESULT put_RecurrenceDaysOfWeek(int32_t value) noexcept = 0;
  virtual HRESULT get_RecurrenceInstance(int32_t* value) noexcept = 0;
  virtual HRESULT put_RecurrenceInstance(int32_t value) noexcept = 0;
  virtual HRESULT get_RecurrenceDayOfMonth(int32_t* value) noexcept = 0;
  virtual HRESULT put_RecurrenceDayOfMonth(int32_t value) noexcept = 0;
  virtual HRESULT get_RecurrenceMonthOfYear(int32_t* value) noexcept = 0;
  virtual HRESULT put_RecurrenceMonthOfYear(int32_t value) noexcept = 0;
  virtual HRESULT get_RecurrenceOccurrences(int32_t* value) noexcept = 0;
  virtual HRESULT put_RecurrenceOccurrences(int32_t value) noexcept = 0;
  virtual HRESULT get_RecurrenceUntil(DATE* value) noexcept = 0;
  virtual HRESULT put_RecurrenceUntil(DATE value) noexcept = 0;
  // The uid of the series of an exception; empty for any other item.
  virtual HRESULT get_ParentRecurUid(BSTR* value) noexcept = 0;
  virtual HRESULT put_ParentRecurUid(BSTR value) noexcept = 0;
  // The dated entries of the recurrence, UTC. A kind below 1 gives E_INVALIDARG.
  virtual HRESULT ExceptionCount(int32_t* count) noexcept = 0;
  virtual HRESULT GetException(int32_t index, int32_t* kind, DATE* date) noexcept = 0;
  virtual HRESULT AddException(int32_t kind, DATE date) noexcept = 0;
  // What the item cannot hold. The property's text may end in a mark: items/extra.h.
  virtual HRESULT ExtraPropertyCount(int32_t* count) noexcept = 0;
  virtual HRESULT GetExtraProperty(int32_t index, BSTR* name, BSTR* value) noexcept = 0;
  virtual HRESULT AddExtraProperty(BSTR name, BSTR value) noexcept = 0;

 protected:
  ~ICalendarItem() = default;
};

struct INoteItem : IDispatch {
  static constexpr IID kIid = IID_INoteItem;
  virtual HRESULT get_Body(BSTR* value) noexcept = 0;
  virtual HRESULT put_Body(BSTR value) noexcept = 0;
  // What the item cannot hold. The property's text may end in a mark: items/extra.h.
  virtual HRESULT ExtraPropertyCount(int32_t* count) noexcept = 0;
  virtual HRESULT GetExtraProperty(int32_t index, BSTR* name, BSTR* value) noexcept = 0;
  virtual HRESULT AddExtraProperty(BSTR name, BSTR value) noexcept = 0;

 protected:
  ~INoteItem() = default;
};

// A shortcut to a page. Its title is the name of its file.
struct IBookmarkItem : IDispatch {
  static constexpr IID kIid = IID_IBookmarkItem;
  virtual HRESULT GetURL(BSTR* value) noexcept = 0;
  virtual HRESULT SetURL(BSTR value) noexcept = 0;
  virtual HRESULT GetTitle(BSTR* value) noexcept = 0;
  virtual HRESULT SetTitle(BSTR value) noexcept = 0;
  // What the item cannot hold. The property's text may end in a mark: items/extra.h.
  virtual HRESULT ExtraPropertyCount(int32_t* count) noexcept = 0;
  virtual HRESULT GetExtraProperty(int32_t index, BSTR* name, BSTR* value) noexcept = 0;
  virtual HRESULT AddExtraProperty(BSTR name, BSTR value) noexcept = 0;

 protected:
  ~IBookmarkItem() = default;
};

// A folder of a tree. Times are local wall-clock time; 0.0 for none.
struct IFolderItem : IDispatch {
  static constexpr IID kIid = IID_IFolderItem;
  virtual HRESULT GetName(BSTR* value) noexcept = 0;
  virtual HRESULT SetName(BSTR value) noexcept = 0;
  virtual HRESULT GetCreated(DATE* value) noexcept = 0;
  virtual HRESULT SetCreated(DATE value) noexcept = 0;
  virtual HRESULT GetModified(DATE* value) noexcept = 0;
  virtual HRESULT SetModified(DATE value) noexcept = 0;
  virtual HRESULT GetAccessed(DATE* value) noexcept = 0;
  virtual HRESULT SetAccessed(DATE value) noexcept = 0;

 protected:
  ~IFolderItem() = default;
};

// The module's own way from an item object to its values: no text is copied. The results live as
// long as the object.
struct ItemFields;
struct IItemAccess : IUnknown {
  static constexpr IID kIid = IID_IItemAccess;
  virtual ItemFields& fields() noexcept = 0;

 protected:
  ~IItemAccess() = default;
};

struct Contact;
struct IContactAccess : IItemAccess {
  static constexpr IID kIid = IID_IContactAccess;
  using Parent = IItemAccess;
  virtual Contact& contact() noexcept = 0;

 protected:
  ~IContactAccess() = default;
};

struct Calendar;
struct ICalendarAccess : IItemAccess {
  static constexpr IID kIid = IID_ICalendarAccess;
  using Parent = IItemAccess;
  virtual Calendar& calendar() noexcept = 0;

 protected:
  ~ICalendarAccess() = default;
};

struct Note;
struct INoteAccess : IItemAccess {
  static constexpr IID kIid = IID_INoteAccess;
  using Parent = IItemAccess;
  virtual Note& note() noexcept = 0;

 protected:
  ~INoteAccess() = default;
};

struct Bookmark;
struct IBookmarkAccess : IItemAccess {
  static constexpr IID kIid = IID_IBookmarkAccess;
  using Parent = IItemAccess;
  virtual Bookmark& bookmark() noexcept = 0;

 protected:
  ~IBookmarkAccess() = default;
};

struct Folder;
struct IFolderAccess : IItemAccess {
  static constexpr IID kIid = IID_IFolderAccess;
  using Parent = IItemAccess;
  virtual Folder& folder() noexcept = 0;

 protected:
  ~IFolderAccess() = default;
};

// The `cdata` of the stores: a text as narrow bytes. The bytes are whatever the text's own charset
// parameters say; nothing here converts them.
struct IContentData : IDispatch {
  static constexpr IID kIid = IID_IContentData;
  virtual HRESULT GetLength(int32_t* length) noexcept = 0;
  // Copies the bytes; `size` must be at least the length, else E_INVALIDARG.
  virtual HRESULT GetText(char* buffer, int32_t size) noexcept = 0;
  // Takes a copy. A negative size is E_INVALIDARG.
  virtual HRESULT SetText(const char* bytes, int32_t size) noexcept = 0;

 protected:
  ~IContentData() = default;
};

}  // namespace qv

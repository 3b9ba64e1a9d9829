#include "stores/addressbook/contact_files_book.h"

#include <utility>

#include "platform/com/class_factory.h"
#include "platform/com/status_error.h"
#include "platform/system/debug_log.h"
#include "platform/system/file_stream.h"
#include "platform/system/recycle_bin.h"
#include "platform/system/service.h"
#include "platform/system/shell_folders.h"
#include "platform/system/time_zone.h"
#include "stores/addressbook/contact_properties.h"
#include "stores/file_dates.h"
#include "stores/file_names.h"
#include "support/text.h"
#include "support/user_flags.h"

namespace qv {
namespace {

constexpr std::u16string_view kExtension = u".contact";
constexpr std::u16string_view kPicturesFolder = u"\\WindowsContactPictures";
constexpr PathLimits kLimits = {200, 190};
constexpr int64_t kSecond = 1'000'000'000;

// The name of another store, deliberately: the text is known so.
constexpr std::u16string_view kTooLong =
    u"[CDataStoreIEVCard] Save the file name or folder path is too long";
constexpr std::u16string_view kNotCreated =
    u"[CDataStoreWindowsContact] CreateFile Failed in Insert2WinCon, window error-code: ";
constexpr std::u16string_view kNotRenamed =
    u"[CDataStoreWindowsContact] rename Failed in Update2WinCon, window error-code: ";
constexpr std::u16string_view kIdTooLong =
    u"[CDataStoreWindowsContact]Fail to read Contactid from W.C because of too long filename!\n";

template <class Interface>
ComPtr<Interface> As(IUnknown& object) {
  auto found = Query<Interface>(&object);
  if (!found) throw StatusError(E_NOINTERFACE);
  return found;
}

// The name of a contact's file, without its extension.
std::u16string FileNameOf(const ContactContent& content) {
  ContactContent named = content;
  Normalize(named);
  std::u16string name = named.formattedName;
  SanitizeFileName(name);
  for (char16_t& c : name) {
    if (c < 32) c = u'+';
  }
  return name;
}

bool HasName(const ContactContent& content) {
  return !content.familyName.empty() || !content.givenName.empty() ||
         !content.additionalNames.empty();
}

DATE ModifiedOf(const CONTACT_FILESTAMP& stamp) {
  const int64_t seconds = stamp.modifiedNs / kSecond - (stamp.modifiedNs % kSecond < 0 ? 1 : 0);
  return FileDate(seconds);
}

// Who it is; the log tells of a path that is longer than an id can be.
std::u16string GuidOf(IContact& contact, IContactFile& file) {
  char16_t id[kContactIdLength];
  if (contact.GetContactID(id, kContactIdLength) == kContactIdTooLong) {
    constexpr uint32_t kRoom = 4096;
    std::u16string path(kRoom, u'\0');
    Check(contact.GetPath(path.data(), kRoom));
    path.resize(path.find(u'\0'));
    OutputDebugStringW(kIdTooLong);
    OutputDebugStringW(Concat({u"file length: ", Decimal(static_cast<int64_t>(path.size()))}));
    OutputDebugStringW(Concat({u"filepath: ", path}));
  }
  Bstr guid;
  Check(file.GetGuid(guid.Out()));
  return guid.str();
}

}  // namespace

IContactManager& ContactFilesBook::Manager() const {
  if (!manager_) throw StatusError(E_FAIL);
  return *manager_;
}

IContactFolder& ContactFilesBook::Folder() const {
  const auto folder = Query<IContactFolder>(&Manager());
  if (!folder) throw StatusError(E_NOINTERFACE);
  return *folder;  // an interface of the manager, which stays
}

void ContactFilesBook::Open() {
  folder_ = ContactsFolder();
  EntryInfo entry;
  SystemError error = FindEntry(folder_, entry);
  if (error == kFileNotFound) error = MakeFolder(folder_);
  if (error != kNoError) throw StatusError(E_FAIL);
  pictures_.Open(LocalDataFolder() + std::u16string(kPicturesFolder));
  auto manager = CreateInstance<IContactManager>(CLSID_ContactManager);
  Check(manager->Initialize(u"QVSyncDataStore", u"1.0"));
  manager_ = std::move(manager);
}

bool ContactFilesBook::List(std::vector<Entry>& entries) {
  entries.clear();
  ComPtr<IContactCollection> all;
  Check(Manager().GetContacts(all.Out()));
  HeldTimeZone zone;
  const ScopedService<TimeZone> held(zone);
  Check(all->Reset());
  while (Check(all->Next()) == S_OK) {
    if (IsSyncStopped()) throw StatusError(E_FAIL);
    ComPtr<IContact> contact;
    Check(all->GetCurrent(contact.Out()));
    const auto file = As<IContactFile>(*contact);
    CONTACT_FILESTAMP stamp{};
    BOOL readable = kFalse;
    Check(file->GetStamp(kFalse, &stamp));
    Check(file->IsReadable(&readable));
    entries.push_back({GuidOf(*contact, *file), ModifiedOf(stamp), readable != kFalse});
  }
  // What nobody knows may be whatever is missing.
  int32_t problems = 0;
  Check(Folder().CountProblems(&problems));
  for (int32_t i = 0; i < problems; ++i) {
    CONTACT_PROBLEM kind{};
    Bstr path;
    Bstr id;
    Bstr reason;
    Check(Folder().GetProblem(i, &kind, path.Out(), id.Out(), reason.Out()));
    if (id.view().empty()) return false;
  }
  return true;
}

ComPtr<IContact> ContactFilesBook::Load(const std::u16string& id) const {
  ComPtr<IContact> contact;
  const HRESULT status = Manager().Load(id.c_str(), contact.Out());
  if (status == kContactNotFound) return nullptr;
  Check(status);
  return contact;
}

bool ContactFilesBook::Find(const std::u16string& id, Entry& entry) {
  const ComPtr<IContact> contact = Load(id);
  if (!contact) return false;
  const auto file = As<IContactFile>(*contact);
  CONTACT_FILESTAMP stamp{};
  if (file->GetStamp(kTrue, &stamp) != S_OK) return false;
  BOOL readable = kFalse;
  Check(file->IsReadable(&readable));
  entry = {id, ModifiedOf(stamp), readable != kFalse};
  return true;
}

template <class Take>
SystemError ContactFilesBook::UnderFreeName(const std::u16string& name, const Take& take) {
  const std::u16string stem = FileStem(folder_, name, kExtension, kLimits);
  if (stem.empty()) {
    OutputDebugStringW(kTooLong);
    throw StatusError(E_FAIL);
  }
  // What was taken before is not tried again: thousands may have one name.
  int64_t& next = nextNumbers_[stem];
  for (;; ++next) {
    const std::u16string path = next == 0 ? Concat({stem, kExtension})
                                          : Concat({stem, u"(", Decimal(next), u")", kExtension});
    const SystemError error = take(path);
    if (error != kFileExists && error != kAlreadyExists) return error;
  }
}

std::u16string ContactFilesBook::Save(IContact& contact, const std::u16string& name) {
  const SystemError error = UnderFreeName(name, [&](const std::u16string& path) {
    ComPtr<IFileStream> stream;
    if (const SystemError taken = CreateFileStream(path, stream); taken != kNoError) return taken;
    Check(As<IPersistStreamInit>(contact)->Save(stream.get(), kTrue));
    return ErrorOfStatus(contact.CommitChanges());
  });
  if (error != kNoError) {
    OutputDebugStringW(Concat({kNotCreated, Decimal(error)}));
    throw StatusError(E_FAIL);
  }
  Bstr guid;
  Check(As<IContactFile>(contact)->GetGuid(guid.Out()));
  return guid.str();
}

std::u16string ContactFilesBook::Create(const Contact& contact, ContactContent& held) {
  ComPtr<IContact> file;
  Check(Folder().NewContact(file.Out()));
  WriteContactProperties(*file, contact, {});
  std::u16string unused;
  pictures_.Write(*file, contact.photo, unused);
  std::u16string id;
  try {
    id = Save(*file, FileNameOf(contact));
  } catch (const StatusError&) {
    Bstr url;
    As<IContactProperties>(*file)->GetString(u"PhotoCollection/Photo[1]/Url", url.Out());
    pictures_.Remove(url.str());
    throw;
  }
  held = ReadContactProperties(*As<IContactProperties>(*file));
  held.photo = contact.photo;
  return id;
}

void ContactFilesBook::Rename(IContact& contact, const std::u16string& name) {
  const auto file = As<IContactFile>(contact);
  const SystemError error = UnderFreeName(name, [&](const std::u16string& path) {
    return ErrorOfStatus(file->RenameFile(path.substr(folder_.size() + 1).c_str()));
  });
  if (error == kNoError) return;
  OutputDebugStringW(Concat({kNotRenamed, Decimal(error)}));
  throw StatusError(E_FAIL);
}

void ContactFilesBook::Update(const std::u16string& id, const Contact& contact,
                              const ContactContent& own, ContactContent& held) {
  const ComPtr<IContact> file = Load(id);
  if (!file) throw StatusError(E_FAIL);
  const auto properties = As<IContactProperties>(*file);
  const std::u16string before = FileNameOf(ReadContactProperties(*properties));
  WriteContactProperties(*file, contact, own);
  std::u16string unused;
  pictures_.Write(*file, contact.photo, unused);
  const std::u16string name = FileNameOf(contact);
  if (HasName(contact) && !name.empty() && name != before) Rename(*file, name);
  Check(file->CommitChanges());
  DropPicture(unused);
  held = ReadContactProperties(*properties);
  held.photo = contact.photo;
}

bool ContactFilesBook::Read(const std::u16string& id, ContactContent& content) {
  const ComPtr<IContact> file = Load(id);
  if (!file) return false;
  BOOL lookOnly = kFalse;
  Check(Folder().IsLookOnly(&lookOnly));
  content = ReadContactProperties(*As<IContactProperties>(*file));
  content.photo = pictures_.Read(*file, id, lookOnly != kFalse);
  if (!content.photo.empty()) content.photoType = PictureTypeOf(content.photo);
  return true;
}

bool ContactFilesBook::ReadKeyValues(const std::u16string& id, ContactContent& content) {
  const ComPtr<IContact> file = Load(id);
  if (!file) return false;
  content = ReadContactKeyValues(*As<IContactProperties>(*file));
  return true;
}

// Of a contact that has gone, where no other names it.
void ContactFilesBook::DropPicture(const std::u16string& url) {
  int32_t users = 0;
  if (url.empty() || Failed(Folder().CountPictureUsers(url.c_str(), &users)) || users > 0) return;
  pictures_.Remove(url);
}

bool ContactFilesBook::Delete(const std::u16string& id) {
  const ComPtr<IContact> file = Load(id);
  if (!file) return false;
  Bstr url;
  Check(As<IContactFile>(*file)->GetPictureUrl(url.Out()));
  const HRESULT status = As<IContactFile>(*file)->DeleteFile();
  if (status != kContactNotFound && Failed(status)) throw StatusError(E_FAIL);
  DropPicture(url.str());
  return Succeeded(status);
}

void ContactFilesBook::Forget(const std::u16string& id) {
  Bstr url;
  if (Succeeded(Folder().GetLostPicture(id.c_str(), url.Out()))) DropPicture(url.str());
}

void ContactFilesBook::DeleteAll() {
  ComPtr<IContactCollection> all;
  Check(Manager().GetContacts(all.Out()));
  Check(all->Reset());
  while (Check(all->Next()) == S_OK) {
    ComPtr<IContact> contact;
    Check(all->GetCurrent(contact.Out()));
    constexpr uint32_t kRoom = 4096;
    std::u16string path(kRoom, u'\0');
    Check(contact->GetPath(path.data(), kRoom));
    path.resize(path.find(u'\0'));
    const std::string native = ToUtf8(path);
    if (!Service<RecycleBin>::Get().Take(native)) continue;
    if (Failed(As<IContactFile>(*contact)->DeleteFile())) throw StatusError(E_FAIL);
  }
}

bool ContactFilesBook::Takes(const ContactContent& content) const {
  return HasName(content);
}

ContactContent ContactFilesBook::Preview(const ContactContent& content) const {
  const auto contact = CreateInstance<IContact>(CLSID_Contact);
  Check(As<IPersistStreamInit>(*contact)->InitNew());
  ContactContent keys;
  keys.familyName = content.familyName;
  keys.givenName = content.givenName;
  keys.additionalNames = content.additionalNames;
  keys.namePrefix = content.namePrefix;
  keys.nameSuffix = content.nameSuffix;
  keys.telephones = content.telephones;
  keys.mails = content.mails;
  WriteContactProperties(*contact, keys, {});
  return ReadContactKeyValues(*As<IContactProperties>(*contact));
}

void ContactFilesBook::Settle() {
  Check(Folder().Settle());
  if (pictures_.Settle() != kNoError) throw StatusError(E_FAIL);
}

}  // namespace qv

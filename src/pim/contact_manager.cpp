#include "pim/contact_manager.h"

#include <algorithm>

#include "pim/contact_files.h"
#include "platform/com/class_factory.h"
#include "platform/com/lists.h"
#include "platform/system/file_stream.h"
#include "platform/system/native_entry.h"
#include "platform/system/shell_folders.h"
#include "support/text.h"

namespace qv {
namespace {

using SharedFiles = std::shared_ptr<ContactFiles>;

HRESULT StatusOf(std::error_code error, const std::string& path) {
  if (error == std::errc::resource_unavailable_try_again) return kContactChanged;
  if (error == std::errc::file_exists) return StatusOfError(kAlreadyExists);
  return StatusOfError(NumberOf(error, path));
}

// With the terminator.
HRESULT CopyOut(std::u16string_view text, char16_t* buffer, uint32_t size) {
  if (text.size() + 1 > size) return kContactIdTooLong;
  std::ranges::copy(text, buffer);
  buffer[text.size()] = u'\0';
  return S_OK;
}

HRESULT StatusOf(ContactDocument::Found found) {
  switch (found) {
    case ContactDocument::Found::Yes:
      return S_OK;
    case ContactDocument::Found::NoValue:
      return S_FALSE;
    case ContactDocument::Found::NoNode:
      break;
  }
  return kContactNotFound;
}

std::vector<std::u16string_view> Texts(uint32_t count, const char16_t* const* texts) {
  if (count > 0 && texts == nullptr) throw StatusError(E_POINTER);
  std::vector<std::u16string_view> views;
  for (uint32_t i = 0; i < count; ++i) {
    if (texts[i] == nullptr) throw StatusError(E_POINTER);
    views.emplace_back(texts[i]);
  }
  return views;
}

ComPtr<IVarList> ListOf(const std::vector<std::u16string>& texts) {
  auto list = CreateInstance<IVarList>(CLSID_VarList);
  for (const std::u16string& text : texts) Check(list->Add(Variant::Text(text).get()));
  return list;
}

class Contact final : public ComObject<IContact, IContactProperties, IPersistStreamInit,
                                       IContactFile, IContactNodes> {
 public:
  Contact() = default;
  Contact(SharedFiles files, ContactFiles::Entry entry)
      : files_(std::move(files)), entry_(std::move(entry)) {}

  HRESULT GetContactID(char16_t* id, uint32_t size) noexcept override {
    return Slot(Requires(id), Outs(), [&] {
      if (!entry_ && !isSaved_) return E_FAIL;
      std::u16string text = Concat({u"/GUID:\"", Guid(), u"\""});
      if (entry_) text += Concat({u" /PATH:\"", FromUtf8(FullPath()), u"\""});
      return CopyOut(text, id, size);
    });
  }

  HRESULT GetPath(char16_t* path, uint32_t size) noexcept override {
    return Slot(Requires(path), Outs(),
                [&] { return entry_ ? CopyOut(FromUtf8(FullPath()), path, size) : E_FAIL; });
  }

  HRESULT CommitChanges() noexcept override {
    return Guarded([&] { return Commit(false); });
  }

  HRESULT InitNew() noexcept override {
    return Guarded([&] {
      entry_.reset();
      stream_ = nullptr;
      isSaved_ = false;
      document_.emplace(ContactDocument::New(MakeGuidText(), ContactFiles::Now()));
      return S_OK;
    });
  }

  HRESULT Save(IStream* stream, BOOL) noexcept override {
    return Slot(Requires(stream), Outs(), [&] {
      WriteStream(*stream, Document().Bytes());
      stream_ = Query<IFileStream>(stream);
      isSaved_ = true;
      return S_OK;
    });
  }

  HRESULT GetString(const char16_t* path, BSTR* value) noexcept override {
    return Slot(Requires(path), Outs(value), [&] {
      std::u16string text;
      const HRESULT status = StatusOf(Document().GetString(path, text));
      if (Succeeded(status)) HandOut(value, text);
      return status;
    });
  }

  HRESULT SetString(const char16_t* path, const char16_t* value) noexcept override {
    return Slot(Requires(path, value), Outs(),
                [&] { return Done(Document().SetString(path, value)); });
  }

  HRESULT GetBinary(const char16_t* path, BSTR* contentType, IStream** bytes) noexcept override {
    return Slot(Requires(path), Outs(contentType, bytes), [&] {
      std::u16string type;
      std::string content;
      const HRESULT status = StatusOf(Document().GetBinary(path, type, content));
      if (Failed(status)) return status;
      HandOut(contentType, type);
      HandOut(bytes, MakeMemoryStream(std::move(content)));
      return status;
    });
  }

  HRESULT SetBinary(const char16_t* path, const char16_t* contentType,
                    IStream* bytes) noexcept override {
    return Slot(Requires(path, contentType, bytes), Outs(),
                [&] { return Done(Document().SetBinary(path, contentType, ReadStream(*bytes))); });
  }

  HRESULT SetLabels(const char16_t* node, uint32_t count,
                    const char16_t* const* labels) noexcept override {
    return Slot(Requires(node), Outs(),
                [&] { return Done(Document().SetLabels(node, Texts(count, labels))); });
  }

  HRESULT CreateArrayNode(const char16_t* collection, BSTR* node) noexcept override {
    return Slot(Requires(collection), Outs(node), [&] {
      const std::u16string path = Document().CreateNode(collection);
      return path.empty() ? E_INVALIDARG : HandOut(node, path);
    });
  }

  HRESULT DeleteArrayNode(const char16_t* node) noexcept override {
    return Slot(Requires(node), Outs(), [&] { return Done(Document().DeleteNode(node)); });
  }

  HRESULT GetPropertyCollection(const char16_t* collection, uint32_t count,
                                const char16_t* const* labels, IUnknown** paths) noexcept override {
    return Slot(Requires(collection), Outs(paths), [&] {
      return HandOut(paths, ListOf(Document().Nodes(collection, Texts(count, labels))));
    });
  }

  HRESULT MoveArrayNode(const char16_t* node, uint32_t number) noexcept override {
    return Slot(Requires(node), Outs(), [&] { return Done(Document().MoveNode(node, number)); });
  }

  HRESULT GetLabels(const char16_t* node, IUnknown** labels) noexcept override {
    return Slot(Requires(node), Outs(labels),
                [&] { return HandOut(labels, ListOf(Document().Labels(node))); });
  }

  HRESULT GetStamp(BOOL anew, CONTACT_FILESTAMP* stamp) noexcept override {
    return Slot(Requires(), Outs(stamp), [&] {
      if (!entry_) return E_FAIL;
      ContactFiles::Entry now = *entry_;
      if (anew != kFalse) {
        if (const std::error_code error = files_->Stat(now)) return StatusOf(error, FullPath());
      }
      *stamp = {now.modifiedNs, now.changedNs, now.createdNs, now.size, now.inode};
      return S_OK;
    });
  }

  HRESULT IsReadable(BOOL* readable) noexcept override {
    return Slot(Requires(), Outs(readable),
                [&] { return HandOut(readable, ToBool(!entry_ || entry_->isReadable)); });
  }

  HRESULT GetGuid(BSTR* guid) noexcept override {
    return Slot(Requires(), Outs(guid), [&] { return HandOut(guid, Guid()); });
  }

  HRESULT GetPictureUrl(BSTR* url) noexcept override {
    return Slot(Requires(), Outs(url),
                [&] { return HandOut(url, entry_ ? entry_->picture : std::u16string()); });
  }

  HRESULT DeleteFile() noexcept override {
    return Guarded([&] { return entry_ ? StatusOf(files_->Remove(*entry_), FullPath()) : E_FAIL; });
  }

  HRESULT RenameFile(const char16_t* name) noexcept override {
    return Slot(Requires(name), Outs(), [&] {
      if (!entry_) return E_FAIL;
      return StatusOf(files_->Rename(*entry_, ToUtf8(name)), FullPath());
    });
  }

  HRESULT CommitQuietly() noexcept override {
    return Guarded([&] { return Commit(true); });
  }

  // Where a new contact goes once it is committed.
  void SetFiles(SharedFiles files) { files_ = std::move(files); }

 private:
  static HRESULT Done(bool done) { return done ? S_OK : kContactNotFound; }
  std::string FullPath() const { return files_->FullPath(entry_->path); }
  std::u16string Guid() { return entry_ ? entry_->id : Document().Id(); }

  ContactDocument& Document() {
    if (document_) return *document_;
    if (!entry_) throw StatusError(E_FAIL);
    ContactFiles::Problem problem;
    document_ = files_->Read(entry_->path, *entry_, problem);
    if (!document_) {
      throw StatusError(problem.reason.empty() ? kContactNotFound : kContactDamaged);
    }
    return *document_;
  }

  HRESULT Commit(bool keepTime) {
    if (!entry_) return CommitNew();
    // One of several that say an id gets its own with its first write.
    if (document_ && document_->IsChanged() && document_->Id() != entry_->id) {
      document_->SetId(entry_->id);
    }
    if (!document_ || !document_->IsChanged()) return S_OK;
    return StatusOf(files_->Write(*entry_, *document_, keepTime), FullPath());
  }

  HRESULT CommitNew() {
    if (!isSaved_) return E_FAIL;
    if (!stream_) return S_OK;  // somebody else's stream
    if (files_ && files_->isLookOnly()) return StatusOfError(kAccessDenied);
    Check(stream_->Commit());
    const std::string path = stream_->path();
    stream_ = nullptr;
    if (files_ && path.starts_with(files_->folder() + "/")) {
      entry_ = files_->Made(path.substr(files_->folder().size() + 1), *document_);
    }
    return S_OK;
  }

  SharedFiles files_;
  std::optional<ContactFiles::Entry> entry_;  // of one that has a file
  std::optional<ContactDocument> document_;
  ComPtr<IFileStream> stream_;
  bool isSaved_ = false;
};

class ContactCollection final : public ComObject<IContactCollection> {
 public:
  explicit ContactCollection(SharedFiles files) : files_(std::move(files)) {
    entries_.reserve(files_->entries().size());
    for (const auto& [path, entry] : files_->entries()) entries_.push_back(entry);
  }

  HRESULT Reset() noexcept override {
    next_ = 0;
    return S_OK;
  }

  HRESULT Next() noexcept override {
    if (next_ >= entries_.size()) return S_FALSE;
    ++next_;
    return S_OK;
  }

  HRESULT GetCurrent(IContact** contact) noexcept override {
    return Slot(Requires(), Outs(contact), [&] {
      if (next_ == 0) return E_FAIL;
      return HandOut<IContact>(contact, MakeObject<Contact>(files_, entries_[next_ - 1]));
    });
  }

 private:
  SharedFiles files_;
  std::vector<ContactFiles::Entry> entries_;
  size_t next_ = 0;
};

class ContactManager final : public ComObject<IContactManager, IContactFolder> {
 public:
  HRESULT Initialize(const char16_t* application, const char16_t* version) noexcept override {
    return Slot(Requires(application, version), Outs(), [&] {
      if (files_) return S_FALSE;
      const auto folder = ToNativePath(ContactsFolder());
      if (!folder || folder->empty()) return StatusOfError(kPathNotFound);
      files_ = std::make_shared<ContactFiles>(*folder, TheContactFilesSettings().index);
      files_->SetLookOnly(TheContactFilesSettings().lookOnly);
      return S_OK;
    });
  }

  HRESULT Load(const char16_t* id, IContact** contact) noexcept override {
    return Slot(Requires(id), Outs(contact), [&] {
      const std::u16string guid = GuidWithin(id);
      if (!Files().hasLooked()) Check(Look());
      const ContactFiles::Entry* entry = Files().Find(guid);
      if (entry == nullptr) return kContactNotFound;
      ContactFiles::Entry now = *entry;
      if (Files().Stat(now) == std::errc::no_such_file_or_directory) {
        // It may have another name by now.
        Check(Look());
        entry = Files().Find(guid);
        if (entry == nullptr) return kContactNotFound;
      }
      return HandOut<IContact>(contact, MakeObject<Contact>(files_, *entry));
    });
  }

  HRESULT GetContacts(IContactCollection** contacts) noexcept override {
    return Slot(Requires(), Outs(contacts), [&] {
      Check(Look());
      return HandOut<IContactCollection>(contacts, MakeObject<ContactCollection>(files_));
    });
  }

  HRESULT NewContact(IContact** contact) noexcept override {
    return Slot(Requires(), Outs(contact), [&] {
      auto made = MakeObject<Contact>();
      made->SetFiles(files_);
      Check(made->InitNew());
      return HandOut<IContact>(contact, std::move(made));
    });
  }

  HRESULT SetLookOnly(BOOL lookOnly) noexcept override {
    return Guarded([&] {
      Files().SetLookOnly(lookOnly != kFalse);
      return S_OK;
    });
  }

  HRESULT IsLookOnly(BOOL* lookOnly) noexcept override {
    return Slot(Requires(), Outs(lookOnly),
                [&] { return HandOut(lookOnly, ToBool(Files().isLookOnly())); });
  }

  HRESULT CountProblems(int32_t* count) noexcept override {
    return Slot(Requires(), Outs(count),
                [&] { return HandOut(count, static_cast<int32_t>(Files().problems().size())); });
  }

  HRESULT GetProblem(int32_t index, CONTACT_PROBLEM* kind, BSTR* path, BSTR* id,
                     BSTR* reason) noexcept override {
    return Slot(Requires(), Outs(kind, path, id, reason), [&]() -> HRESULT {
      const auto& problems = Files().problems();
      if (index < 0 || static_cast<size_t>(index) >= problems.size()) return E_INVALIDARG;
      const ContactFiles::Problem& problem = problems[static_cast<size_t>(index)];
      HandOut(kind, problem.kind);
      HandOut(path, PrintableName(problem.path));
      HandOut(id, problem.id);
      return HandOut(reason, PrintableName(problem.reason));
    });
  }

  HRESULT CountPictureUsers(const char16_t* url, int32_t* count) noexcept override {
    return Slot(Requires(url), Outs(count),
                [&] { return HandOut(count, Files().CountPictureUsers(url)); });
  }

  HRESULT GetLostPicture(const char16_t* id, BSTR* url) noexcept override {
    return Slot(Requires(id), Outs(url), [&] { return HandOut(url, Files().LostPicture(id)); });
  }

  HRESULT Settle() noexcept override {
    return Guarded([&] { return StatusOf(Files().Settle(), Files().folder()); });
  }

 private:
  ContactFiles& Files() {
    if (!files_) throw StatusError(E_FAIL);
    return *files_;
  }

  HRESULT Look() { return StatusOf(Files().Look(), Files().folder()); }

  SharedFiles files_;
};

}  // namespace

void RegisterContactClasses() {
  RegisterClass(CLSID_ContactManager, CreateClass<ContactManager>);
  RegisterClass(CLSID_Contact, CreateClass<Contact>);
}

}  // namespace qv

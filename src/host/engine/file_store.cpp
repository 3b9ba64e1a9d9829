#include "host/engine/file_store.h"

#include <algorithm>

#include "framework/class_table.h"
#include "host/engine/errors.h"
#include "host/engine/report_words.h"
#include "items/item_objects.h"
#include "platform/com/class_factory.h"
#include "platform/com/edge.h"
#include "platform/com/lists.h"
#include "platform/system/files.h"
#include "platform/system/service.h"
#include "stores/file_names.h"
#include "support/text.h"
#include "syncdb/status_item.h"

namespace qv {
namespace {

constexpr FileStoreRow kRows[] = {
    {FileFormat::Csv, "contacts", u"DataStore.IECSVContact", u"DataStoreIECSVContact",
     "Deskhub_contact_", ".csv", false},
    {FileFormat::Csv, "calendar", u"DataStore.IECSVSchedule", u"DataStoreIECSVCalendar",
     "Deskhub_calendar_", ".csv", false},
    {FileFormat::Csv, "notes", u"DataStore.IECSVNote", u"DataStoreIECSVMemo", "Deskhub_memo_",
     ".csv", false},
    {FileFormat::VCard, "contacts", u"DataStore.IEVCard", u"DataStoreIEVCard", "", ".vcf", true},
    {FileFormat::VCal, "calendar", u"DataStore.IEVCal", u"DataStoreIEVCal", "calendar", ".vcs",
     false},
};

constexpr std::u16string_view kUri = u"file";

// Every store's keys begin with this; what does not is the profile's.
constexpr std::u16string_view kStorePrefix = u"DataStore.";

class JobBag final : public ComObject<IEngineConfig> {
 public:
  JobBag(IEngineConfig* profile, std::map<std::u16string, std::u16string> values)
      : profile_(profile), values_(std::move(values)) {}

  HRESULT GetValue(BSTR key, VARIANT* value) noexcept override {
    return Slot(Requires(key), Outs(value), [&]() -> HRESULT {
      const auto found = values_.find(std::u16string(View(key)));
      if (found != values_.end()) {
        *value = Variant::Text(found->second).Detach();
        return S_OK;
      }
      if (View(key).starts_with(kStorePrefix)) return S_OK;
      return profile_->GetValue(key, value);
    });
  }
  // Nothing of a job outlives it.
  HRESULT SetValue(BSTR key, VARIANT text, BOOL) noexcept override {
    return Slot(Requires(key), Outs(), [&] {
      values_[std::u16string(View(key))] = VariantText(text);
      return S_OK;
    });
  }

 private:
  ComPtr<IEngineConfig> profile_;
  std::map<std::u16string, std::u16string> values_;
};

ComPtr<IEngineConfig> BagOf(Profile& profile, const FileJob& job, std::u16string_view mimeType) {
  const std::u16string name(job.row->configName);
  const std::u16string area = u"DataStore.ImportExport.";
  return MakeObject<JobBag>(profile.bag(),
                            std::map<std::u16string, std::u16string>{
                                {name, u"true"},
                                {name + u".Sync", u"true"},
                                {name + u".CLSID", FormatGuid(ClassId(job.row->className))},
                                {name + u".SourceURI", std::u16string(kUri)},
                                {name + u".MimeType", std::u16string(mimeType)},
                                {area + u"Type", job.isImport ? u"1" : u"2"},
                                {area + u"FolderPath", job.folder},
                                {area + u"FileNames", job.fileNames},
                                {area + u"CSV.MappingXML", job.mappingXml}});
}

}  // namespace

const FileStoreRow* FindFileStore(FileFormat format, std::string_view kind) {
  const auto found = std::ranges::find_if(
      kRows, [&](const FileStoreRow& row) { return row.format == format && row.kind == kind; });
  return found == std::end(kRows) ? nullptr : &*found;
}

const char* FormatWord(FileFormat format) {
  constexpr const char* kWords[] = {"csv", "vcf", "vcs"};
  return kWords[static_cast<size_t>(format)];
}

std::optional<std::string> ProbeFolder(const std::string& folder, size_t bytes) {
  Files& files = Service<Files>::Get();
  const std::string probe = folder + "/.qvsync-probe";
  files.Remove(probe);  // of a run that was killed
  const std::error_code error = files.CreateNew(probe, std::string(bytes, ' '));
  if (error) return error.message();
  files.Remove(probe);
  return std::nullopt;
}

std::optional<std::string> LacksRoom(std::u16string_view folder, std::u16string_view name) {
  if (folder.size() + 1 + name.size() < kPathLimit) return std::nullopt;
  return "its path is too long: with the name of a file it has " +
         std::to_string(folder.size() + 1 + name.size()) + " characters, and " +
         std::to_string(kPathLimit - 1) + " are the most; name a folder nearer to the root";
}

FileStore::FileStore(Profile& profile, const FileJob& job)
    : type_(FindStoreKind(job.row->kind)->mimeType),
      modulePath_(job.folder),
      folder_(ToNativePath(job.folder).value_or("")) {
  const DatabaseReason reason;
  manager_ = CreateInstance<IDataStoreMgr>(ClassId(u"DataStoreManager"));
  HRESULT status = manager_->Initialize(BagOf(profile, job, type_.view()).get());
  if (Succeeded(status)) status = manager_->GetDataStore(Bstr(kUri), store_.Out());
  if (store_) status_ = Query<IStatusDB>(store_);
  if (status_) status = status_->Initialize();
  if (Failed(status) || !status_) {
    throw StoreFailure(
        reason.Explain("the files in " + ToUtf8(job.folder) + " cannot be used", status));
  }
}

int32_t FileStore::Count() {
  ComPtr<IStatusDBItemTree> root;
  Check(status_->GetCurrentStatusDB(root.Out()));
  ComPtr<IUnknown> children;
  Check(root->get_SubItemTree(children.Out()));
  int32_t count = 0;
  if (const auto list = Query<IUnkList>(children)) Check(list->Count(&count));
  return count;
}

std::string FileStore::Get(int32_t index, ComPtr<IItemCommon>& item) {
  Bstr type;
  Bstr parent;
  ComPtr<IUnknown> object;
  ComPtr<IUnknown> content;
  const HRESULT status = store_->Get(Bstr(Decimal(index)), kFalse, type.Out(), parent.Out(),
                                     object.Out(), content.Out());
  if (Failed(status) || !content) throw ItemError("it cannot be read");
  item = Query<IItemCommon>(object);
  return ContentBytes(content.get());
}

void FileStore::Add(std::string_view text, const std::function<void(IItemCommon&)>& change) {
  const ComPtr<IContentData> content = MakeContentData(text);
  if (Failed(store_->CachParseData(nullptr, type_, content.get()))) {
    store_->UnCachParseData();
    throw ItemError("its text cannot be read");
  }
  if (change) {
    ComPtr<IUnknown> parsed;
    Check(store_->GetCachedParseData(parsed.Out()));
    change(*Query<IItemCommon>(parsed));
  }
  Bstr uid;
  const HRESULT status = store_->Add(content.get(), type_, Bstr(u"/"), uid.Out());
  store_->UnCachParseData();
  if (Succeeded(status)) return;
  if (uid.get() == nullptr) throw ItemError("the file cannot hold it");
  // Names are cut to fit, but not to nothing.
  std::optional<std::string> reason = LacksRoom(modulePath_, std::u16string(10, u'x'));
  if (!reason) reason = ProbeFolder(folder_, text.size());
  if (reason) throw StoreFailure("cannot write to " + folder_ + ": " + *reason);
  throw ItemError(
      "no file could be written for it: its name has a sign that no file name can have");
}

}  // namespace qv

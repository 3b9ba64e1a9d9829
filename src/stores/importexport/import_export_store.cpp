#include "stores/importexport/import_export_store.h"

#include "items/item_objects.h"
#include "items/stamp.h"
#include "platform/com/class_factory.h"
#include "support/text.h"
#include "support/user_flags.h"
#include "syncdb/status_item.h"

namespace qv {
namespace {

// Persisted contract: the keys of a job.
constexpr std::u16string_view kTypeKey = u"DataStore.ImportExport.Type";
constexpr std::u16string_view kFolderKey = u"DataStore.ImportExport.FolderPath";
constexpr std::u16string_view kFilesKey = u"DataStore.ImportExport.FileNames";
constexpr std::u16string_view kFileTypeKey = u"DataStore.ImportExport.FileType";

FileDirection DirectionOf(int32_t type) {
  if (type == 1) return FileDirection::Reads;
  return type == 2 ? FileDirection::Writes : FileDirection::Neither;
}

}  // namespace

ImportExportStore::ImportExportStore(const ImportExportTraits& traits)
    : StoreBase(traits.identity), traits_(traits) {}

IConverter& ImportExportStore::converter() const {
  if (!converter_) throw StatusError(E_FAIL);
  return *converter_;
}

std::u16string ImportExportStore::NextUid() {
  return Decimal(++addCount_);
}

std::u16string ImportExportStore::ReadFolder() const {
  std::u16string folder = ReadConfigText(bag(), kFolderKey);
  if (!FolderExists(folder)) folder.clear();
  return folder;
}

HRESULT ImportExportStore::ReadJob() {
  job_.direction = DirectionOf(ToInt(ReadConfigText(bag(), kTypeKey)));
  job_.folder = ReadFolder();
  if (job_.folder.empty()) return E_FAIL;
  if (job_.direction != FileDirection::Reads) return S_OK;
  job_.fileNames = ReadConfigText(bag(), kFilesKey);
  return job_.fileNames.empty() ? E_FAIL : S_OK;
}

HRESULT ImportExportStore::OnCheckBag() {
  return traits_.checksJobFirst ? ReadJob() : S_OK;
}

HRESULT ImportExportStore::OnInitialize() {
  if (!traits_.checksJobFirst) {
    if (const HRESULT status = ReadJob(); Failed(status)) return status;
    job_.fileType = ToInt(ReadConfigText(bag(), kFileTypeKey));
  }
  Check(config().get_SyncType(&job_.syncType));
  auto converter = CreateInstance<IConverter>(traits_.converter);
  Check(converter->Initialize(bag()));
  converter_ = std::move(converter);
  return S_OK;
}

ComPtr<IItemCommon> ImportExportStore::OnParse(const IncomingText& text) {
  return ReadTyped(traits_.textTypes, text.mimeType, converter(), text.cdata);
}

HRESULT ImportExportStore::OnAdd(const IncomingText& text, std::u16string& sourceUid) {
  if (text.IsFolderDocument() || job_.direction != FileDirection::Writes) return E_FAIL;
  const ComPtr<IItemCommon> item = cachedItem() ? cachedItem() : OnParse(text);
  return item ? Take(item, text, sourceUid) : E_FAIL;
}

HRESULT ImportExportStore::OnGet(const std::u16string& sourceUid, bool, OutgoingItem& out) {
  const ComPtr<IItemCommon> item = ItemAt(PlaceOf(sourceUid, ItemCount()));
  if (!item) return E_FAIL;
  if (traits_.stampsAtGet) {
    ItemFields& fields = *FieldsOf(item.get());
    fields.sourceUid = sourceUid;
    StampNew(fields);
  }
  const std::u16string wanted = ConfigText(&IDataStoreConfig::get_MimeType);
  const TextType* type = FindOutgoing(traits_.textTypes, wanted);
  if (type == nullptr) {
    const bool refused = !wanted.empty() && wanted == traits_.refusedType;
    return refused ? E_FAIL : traits_.noOutputResult;
  }
  out.cdata = WriteTyped(*type, converter(), item.get());
  out.mimeType = wanted;
  out.item = item;
  return S_OK;
}

HRESULT ImportExportStore::OnStatusInitialize() {
  if (!isInitialized()) return E_FAIL;
  if (job_.direction == FileDirection::Reads) return Load();
  if (job_.direction == FileDirection::Neither) return S_OK;
  SetExportEmpty(0);
  ClearExport();
  return S_OK;
}

HRESULT ImportExportStore::OnBackupTree(ComPtr<IStatusDBItemTree>& root) {
  root = MakeStatusRoot();
  return S_OK;
}

HRESULT ImportExportStore::OnCurrentTree(ComPtr<IStatusDBItemTree>& root) {
  root = TreeOfPlaces(ItemCount());
  return S_OK;
}

void ImportExportStore::OnFinalRelease() {
  if (job_.direction == FileDirection::Writes) FinishExport();
}

}  // namespace qv

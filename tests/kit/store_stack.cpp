#include "kit/store_stack.h"

#include "framework/class_table.h"
#include "platform/database/sqlite.h"
#include "stores/module.h"
#include "syncdb/status_item.h"

namespace qv::test {
namespace {

std::vector<std::u16string> Identifiers(const ComPtr<IStatusDBItemTree>& root) {
  std::vector<std::u16string> ids;
  ComPtr<IUnknown> children;
  Check(root->get_SubItemTree(children.Out()));
  if (!children) return ids;
  for (const auto& node : Members<IStatusDBItemTree>(*Query<IUnkList>(children))) {
    ComPtr<IStatusDBItem> item;
    Check(node->get_Item(item.Out()));
    ids.push_back(ReadStatusItem(*item).sourceUid);
  }
  return ids;
}

}  // namespace

StoreBed::StoreBed() {
  RegisterModuleClasses();
  registry.CreateKey(kSyncKey);
  db = OpenRecorder();
}

StoreStack::StoreStack(const StoreSample& storeSample)
    : sample(storeSample), mimeType(storeSample.mimeType), settingsBefore_(TheOutlookSettings()) {
  TheOutlookSettings() = {folder.File("pc"), true, true};
  if (!outlook.initialize(u"")) throw StatusError(E_FAIL);
  outlookFolder = outlook.DefaultFolder(sample.kind);
  const std::u16string name(sample.configName);
  bag->values[name + u".SourceURI"] = u"uri";
  bag->values[name + u".MimeType"] = sample.mimeType;
  bag->values[name + u".EntryId"] = outlookFolder;
  store = Another();
  status = Query<IStatusDB>(store);
  db->Forget();
}

StoreStack::~StoreStack() {
  TheOutlookSettings() = settingsBefore_;
}

ComPtr<IDataStore> StoreStack::Another() {
  auto another = CreateInstance<IDataStore>(ClassId(sample.className));
  Check(another->SetDBAccessor(Query<IUnknown>(db).get()));
  Check(another->SetOutlookMgr(ToUnknownArgument(&outlook)));
  Check(another->Initialize(bag.get()));
  Check(another->SetTargetKey(Bstr(u"P1")));
  return another;
}

void StoreStack::NextSession() {
  store = Another();
  status = Query<IStatusDB>(store);
  Check(status->Initialize());
}

void StoreStack::OnPcFile(const char* script) {
  SqliteDatabase(folder.File("pc/Outlook.db"), SqliteDatabase::Durability::Normal).Execute(script);
}

HRESULT StoreStack::TryAdd(const std::string& text, std::u16string* id) {
  Bstr created;
  const HRESULT result = store->Add(Content(text).get(), mimeType, nullptr, created.Out());
  if (id != nullptr) *id = created.str();
  return result;
}

std::u16string StoreStack::Add(const std::string& text) {
  std::u16string id;
  Check(TryAdd(text, &id));
  return id;
}

std::string StoreStack::Get(const std::u16string& id, bool updateField) {
  Bstr type;
  Bstr parent;
  ComPtr<IUnknown> item;
  ComPtr<IUnknown> content;
  Check(store->Get(Bstr(id), ToBool(updateField), type.Out(), parent.Out(), item.Out(),
                   content.Out()));
  return ContentBytes(content.get());
}

std::vector<std::u16string> StoreStack::Backup() {
  ComPtr<IStatusDBItemTree> root;
  Check(status->GetBackupStatusDB(root.Out()));
  return Identifiers(root);
}

std::vector<std::u16string> StoreStack::Current() {
  ComPtr<IStatusDBItemTree> root;
  Check(status->GetCurrentStatusDB(root.Out()));
  return Identifiers(root);
}

}  // namespace qv::test

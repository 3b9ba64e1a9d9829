#include "stores/module.h"

#include <memory>

#include "framework/class_table.h"
#include "framework/data_store_config.h"
#include "framework/data_store_manager.h"
#include "items/item_objects.h"
#include "pim/contact_manager.h"
#include "pim/outlook_manager.h"
#include "platform/com/class_factory.h"
#include "platform/com/edge.h"
#include "platform/com/lists.h"
#include "platform/database/sqlite_accessor.h"
#include "platform/system/code_page.h"
#include "platform/system/debug_log.h"
#include "platform/system/registry.h"
#include "platform/system/service.h"
#include "stores/addressbook/data_store_outlookexp.h"
#include "stores/addressbook/data_store_windowscontact.h"
#include "stores/bookmark/data_store_bookmark.h"
#include "stores/bookmark/data_store_chrome.h"
#include "stores/bookmark/data_store_firefox.h"
#include "stores/importexport/csv_store.h"
#include "stores/importexport/data_store_ievcal.h"
#include "stores/importexport/data_store_ievcard.h"
#include "stores/outlook/data_store_calendar.h"
#include "stores/outlook/data_store_contact.h"
#include "stores/outlook/data_store_note.h"
#include "stores/outlook/data_store_todo.h"
#include "support/text.h"
#include "syncdb/status_item.h"

namespace qv {
namespace {

class ModuleSettings final : public ComObject<IModuleSettings> {
 public:
  HRESULT SetSyncDatabasePath(BSTR path) noexcept override {
    return Slot(Requires(path), Outs(), [&] {
      qv::SetSyncDatabasePath(ToUtf8(View(path)));
      return S_OK;
    });
  }

  HRESULT SetOutlookFolder(BSTR path) noexcept override {
    return Slot(Requires(path), Outs(), [&] {
      TheOutlookSettings().folder = ToUtf8(View(path));
      return S_OK;
    });
  }

  HRESULT SetRegistryFile(BSTR path) noexcept override {
    return Slot(Requires(path), Outs(), [&] {
      static std::unique_ptr<FileRegistry> registry;
      auto next = std::make_unique<FileRegistry>(ToUtf8(View(path)));
      Service<Registry>::Replace(next.get());
      registry = std::move(next);
      return S_OK;
    });
  }

  HRESULT SetAnsiCodePage(BSTR name) noexcept override {
    return Slot(Requires(name), Outs(), [&] {
      return Service<CodePages>::Get().SetAnsiPage(ToUtf8(View(name))) ? S_OK : E_INVALIDARG;
    });
  }

  HRESULT GetDefaultFolder(BSTR profile, int32_t kind, BSTR* entryId) noexcept override {
    return Slot(Requires(), Outs(entryId), [&] {
      OutlookManager manager;
      if (!manager.initialize(std::u16string(View(profile)))) return E_FAIL;
      const std::u16string folder = manager.DefaultFolder(static_cast<OlObjectClass>(kind));
      return folder.empty() ? E_FAIL : HandOut(entryId, folder);
    });
  }

  HRESULT SetDebugLog(BOOL on) noexcept override {
    static SilentLog silent;
    Service<DebugLog>::Replace(on != kFalse ? nullptr : &silent);
    return S_OK;
  }
};

struct ClassEntry {
  std::u16string_view name;
  CreatedObject (*create)();
};

// The rows of the class table that have a class behind them.
constexpr ClassEntry kClasses[] = {
    {u"DataStoreManager", CreateClass<DataStoreManager>},
    {u"DataStoreConfig", CreateClass<DataStoreConfig>},
    {u"DataStoreContact", CreateClass<CDataStoreContact>},
    {u"DataStoreCalendar", CreateClass<CDataStoreCalendar>},
    {u"DataStoreTodo", CreateClass<CDataStoreTodo>},
    {u"DataStoreNote", CreateClass<CDataStoreNote>},
    {u"DataStoreBookmark", CreateClass<CDataStoreBookmark>},
    {u"DataStoreFireFox", CreateClass<CDataStoreFireFox>},
    {u"DataStoreChrome", CreateClass<CDataStoreChrome>},
    {u"DataStoreWindowsContact", CreateClass<CDataStoreWindowsContact>},
    {u"DataStoreOutlookExp", CreateClass<CDataStoreOutlookExp>},
    {u"DataStoreIECSVContact", CreateClass<CDataStoreIECSVContact>},
    {u"DataStoreIECSVCalendar", CreateClass<CDataStoreIECSVCalendar>},
    {u"DataStoreIECSVMemo", CreateClass<CDataStoreIECSVMemo>},
    {u"DataStoreIEVCard", CreateClass<CDataStoreIEVCard>},
    {u"DataStoreIEVCal", CreateClass<CDataStoreIEVCal>},
};

}  // namespace

void RegisterModuleClasses() {
  RegisterListClasses();
  RegisterDatabaseClasses();
  RegisterItemClasses();
  RegisterStatusClasses();
  RegisterContactClasses();
  for (const ClassEntry& entry : kClasses) RegisterClass(ClassId(entry.name), entry.create);
  RegisterClass(CLSID_ModuleSettings, CreateClass<ModuleSettings>);
}

}  // namespace qv

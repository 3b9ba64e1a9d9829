// The module as a host meets it: a shared library and one function.
#include "stores/module.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "framework/class_table.h"
#include "framework/store_contract.h"
#include "items/converters.h"
#include "kit/engine_bag.h"
#include "kit/platform_fakes.h"
#include "platform/com/class_factory.h"
#include "platform/com/lists.h"
#include "platform/com/status_error.h"
#include "support/text.h"
#include "syncdb/status_interfaces.h"

namespace qv {
namespace {

class Module : public testing::Test {
 protected:
  Module() : library_(dlopen(QV_MODULE_PATH, RTLD_NOW | RTLD_LOCAL)) {
    EXPECT_NE(library_, nullptr) << dlerror();
    getClassObject_ = Symbol<HRESULT(const CLSID&, const IID&, void**)>("DllGetClassObject");
  }
  ~Module() override { dlclose(library_); }

  template <class Function>
  Function* Symbol(const char* name) {
    auto* symbol = reinterpret_cast<Function*>(dlsym(library_, name));
    EXPECT_NE(symbol, nullptr) << name;
    return symbol;
  }

  template <class Interface>
  ComPtr<Interface> Make(const CLSID& clsid) {
    ComPtr<IClassFactory> factory;
    Check(getClassObject_(clsid, IClassFactory::kIid, reinterpret_cast<void**>(factory.Out())));
    ComPtr<Interface> object;
    Check(
        factory->CreateInstance(nullptr, Interface::kIid, reinterpret_cast<void**>(object.Out())));
    return object;
  }

  void* library_;
  HRESULT (*getClassObject_)(const CLSID&, const IID&, void**);
};

TEST_F(Module, RefusesSettingsThatLeadNowhereAndStoresWithoutTheirFolder) {
  test::TempFolder folder;
  const auto path = [&](const char* name) {
    const std::string file = folder.File(name);
    return Bstr(std::u16string(file.begin(), file.end()));
  };
  auto* canUnload = Symbol<HRESULT()>("DllCanUnloadNow");
  {
    const auto settings = Make<IModuleSettings>(CLSID_ModuleSettings);
    ASSERT_EQ(settings->SetSyncDatabasePath(path("sync.db")), S_OK);
    ASSERT_EQ(settings->SetOutlookFolder(path("pc")), S_OK);
    ASSERT_EQ(settings->SetRegistryFile(path("registry.ini")), S_OK);
    ASSERT_EQ(settings->SetDebugLog(kFalse), S_OK);
    EXPECT_EQ(settings->GetDefaultFolder(nullptr, 7, Bstr().Out()), E_FAIL);
    EXPECT_EQ(settings->SetAnsiCodePage(Bstr(u"no such page")), E_INVALIDARG);
    const auto bag = MakeObject<test::MemoryBag>();
    bag->values = {{u"DataStore.Contact", u"true"},
                   {u"DataStore.Contact.Sync", u"true"},
                   {u"DataStore.Contact.CLSID", FormatGuid(ClassId(u"DataStoreContact"))}};
    const auto manager = Make<IDataStoreMgr>(ClassId(u"DataStoreManager"));
    EXPECT_EQ(manager->Initialize(bag.get()), E_FAIL);
    EXPECT_EQ(canUnload(), S_FALSE);
  }
  EXPECT_EQ(canUnload(), S_OK);
}

TEST_F(Module, ShowsItsExportsAlone) {
  std::vector<std::string> shown;
  FILE* names = popen(QV_NM " -D --defined-only --format=just-symbols " QV_MODULE_PATH, "r");
  ASSERT_NE(names, nullptr);
  for (char name[4096]; std::fscanf(names, "%4095s", name) == 1;) shown.emplace_back(name);
  EXPECT_EQ(pclose(names), 0);
  std::ranges::sort(shown);
  EXPECT_EQ(shown,
            (std::vector<std::string>{"DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer",
                                      "DllUnregisterServer", "SysAllocString", "SysAllocStringLen",
                                      "SysFreeString", "SysStringLen"}));
}

TEST_F(Module, ServesAForeignHostAndGoes) {
  test::TempFolder folder;
  const std::string command = std::string(QV_FOREIGN_HOST " " QV_MODULE_PATH " ") + folder.path();
  EXPECT_EQ(std::system(command.c_str()), 0) << command;
}

TEST_F(Module, MakesTheClassesOfItsTableAndTheOthers) {
  for (const char16_t* name :
       {u"DataStoreManager", u"DataStoreConfig", u"StatusDBItem", u"StatusDBItemTree",
        u"DataStoreContact", u"DataStoreBookmark", u"DataStoreFireFox", u"DataStoreChrome"}) {
    EXPECT_TRUE(Make<IUnknown>(ClassId(name))) << ToUtf8(name);
  }
  for (const CLSID& clsid : {CLSID_DBAccessor, CLSID_UnkList, CLSID_VarList, CLSID_ContentData,
                             CLSID_ContactItem, CLSID_VCardConverter}) {
    EXPECT_TRUE(Make<IUnknown>(clsid));
  }
  EXPECT_TRUE(Make<IVCardConverter>(CLSID_VCardConverter));
  void* out = nullptr;
  EXPECT_EQ(getClassObject_(ClassId(u"DataStore"), IClassFactory::kIid, &out),
            CLASS_E_CLASSNOTAVAILABLE);
}

}  // namespace
}  // namespace qv

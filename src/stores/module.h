// The module as a whole: its classes, and what a host sets before it uses them.
#pragma once

#include "platform/com/bstr.h"
#include "platform/com/component_ids.h"
#include "platform/com/unknown.h"

namespace qv {

// Makes every class of the module creatable by identifier. May be called again; a class that a
// test put a fake behind is put back.
void RegisterModuleClasses();

// Where the module keeps its things, for a host that reaches it through `DllGetClassObject` alone.
// Paths are UTF-16 native paths; they count for what is created or opened afterwards.
struct IModuleSettings : IDispatch {
  static constexpr IID kIid = IID_IModuleSettings;
  virtual HRESULT SetSyncDatabasePath(BSTR path) noexcept = 0;
  virtual HRESULT SetOutlookFolder(BSTR path) noexcept = 0;
  virtual HRESULT SetRegistryFile(BSTR path) noexcept = 0;
  // A name that iconv knows; E_INVALIDARG, and no change, for any other.
  virtual HRESULT SetAnsiCodePage(BSTR name) noexcept = 0;
  // The folder of a kind (an OlObjectClass) that the PC side's profile comes with: what a store's
  // ".EntryId" names. Makes the profile when it is not there yet. E_FAIL when it has none.
  virtual HRESULT GetDefaultFolder(BSTR profile, int32_t kind, BSTR* entryId) noexcept = 0;
  // False drops the debug log, true sends it to standard error.
  virtual HRESULT SetDebugLog(BOOL on) noexcept = 0;

 protected:
  ~IModuleSettings() = default;
};

}  // namespace qv

// A store with everything it stands on, in a folder of its own.
#pragma once

#include <string>

#include "framework/outlook_argument.h"
#include "framework/store_contract.h"
#include "items/item_objects.h"
#include "kit/accessor_fakes.h"
#include "kit/engine_bag.h"
#include "kit/platform_fakes.h"
#include "pim/outlook_manager.h"
#include "platform/system/registry.h"
#include "support/user_flags.h"
#include "syncdb/status_interfaces.h"

namespace qv::test {

// What the suites need to know of a store class.
struct StoreSample {
  const char* name;               // for the test's name
  std::u16string_view className;  // in the class table
  std::u16string_view configName;
  std::u16string_view mimeType;
  OlObjectClass kind;
  std::u16string_view statusTable;
  std::u16string_view idColumn;
  std::string (*text)(int which, const char* uid, const char* modified);  // one item's text
};

// What any store stands on: the platform in a folder of its own, the sync database, the bag.
//
// The clock stands at 2024-03-05 06:07:08 UTC and the zone is UTC until a test moves them.
class StoreBed {
 public:
  StoreBed();

  ComPtr<IContentData> Content(const std::string& text) const { return MakeContentData(text); }
  void Stop(bool stop) { registry.WriteNumber(kSyncKey, "SyncStop", stop ? 1 : 0); }

  TempFolder folder;
  FakeClock clock{1'709'618'828};
  FixedZone zone;
  RecordingLog log;
  FileRegistry registry{folder.File("registry.ini")};
  ScopedService<Clock> useClock{clock};
  ScopedService<TimeZone> useZone{zone};
  ScopedService<DebugLog> useLog{log};
  ScopedService<Registry> useRegistry{registry};
  ComPtr<RecordingAccessor> db;
  ComPtr<MemoryBag> bag = MakeObject<MemoryBag>();
  ComPtr<IDataStore> store;
  ComPtr<IStatusDB> status;
};

class StoreStack : public StoreBed {
 public:
  explicit StoreStack(const StoreSample& sample);
  ~StoreStack();

  // Another store of the class, made ready over the same things with the bag as it is now; and the
  // same in place of `store`, as the engine's next session has it.
  ComPtr<IDataStore> Another();
  void NextSession();
  // Each throws StatusError when the call fails; the texts go in with the sample's type.
  std::u16string Add(const std::string& text);
  std::string Get(const std::u16string& id, bool updateField = false);
  // Runs a script on the PC side's own file.
  void OnPcFile(const char* script);
  // The status alone.
  HRESULT TryAdd(const std::string& text, std::u16string* id = nullptr);
  // Identifiers of a snapshot, in order.
  std::vector<std::u16string> Backup();
  std::vector<std::u16string> Current();

  const StoreSample& sample;
  Bstr mimeType;
  OutlookManager outlook;
  std::u16string outlookFolder;

 private:
  OutlookSettings settingsBefore_;
};

}  // namespace qv::test

// A profile and a phone folder with the whole stack behind them, and both sides' users.
#pragma once

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/engine/sync.h"
#include "host/store_kinds.h"
#include "items/item_objects.h"
#include "items/vcard.h"
#include "kit/accessor_fakes.h"
#include "kit/platform_fakes.h"
#include "pim/outlook_manager.h"
#include "support/text.h"

namespace qv::test {

// A card for tests: what is empty is left out. `extra` is a whole line that the PC cannot hold.
struct CardParts {
  std::string name = {};
  std::string uid = {};
  std::string rev = {};
  std::string note = {};
  std::string extra = {};
};

inline std::string CardText(const CardParts& parts) {
  std::string text = "BEGIN:VCARD\r\nVERSION:2.1\r\nN:" + parts.name + ";;;;\r\nFN:" + parts.name +
                     "\r\nTEL;CELL:1\r\n";
  if (!parts.note.empty()) text += "NOTE:" + parts.note + "\r\n";
  if (!parts.extra.empty()) text += parts.extra + "\r\n";
  if (!parts.uid.empty()) text += "UID:" + parts.uid + "\r\n";
  if (!parts.rev.empty()) text += "REV:" + parts.rev + "\r\n";
  return text + "END:VCARD\r\n";
}

// The text without identifiers and time; with `core` also without what the PC cannot hold.
inline std::string ContentOf(const StoreKind& kind, const ComPtr<IItemCommon>& item, bool core) {
  Check(item->put_ObjUid(nullptr));
  Check(item->put_ObjModified(0.0));
  if (Calendar* calendar = CalendarOf(item.get())) calendar->parentRecurUid.clear();
  if (core) Check(item->DropSideData());
  return WriteItem(kind, item.get());
}
inline std::string Content(std::string_view text, bool core,
                           const StoreKind& kind = *FindStoreKind("contacts")) {
  const ComPtr<IItemCommon> item = ReadItem(kind, text);
  return item ? ContentOf(kind, item, core) : "unreadable: " + std::string(text);
}

class Rig {
  ComPtr<IItemCommon> Item(const std::string& text) const {
    const ComPtr<IItemCommon> item = ReadItem(kind, text);
    if (!item) throw std::runtime_error("unreadable: " + text);
    return item;
  }
  template <class Body>
  auto Pc(Body&& body) {
    Profile profile(profileFolder());
    OutlookManager pc;
    if (!pc.initialize(u"")) throw std::runtime_error(pc.lastError());
    return body(pc, pc.DefaultFolder(kind.pcKind));
  }

 public:
  explicit Rig(std::string_view store = "contacts") : kind(*FindStoreKind(store)) {
    Profile::Create(profileFolder());
    std::filesystem::create_directories(collection());
  }

  const StoreKind& kind;
  std::string collection() const { return phoneFolder() + "/" + std::string(kind.name); }

  std::string profileFolder() const { return folder.File("profile"); }
  std::string phoneFolder() const { return folder.File("phone"); }

  // Each uses the profile as a run of the program does: from opening to closing.
  StoreReport Sync(DS_SYNCTYPE mode = DS_SYNCTYPE_NONE, SyncOptions options = {},
                   const ProgressSink& progress = {}) {
    options.mode = mode;
    const SyncReport report = Run(options, progress);
    if (report.stores.empty()) {
      StoreReport none;
      none.result = report.result;
      none.message = report.message;
      return none;
    }
    return report.stores.front();
  }
  SyncReport Run(const SyncOptions& options, const ProgressSink& progress = {}) {
    clock.Advance(10);
    Profile profile(profileFolder());
    return RunSync(profile, phoneFolder(), {std::string(kind.name)}, options, progress);
  }
  std::vector<PendingChanges> Status() {
    Profile profile(profileFolder());
    std::vector<PendingChanges> all = ReadStatus(profile);
    std::erase_if(all, [&](const PendingChanges& pending) { return pending.store != kind.name; });
    return all;
  }

  // The PC side's own user.
  std::u16string PcAdd(const std::string& text) {
    return Pc([&](OutlookManager& pc, const std::u16string& items) {
      std::u16string id;
      Check(pc.CreateItem(kind.pcKind, items, Item(text), id));
      return id;
    });
  }
  void PcEdit(const std::u16string& id, const std::string& text) {
    clock.Advance(10);
    Pc([&](OutlookManager& pc, const std::u16string&) {
      if (!IsSubItemId(id)) return Check(pc.UpdateItem(kind.pcKind, id, Item(text)));
      OLSubMetaData data;
      data.id = id;
      return Check(
          pc.UpdateSubItem(kind.pcKind, std::u16string(SeriesPartOf(id)), Item(text), data));
    });
  }
  void PcDelete(const std::u16string& id) {
    Pc([&](OutlookManager& pc, const std::u16string&) {
      if (!IsSubItemId(id)) return Check(pc.DeleteItem(kind.pcKind, id));
      OLSubMetaData data;
      data.id = id;
      return Check(pc.DeleteSubItem(kind.pcKind, data));
    });
  }
  std::u16string PcAddException(const std::u16string& series, const std::string& text) {
    return Pc([&](OutlookManager& pc, const std::u16string&) {
      OLSubMetaData data;
      Check(pc.CreateSubItem(kind.pcKind, series, Item(text), data));
      return data.id;
    });
  }
  // Contents by identifier, as the PC's user sees them.
  std::map<std::u16string, std::string> PcItems() {
    return Pc([&](OutlookManager& pc, const std::u16string& folderId) {
      std::map<std::u16string, std::string> items;
      std::vector<std::u16string> ids;
      std::vector<OLSubMetaData> datas;
      Check(pc.GetEntryIds(kind.pcKind, folderId, ids));
      Check(pc.GetSubMetaDatas(kind.pcKind, ids, datas));
      ComPtr<IItemCommon> item;
      for (const std::u16string& id : ids) {
        Check(pc.GetItem(kind.pcKind, id, item));
        items[id] = ContentOf(kind, item, true);
      }
      for (const OLSubMetaData& data : datas) {
        if (data.isDeleted) continue;
        Check(pc.GetSubItem(kind.pcKind, data, item));
        items[data.id] = ContentOf(kind, item, true);
      }
      return items;
    });
  }
  std::u16string PcIdOf(const std::string& text) {
    for (const auto& [id, content] : PcItems()) {
      if (content == Content(text, true, kind)) return id;
    }
    return {};
  }

  // The phone's user. A written file is never as old as the last sync.
  void PhonePut(const std::string& name, const std::string& text) const {
    folder.Put("phone/" + std::string(kind.name) + "/" + name, text);
  }
  void PhoneDelete(const std::string& name) const {
    std::filesystem::remove(collection() + "/" + name);
  }
  void PhoneRename(const std::string& from, const std::string& to) const {
    std::filesystem::rename(collection() + "/" + from, collection() + "/" + to);
  }
  // Texts by file name.
  std::map<std::string, std::string> PhoneFiles() const {
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(collection())) {
      const std::string name = entry.path().filename().string();
      if (name.ends_with(kind.extension) && !name.starts_with('.')) {
        files[name] = folder.Get("phone/" + std::string(kind.name) + "/" + name).value_or("");
      }
    }
    return files;
  }

  // Contents of a side, those that occur twice twice.
  std::multiset<std::string> PcContents() {
    std::multiset<std::string> all;
    for (const auto& [id, content] : PcItems()) all.insert(content);
    return all;
  }
  std::multiset<std::string> PhoneContents(bool core = true) const {
    std::multiset<std::string> all;
    for (const auto& [name, text] : PhoneFiles()) all.insert(Content(text, core, kind));
    return all;
  }
  std::vector<std::string> ConflictTexts() const {
    std::vector<std::string> texts;
    for (const std::string& name : folder.Names()) {
      if (name.starts_with("profile/conflicts/")) texts.push_back(*folder.Get(name));
    }
    return texts;
  }

  // Everything on disk as it was at `Keep`.
  void Keep() { CopyTree(folder.path(), kept.path()); }
  void Restore() { CopyTree(kept.path(), folder.path()); }

 private:
  static void CopyTree(const std::string& from, const std::string& to) {
    namespace fs = std::filesystem;
    for (const auto& entry : fs::directory_iterator(to)) fs::remove_all(entry.path());
    fs::copy(from, to, fs::copy_options::recursive);
    for (const auto& entry : fs::recursive_directory_iterator(from)) {
      if (!entry.is_regular_file()) continue;
      fs::last_write_time(to / fs::relative(entry.path(), from), entry.last_write_time());
    }
  }

  // In memory where there is such a folder: a sync waits for the disk many times.
  ScopedEnvironment inMemory_{
      "TMPDIR", std::filesystem::exists("/dev/shm") ? "/dev/shm" : std::getenv("TMPDIR")};

 public:
  TempFolder folder;
  TempFolder kept;
  FakeClock clock{1'700'000'000};
  FixedZone zone;
  SilentLog log;
  ScopedService<Clock> useClock{clock};
  ScopedService<TimeZone> useZone{zone};
  ScopedService<DebugLog> useLog{log};
};

}  // namespace qv::test

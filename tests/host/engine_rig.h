// A profile and a phone folder with the whole stack behind them, and both sides' users.
#pragma once

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/engine/sync.h"
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

// The card without identifier and time; with `core` also without what the PC cannot hold.
inline std::string Content(std::string_view text, bool core) {
  std::optional<Contact> contact = ParseVCard(text);
  if (!contact) return "unreadable: " + std::string(text);
  contact->fields.objUid.clear();
  contact->fields.objModified = 0.0;
  if (core) {
    contact->fields.extras.clear();
    contact->hidden.clear();
  }
  return WriteVCard(*contact);
}

class Rig {
  static ComPtr<IItemCommon> Item(const std::string& text) {
    return MakeContactItem(*ParseVCard(text));
  }
  template <class Body>
  auto Pc(Body&& body) {
    Profile profile(profileFolder());
    OutlookManager pc;
    if (!pc.initialize(u"")) throw std::runtime_error(pc.lastError());
    return body(pc, pc.DefaultFolder(olContact));
  }

 public:
  Rig() {
    Profile::Create(profileFolder());
    std::filesystem::create_directories(phoneFolder() + "/contacts");
  }

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
    return RunSync(profile, phoneFolder(), {}, options, progress);
  }
  std::vector<PendingChanges> Status() {
    Profile profile(profileFolder());
    return ReadStatus(profile);
  }

  // The PC side's own user.
  std::u16string PcAdd(const std::string& text) {
    return Pc([&](OutlookManager& pc, const std::u16string& contacts) {
      std::u16string id;
      Check(pc.CreateItem(olContact, contacts, Item(text), id));
      return id;
    });
  }
  void PcEdit(const std::u16string& id, const std::string& text) {
    clock.Advance(10);
    Pc([&](OutlookManager& pc, const std::u16string&) {
      return Check(pc.UpdateItem(olContact, id, Item(text)));
    });
  }
  void PcDelete(const std::u16string& id) {
    Pc([&](OutlookManager& pc, const std::u16string&) {
      return Check(pc.DeleteItem(olContact, id));
    });
  }
  // Contents by identifier, as the PC's user sees them.
  std::map<std::u16string, std::string> PcItems() {
    return Pc([&](OutlookManager& pc, const std::u16string& contacts) {
      std::map<std::u16string, std::string> items;
      std::vector<std::u16string> ids;
      Check(pc.GetEntryIds(olContact, contacts, ids));
      for (const std::u16string& id : ids) {
        ComPtr<IItemCommon> item;
        Check(pc.GetItem(olContact, id, item));
        items[id] = Content(WriteVCard(*ContactOf(item.get())), true);
      }
      return items;
    });
  }
  std::u16string PcIdOf(const std::string& text) {
    for (const auto& [id, content] : PcItems()) {
      if (content == Content(text, true)) return id;
    }
    return {};
  }

  // The phone's user. A written file is never as old as the last sync.
  void PhonePut(const std::string& name, const std::string& text) const {
    folder.Put("phone/contacts/" + name, text);
  }
  void PhoneDelete(const std::string& name) const {
    std::filesystem::remove(phoneFolder() + "/contacts/" + name);
  }
  void PhoneRename(const std::string& from, const std::string& to) const {
    std::filesystem::rename(phoneFolder() + "/contacts/" + from, phoneFolder() + "/contacts/" + to);
  }
  // Texts by file name.
  std::map<std::string, std::string> PhoneFiles() const {
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(phoneFolder() + "/contacts")) {
      const std::string name = entry.path().filename().string();
      if (name.ends_with(".vcf") && !name.starts_with('.')) {
        files[name] = folder.Get("phone/contacts/" + name).value_or("");
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
    for (const auto& [name, text] : PhoneFiles()) all.insert(Content(text, core));
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

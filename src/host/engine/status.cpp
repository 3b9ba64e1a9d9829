// What changed on either side since the last sync, without changing anything.
#include "host/engine/engine_record.h"
#include "host/engine/links.h"
#include "host/engine/phone_id.h"
#include "host/engine/survey.h"
#include "host/engine/sync.h"
#include "stores/bookmark/favorites_root.h"

namespace qv {
namespace {

void CountPc(const Inventory& sides, const ItemLink& link, SideCounts& counts) {
  const bool known = link.record >= 0;
  if (link.pc < 0 || At(sides.pc, link.pc).change == PcChange::Gone) {
    counts.deleted += known;
    return;
  }
  const PcChange change = At(sides.pc, link.pc).change;
  if (change == PcChange::Filtered) return;
  counts.added += !known;
  counts.replaced += known && change != PcChange::Same;
}

void CountPhone(const Inventory& sides, const ItemLink& link, SideCounts& counts) {
  if (link.phone < 0) {
    counts.deleted += link.record >= 0;
    return;
  }
  const PhoneChange change = At(sides.phone, link.phone).change;
  counts.added += change == PhoneChange::New;
  counts.replaced += change == PhoneChange::Changed;
}

// The phone as the record has it, where it cannot be looked at.
std::vector<PhoneItem> AsRecorded(const std::vector<RecordRow>& rows) {
  std::vector<PhoneItem> items;
  items.reserve(rows.size());
  for (int32_t i = 0; i < IndexOf(rows); ++i) {
    PhoneItem item;
    item.record = i;
    item.change = PhoneChange::Same;
    items.push_back(std::move(item));
  }
  return items;
}

PendingChanges Pending(PcStore& pc, EngineRecord& record, const KnownPhone& phone,
                       bool withFolders) {
  const StoreKind& kind = pc.kind();
  PendingChanges pending;
  pending.store = kind.name;
  pending.phoneFolder = phone.path;
  pending.phoneId = phone.id;
  const StoreState state = record.State(phone.id, kind.name);
  pending.lastSync = state.lastSync;
  Inventory sides;
  sides.records = record.Rows(phone.id, kind.name);
  pending.pairedItems = static_cast<int64_t>(sides.records.size());
  pc.ReadItems(sides.pc, sides.pcCount);
  pending.pcItems = sides.pcCount;
  PhoneFolder folder(phone.path + "/" + std::string(kind.name), kind.extension, withFolders);
  std::vector<FolderEntry> files;
  if (!phone.path.empty() && IsPhoneAt(phone.path, phone.id)) {
    const std::error_code error = folder.List(files);
    // A folder that no sync has made yet holds nothing.
    pending.phoneReachable =
        !error || (sides.records.empty() && error == std::errc::no_such_file_or_directory);
  }
  if (pending.phoneReachable) {
    std::vector<ItemFailure> failed;
    sides.phone = ScanPhone(folder, files, sides.records, {false, state.endedNs, kind.isTree},
                            PlainLook(pc), failed);
  } else {
    sides.phone = AsRecorded(sides.records);
  }
  LinkByRecord(sides);
  for (const ItemLink& link : sides.links) {
    CountPc(sides, link, pending.pc);
    CountPhone(sides, link, pending.phone);
    pending.leavePhone +=
        link.record >= 0 && link.pc >= 0 && At(sides.pc, link.pc).change == PcChange::Filtered;
  }
  if (state.IsElsewhere(pc.source())) {
    pending.note = pc.MovedFrom(state.source) + "; the next sync compares both sides anew";
    pending.pc.deleted = 0;
  }
  return pending;
}

}  // namespace

std::vector<PendingChanges> ReadStatus(Profile& profile) {
  EngineRecord record(EngineRecord::PathFor(profile.EngineDatabase(), true));
  PcSide side(profile);
  std::vector<KnownPhone> phones = record.Phones();
  // Before the first sync: what the PC side holds.
  if (phones.empty()) phones.push_back({});
  std::vector<PendingChanges> all;
  for (const KnownPhone& phone : phones) {
    side.SetTargetKey(phone.id);
    for (const StoreKind* kind : profile.EnabledKinds()) {
      const PcTransaction look(side);  // what the stores note on the way is thrown away
      PcStore pc(side, profile, *kind);
      all.push_back(Pending(pc, record, phone, kind->isTree && DeviceTakesFolders(profile.bag())));
    }
  }
  return all;
}

}  // namespace qv

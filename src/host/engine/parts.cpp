#include "host/engine/parts.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "host/engine/lacking.h"
#include "syncdb/shared_tables.h"

namespace qv {
namespace {

using Ids = std::unordered_set<std::u16string>;

// The items that a phone has sent more of than the PC can hold.
void AddItemsOf(const SyncSession& phone, Ids& items) {
  const Bstr column(u"datastore_id");
  for (const std::u16string_view table : {kExtraTable, kHiddenTable}) {
    QueryRows rows;
    Check(rows.Query(phone, Concat({u"SELECT DISTINCT datastore_id FROM ", table,
                                    StoreKey(phone, DatastoreType::Outlook)})));
    while (rows.Next()) items.insert(rows.Text(column));
  }
}

}  // namespace

void Parts::Find(const SyncPlan& plan) {
  for (const PlanStep& step : plan.steps) {
    if (step.act == Act::PcAdd || step.act == Act::PcReplace) OfPhone(step);
  }
  OfOtherPhones(plan);
}

void Parts::OfPhone(const PlanStep& step) {
  const ItemLink& link = At(sides_.links, step.link);
  const PhoneItem& item = At(sides_.phone, link.phone);
  if (item.pcLacks.empty()) return;
  if (step.act == Act::PcReplace) {
    try {
      const PcText before = pc_.Get(At(sides_.pc, link.pc).id, false);
      if (WhatPcLacks(*before.item) == item.pcLacks) return;
    } catch (const ItemError&) {
      // The run will tell.
    }
  }
  found_.push_back({step, {"pc", item.name, item.pcLacks + "; the phone keeps all of it"}});
}

void Parts::OfOtherPhones(const SyncPlan& plan) {
  if (pc_.kind().isTree ||
      std::ranges::find(plan.steps, Act::PhoneAdd, &PlanStep::act) == plan.steps.end()) {
    return;
  }
  std::unordered_map<std::u16string, std::string> owners;  // by item: the phone's folder
  for (const KnownPhone& other : record_.Phones()) {
    if (other.id == phoneId_) continue;
    Ids items;
    AddItemsOf(pc_.SessionOf(other.id), items);
    for (const std::u16string& id : items) {
      owners.try_emplace(id, other.path.empty() ? "another phone" : other.path);
    }
  }
  if (owners.empty()) return;
  for (const PlanStep& step : plan.steps) {
    if (step.act != Act::PhoneAdd) continue;
    const auto owner = owners.find(At(sides_.pc, At(sides_.links, step.link).pc).id);
    if (owner == owners.end()) continue;
    found_.push_back(
        {step,
         {"phone", ItemOf(step, sides_),
          "what it has beyond the PC's own fields stays on " + owner->second + ", which sent it"}});
  }
}

void Parts::Tell(StoreReport& report, bool isPlan) {
  if (found_.empty()) return;
  std::unordered_map<std::u16string, RecordRow> rows;
  std::unordered_map<std::string, const RecordRow*> byName;
  if (!isPlan) {
    for (RecordRow& row : record_.Rows(phoneId_, pc_.kind().name)) {
      const std::u16string id = row.sourceUid;
      const RecordRow& kept = rows.insert_or_assign(id, std::move(row)).first->second;
      byName[kept.name] = &kept;
    }
  }
  for (Found& found : found_) {
    const ItemLink& link = At(sides_.links, found.step.link);
    if (!isPlan && found.step.act == Act::PhoneAdd) {
      const auto row = rows.find(At(sides_.pc, link.pc).id);
      if (row == rows.end()) continue;
      found.note.item = row->second.name;
    } else if (!isPlan) {
      const PhoneItem& item = At(sides_.phone, link.phone);
      const auto row = byName.find(item.name);
      if (row == byName.end() || row->second->hash != item.hash) continue;
    }
    found.note.name = names_.Of(link);
    report.parts.push_back(std::move(found.note));
  }
}

}  // namespace qv

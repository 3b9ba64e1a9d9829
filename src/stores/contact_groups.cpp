#include "stores/contact_groups.h"

#include "items/item_objects.h"
#include "items/uid_text.h"
#include "support/vobject/group_lines.h"
#include "syncdb/group_table.h"

namespace qv {

void TakeGroupNames(std::string& card, IUnknown* item, const SyncSession& session) {
  const Contact* contact = ContactOf(item);
  if (contact == nullptr) return;
  const GroupTable groups(session, QuoteRule::Doubled);
  AddGroupUids(card, contact->groupNames,
               [&](std::u16string_view name) { return DecodeUid(groups.UidOf(name)); });
}

void GiveGroupNames(std::string& card, IUnknown* item, const SyncSession& session) {
  const Contact* contact = ContactOf(item);
  if (contact == nullptr) return;
  const GroupTable groups(session, QuoteRule::Doubled);
  PutGroupNames(card, contact->groupUids,
                [&](std::u16string_view uid) { return groups.NameOf(uid); });
}

}  // namespace qv

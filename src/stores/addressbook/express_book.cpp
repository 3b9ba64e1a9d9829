#include "stores/addressbook/express_book.h"

#include "items/item_objects.h"
#include "platform/com/status_error.h"
#include "support/user_flags.h"

namespace qv {
namespace {

ComPtr<IItemCommon> ItemOf(const ContactContent& content) {
  Contact contact;
  static_cast<ContactContent&>(contact) = content;
  return MakeContactItem(std::move(contact));
}

}  // namespace

void ExpressBook::Open() {
  if (!OutlookExpManager::isOutlookInstalled() || !OutlookExpManager::isOutlookValid()) {
    throw StatusError(E_FAIL);
  }
  if (!manager_.isInitialized() && !manager_.initialize()) throw StatusError(E_FAIL);
}

bool ExpressBook::List(std::vector<Entry>& entries) {
  entries.clear();
  std::vector<OLEXPMetaData> datas;
  Check(manager_.GetMetaDatas(datas, 0));
  for (OLEXPMetaData& data : datas) {
    if (IsSyncStopped()) throw StatusError(E_FAIL);
    entries.push_back({std::move(data.entryId), data.modified});
  }
  return true;
}

bool ExpressBook::Find(const std::u16string& id, Entry& entry) {
  OLEXPMetaData data;
  if (Failed(manager_.GetMetaData(id, data))) return false;
  entry = {id, data.modified};
  return true;
}

std::u16string ExpressBook::Create(const Contact& contact, ContactContent& held) {
  std::u16string id;
  Check(manager_.CreateItem(id, ItemOf(contact)));
  if (!Read(id, held)) throw StatusError(E_FAIL);
  return id;
}

void ExpressBook::Update(const std::u16string& id, const Contact& contact, const ContactContent&,
                         ContactContent& held) {
  Check(manager_.UpdateItem(id, ItemOf(contact)));
  if (!Read(id, held)) throw StatusError(E_FAIL);
}

bool ExpressBook::Read(const std::u16string& id, ContactContent& content) {
  ComPtr<IItemCommon> item;
  if (Failed(manager_.GetItem(id, item))) return false;
  content = static_cast<const ContactContent&>(*ContactOf(item.get()));
  return true;
}

bool ExpressBook::ReadKeyValues(const std::u16string& id, ContactContent& content) {
  return Read(id, content);
}

bool ExpressBook::Delete(const std::u16string& id) {
  Entry entry;
  if (!Find(id, entry)) return false;
  Check(manager_.DeleteItem(id));
  return true;
}

void ExpressBook::DeleteAll() {
  std::vector<std::u16string> ids;
  Check(manager_.GetEntryIds(ids));
  for (const std::u16string& id : ids) Check(manager_.DeleteItem(id));
}

ContactContent ExpressBook::Preview(const ContactContent& content) const {
  return EntryOf(content);
}

}  // namespace qv

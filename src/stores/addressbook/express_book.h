// The book of Outlook Express as an address book of the family.
#pragma once

#include "pim/outlook_exp_manager.h"
#include "stores/addressbook/address_book.h"

namespace qv {

class ExpressBook final : public AddressBook {
 public:
  void Open() override;
  bool List(std::vector<Entry>& entries) override;
  bool Find(const std::u16string& id, Entry& entry) override;
  std::u16string Create(const Contact& contact, ContactContent& held) override;
  void Update(const std::u16string& id, const Contact& contact, const ContactContent& own,
              ContactContent& held) override;
  bool Read(const std::u16string& id, ContactContent& content) override;
  bool ReadKeyValues(const std::u16string& id, ContactContent& content) override;
  bool Delete(const std::u16string& id) override;
  void DeleteAll() override;
  bool Takes(const ContactContent&) const override { return true; }
  ContactContent Preview(const ContactContent& content) const override;

 private:
  OutlookExpManager manager_;
};

}  // namespace qv

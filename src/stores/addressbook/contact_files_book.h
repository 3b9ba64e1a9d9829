// The user's contacts folder as an address book: a `.contact` file an entry, reached through the
// platform's contact objects. Entries go by the GUIDs of their files.
#pragma once

#include <string>
#include <unordered_map>

#include "platform/contacts/contact_folder.h"
#include "stores/addressbook/address_book.h"
#include "stores/addressbook/contact_pictures.h"

namespace qv {

class ContactFilesBook final : public AddressBook {
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
  void Forget(const std::u16string& id) override;
  void DeleteAll() override;
  // One of the three names, which the file is called by.
  bool Takes(const ContactContent& content) const override;
  ContactContent Preview(const ContactContent& content) const override;
  void Settle() override;

 private:
  IContactManager& Manager() const;
  IContactFolder& Folder() const;
  // Null for one that is not there.
  ComPtr<IContact> Load(const std::u16string& id) const;
  std::u16string Save(IContact& contact, const std::u16string& name);
  void Rename(IContact& contact, const std::u16string& name);
  // Gives `take` one name after the other, "Ann.contact", "Ann(1).contact" and on, until it answers
  // something else than that the name is taken.
  template <class Take>
  SystemError UnderFreeName(const std::u16string& name, const Take& take);
  void DropPicture(const std::u16string& url);

  ComPtr<IContactManager> manager_;
  std::u16string folder_;
  ContactPictures pictures_;
  std::unordered_map<std::u16string, int64_t> nextNumbers_;  // by name: of those tried before
};

}  // namespace qv

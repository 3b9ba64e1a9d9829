// One address book, by the identifiers that its entries have there: what a store of the family
// stands on.
//
// Operations throw StatusError. Times are local wall-clock time in whole seconds, 0.0 for none.
#pragma once

#include <string>
#include <vector>

#include "items/contact.h"

namespace qv {

class AddressBook {
 public:
  struct Entry {
    std::u16string id;
    DATE modified = 0.0;
    // It is there and cannot be read now: nobody may take it for gone, or for changed.
    bool isReadable = true;
  };

  virtual ~AddressBook() = default;

  virtual void Open() = 0;
  // Everything that is there, in the book's order. False where there may be more that it cannot
  // see now: nothing counts as gone then.
  virtual bool List(std::vector<Entry>& entries) = 0;
  // False for an entry that is not there.
  virtual bool Find(const std::u16string& id, Entry& entry) = 0;

  // What the book has of the contact is in `held` then, and comes back with `Read`. `own` is what
  // was written for this phone and is no part of the entry as it is read.
  virtual std::u16string Create(const Contact& contact, ContactContent& held) = 0;
  virtual void Update(const std::u16string& id, const Contact& contact, const ContactContent& own,
                      ContactContent& held) = 0;
  // The content; false for an entry that is not there.
  virtual bool Read(const std::u16string& id, ContactContent& content) = 0;
  // Names, numbers and mail addresses at least; nothing is written on the way.
  virtual bool ReadKeyValues(const std::u16string& id, ContactContent& content) = 0;
  // False for an entry that was gone already.
  virtual bool Delete(const std::u16string& id) = 0;
  // What was done is on disk: one wait for a group.
  virtual void Settle() {}
  // What the book keeps beside an entry that has gone.
  virtual void Forget(const std::u16string& id) { static_cast<void>(id); }
  virtual void DeleteAll() = 0;
  // The entry can be made: a book of files needs a name for it.
  virtual bool Takes(const ContactContent& content) const = 0;
  // The names, numbers and mail addresses that would come back of a new entry.
  virtual ContactContent Preview(const ContactContent& content) const = 0;
};

}  // namespace qv

// The address-book family: vCards onto the entries of one book, which have small permanent numbers
// as identifiers.
//
// Each operation is a fixed sequence of steps; steps done before a failure stay done. A member of
// the family is a row of traits and the book that it stands on. There are no folders: the parent is
// always "/".
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "items/converters.h"
#include "stores/addressbook/address_book_traits.h"
#include "stores/key_field_list.h"
#include "syncdb/side_tables.h"

namespace qv {

class AddressBookStore : public StoreBase {
 protected:
  AddressBookStore(const AddressBookTraits& traits, std::unique_ptr<AddressBook> book);

 private:
  HRESULT OnCheckBag() final;
  HRESULT OnInitialize() final;
  ComPtr<IItemCommon> OnParse(const IncomingText& text) final;
  HRESULT OnAdd(const IncomingText& text, std::u16string& sourceUid) final;
  HRESULT OnReplace(const std::u16string& sourceUid, const IncomingText& text) final;
  HRESULT OnDelete(const std::u16string& sourceUid, bool softDelete) final;
  HRESULT OnGet(const std::u16string& sourceUid, bool updateField, OutgoingItem& out) final;
  HRESULT OnGetAllUid(std::vector<std::u16string>& uids) final;
  HRESULT OnDeleteAll() final;
  HRESULT OnPrepareSlowSync() final;
  HRESULT OnProcessDuplication(const IncomingText& text, DuplicateAnswer& answer) final;
  HRESULT OnProcessConflict(const IncomingText& text, const std::u16string& sourceUid,
                            RESV_CONFLTLASTMODIFIED& outcome) final;
  HRESULT OnSentCommand(SENTCMD_TYPE command, const std::u16string& sourceUid,
                        std::u16string_view parent, bool isFolder) final;
  HRESULT OnGetParent(const std::u16string& sourceUid, std::u16string& parent) final;
  HRESULT OnStatusInitialize() final;
  HRESULT OnBackupTree(ComPtr<IStatusDBItemTree>& root) final;
  HRESULT OnCurrentTree(ComPtr<IStatusDBItemTree>& root) final;
  HRESULT OnDeleteAllStatus() final;
  HRESULT OnUpdateStatus(STATUSDB_UPDATECMD command, const StatusRow& row) final;

  // The book's identifier of a number; throws StatusError(E_FAIL) for a number without one.
  std::u16string EntryOf(const std::u16string& sourceUid);
  // The number of an entry; one without a row gets a row.
  std::u16string IdOf(const AddressBook::Entry& entry);
  HRESULT WriteStatus(STATUSDB_UPDATECMD command, const std::u16string& sourceUid,
                      const std::u16string& entry);
  HRESULT WriteSideRows(const std::u16string& sourceUid, Contact& contact,
                        const ContactContent& held, bool replace);
  HRESULT DeleteRows(const std::u16string& sourceUid);
  std::u16string KeyText(const ContactContent& content) const;

  const AddressBookTraits& traits_;
  std::unique_ptr<AddressBook> book_;
  ComPtr<IConverter> converter_;
  NumberMap map_{session(), *traits_.map};
  SideTables sides_{session(), traits_.rows};
  StatusTable status_{session(), *traits_.status};
  KeyFieldList keyFields_{MatchRule::UidThenKeyBothUids};
  bool statusReady_ = false;
};

}  // namespace qv

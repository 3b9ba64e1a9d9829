// The address book of Outlook Express: one list of entries in a SQLite file of its own, with only
// the fields that such a book has.
//
// Results as those of OutlookManager: an `int` is a truth value, an HRESULT is negative on failure,
// E_FAIL for an entry that is not there. An entry identifier is "WAB:" and 32 upper-case
// hexadecimal digits. Each change is on disk when the call returns, or with the group that is open.
//
// An entry has: formatted, family, given and middle name, nickname; any number of mail addresses,
// without kinds; one number each at home and at work, of a fax at home and at work, of a mobile
// telephone and a pager; one address and one web address each at home and at work; company,
// department and job title; birthday and anniversary; a note.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "items/contact.h"
#include "items/item_interfaces.h"
#include "platform/com/com_ptr.h"

namespace qv {

// What is told of one entry.
struct OLEXPMetaData {
  std::u16string entryId;
  DATE modified = 0.0;  // local wall-clock time, whole seconds
};

class OutlookExpManager;

// Where the book is, and whether the program is installed and usable; set before `initialize`.
struct OutlookExpSettings {
  std::string file;  // native path; made when missing
  bool installed = true;
  bool valid = true;
  // As that of OutlookSettings.
  std::function<void(OutlookExpManager&)> opened = {};
};
OutlookExpSettings& TheOutlookExpSettings();

// What the book has of a contact.
ContactContent EntryOf(const ContactContent& contact);

class OutlookExpManager {
 public:
  OutlookExpManager();
  OutlookExpManager(const OutlookExpManager&) = delete;
  OutlookExpManager& operator=(const OutlookExpManager&) = delete;
  ~OutlookExpManager();

  static int isOutlookInstalled();
  static int isOutlookValid();

  int isInitialized() const;
  // 0 when the file cannot be opened: `lastError` says why.
  int initialize();

  HRESULT CreateItem(std::u16string& entryId, const ComPtr<IItemCommon>& item);
  // An entry whose content is equal already is left as it is, its time too.
  HRESULT UpdateItem(const std::u16string& entryId, const ComPtr<IItemCommon>& item);
  HRESULT DeleteItem(const std::u16string& entryId);
  // A new item with what the book has of it.
  HRESULT GetItem(const std::u16string& entryId, ComPtr<IItemCommon>& item);
  // These two are in the order of creation.
  HRESULT GetEntryIds(std::vector<std::u16string>& entryIds);
  HRESULT GetMetaDatas(std::vector<OLEXPMetaData>& datas, int flag);
  HRESULT GetMetaData(const std::u16string& entryId, OLEXPMetaData& data);

  // For the program that hosts the stores, as those of OutlookManager.
  HRESULT Begin();
  HRESULT Commit();
  HRESULT Rollback();
  // Why the last call failed, for a person; UTF-8.
  const std::string& lastError() const { return error_; }

 private:
  struct State;
  // Runs an operation and keeps the reason of its failure.
  template <class Body>
  HRESULT Run(Body&& body);

  std::unique_ptr<State> state_;
  std::string error_;
};

}  // namespace qv

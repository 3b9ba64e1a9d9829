// The PC side's personal data: folders of contacts (and, later, appointments, notes and tasks) in
// one SQLite file per profile.
//
// Results: an `int` is a truth value, 0 or 1; an HRESULT is negative on failure, E_FAIL for an
// identifier that is not there. Out vectors are cleared and filled, in the order of creation.
// Entry identifiers are 32 upper-case hexadecimal digits (so they never hold the letters "sub").
// Each change is on disk when the call returns. An item keeps exactly the content fields of its
// kind: no extras, no hidden labels, no identifier of the text.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "items/item_interfaces.h"
#include "platform/com/com_ptr.h"

namespace qv {

enum OlObjectClass : int32_t {
  olAppointment = 0x1A,
  olContact = 0x28,
  olNote = 0x2C,
  olTask = 0x30,
};

// What a folder listing tells of one item.
struct OLMetaData {
  OLMetaData() = default;
  OLMetaData(std::u16string entryId, DATE modified, std::u16string keyText, std::u16string md5);

  std::u16string entryId;
  DATE modified = 0.0;     // local wall-clock time, whole seconds
  std::u16string keyText;  // empty unless asked for
  std::u16string md5;      // over the content alone, lower-case hexadecimal
};

// The same of one recurrence exception.
struct OLSubMetaData {
  std::u16string id;        // "<series>sub<n>"
  std::u16string parentId;  // the series
  DATE modified = 0.0;
  DATE originalDate = 0.0;  // the occurrence it replaces
  bool isDeleted = false;
  std::u16string md5;
};

// Where profiles lie, and whether the program is installed and of a usable version; set before
// `initialize`.
struct OutlookSettings {
  std::string folder;     // native path; made when missing
  bool installed = true;  // what isOutlookInstalled answers
  bool valid = true;      // what isOutlookValid answers
};
OutlookSettings& TheOutlookSettings();

class OutlookManager {
 public:
  OutlookManager();
  OutlookManager(const OutlookManager&) = delete;
  OutlookManager& operator=(const OutlookManager&) = delete;
  ~OutlookManager();

  static int isOutlookInstalled();
  static int isOutlookValid();

  int isInitialized() const;
  // Opens (and makes, with its default folders, when missing) the file of a profile. An empty name
  // is the profile "Outlook". 0 when it cannot be opened: `lastError` says why.
  int initialize(const std::u16string& profileName);

  int IsFolderExist(OlObjectClass kind, const std::u16string& folderId, int* exists);
  HRESULT CreateItem(OlObjectClass kind, const std::u16string& folderId,
                     const ComPtr<IItemCommon>& item, std::u16string& entryId);
  // An item whose content is equal already is left as it is, its time too: nobody changed it.
  HRESULT UpdateItem(OlObjectClass kind, const std::u16string& entryId,
                     const ComPtr<IItemCommon>& item);
  HRESULT DeleteItem(OlObjectClass kind, const std::u16string& entryId);
  // A new item with content, `SourceUid`, `ParentUid` (empty), `Modified` in UTC, and `Md5`.
  HRESULT GetItem(OlObjectClass kind, const std::u16string& entryId, ComPtr<IItemCommon>& item);
  HRESULT IsExistItem(OlObjectClass kind, const std::u16string& entryId, int* exists);
  HRESULT GetMetaData(OlObjectClass kind, const std::u16string& entryId, OLMetaData& data);
  // `withKeyText` 1 also gives the key texts.
  HRESULT GetMetaDatas(OlObjectClass kind, const std::u16string& folderId,
                       std::vector<OLMetaData>& datas, int withKeyText);
  HRESULT GetEntryIds(OlObjectClass kind, const std::u16string& folderId,
                      std::vector<std::u16string>& entryIds);

  // For the PC side's own user (the command line): the folder of a kind that `initialize` made,
  // and display names beside identifiers. Empty when there is none.
  std::u16string DefaultFolder(OlObjectClass kind);
  struct ListedItem {
    std::u16string entryId;
    std::u16string name;
    DATE modified = 0.0;  // local wall-clock time
  };
  HRESULT ListItems(OlObjectClass kind, const std::u16string& folderId,
                    std::vector<ListedItem>& items);
  // Why the last call failed, for a person; UTF-8.
  const std::string& lastError() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace qv

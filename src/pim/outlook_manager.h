// The PC side's personal data: folders of contacts, appointments, tasks and notes in one SQLite
// file per profile.
//
// Results: an `int` is a truth value, 0 or 1; an HRESULT is negative on failure, E_FAIL for an
// identifier that is not there. Out vectors are cleared and filled, in the order of creation.
// Entry identifiers are 32 upper-case hexadecimal digits (so they never hold the letters "sub").
// Each change is on disk when the call returns, or with the group that is open. An item keeps
// exactly the content fields of its kind: no extras, no hidden labels, no identifier of the text.
//
// A changed occurrence of a series of appointments or tasks is a sub-item: an item of its own
// within the series, with a content and a time of its own and an identifier that extends the
// series'. It goes when its series goes. Deleting a sub-item deletes the occurrence: the series'
// content gets an entry of the kind kDeletedOccurrence, and the sub-item's record stays, marked as
// deleted.
//
// Other changes of a sub-item leave its series' time alone, and the series' theirs. By its time an
// item is known as changed, sent to the phone, and newer or older than the phone's: stamped along
// with a neighbour, an item that nobody touched would win over the phone's later edit of it. The
// stores bring the status rows of such neighbours up to date all the same, as for a PC side that
// does stamp them.
#pragma once

#include <functional>
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
  std::u16string id;        // "<series>sub<n>", n never used again
  std::u16string parentId;  // the series
  DATE modified = 0.0;      // local wall-clock time, whole seconds
  DATE originalDate = 0.0;  // the occurrence it replaces, local; 0.0 for one that says none
  bool isDeleted = false;   // the occurrence is deleted: there is no item any more
  std::u16string md5;
};

class OutlookManager;

// Where profiles lie, and whether the program is installed and of a usable version; set before
// `initialize`.
struct OutlookSettings {
  std::string folder;     // native path; made when missing
  bool installed = true;  // what isOutlookInstalled answers
  bool valid = true;      // what isOutlookValid answers
  // Told of each manager that has opened a profile, where it is set: so a host gets hold of the one
  // that the module's stores use, to group what they write. It must not throw.
  std::function<void(OutlookManager&)> opened = {};
};
OutlookSettings& TheOutlookSettings();

// Whether an identifier is that of a sub-item; no other test exists. And the series' part of it.
inline bool IsSubItemId(std::u16string_view id) {
  return id.find(u"sub") != id.npos;
}
inline std::u16string_view SeriesPartOf(std::u16string_view subItemId) {
  return subItemId.substr(0, subItemId.find(u"sub"));
}

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

  // Sub-items. The item's entry of the kind kReplacedOccurrence names its occurrence. E_FAIL for an
  // occurrence of which the series has another sub-item. `data` is filled anew.
  HRESULT CreateSubItem(OlObjectClass kind, const std::u16string& seriesId,
                        const ComPtr<IItemCommon>& item, OLSubMetaData& data);
  // `data.id` names the sub-item, the rest of `data` is filled. A sub-item that is deleted, or none
  // of this series, is E_FAIL. As UpdateItem for a content that is equal already.
  HRESULT UpdateSubItem(OlObjectClass kind, const std::u16string& seriesId,
                        const ComPtr<IItemCommon>& item, OLSubMetaData& data);
  // These two go by `data.id` alone.
  HRESULT DeleteSubItem(OlObjectClass kind, const OLSubMetaData& data);
  HRESULT GetSubItem(OlObjectClass kind, const OLSubMetaData& data, ComPtr<IItemCommon>& item);
  // The sub-items of one series, and of many, those that are deleted included: in the order of the
  // series and, within one, of creation. An unknown series has none.
  HRESULT GetSubMetaData(OlObjectClass kind, const std::u16string& seriesId,
                         std::vector<OLSubMetaData>& datas);
  HRESULT GetSubMetaDatas(OlObjectClass kind, const std::vector<std::u16string>& seriesIds,
                          std::vector<OLSubMetaData>& datas);
  // Announces a run of sub-item calls below this folder.
  void SetCacheParentItemsPtr(OlObjectClass kind, const std::u16string& folderId);
  bool IsCachedParentItemsPtr(OlObjectClass kind) const;

  // For the PC side's own user (the command line): the folder of a kind that `initialize` made,
  // and display names beside identifiers. Empty when there is none.
  std::u16string DefaultFolder(OlObjectClass kind);
  struct ListedItem {
    std::u16string entryId;
    std::u16string name;
    DATE modified = 0.0;  // local wall-clock time
  };
  // Sub-items stand behind their series.
  HRESULT ListItems(OlObjectClass kind, const std::u16string& folderId,
                    std::vector<ListedItem>& items);
  // For the program that hosts the stores; these never ask for it. What is written between Begin
  // and Commit waits for the disk once, when Commit returns, and goes altogether with Rollback.
  // Other processes read what was there before, and wait to write. A Begin within a group begins a
  // part of it: `Rollback` undoes the part alone, `Commit` keeps it with the whole. After a Commit
  // that has failed the group is still to be rolled back.
  HRESULT Begin();
  HRESULT Commit();
  HRESULT Rollback();
  // Why the last call failed, for a person; UTF-8.
  const std::string& lastError() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace qv

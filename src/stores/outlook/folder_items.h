// The items of one folder of the PC side, as the stores reach them.
//
// Everything is E_FAIL for an item that is not there. Other failures are the PC side's own.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "pim/outlook_manager.h"

namespace qv {

// What the PC side tells of an item that was written.
struct StoredItem {
  std::u16string id;
  DATE modified = 0.0;  // local time; 0.0 when it has to be asked for
  std::u16string md5 = {};
  std::u16string seriesId =
      {};  // of an exception: its series, which the PC side may stamp as changed
};

class FolderItems {
 public:
  FolderItems(OutlookManager& outlook, OlObjectClass kind, std::u16string folder)
      : outlook_(outlook), kind_(kind), folder_(std::move(folder)) {}
  FolderItems(const FolderItems&) = delete;
  FolderItems& operator=(const FolderItems&) = delete;
  virtual ~FolderItems() = default;

  virtual HRESULT Create(const ComPtr<IItemCommon>& item, StoredItem& stored);
  virtual HRESULT Update(const std::u16string& id, const ComPtr<IItemCommon>& item,
                         StoredItem& stored);
  // An item that is not there is no failure.
  virtual HRESULT Delete(const std::u16string& id, bool& existed);
  virtual HRESULT Read(const std::u16string& id, ComPtr<IItemCommon>& item);
  // When and to what the item was changed last.
  virtual HRESULT ReadTimes(const std::u16string& id, StoredItem& stored);
  // Everything that is an item of its own; `withKeyText` as for OutlookManager.
  virtual HRESULT List(std::vector<OLMetaData>& datas, int withKeyText);
  virtual HRESULT ListIds(std::vector<std::u16string>& ids);

  // A new session begins.
  virtual HRESULT BeginSession() { return S_OK; }
  // The exceptions that changed along with their series.
  virtual HRESULT ChangedExceptions(const std::u16string&, std::vector<OLSubMetaData>&) {
    return S_OK;
  }
  // The exception of the series that stands for the same occurrence as the incoming item.
  virtual HRESULT FindSameOccurrence(const std::u16string&, IItemCommon*,
                                     std::optional<std::u16string>&) {
    return S_OK;
  }

 protected:
  OutlookManager& outlook_;
  const OlObjectClass kind_;
  const std::u16string folder_;
};

}  // namespace qv

// The PC side of one kind, as its own user sees and edits it: nothing of a sync's state is touched.
//
// Failures of the PC side itself throw CommandError(Failed) with the reason.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/profile.h"
#include "pim/outlook_manager.h"

namespace qv {

class PcFolder {
 public:
  // Throws UsageError when the configured folder does not exist.
  PcFolder(const Profile& profile, const StoreKind& kind);

  std::vector<OutlookManager::ListedItem> List();
  // Every item, exceptions behind their series; null, with the reason, for one that cannot be read.
  using Take = std::function<void(const std::u16string& id, const ComPtr<IItemCommon>& item,
                                  const std::string& reason)>;
  void ForEach(const Take& take);
  int64_t Count();
  // Exceptions of series are items too, see outlook_manager.h. Null for an unknown identifier.
  ComPtr<IItemCommon> Get(const std::string& id);
  // Each change is on disk when the call returns. False for an unknown identifier.
  std::string Add(const ComPtr<IItemCommon>& item);
  // An exception of the series. Throws UsageError when the series has another of its occurrence.
  std::string AddException(const std::string& series, const ComPtr<IItemCommon>& item);
  // As AddException where the item is one.
  bool Replace(const std::string& id, const ComPtr<IItemCommon>& item);
  bool Delete(const std::string& id);

  const StoreKind& kind() const { return kind_; }

 private:
  HRESULT Read(const std::u16string& id, ComPtr<IItemCommon>& item);
  bool Exists(const std::u16string& id);
  std::vector<OLSubMetaData> ExceptionsOf(const std::u16string& series);
  void CheckStatus(HRESULT status, const std::string& what);
  void CheckStatus(HRESULT status, const std::string& what, const std::string& reason);
  // Throws UsageError where a failed status is owed to another exception of the item's occurrence.
  void CheckOccurrence(HRESULT status, const std::u16string& series, IItemCommon& item,
                       const std::u16string& ownId);

  const StoreKind& kind_;
  OutlookManager outlook_;
  std::u16string folder_;
};

}  // namespace qv

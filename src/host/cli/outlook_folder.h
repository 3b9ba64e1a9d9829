// The PC side of a kind that the PC profile keeps: contacts, appointments, tasks, notes.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/cli/pc_folder.h"
#include "host/profile.h"
#include "pim/outlook_manager.h"

namespace qv {

class OutlookFolder final : public PcFolder {
 public:
  // Throws UsageError when the configured folder does not exist.
  OutlookFolder(const Profile& profile, const StoreKind& kind);

  std::vector<Entry> List() override;
  int64_t Count() override;
  ComPtr<IItemCommon> Get(const std::string& id) override;
  std::string Add(const ComPtr<IItemCommon>& item) override;
  std::string AddException(const std::string& series, const ComPtr<IItemCommon>& item) override;
  bool Replace(const std::string& id, const ComPtr<IItemCommon>& item) override;
  bool Delete(const std::string& id) override;
  void Begin() override;
  void Settle() override;

  // Every item, exceptions behind their series; null, with the reason, for one that cannot be read.
  using Take = std::function<void(const std::u16string& id, const ComPtr<IItemCommon>& item,
                                  const std::string& reason)>;
  void ForEach(const Take& take);

 private:
  HRESULT Read(const std::u16string& id, ComPtr<IItemCommon>& item);
  bool Exists(const std::u16string& id);
  std::vector<OLSubMetaData> ExceptionsOf(const std::u16string& series);
  void CheckStatus(HRESULT status, const std::string& what);
  void CheckStatus(HRESULT status, const std::string& what, const std::string& reason);
  // Throws UsageError where a failed status is owed to another exception of the item's occurrence.
  void CheckOccurrence(HRESULT status, const std::u16string& series, IItemCommon& item,
                       const std::u16string& ownId);

  OutlookManager outlook_;
  std::u16string folder_;
};

}  // namespace qv

// The Outlook family: texts onto the items of one folder of the PC side.
//
// Each operation is a fixed sequence of steps; steps done before a failure stay done. A member of
// the family is a row of traits; whether its items recur decides on the component that stands for
// the folder, and whether it has a filter on another interface. There are no folders below the
// store's own: parents that are null or empty mean "/".
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "items/converters.h"
#include "stores/outlook/folder_items.h"
#include "stores/outlook/item_filter.h"
#include "stores/outlook/outlook_traits.h"
#include "syncdb/identifier_map.h"
#include "syncdb/purge.h"
#include "syncdb/side_tables.h"

namespace qv {

class OutlookStore : public StoreBase {
 protected:
  explicit OutlookStore(const OutlookTraits& traits);
  IUnknown* FindInterface(const IID& iid) noexcept final;

 private:
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
  HRESULT OnProcessOccurrence(const std::u16string& seriesId, OccurrenceAnswer& answer) final;
  HRESULT OnStatusInitialize() final;
  HRESULT OnBackupTree(ComPtr<IStatusDBItemTree>& root) final;
  HRESULT OnCurrentTree(ComPtr<IStatusDBItemTree>& root) final;
  HRESULT OnDeleteAllStatus() final;
  HRESULT OnUpdateStatus(STATUSDB_UPDATECMD command, const StatusRow& row) final;

  // These two throw StatusError(E_FAIL) when the store is not initialised.
  OutlookManager& Outlook() const;
  FolderItems& Items() const;
  bool OpenOutlook();
  std::unique_ptr<FolderItems> MakeFolderItems();
  ComPtr<IItemCommon> NewItem() const;
  // The status row of an item as the PC side has it now.
  HRESULT WriteStatus(STATUSDB_UPDATECMD command, StoredItem stored, std::u16string_view parent,
                      bool isFolder);
  // The PC side may have stamped a series as changed along with its exception, or the other way
  // round: neither is a change of the PC's user.
  HRESULT RefreshSeries(const StoredItem& exception, std::u16string_view parent,
                        std::u16string_view md5);
  HRESULT RefreshExceptions(const std::u16string& seriesId);
  HRESULT FindDuplicate(const ComPtr<IItemCommon>& item, std::u16string_view parent,
                        DuplicateAnswer& answer);
  HRESULT WriteSideRows(const std::u16string& sourceUid, IUnknown* item, bool replace);
  HRESULT ReadSideRows(const std::u16string& sourceUid, IUnknown* item);
  HRESULT DeleteSideRows(const std::u16string& sourceUid);

  const OutlookTraits& traits_;
  std::u16string folder_;
  std::unique_ptr<FolderItems> items_;  // null until the store is initialised
  std::unique_ptr<ItemFilter> filter_;  // null for a store without one
  ComPtr<IConverter> converter_;
  IdentifierMap map_{session()};
  SideTables sides_{session(), DatastoreType::Outlook};
  StatusTable status_{session(), *traits_.status};
  KeyFieldList keyFields_{traits_.match};
};

}  // namespace qv

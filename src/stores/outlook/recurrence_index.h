// A folder whose series have exceptions: each is an item of its own, with an identifier that holds
// "sub".
//
// What the PC side reports of them is read once in the life of the store; a session's rows in the
// exception table are filled then. A later session on the same store empties the table and nothing
// fills it again: identifiers are still listed then, and no longer found.
#pragma once

#include <unordered_map>

#include "stores/outlook/folder_items.h"
#include "syncdb/exception_table.h"
#include "syncdb/identifier_map.h"

namespace qv {

class RecurrenceIndex final : public FolderItems {
 public:
  // Session and map are the store's.
  RecurrenceIndex(OutlookManager& outlook, OlObjectClass kind, std::u16string folder,
                  const SyncSession& session, IdentifierMap& map)
      : FolderItems(outlook, kind, std::move(folder)), table_(session), map_(map) {}

  // An item with a link to a series is an exception of it. E_FAIL for an unknown series.
  HRESULT Create(const ComPtr<IItemCommon>& item, StoredItem& stored) override;
  HRESULT Update(const std::u16string& id, const ComPtr<IItemCommon>& item,
                 StoredItem& stored) override;
  // An exception without a row, or one that is deleted, counts as existing.
  HRESULT Delete(const std::u16string& id, bool& existed) override;
  // An exception comes with the uid of its series, where the map knows it.
  HRESULT Read(const std::u16string& id, ComPtr<IItemCommon>& item) override;
  // Of an exception without a content hash.
  HRESULT ReadTimes(const std::u16string& id, StoredItem& stored) override;
  // Exceptions stand behind all others and have no key text.
  HRESULT List(std::vector<OLMetaData>& datas, int withKeyText) override;
  HRESULT ListIds(std::vector<std::u16string>& ids) override;

  HRESULT BeginSession() override;
  HRESULT ChangedExceptions(const std::u16string& seriesId,
                            std::vector<OLSubMetaData>& datas) override;
  HRESULT FindSameOccurrence(const std::u16string& seriesId, IItemCommon* item,
                             std::optional<std::u16string>& match) override;

 private:
  // Once; `ids` are those of the folder.
  HRESULT Load(const std::vector<std::u16string>& ids);
  HRESULT FindSeries(const std::u16string& parentUid, std::u16string& seriesId);

  ExceptionTable table_;
  IdentifierMap& map_;
  bool loaded_ = false;
  std::vector<OLSubMetaData> exceptions_;
  // The first live exception of each occurrence, of the series that were asked for: their rows do
  // not change within a session.
  using ByOccurrence = std::unordered_map<DATE, std::u16string>;
  std::unordered_map<std::u16string, ByOccurrence> known_;
};

}  // namespace qv

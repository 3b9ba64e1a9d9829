// The map from local identifiers to the identifiers and times inside the texts.
//
// Works on the table `DataStoreMap`, which the Outlook stores share. Every operation returns the
// status of the statement that its comment names, and never throws. Identifiers, uids and keys go
// into the statements as they stand. Times are written as the item holds them.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "items/item.h"
#include "syncdb/sync_session.h"

namespace qv {

struct MapRow {
  std::u16string objUid;
  DATE objModified = 0.0;
};

struct NewMapRow {
  std::u16string id;
  MapRow row;
};

class IdentifierMap {
 public:
  // The session must outlive the map.
  explicit IdentifierMap(const SyncSession& session) : session_(session) {}

  // E_FAIL on an empty identifier or uid. A row that exists is updated first and inserted again all
  // the same; the result is the INSERT's.
  HRESULT Insert(std::u16string_view id, std::u16string_view objUid, DATE objModified) noexcept;
  // E_FAIL on an empty identifier or uid. A row that is missing is inserted first; the result is
  // the UPDATE's. The UPDATE's key has neither source URI nor type.
  HRESULT Update(std::u16string_view id, std::u16string_view objUid, DATE objModified) noexcept;
  HRESULT Delete(std::u16string_view id) noexcept;
  HRESULT DeleteAll() noexcept;
  HRESULT Exists(std::u16string_view id, bool& exists) noexcept;

  // Sets uid and time of the text on the item. An item without a row gets a new uid and, as time,
  // its `modified` or else the present, and its row is made.
  HRESULT ReadOrCreate(std::u16string_view id, ItemFields& item) noexcept;

  // The same without making a row: an item without one stays as it is.
  HRESULT Read(std::u16string_view id, ItemFields& item) noexcept;
  // The identifier of a row of the store with this uid; empty for none.
  HRESULT FindByUid(std::u16string_view objUid, std::u16string& id) noexcept;

  // All rows of the store; of two rows for one identifier the first counts. E_FAIL when stopped.
  using Rows = std::unordered_map<std::u16string, MapRow>;
  HRESULT Load(Rows& rows) noexcept;
  // All rows with one statement in one batch; nothing runs for none.
  HRESULT InsertBatch(const std::vector<NewMapRow>& rows) noexcept;

 private:
  HRESULT RunInsert(std::u16string_view id, std::u16string_view objUid, DATE objModified) noexcept;
  HRESULT RunUpdate(std::u16string_view id, std::u16string_view objUid, DATE objModified) noexcept;
  HRESULT ReadRow(std::u16string_view id, ItemFields& item, bool& found) noexcept;

  const SyncSession& session_;
};

}  // namespace qv

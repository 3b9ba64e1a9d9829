// What the PC side cannot hold of a text: whole properties (`ExtraDB`) and labels (`HiddenDB`).
//
// Every operation returns a status and never throws. A rewrite deletes the rows of the identifier
// and inserts the new ones, one statement each; a failure between them leaves the rows half
// written, and the next rewrite starts with the delete again. Rows come back in the order of
// insertion.
#pragma once

#include <string_view>
#include <vector>

#include "items/contact.h"
#include "syncdb/shared_tables.h"

namespace qv {

class SideTables {
 public:
  // The session must outlive the tables.
  SideTables(const SyncSession& session, DatastoreType type) : session_(session), type_(type) {}

  // E_FAIL on an empty identifier. Rows with an empty property are passed over.
  HRESULT WriteExtras(std::u16string_view id, const std::vector<ExtraProperty>& extras,
                      bool replace) noexcept;
  HRESULT WriteHidden(std::u16string_view id, const std::vector<HiddenLabel>& labels,
                      bool replace) noexcept;
  HRESULT DeleteExtras(std::u16string_view id) noexcept;
  HRESULT DeleteHidden(std::u16string_view id) noexcept;
  HRESULT DeleteAllExtras() noexcept;
  HRESULT DeleteAllHidden() noexcept;

  // Appends the rows to the item's extras.
  HRESULT ReadExtras(std::u16string_view id, std::vector<ExtraProperty>& extras) noexcept;
  // More than a read: gives back the labels whose values the contact still has, makes the address
  // that a label of the user's own stands for, and rewrites the rows to what was applied.
  HRESULT ReadHidden(std::u16string_view id, Contact& contact) noexcept;

 private:
  std::u16string InsertHead(std::u16string_view table, std::u16string_view columns,
                            std::u16string_view id) const;

  const SyncSession& session_;
  DatastoreType type_;
};

}  // namespace qv

// The changed occurrences of series, as rows of a profile's file beside its items.
//
// Transactions are the caller's. Failures throw SqliteError.
#pragma once

#include <functional>
#include <optional>

#include "pim/item_row.h"
#include "pim/outlook_manager.h"
#include "pim/statement_set.h"

namespace qv {

class SubItemTable {
 public:
  // Persisted.
  static const char kSchema[];

  explicit SubItemTable(SqliteDatabase& db);

  // A new number within the series: one above all that it ever had. 0 for no such series.
  int64_t NewNumber(OlObjectClass kind, std::u16string_view seriesId);
  // Whether a live sub-item other than `exceptId` stands for the occurrence.
  bool IsTaken(OlObjectClass kind, std::u16string_view seriesId, DATE original,
               std::u16string_view exceptId);

  // `row.entryId` and `row.seriesId` say where; the number is that of the identifier.
  void Insert(OlObjectClass kind, const SubItemRow& row, std::string_view content);
  void Update(OlObjectClass kind, const SubItemRow& row, std::string_view content);
  // The record stays, marked, with its content gone.
  void MarkDeleted(OlObjectClass kind, const SubItemRow& row);
  void DeleteAllOf(OlObjectClass kind, std::u16string_view seriesId);

  // Deleted ones included, which have no content. Without the name.
  std::optional<SubItemRow> Read(OlObjectClass kind, std::u16string_view id, std::string& content);
  // Those of one series, by number; and those of all series of a kind, series by series.
  void ListSeries(OlObjectClass kind, std::u16string_view seriesId,
                  const std::function<void(SubItemRow&&)>& take);
  void ListAll(OlObjectClass kind, const std::function<void(SubItemRow&&)>& take);

 private:
  StatementSet statements_;
};

}  // namespace qv

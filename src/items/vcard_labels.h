// The type words of a vCard: which kind they say, and what of them the kind does not say.
//
// Each family of properties has one table, used both ways. Of the kinds whose words all stand in a
// property the one with the most words is taken, of those with as many the first of the table.
#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "items/contact.h"
#include "support/vobject/dialect.h"
#include "support/vobject/encode.h"
#include "support/vobject/lines.h"

namespace qv {

struct TypeWord {
  std::string_view word;
  uint32_t bits;  // 0: known, but says nothing that is not said without it
};

struct KindRow {
  int32_t kind;
  std::string_view parameters;  // as written behind the property's name
  uint32_t bits;
};

struct LabelFamily {
  std::string_view property;           // written and, but for foreign spellings, read
  std::u16string_view hiddenProperty;  // of a hidden row
  std::u16string_view customProperty;  // of a hidden row with a label of the user's own
  std::span<const TypeWord> words;
  std::span<const KindRow> rows;
  int32_t plainKind;  // of a property without any known word

  const KindRow& RowOf(int32_t kind) const;
};

extern const LabelFamily kPhoneLabels;
extern const LabelFamily kMailLabels;
extern const LabelFamily kWebLabels;
extern const LabelFamily kAddressLabels;
extern const LabelFamily kOrganisationLabels;
extern const LabelFamily kMessengerLabels;

// What the parameters of one property say.
struct Label {
  int32_t kind = 0;
  // The kind's own words say less. `extended` is then the parameters as they stood, those of a
  // modern text in the old spelling, without those of transport, a group before the name in front
  // as GROUP=name.
  bool hidden = false;
  bool custom = false;  // one of the words is a label of the user's own
  std::u16string extended;
};

// `impliedKind` is a kind that the property's name or value says already, 0 for none.
Label ReadLabel(const LabelFamily& family, const Line& line, Dialect dialect,
                int32_t impliedKind = 0);

// Begins the line of a property: with the hidden label where it is one of this kind, else (also for
// a null label) with the kind's own words.
void BeginLabelled(LineWriter& writer, const LabelFamily& family, int32_t kind,
                   const HiddenLabel* label);

// Hidden rows that belong to values: each is given to the first value and kind that it fits, once.
class ValueLabels {
 public:
  ValueLabels(const LabelFamily& family, std::span<const HiddenLabel> rows);

  bool empty() const { return entries_.empty(); }
  // Null for a value without one.
  const HiddenLabel* Take(int32_t kind, std::u16string_view value);

 private:
  struct Entry {
    int32_t kind;
    const HiddenLabel* row;
    size_t taken = 0;  // of the run of equal entries that starts here
  };
  std::vector<Entry> entries_;  // by kind, value and order of the rows
};

// The label of a web address, which has no hidden rows, as an extra, and back.
ExtraProperty WebLabelExtra(const HiddenLabel& row);
HiddenLabel WebLabelOf(const ExtraProperty& extra);

// A text that is a list on the phone, as the old grammar has it. The item holds it as one text, in
// which a comma of a value looks like one between two: the extra tells them apart for as long as
// the text is the same.
ExtraProperty ListExtra(std::string_view name, std::u16string_view list);
// Null where the item's text is not the one that was read.
const std::u16string* FindList(std::span<const ExtraProperty> extras, std::string_view name,
                               std::u16string_view text);

// Is this row one of the family?
bool IsOf(const LabelFamily& family, const HiddenLabel& row);

}  // namespace qv

#include "stores/importexport/csv_mapping.h"

#include <algorithm>

#include "support/xml/xml_tree.h"

namespace qv {

std::optional<CsvMapping> ReadCsvMapping(std::u16string_view text, const CsvFieldSet& set) {
  XmlResults results;
  const XmlTreeNode top = ParseXmlText(std::u16string(text), {}, results);
  if (results.error != XmlError::None) return std::nullopt;
  const XmlTreeNode message = top.Child(u"Msg");
  const XmlTreeNode head = message.Child(u"Hdr");
  const XmlTreeNode columns = message.Child(u"Body").Child(u"Put");
  if (!head || !columns) return std::nullopt;
  CsvMapping mapping;
  mapping.path = head.Attribute(u"Path").value_or(u"");
  std::vector<bool> taken(set.names.size());
  for (int32_t i = 0; i < columns.ChildCount(); ++i) {
    int32_t field = FieldNumber(set, columns.Child(i).Attribute(u"Data").value_or(u""));
    if (field >= 0 && taken[static_cast<size_t>(field)]) field = -1;
    if (field >= 0) taken[static_cast<size_t>(field)] = true;
    mapping.fields.push_back(field);
  }
  return mapping;
}

}  // namespace qv

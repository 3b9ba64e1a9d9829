#include "syncdb/sql_text.h"

#include "support/text.h"

namespace qv {
namespace {

void AppendTerm(std::u16string& text, std::u16string_view column, std::u16string_view value) {
  if (!text.empty()) text += u" OR ";
  text += u' ';
  text += column;
  text += u"='";
  text += value;
  text += u'\'';
}

}  // namespace

std::u16string QuoteSqlText(std::u16string_view value) {
  std::u16string text(value);
  ReplaceAll(text, u"'", u"''");
  return text;
}

std::vector<std::u16string> BuildOrConditions(std::span<const std::u16string> ids,
                                              std::u16string_view column) {
  std::vector<std::u16string> texts;
  for (size_t i = 0; i < ids.size(); ++i) {
    if (i % kIdentifiersPerStatement == 0) texts.emplace_back();
    AppendTerm(texts.back(), column, ids[i]);
  }
  return texts;
}

std::u16string BuildQuotedOrCondition(std::span<const std::u16string> values,
                                      std::u16string_view column) {
  std::u16string text;
  for (const std::u16string& value : values) AppendTerm(text, column, QuoteSqlText(value));
  return text;
}

}  // namespace qv

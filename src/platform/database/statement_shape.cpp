#include "platform/database/statement_shape.h"

#include <algorithm>

namespace qv {
namespace {

constexpr size_t kMostLiterals = 16;

// The character that ends a quoted name which `c` opens, 0 when it opens none.
char NameCloser(char c) {
  if (c == '"' || c == '`') return c;
  return c == '[' ? ']' : '\0';
}

// Appends the literal that opens at `at` and returns the place behind it; npos when it never ends.
size_t TakeLiteral(std::string_view statement, size_t at, std::string& values) {
  for (size_t from = at + 1;;) {
    const size_t quote = statement.find('\'', from);
    if (quote == statement.npos) return quote;
    values.append(statement.substr(from, quote - from));
    if (quote + 1 == statement.size() || statement[quote + 1] != '\'') return quote + 1;
    values += '\'';
    from = quote + 2;
  }
}

}  // namespace

std::optional<StatementShape> StatementShape::Of(std::string_view statement) {
  StatementShape shape;
  shape.text_.reserve(statement.size());
  shape.values_.reserve(statement.size());
  for (size_t i = 0; i < statement.size();) {
    const char c = statement[i];
    if (c == '\'') {
      i = TakeLiteral(statement, i, shape.values_);
      if (i == statement.npos || shape.ends_.size() == kMostLiterals) return std::nullopt;
      shape.ends_.push_back(shape.values_.size());
      shape.text_ += '?';
    } else if (const char closer = NameCloser(c); closer != '\0') {
      const size_t end = std::min(statement.find(closer, i + 1), statement.size() - 1) + 1;
      shape.text_.append(statement.substr(i, end - i));
      i = end;
    } else if (c == '?') {
      return std::nullopt;
    } else {
      shape.text_ += c;
      ++i;
    }
  }
  return shape;
}

std::string_view StatementShape::Literal(size_t index) const {
  const size_t start = index == 0 ? 0 : ends_[index - 1];
  return std::string_view(values_).substr(start, ends_[index] - start);
}

}  // namespace qv

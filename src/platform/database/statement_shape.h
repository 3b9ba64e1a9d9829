// The shape of a statement: its text with a marker in the place of every text literal.
//
// The module writes its values into the statements. Taken apart again, the few shapes are prepared
// once each and run with bound values, which spares most of the cost of a small statement.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qv {

class StatementShape {
 public:
  // Nothing for a text that cannot be taken apart: an unclosed literal, a marker of its own, or
  // more literals than a shape worth keeping has.
  static std::optional<StatementShape> Of(std::string_view statement);

  const std::string& text() const { return text_; }
  size_t literals() const { return ends_.size(); }
  // The value of a literal, its doubled quotes undone.
  std::string_view Literal(size_t index) const;

 private:
  std::string text_;
  std::string values_;  // one behind the other
  std::vector<size_t> ends_;
};

}  // namespace qv

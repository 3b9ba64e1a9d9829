#include "platform/database/statement_check.h"

#include <algorithm>
#include <array>

namespace qv {
namespace {

struct Word {
  std::string_view text;  // upper case
  StatementKind kind;
};
constexpr Word kWords[] = {
    {"SELECT", StatementKind::Select},
    {"INSERT", StatementKind::Insert},
    {"UPDATE", StatementKind::Update},
    {"DELETE", StatementKind::Delete},
};

constexpr char kBlanks[] = " \t\r\n\f";

char Upper(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

bool IsLetter(char c) {
  return Upper(c) >= 'A' && Upper(c) <= 'Z';
}

std::optional<StatementKind> KindOf(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  const auto end = std::find_if_not(text.begin(), text.end(), IsLetter);
  const std::string_view first(text.begin(), end);
  for (const Word& word : kWords) {
    if (std::equal(first.begin(), first.end(), word.text.begin(), word.text.end(),
                   [](char a, char b) { return Upper(a) == b; })) {
      return word.kind;
    }
  }
  return std::nullopt;
}

// The character that ends what `c` opens, 0 when it opens nothing. A doubled quote inside ends one
// literal and opens the next, which comes to the same.
char CloserOf(char c) {
  if (c == '\'' || c == '"' || c == '`') return c;
  return c == '[' ? ']' : '\0';
}

// What is wrong outside the literals, or null. An unclosed literal is left to the database.
const char* FaultOf(std::string_view text) {
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (const char closer = CloserOf(c); closer != '\0') {
      i = std::min(text.find(closer, i + 1), text.size());
    } else if (c == ';') {
      return "there is text behind the statement";
    } else if ((c == '-' || c == '/') && i + 1 < text.size() &&
               text[i + 1] == (c == '-' ? '-' : '*')) {
      return "it holds a comment";
    }
  }
  return nullptr;
}

}  // namespace

std::optional<StatementKind> CheckStatement(std::string_view text, std::string& why) {
  if (text.find('\0') != std::string_view::npos) {
    why = "it holds a NUL character";
    return std::nullopt;
  }
  const std::optional<StatementKind> kind = KindOf(text);
  const char* fault = kind ? FaultOf(text) : "only SELECT, INSERT, UPDATE and DELETE are run";
  if (fault == nullptr) return kind;
  why = fault;
  return std::nullopt;
}

std::string_view StatementHead(std::string_view text) {
  return text.substr(0, std::min(text.find('\''), text.size()));
}

}  // namespace qv

// What may come through the accessor as a statement, judged by its text alone.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qv {

enum class StatementKind : int32_t { Select, Insert, Update, Delete };

// The kind of the one statement in `text` (UTF-8). Nothing, with the reason in `why`, for a text
// that begins with another word, holds a NUL, or holds a comment or a semicolon outside a literal:
// what lies behind them is not what the caller meant to run.
std::optional<StatementKind> CheckStatement(std::string_view text, std::string& why);

// The statement up to its first literal: what may be shown, for it holds none of the user's data.
std::string_view StatementHead(std::string_view text);

}  // namespace qv

// What the commands print, and how they end.
//
// Results go to standard output, messages for people to standard error. With `--json` exactly one
// JSON document goes to standard output. A reader that went away is no error; a result that could
// not be written for another reason is.
#pragma once

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace qv {

// Persisted contract with scripts.
enum class Exit : int { Ok = 0, Partial = 1, Usage = 2, Refused = 3, Stopped = 4, Failed = 5 };
// "ok", "partial", "failed", "refused", "stopped", "failed".
const char* ExitWord(Exit exit);

// Ends a command with a message.
class CommandError : public std::runtime_error {
 public:
  CommandError(Exit exit, const std::string& message) : std::runtime_error(message), exit_(exit) {}
  Exit exit() const { return exit_; }

 private:
  Exit exit_;
};

// Fit for a terminal: control characters, the invisible ones that turn the writing direction, and
// bad UTF-8 become "?". `Printable` is for one line; `PrintableLines` keeps line ends and tabs.
std::string Printable(std::string_view text);
std::string PrintableLines(std::string_view text);

// `text` as it stands, to standard output.
void Print(std::string_view text);
// To standard error, one "qvsync: " line a line of the text.
void PrintMessage(std::string_view text);
// One line. Bad UTF-8 becomes U+FFFD.
void PrintJson(const nlohmann::ordered_json& document);
// {"result":WORD,"message":...}, and the message for people.
void PrintError(Exit exit, std::string_view message, bool json);
// Writes out what is buffered; a message and false when that failed.
bool FlushOutput();

// Columns by display width, two blanks apart; the last column is not padded, and one overlong cell
// does not widen its column beyond a limit. Cells are made printable.
std::string FormatTable(const std::vector<std::string>& heads,
                        const std::vector<std::vector<std::string>>& rows);

}  // namespace qv

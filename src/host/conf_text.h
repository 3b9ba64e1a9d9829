// The text of a configuration file: `key = value` lines, held so that it can be written back as
// its author left it.
//
//   line    = blank | comment | key "=" value
//   comment = "#" at the first character that is no blank
//
// Blanks round key and value do not count; a value goes to the end of its line ("#" included).
// Lines end with LF or CR LF. UTF-8, a leading byte order mark is passed over.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace qv {

struct ConfEntry {
  std::string key;
  std::string value;
  size_t line = 0;  // from 1
};

// A line that is none of the three, or whose key stood above already.
struct ConfProblem {
  size_t line = 0;
  std::string text;
};

class ConfText {
 public:
  ConfText() = default;
  explicit ConfText(std::string_view bytes);

  // In the order of the lines; of two lines with one key only the first.
  const std::vector<ConfEntry>& entries() const { return entries_; }
  const std::vector<ConfProblem>& problems() const { return problems_; }
  // Null when the key does not stand in the file.
  const ConfEntry* Find(std::string_view key) const;

  // True for texts that a line can hold: no line break, no NUL, no blank at either end.
  static bool CanHold(std::string_view value);
  // Changes the key's line, or appends one. Every other byte stays. Key and value must fit a line.
  void Set(std::string_view key, std::string_view value);
  std::string bytes() const;

 private:
  struct Place {
    size_t line = 0;   // index into `lines_`
    size_t begin = 0;  // of the value
    size_t size = 0;
  };
  void ReadLine(std::string_view line);
  void AddEntry(std::string_view key, std::string_view value, Place place);

  std::vector<std::string> lines_;  // with their ends
  std::vector<ConfEntry> entries_;
  std::vector<Place> places_;  // parallel to the entries
  std::unordered_map<std::string, size_t> index_;
  std::vector<ConfProblem> problems_;
};

}  // namespace qv

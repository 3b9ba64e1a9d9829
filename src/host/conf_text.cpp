#include "host/conf_text.h"

#include "support/text.h"

namespace qv {
namespace {

constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// The part of `text` between its blanks; an empty one lies at the end.
std::string_view Trim(std::string_view text) {
  const size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return text.substr(text.size());
  return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

std::string_view WithoutLineEnd(std::string_view line) {
  if (line.ends_with('\n')) line.remove_suffix(1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

bool IsText(std::string_view bytes) {
  std::u16string decoded;
  return bytes.find('\0') == std::string_view::npos && AppendUtf8(bytes, decoded);
}

}  // namespace

ConfText::ConfText(std::string_view bytes) {
  while (!bytes.empty()) {
    const size_t end = bytes.find('\n');
    const size_t size = end == std::string_view::npos ? bytes.size() : end + 1;
    lines_.emplace_back(bytes.substr(0, size));
    bytes.remove_prefix(size);
    ReadLine(lines_.back());
  }
}

void ConfText::ReadLine(std::string_view line) {
  const size_t number = lines_.size();
  std::string_view text = WithoutLineEnd(line);
  if (number == 1 && text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  if (!IsText(text)) {
    problems_.push_back({number, "the line is no UTF-8 text"});
    return;
  }
  const std::string_view content = Trim(text);
  if (content.empty() || content.front() == '#') return;
  const size_t sign = text.find('=');
  if (sign == std::string_view::npos) {
    problems_.push_back({number, "the line has no \"=\": " + std::string(content)});
    return;
  }
  const std::string_view key = Trim(text.substr(0, sign));
  if (key.empty()) {
    problems_.push_back({number, "there is no key before \"=\""});
    return;
  }
  std::string_view value = text.substr(sign + 1);
  // An empty value is put behind one blank, should it be written later.
  value = Trim(value).empty() ? value.substr(value.starts_with(' ') ? 1 : 0, 0) : Trim(value);
  const Place place{number - 1, static_cast<size_t>(value.data() - line.data()), value.size()};
  AddEntry(key, value, place);
}

void ConfText::AddEntry(std::string_view key, std::string_view value, Place place) {
  const auto [known, added] = index_.emplace(key, entries_.size());
  if (!added) {
    problems_.push_back({place.line + 1, "the key " + std::string(key) + " stands in line " +
                                             std::to_string(entries_[known->second].line) +
                                             " already"});
    return;
  }
  entries_.push_back({std::string(key), std::string(value), place.line + 1});
  places_.push_back(place);
}

const ConfEntry* ConfText::Find(std::string_view key) const {
  const auto found = index_.find(std::string(key));
  return found == index_.end() ? nullptr : &entries_[found->second];
}

bool ConfText::CanHold(std::string_view value) {
  return value.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos &&
         Trim(value) == value;
}

void ConfText::Set(std::string_view key, std::string_view value) {
  const auto found = index_.find(std::string(key));
  if (found != index_.end()) {
    Place& place = places_[found->second];
    lines_[place.line].replace(place.begin, place.size, value);
    place.size = value.size();
    entries_[found->second].value = value;
    return;
  }
  const bool crLf = !lines_.empty() && lines_.front().ends_with("\r\n");
  const std::string_view lineEnd = crLf ? "\r\n" : "\n";
  if (!lines_.empty() && !lines_.back().ends_with('\n')) lines_.back() += lineEnd;
  std::string line = std::string(key) + " = ";
  const Place place{lines_.size(), line.size(), value.size()};
  line.append(value).append(lineEnd);
  lines_.push_back(std::move(line));
  AddEntry(key, value, place);
}

std::string ConfText::bytes() const {
  std::string all;
  for (const std::string& line : lines_) all += line;
  return all;
}

}  // namespace qv

#include "support/vobject/group_lines.h"

#include <algorithm>

#include "support/text.h"

namespace qv {
namespace {

constexpr std::string_view kUidHead = "X-GRPUUID:";
constexpr std::string_view kNameHead = "X-GROUP:";
constexpr std::string_view kNameProperty = "X-GROUP";
constexpr std::string_view kCardEnd = "END:VCARD";
constexpr std::string_view kLineEnd = "\r\n";

// The end of the logical line that `at` lies in, with its line end and the lines that continue it.
// Cards of other programs may end their lines with LF alone.
size_t EndOfLogicalLine(std::string_view text, size_t at) {
  while (true) {
    const size_t lineEnd = text.find('\n', at);
    if (lineEnd == text.npos) return text.size();
    at = lineEnd + 1;
    if (at >= text.size() || (text[at] != ' ' && text[at] != '\t')) return at;
  }
}

}  // namespace

bool HasGroupNames(std::string_view card) {
  return card.find(kNameProperty) != card.npos;
}

void AddGroupUids(std::string& card, const std::vector<std::u16string>& names,
                  const GroupLookup& uidOf) {
  std::u16string uids;
  for (const std::u16string& name : names) {
    const std::u16string uid = uidOf(name);
    if (uid.empty()) continue;
    if (!uids.empty()) uids.push_back(u';');
    uids += uid;
  }
  const size_t end = card.rfind(kCardEnd);
  if (uids.empty() || end == card.npos) return;
  card.insert(end, std::string(kUidHead).append(ToUtf8(uids)).append(kLineEnd));
}

void PutGroupNames(std::string& card, const std::vector<std::u16string>& uids,
                   const GroupLookup& nameOf) {
  const size_t at = card.find(kUidHead);
  if (uids.empty() || at == card.npos) return;
  std::string lines;
  for (const std::u16string& uid : uids) {
    std::string name = ToUtf8(nameOf(uid));
    if (name.empty()) continue;
    std::ranges::replace_if(
        name, [](char c) { return c == '\r' || c == '\n'; }, ' ');
    lines.append(kNameHead).append(name).append(kLineEnd);
  }
  card.replace(at, EndOfLogicalLine(card, at) - at, lines);
}

}  // namespace qv

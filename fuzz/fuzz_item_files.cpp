// Any bytes as a file of cards, events or memos: what is cut out, what is marked, and what is put
// in or lifted must leave the rest of the text as it stood.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "support/text.h"
#include "support/vobject/group_lines.h"
#include "support/vobject/item_files.h"
#include "support/vobject/old_texts.h"

namespace {

using Lines = std::vector<std::u16string>;

constexpr std::string_view kLineEnd = "\r\n";

void Require(bool holds) {
  if (!holds) std::abort();
}

size_t Count(std::string_view text, std::string_view what) {
  size_t count = 0;
  for (size_t at = text.find(what); at != text.npos; at = text.find(what, at + what.size())) {
    ++count;
  }
  return count;
}

// In order, none over another, and what is left out holds no whole item behind a beginning.
std::vector<std::string_view> Blocks(std::string_view text, std::string_view begin,
                                     std::string_view end) {
  const std::vector<std::string_view> blocks = qv::SplitBlocks(text, begin, end);
  const char* at = text.data();
  for (const std::string_view block : blocks) {
    Require(block.starts_with(begin) && block.ends_with(end));
    Require(Count(block, end) == 1);
    Require(block.data() >= at);
    const std::string_view between(at, static_cast<size_t>(block.data() - at));
    Require(Count(between, begin) == 0);
    at = block.data() + block.size();
  }
  Require(at <= text.data() + text.size());
  const std::string_view rest(at, static_cast<size_t>(text.data() + text.size() - at));
  Require(qv::SplitBlocks(rest, begin, end).empty());
  return blocks;
}

void CheckCards(const std::string& text) {
  const std::vector<std::string_view> blocks = Blocks(text, "BEGIN:VCARD", "END:VCARD");
  const std::vector<std::string> cards = qv::SplitVCards(text);
  Require(cards.size() == blocks.size());
  for (size_t i = 0; i < cards.size(); ++i) {
    Require(cards[i].starts_with("BEGIN:VCARD") && cards[i].ends_with("END:VCARD"));
    const size_t markers = Count(blocks[i], qv::kFileMarkerLine);
    Require(cards[i].size() + markers * qv::kFileMarkerLine.size() == blocks[i].size());
    // Where a marker goes, what stood round it may become anything.
    if (markers == 0) Require(qv::SplitVCards(cards[i]) == std::vector{cards[i]});
  }
  // The marker is a line only where the card's own beginning is one.
  std::string marked = text;
  qv::MarkSavedVCard(marked);
  Require(qv::HasFileMarker(marked) || Count(text, "BEGIN:VCARD") == 0);
  if (Count(text, "BEGIN:VCARD") == Count(text, "BEGIN:VCARD\r\n")) {
    Require(qv::SplitVCards(marked) == cards);
  }
}

using Split = std::vector<std::string>(std::string_view);

void CheckWrapped(std::string_view text, std::string_view begin, std::string_view end,
                  Split split) {
  const std::vector<std::string_view> blocks = Blocks(text, begin, end);
  const std::vector<std::string> items = split(text);
  Require(items.size() == blocks.size());
  for (size_t i = 0; i < items.size(); ++i) {
    const std::vector<std::string_view> inner = qv::SplitBlocks(items[i], begin, end);
    Require(inner.size() == 1 && inner[0].size() == blocks[i].size());
    Require(Count(items[i], "CHARSET=utf-8") == 0);
    Require(split(items[i]) == std::vector{items[i]});
  }
}

// The events alone make the same file.
void CheckStretch(std::string_view text) {
  const std::string_view stretch = qv::EventStretch(text);
  const std::vector<std::string> events = qv::SplitVEvents(text);
  Require(stretch.empty() == events.empty());
  const std::string file = std::string(qv::kCalendarFileHead)
                               .append(stretch)
                               .append(kLineEnd)
                               .append(qv::kCalendarFileTail);
  Require(qv::SplitVEvents(file) == events);
  Require(qv::EventStretch(file) == stretch);
}

// The identifiers of the names are put in before the end of the card, and taken out again.
void CheckGroupUids(const std::string& text, const Lines& names) {
  const auto uidOf = [](std::u16string_view name) -> std::u16string {
    return name.empty() ? u"" : qv::Decimal(static_cast<int64_t>(name.size()));
  };
  std::string added = text;
  qv::AddGroupUids(added, names, uidOf);
  const size_t end = text.find("END:VCARD");
  const bool isKnown = std::ranges::any_of(names, [](const auto& name) { return !name.empty(); });
  if (end == text.npos || !isKnown) return Require(added == text);
  Require(added.size() > text.size());
  const std::string_view line(added.data() + end, added.size() - text.size());
  Require(line.starts_with("X-GRPUUID:") && line.find(kLineEnd) == line.size() - 2);
  Require(std::string(added).erase(end, line.size()) == text);
  if (Count(text, "X-GRPUUID:") > 0) return;
  qv::PutGroupNames(added, {u"1"}, [](std::u16string_view) { return std::u16string(); });
  Require(added == text);
}

// A line for each name, whatever the name holds, in the place of one logical line.
void CheckGroupNames(const std::string& text, const Lines& names) {
  constexpr std::string_view kUidHead = "X-GRPUUID:";
  constexpr std::string_view kNameHead = "X-GROUP:";
  std::string put = text;
  const auto nameOf = [](std::u16string_view uid) { return std::u16string(uid); };
  qv::PutGroupNames(put, names, nameOf);
  const size_t at = text.find(kUidHead);
  if (at == text.npos || names.empty()) return Require(put == text);
  Require(put.starts_with(std::string_view(text).substr(0, at)));
  std::string_view rest = std::string_view(put).substr(at);
  for (const std::u16string& name : names) {
    if (name.empty()) continue;
    Require(rest.starts_with(kNameHead));
    const size_t lineEnd = rest.find(kLineEnd);
    Require(lineEnd == kNameHead.size() + qv::ToUtf8(name).size());
    rest.remove_prefix(lineEnd + kLineEnd.size());
  }
  std::string_view line = std::string_view(text).substr(at);
  Require(line.ends_with(rest));
  line.remove_suffix(rest.size());
  Require(line.starts_with(kUidHead));
  Require(rest.empty() || (line.ends_with('\n') && rest[0] != ' ' && rest[0] != '\t'));
  Require(Count(line, "\n") <= 1 + Count(line, "\n ") + Count(line, "\n\t"));
}

using Normalize = void(std::string&, const bool&);

std::string Lifted(Normalize normalize, std::string_view text, bool isSubModel) {
  std::string lifted(text);
  normalize(lifted, isSubModel);
  return lifted;
}

// No line knows of another, and none grows by more than the longest new name.
void CheckLines(Normalize normalize, std::string_view text, size_t growth) {
  for (const bool isSubModel : {false, true}) {
    const std::string lifted = Lifted(normalize, text, isSubModel);
    Require(lifted.size() <= text.size() + growth * Count(text, kLineEnd));
    const size_t lineEnd = text.find(kLineEnd, text.size() / 2);
    if (lineEnd == text.npos) continue;
    const size_t cut = lineEnd + kLineEnd.size();
    if (cut < text.size() && (text[cut] == ' ' || text[cut] == '\t')) continue;
    Require(Lifted(normalize, text.substr(0, cut), isSubModel) +
                Lifted(normalize, text.substr(cut), isSubModel) ==
            lifted);
  }
}

// What has been lifted stays. The last line needs its end, or it takes another fold along.
void CheckTwice(Normalize normalize, std::string_view text) {
  const std::string lifted = Lifted(normalize, std::string(text).append(kLineEnd), false);
  Require(Lifted(normalize, lifted, false) == lifted);
}

// A line that goes takes along all that continues it.
void CheckFolds(std::string_view text) {
  for (const std::string_view fold : {"\r\n ", "\r\n\t"}) {
    std::string folded = std::string(text).append(kLineEnd);
    qv::ReplaceAll(folded, kLineEnd, fold);
    folded.append(kLineEnd);
    Require(Lifted(qv::NormalizeOldVCard, "X-GROUP:" + folded, true).empty());
    Require(Lifted(qv::NormalizeOldVCalendar, "X-UID:" + folded, true).empty());
    Require(Lifted(qv::NormalizeOldVNote, "X-MODIFIED:" + folded, true).empty());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  CheckCards(text);
  CheckWrapped(text, "BEGIN:VEVENT", "END:VEVENT", qv::SplitVEvents);
  CheckWrapped(text, "BEGIN:VMEMO", "END:VMEMO", qv::SplitVMemos);
  CheckStretch(text);

  const std::u16string wide = qv::FromUtf8(text);
  const Lines names{wide.substr(0, 9), wide.substr(wide.size() / 2, 5), wide.substr(wide.size())};
  CheckGroupUids(text, names);
  CheckGroupNames(text, names);
  CheckGroupNames(text, {});

  CheckLines(qv::NormalizeOldVCard, text, std::string_view("X-PHONETIC-NAME").size());
  CheckLines(qv::NormalizeOldVCalendar, text, 0);
  CheckLines(qv::NormalizeOldVNote, text, 0);
  CheckTwice(qv::NormalizeOldVCalendar, text);
  CheckTwice(qv::NormalizeOldVNote, text);
  CheckFolds(text);
  return 0;
}

#include "support/vobject/item_files.h"

#include "support/text.h"

namespace qv {
namespace {

constexpr std::string_view kBeginCard = "BEGIN:VCARD";
constexpr std::string_view kEndCard = "END:VCARD";
constexpr std::string_view kBeginEvent = "BEGIN:VEVENT";
constexpr std::string_view kEndEvent = "END:VEVENT";
constexpr std::string_view kBeginMemo = "BEGIN:VMEMO";
constexpr std::string_view kEndMemo = "END:VMEMO";

// How files spell it, and how texts between the engine and the stores do.
constexpr std::string_view kFileCharset = "CHARSET=utf-8";
constexpr std::string_view kTextCharset = "CHARSET=UTF-8";

struct Wrapping {
  std::string_view begin;
  std::string_view end;
  std::string_view before;
  std::string_view after;
};

constexpr Wrapping kEvents = {kBeginEvent, kEndEvent, "BEGIN:VCALENDAR\r\nVERSION:1.0\r\n",
                              "\r\nEND:VCALENDAR"};
constexpr Wrapping kMemos = {kBeginMemo, kEndMemo, "BEGIN:VNOTE\r\nVERSION:1.1\r\n",
                             "\r\nEND:VNOTE"};

std::vector<std::string> SplitWrapped(std::string_view text, const Wrapping& wrapping) {
  std::vector<std::string> items;
  for (const std::string_view block : SplitBlocks(text, wrapping.begin, wrapping.end)) {
    std::string item;
    item.reserve(wrapping.before.size() + block.size() + wrapping.after.size());
    item.append(wrapping.before).append(block).append(wrapping.after);
    ReplaceAll(item, kFileCharset, kTextCharset);
    items.push_back(std::move(item));
  }
  return items;
}

}  // namespace

bool HasFileMarker(std::string_view text) {
  return text.find(kFileMarker) != text.npos;
}

std::vector<std::string_view> SplitBlocks(std::string_view text, std::string_view begin,
                                          std::string_view end) {
  std::vector<std::string_view> blocks;
  size_t at = 0;
  while (true) {
    const size_t from = text.find(begin, at);
    if (from == text.npos) return blocks;
    const size_t last = text.find(end, from);
    if (last == text.npos) return blocks;
    at = last + end.size();
    blocks.push_back(text.substr(from, at - from));
  }
}

std::vector<std::string> SplitVCards(std::string_view text) {
  std::vector<std::string> cards;
  for (const std::string_view block : SplitBlocks(text, kBeginCard, kEndCard)) {
    std::string& card = cards.emplace_back(block);
    ReplaceAll(card, kFileCharset, kTextCharset);
    ReplaceAll(card, kFileMarkerLine, "");
  }
  return cards;
}

std::vector<std::string> SplitVEvents(std::string_view text) {
  return SplitWrapped(text, kEvents);
}

std::vector<std::string> SplitVMemos(std::string_view text) {
  return SplitWrapped(text, kMemos);
}

void MarkSavedVCard(std::string& card) {
  ReplaceAll(card, kTextCharset, kFileCharset);
  ReplaceAll(card, kBeginCard, std::string(kBeginCard) + "\r\n" + std::string(kFileMarker));
}

std::string_view EventStretch(std::string_view text) {
  const size_t from = text.find(kBeginEvent);
  const size_t last = text.rfind(kEndEvent);
  if (from == text.npos || last == text.npos || last < from) return {};
  return text.substr(from, last + kEndEvent.size() - from);
}

}  // namespace qv

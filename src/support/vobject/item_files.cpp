#include "support/vobject/item_files.h"

#include <cstring>

#include "support/text.h"
#include "support/vobject/encode.h"
#include "support/vobject/lines.h"

namespace qv {
namespace {

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

// The next occurrence of a pattern, by a sign in it that texts hold seldom: pictures in base64 are
// full of the letters that the patterns begin with.
template <char kSign>
size_t NextSign(std::string_view text, size_t from) {
  if (from >= text.size()) return text.npos;
  const void* sign = std::memchr(text.data() + from, kSign, text.size() - from);
  return sign == nullptr ? text.npos
                         : static_cast<size_t>(static_cast<const char*>(sign) - text.data());
}

// Whether the pattern stands round the sign at `at`, which is `before` characters into it.
bool StandsRound(std::string_view text, size_t at, size_t before, std::string_view pattern) {
  return at >= before && text.size() - (at - before) >= pattern.size() &&
         std::memcmp(text.data() + at - before, pattern.data(), pattern.size()) == 0;
}

constexpr size_t kColonOfBegin = kBeginCard.find(':');
constexpr size_t kColonOfEnd = kEndCard.find(':');
constexpr size_t kColonOfMarker = kFileMarkerLine.find(':');
constexpr size_t kSignOfCharset = kFileCharset.find('=');

void AppendStretch(std::string& card, std::string_view stretch) {
  const size_t start = card.size();
  card.append(stretch);
  for (size_t at = 0; (at = NextSign<'='>(stretch, at)) != stretch.npos; ++at) {
    if (StandsRound(stretch, at, kSignOfCharset, kFileCharset)) {
      card.replace(start + at - kSignOfCharset, kTextCharset.size(), kTextCharset);
    }
  }
}

}  // namespace

bool VCardCutter::Next(std::string& card) {
  size_t at = NextSign<':'>(text_, at_);
  while (at != text_.npos &&
         !(at >= at_ + kColonOfBegin && StandsRound(text_, at, kColonOfBegin, kBeginCard))) {
    at = NextSign<':'>(text_, at + 1);
  }
  if (at == text_.npos) return false;
  card.clear();
  const size_t begin = at - kColonOfBegin;
  size_t done = begin;
  size_t end = 0;  // of a card that holds another
  bool holdsOther = false;
  while ((at = NextSign<':'>(text_, at + 1)) != text_.npos) {
    if (StandsRound(text_, at, kColonOfMarker, kFileMarkerLine)) {
      AppendStretch(card, text_.substr(done, at - kColonOfMarker - done));
      done = at - kColonOfMarker + kFileMarkerLine.size();
    }
    if (!holdsOther && StandsRound(text_, at, kColonOfBegin, kBeginCard)) {
      holdsOther = true;
      end = EndOf(begin);
    }
    if (at >= end && StandsRound(text_, at, kColonOfEnd, kEndCard)) break;
  }
  if (at == text_.npos) return false;
  at_ = at - kColonOfEnd + kEndCard.size();
  AppendStretch(card, text_.substr(done, at_ - done));
  stretch_ = text_.substr(begin, at_ - begin);
  return true;
}

// 0 for a card without an END line.
size_t VCardCutter::EndOf(size_t begin) {
  if (!ends_) {
    ends_.emplace();
    std::vector<size_t> open;
    LineReader reader(text_.substr(begin));
    for (Line line; reader.Next(line);) {
      const std::string_view rest = reader.text().substr(line.begin);
      if (rest.starts_with(kBeginCard)) {
        open.push_back(begin + line.begin);
      } else if (rest.starts_with(kEndCard) && !open.empty()) {
        ends_->emplace(open.back(), begin + line.begin);
        open.pop_back();
      }
    }
  }
  const auto found = ends_->find(begin);
  return found == ends_->end() ? 0 : found->second;
}

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
  VCardCutter cutter(text);
  for (std::string card; cutter.Next(card);) cards.push_back(card);
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

bool LastsInAFile(std::string_view card) {
  VCardCutter cutter(card);
  std::string loaded;
  if (!cutter.Next(loaded) || !card.starts_with(cutter.stretch()) ||
      card.find_first_not_of("\r\n", cutter.stretch().size()) != card.npos) {
    return false;
  }
  LineReader reader(card);
  for (Line line; reader.Next(line);) {
    if (LooksLikeEnvelope(line.value)) return false;
  }
  return true;
}

std::string_view EventStretch(std::string_view text) {
  const size_t from = text.find(kBeginEvent);
  const size_t last = text.rfind(kEndEvent);
  if (from == text.npos || last == text.npos || last < from) return {};
  return text.substr(from, last + kEndEvent.size() - from);
}

}  // namespace qv

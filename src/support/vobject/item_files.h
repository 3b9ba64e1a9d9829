// Items in files: the marker of files written here, the cutting of a file into items, and what
// stands round the events of a calendar file.
//
// Everything is a byte-exact rewrite; nothing is parsed or unfolded. What stands between items is
// dropped.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace qv {

// Persisted in files.
inline constexpr std::string_view kFileMarker = "X-QVVERSION:2.0";
inline constexpr std::string_view kFileMarkerLine = "X-QVVERSION:2.0\r\n";
inline constexpr std::string_view kBeginCard = "BEGIN:VCARD";
inline constexpr std::string_view kEndCard = "END:VCARD";
inline constexpr std::string_view kBeginEvent = "BEGIN:VEVENT";
inline constexpr std::string_view kEndEvent = "END:VEVENT";
inline constexpr std::string_view kCalendarFileHead =
    "BEGIN:VCALENDAR\r\nX-QVVERSION:2.0\r\nVERSION:1.0\r\n";
inline constexpr std::string_view kCalendarFileTail = "END:VCALENDAR";

bool HasFileMarker(std::string_view text);

// The stretches from `begin` to the end of the next `end` behind it, in file order. The views are
// into the text.
std::vector<std::string_view> SplitBlocks(std::string_view text, std::string_view begin,
                                          std::string_view end);

// The items of a file as the converters take them. A charset in lower case, which files written
// here have, becomes upper case; of a card the marker goes.
std::vector<std::string> SplitVCards(std::string_view text);
// The same cards one at a time: what goes over a large file needs no copy of all of it.
//
// A card ends at the first END:VCARD, unless it holds another card (an agent's): then at the END
// line that belongs to its BEGIN line, if there is one.
class VCardCutter {
 public:
  // The text must outlive it.
  explicit VCardCutter(std::string_view text) : text_(text) {}
  // Replaces `card`; false behind the last, and `card` is then any text.
  bool Next(std::string& card);
  // That card as it stands in the text.
  std::string_view stretch() const { return stretch_; }

 private:
  size_t EndOf(size_t begin);

  std::string_view text_;
  size_t at_ = 0;
  std::string_view stretch_;
  // By the place of the BEGIN line, that of the END line; of the rest of the text from the first
  // card that holds another.
  std::optional<std::unordered_map<size_t, size_t>> ends_;
};

// Each in a calendar of its own, and in a note of its own.
std::vector<std::string> SplitVEvents(std::string_view text);
std::vector<std::string> SplitVMemos(std::string_view text);

// A card as it stands in a file: the charset in lower case, and the marker.
void MarkSavedVCard(std::string& card);
// Whether such a card comes out of a file again, with nothing before or behind it but line breaks:
// it is cut as one, and no value in it looks like an envelope (see encode.h).
bool LastsInAFile(std::string_view card);

// From the first BEGIN:VEVENT to the end of the last END:VEVENT; empty where either is missing or
// they stand the wrong way round.
std::string_view EventStretch(std::string_view text);

}  // namespace qv

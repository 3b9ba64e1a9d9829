// The stored form of contents: small, quick, and the same bytes for the same content.
//
// A kind's fields stand in one table, a function over `Packer` and `Unpacker` alike.
#pragma once

#include <bit>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "items/kinds.h"
#include "platform/database/stored_text.h"

namespace qv {

// content := version field*
// field   := tag length payload      tags ascend; a field without content is left out
// payload := text | bytes | entry*   entries of a list stand one behind the other
// entry   := parts, each a number (one byte), a date (8 bytes) or length text
//
// `version` and `tag` are one byte; `length` counts bytes, 7 bits each from the lowest, the top bit
// of a byte saying that another follows. Texts are UTF-8, see platform/database/stored_text.h.
inline constexpr char kContentVersion = 1;

class Packer {
 public:
  explicit Packer(std::string& bytes) : bytes_(bytes) { bytes_.push_back(kContentVersion); }

  void Text(uint8_t tag, const std::u16string& text) {
    if (text.empty()) return;
    AppendStoredText(text, Begin());
    End(tag);
  }

  void Bytes(uint8_t tag, const std::string& bytes) {
    if (bytes.empty()) return;
    Begin() = bytes;
    End(tag);
  }

  // Numbers of 32 bits, flags and dates; 0 is no content.
  void Number(uint8_t tag, int32_t number) {
    if (number == 0) return;
    Begin();
    PartNumber(number);
    End(tag);
  }
  void Flag(uint8_t tag, bool flag) { Number(tag, flag ? 1 : 0); }
  void Date(uint8_t tag, DATE date) {
    if (date == 0.0) return;
    Begin();
    PartDate(date);
    End(tag);
  }
  template <class Kind>
  void Kinded(uint8_t tag, Kind kind) {
    Number(tag, static_cast<int32_t>(kind));
  }

  template <class Entry, class Parts>
  void List(uint8_t tag, const std::vector<Entry>& entries, Parts parts) {
    if (entries.empty()) return;
    Begin();
    for (const Entry& entry : entries) parts(*this, entry);
    End(tag);
  }

  template <class Kind>
  void PartKind(Kind kind) {
    payload_.push_back(static_cast<char>(kind));
  }
  template <class Value>
  bool PartPresent(const std::optional<Value>& entry) {
    payload_.push_back(entry ? '\1' : '\0');
    return entry.has_value();
  }
  void PartText(const std::u16string& text) {
    text_.clear();
    AppendStoredText(text, text_);
    AppendLength(text_.size(), payload_);
    payload_.append(text_);
  }
  void PartNumber(int32_t number) {
    const auto bits = static_cast<uint32_t>(number);
    for (int shift = 0; shift < 32; shift += 8)
      payload_.push_back(static_cast<char>(bits >> shift));
  }
  void PartDate(DATE date) {
    const auto bits = std::bit_cast<uint64_t>(date);
    for (int shift = 0; shift < 64; shift += 8)
      payload_.push_back(static_cast<char>(bits >> shift));
  }

 private:
  std::string& Begin() {
    payload_.clear();
    return payload_;
  }
  void End(uint8_t tag) {
    bytes_.push_back(static_cast<char>(tag));
    AppendLength(payload_.size(), bytes_);
    bytes_.append(payload_);
  }
  static void AppendLength(size_t length, std::string& to) {
    for (; length >= 0x80; length >>= 7) to.push_back(static_cast<char>(0x80 | (length & 0x7F)));
    to.push_back(static_cast<char>(length));
  }

  std::string& bytes_;
  std::string payload_;
  std::string text_;
};

// Reads what Packer wrote, in the same order. The first fault is kept; behind it nothing is read.
class Unpacker {
 public:
  explicit Unpacker(std::string_view bytes) : start_(bytes.data()), rest_(bytes) {
    if (rest_.empty() || rest_[0] != kContentVersion) {
      Fault("it is of another version of this program");
    } else {
      rest_.remove_prefix(1);
    }
  }

  void Text(uint8_t tag, std::u16string& text) {
    if (Open(tag)) AppendFromStoredText(payload_, text);
  }

  void Bytes(uint8_t tag, std::string& bytes) {
    if (Open(tag)) bytes = payload_;
  }

  void Number(uint8_t tag, int32_t& number) {
    if (Open(tag)) PartNumber(number);
  }
  void Flag(uint8_t tag, bool& flag) {
    int32_t number = 0;
    Number(tag, number);
    flag = number != 0;
  }
  void Date(uint8_t tag, DATE& date) {
    if (Open(tag)) PartDate(date);
  }
  template <class Kind>
  void Kinded(uint8_t tag, Kind& kind) {
    int32_t number = static_cast<int32_t>(kind);
    Number(tag, number);
    kind = static_cast<Kind>(number);
    if (!IsKind(kind)) Fault("there is no such kind");
  }

  template <class Entry, class Parts>
  void List(uint8_t tag, std::vector<Entry>& entries, Parts parts) {
    if (!Open(tag)) return;
    while (fault_ == nullptr && !payload_.empty()) parts(*this, entries.emplace_back());
  }

  template <class Kind>
  void PartKind(Kind& kind) {
    kind = static_cast<Kind>(Byte(payload_));
    if (!IsKind(kind)) Fault("there is no such kind");
  }
  template <class Value>
  bool PartPresent(std::optional<Value>& entry) {
    if (Byte(payload_) == 0) return false;
    entry.emplace();
    return true;
  }
  void PartText(std::u16string& text) { AppendFromStoredText(Take(payload_), text); }
  void PartNumber(int32_t& number) {
    uint32_t bits = 0;
    for (int shift = 0; shift < 32; shift += 8) bits |= uint32_t{Byte(payload_)} << shift;
    number = static_cast<int32_t>(bits);
  }
  void PartDate(DATE& date) {
    uint64_t bits = 0;
    for (int shift = 0; shift < 64; shift += 8) bits |= uint64_t{Byte(payload_)} << shift;
    date = std::bit_cast<DATE>(bits);
  }

  // To be asked behind the last field. Null when all was read, else the reason.
  const char* Finish() {
    if (!rest_.empty()) Fault("there is no such field");
    return fault_;
  }
  size_t position() const { return position_; }

 private:
  bool Open(uint8_t tag) {
    if (fault_ != nullptr || rest_.empty() || static_cast<uint8_t>(rest_[0]) != tag) return false;
    rest_.remove_prefix(1);
    payload_ = Take(rest_);
    return fault_ == nullptr;
  }

  uint8_t Byte(std::string_view& from) {
    if (from.empty()) Fault("it is cut off");
    if (fault_ != nullptr) return 0;
    const auto byte = static_cast<uint8_t>(from[0]);
    from.remove_prefix(1);
    return byte;
  }

  // A length and that many bytes.
  std::string_view Take(std::string_view& from) {
    uint64_t length = 0;
    uint8_t byte = 0x80;
    for (int shift = 0; (byte & 0x80) != 0; shift += 7) {
      byte = Byte(from);
      if (shift > 28) Fault("a length is too great");
      if (fault_ != nullptr) return {};
      length |= uint64_t{byte & 0x7Fu} << shift;
    }
    if (length > from.size()) Fault("it is cut off");
    if (fault_ != nullptr) return {};
    const std::string_view taken = from.substr(0, length);
    from.remove_prefix(length);
    return taken;
  }

  void Fault(const char* reason) {
    if (fault_ != nullptr) return;
    fault_ = reason;
    position_ = static_cast<size_t>(rest_.data() - start_);
  }

  const char* start_;
  std::string_view rest_;     // behind the field that is being read
  std::string_view payload_;  // of that field
  const char* fault_ = nullptr;
  size_t position_ = 0;
};

// The content that `fields` reads. Nothing, with the reason and the place in `why`, for bytes that
// are damaged or of a newer form.
template <class Content, class Fields>
std::optional<Content> Unpack(std::string_view bytes, Fields fields, std::string_view noun,
                              std::string& why) {
  Content content;
  Unpacker pack(bytes);
  fields(pack, content);
  const char* fault = pack.Finish();
  if (fault == nullptr) return content;
  why = "the stored ";
  why.append(noun).append(" cannot be read at byte ");
  why.append(std::to_string(pack.position())).append(": ").append(fault);
  return std::nullopt;
}

template <class Content, class Fields>
std::string Pack(const Content& content, Fields fields) {
  std::string bytes;
  Packer pack(bytes);
  fields(pack, content);
  return bytes;
}

}  // namespace qv

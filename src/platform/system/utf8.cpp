#include "platform/system/utf8.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace qv {
namespace {

constexpr char16_t kReplacement = 0xFFFD;

// What may follow a first byte: the length of the sequence and the bounds of its second byte.
// Length 0 for a byte that starts nothing.
struct Lead {
  uint8_t length;
  uint8_t low;
  uint8_t high;
};

constexpr Lead LeadOf(uint8_t byte) {
  if (byte >= 0xC2 && byte <= 0xDF) return {2, 0x80, 0xBF};
  if (byte == 0xE0) return {3, 0xA0, 0xBF};
  if (byte == 0xED) return {3, 0x80, 0x9F};
  if (byte >= 0xE1 && byte <= 0xEF) return {3, 0x80, 0xBF};
  if (byte == 0xF0) return {4, 0x90, 0xBF};
  if (byte >= 0xF1 && byte <= 0xF3) return {4, 0x80, 0xBF};
  if (byte == 0xF4) return {4, 0x80, 0x8F};
  return {0, 0, 0};
}

// Eight at a time: most texts are ASCII nearly throughout.
size_t AsciiRun(const char* bytes, size_t count) {
  size_t at = 0;
  for (; at + 8 <= count; at += 8) {
    uint64_t word;
    std::memcpy(&word, bytes + at, 8);
    if ((word & 0x8080808080808080u) != 0) break;
  }
  while (at < count && static_cast<uint8_t>(bytes[at]) < 0x80) ++at;
  return at;
}

size_t AsciiRun(const char16_t* units, size_t count) {
  size_t at = 0;
  for (; at + 4 <= count; at += 4) {
    uint64_t word;
    std::memcpy(&word, units + at, 8);
    if ((word & 0xFF80FF80FF80FF80u) != 0) break;
  }
  while (at < count && units[at] < 0x80) ++at;
  return at;
}

// One sequence that does not start with an ASCII byte; returns the bytes it took, at least one.
size_t DecodeSequence(const char* bytes, size_t count, char16_t*& out, bool& valid) {
  const auto byte = [&](size_t i) { return static_cast<uint8_t>(bytes[i]); };
  const Lead lead = LeadOf(byte(0));
  uint32_t code = lead.length == 0 ? 0u : byte(0) & (0xFFu >> (lead.length + 1));
  size_t taken = 1;
  for (; taken < lead.length && taken < count; ++taken) {
    const uint8_t low = taken == 1 ? lead.low : 0x80;
    const uint8_t high = taken == 1 ? lead.high : 0xBF;
    if (byte(taken) < low || byte(taken) > high) break;
    code = code << 6 | (byte(taken) & 0x3Fu);
  }
  if (taken != lead.length) {
    valid = false;
    *out++ = kReplacement;
  } else if (code >= 0x10000) {
    *out++ = static_cast<char16_t>(0xD7C0 + (code >> 10));
    *out++ = static_cast<char16_t>(0xDC00 + (code & 0x3FF));
  } else {
    *out++ = static_cast<char16_t>(code);
  }
  return taken;
}

// `out` has room for one unit a byte, which is what the worst text needs. Returns the units
// written; `valid` says whether nothing had to be replaced.
size_t Decode(std::string_view bytes, char16_t* out, bool& valid) {
  char16_t* const begin = out;
  valid = true;
  size_t at = 0;
  while (at < bytes.size()) {
    const size_t run = AsciiRun(bytes.data() + at, bytes.size() - at);
    for (size_t i = 0; i < run; ++i) out[i] = static_cast<uint8_t>(bytes[at + i]);
    out += run;
    at += run;
    while (at < bytes.size() && static_cast<uint8_t>(bytes[at]) >= 0x80) {
      at += DecodeSequence(bytes.data() + at, bytes.size() - at, out, valid);
    }
  }
  return static_cast<size_t>(out - begin);
}

bool IsHigh(char16_t unit) {
  return (unit & 0xFC00) == 0xD800;
}
bool IsLow(char16_t unit) {
  return (unit & 0xFC00) == 0xDC00;
}

// One character that is not ASCII; returns the units it took.
size_t EncodeCharacter(std::u16string_view text, size_t at, char*& out) {
  const auto put = [&](uint32_t value) { *out++ = static_cast<char>(value); };
  const char16_t unit = text[at];
  if (IsHigh(unit) && at + 1 < text.size() && IsLow(text[at + 1])) {
    const uint32_t code = 0x10000u + ((unit & 0x3FFu) << 10) + (text[at + 1] & 0x3FFu);
    put(0xF0 | code >> 18);
    put(0x80 | (code >> 12 & 0x3F));
    put(0x80 | (code >> 6 & 0x3F));
    put(0x80 | (code & 0x3F));
    return 2;
  }
  const uint32_t code = IsHigh(unit) || IsLow(unit) ? kReplacement : unit;
  if (code < 0x800) {
    put(0xC0 | code >> 6);
  } else {
    put(0xE0 | code >> 12);
    put(0x80 | (code >> 6 & 0x3F));
  }
  put(0x80 | (code & 0x3F));
  return 1;
}

}  // namespace

std::u16string FromUtf8(std::string_view bytes) {
  std::u16string text(bytes.size(), u'\0');
  bool valid;
  text.resize(Decode(bytes, text.data(), valid));
  return text;
}

bool AppendUtf8(std::string_view bytes, std::u16string& text) {
  const size_t before = text.size();
  text.resize(before + bytes.size());
  bool valid;
  const size_t units = Decode(bytes, text.data() + before, valid);
  text.resize(valid ? before + units : before);
  return valid;
}

std::string ToUtf8(std::u16string_view text) {
  // Exact for everything but surrogate pairs, for which it is too much.
  size_t run = AsciiRun(text.data(), text.size());
  size_t room = text.size();
  for (const char16_t unit : text.substr(run))
    room += (unit >= 0x80 ? 1u : 0u) + (unit >= 0x800 ? 1u : 0u);
  std::string bytes(room, '\0');
  char* out = bytes.data();
  size_t at = 0;
  while (true) {
    for (size_t i = 0; i < run; ++i) out[i] = static_cast<char>(text[at + i]);
    out += run;
    at += run;
    while (at < text.size() && text[at] >= 0x80) at += EncodeCharacter(text, at, out);
    if (at == text.size()) break;
    run = AsciiRun(text.data() + at, text.size() - at);
  }
  bytes.resize(static_cast<size_t>(out - bytes.data()));
  return bytes;
}

std::string_view WholeUtf8(std::string_view bytes) {
  for (size_t back = 1; back <= std::min<size_t>(3, bytes.size()); ++back) {
    const auto byte = static_cast<uint8_t>(bytes[bytes.size() - back]);
    if ((byte & 0xC0) == 0x80) continue;
    const size_t length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
    return length > back ? bytes.substr(0, bytes.size() - back) : bytes;
  }
  return bytes;
}

bool IsAscii(std::string_view bytes) {
  return AsciiRun(bytes.data(), bytes.size()) == bytes.size();
}

bool IsWellFormed(std::u16string_view text) {
  for (size_t at = 0; at < text.size(); ++at) {
    if (IsLow(text[at])) return false;
    if (!IsHigh(text[at])) continue;
    if (++at == text.size() || !IsLow(text[at])) return false;
  }
  return true;
}

}  // namespace qv

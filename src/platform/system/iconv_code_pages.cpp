#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <utility>

#include "platform/system/code_page.h"
#include "platform/system/utf8.h"

namespace qv {
namespace {

constexpr char kWide[] = "UTF-16LE";
constexpr size_t kMaxNameLength = 64;
constexpr size_t kMaxOpen = 32;  // descriptors kept; a text may name any number of charsets

// One conversion of the C library.
class Converter {
 public:
  Converter(const std::string& to, const std::string& from)
      : handle_(iconv_open(to.c_str(), from.c_str())) {}
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  ~Converter() {
    if (IsOpen()) iconv_close(handle_);
  }
  bool IsOpen() const { return handle_ != reinterpret_cast<iconv_t>(-1); }

  void Reset() { iconv(handle_, nullptr, nullptr, nullptr, nullptr); }

  // Converts up to the end or the first trouble, appends what came out and cuts off what went in.
  // 0, EILSEQ (a sequence that is bad or cannot be said) or EINVAL (the text ends inside one).
  int Feed(std::string_view& input, std::string& output) {
    char* from = const_cast<char*>(input.data());
    size_t left = input.size();
    const int error = Run(&from, &left, output);
    input.remove_prefix(input.size() - left);
    return error;
  }

  // Back to the first shift state, where the charset has one.
  void Finish(std::string& output) { Run(nullptr, nullptr, output); }

 private:
  int Run(char** from, size_t* left, std::string& output) {
    char chunk[4096];
    while (true) {
      char* to = chunk;
      size_t room = sizeof chunk;
      const size_t result = iconv(handle_, from, left, &to, &room);
      const int error = errno;
      output.append(chunk, sizeof chunk - room);
      if (result != static_cast<size_t>(-1)) return 0;
      if (error != E2BIG) return error;
    }
  }

  iconv_t handle_;
};

struct CharsetUnit {
  std::string_view prefix;
  size_t bytes;
};

// Charsets whose smallest unit is more than a byte: what a bad unit is stepped over by.
constexpr CharsetUnit kWideUnits[] = {
    {"UTF-16", 2}, {"UTF16", 2}, {"UCS-2", 2}, {"UCS2", 2}, {"ISO-10646-UCS-2", 2}, {"UNICODE", 2},
    {"UTF-32", 4}, {"UTF32", 4}, {"UCS-4", 4}, {"UCS4", 4}, {"ISO-10646-UCS-4", 4},
};

size_t UnitOf(const std::string& charset) {
  for (const CharsetUnit& unit : kWideUnits) {
    if (charset.starts_with(unit.prefix)) return unit.bytes;
  }
  return 1;
}

// Whose bytes below 128 are ASCII, whatever stands before them.
bool HoldsAscii(const std::string& cleanName) {
  constexpr std::string_view kPrefixes[] = {"WINDOWS-125", "CP125", "ISO-8859-", "EUC-", "CP949"};
  return std::ranges::any_of(
      kPrefixes, [&](std::string_view prefix) { return cleanName.starts_with(prefix); });
}

// Upper case; empty for what cannot be a charset. An empty name would mean the process locale to
// iconv, and "//" would add its options.
std::string CleanName(std::string_view name) {
  constexpr std::string_view kMarks = "-_.:+()";
  std::string clean;
  if (name.size() > kMaxNameLength) return clean;
  for (const char c : name) {
    const bool isLower = c >= 'a' && c <= 'z';
    const bool isPlain = isLower || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    if (!isPlain && kMarks.find(c) == kMarks.npos) return {};
    clean.push_back(isLower ? static_cast<char>(c - 'a' + 'A') : c);
  }
  return clean;
}

bool IsUtf8(const std::string& cleanName) {
  return cleanName == "UTF-8" || cleanName == "UTF8";
}

std::string WideBytes(std::u16string_view text) {
  std::string bytes;
  bytes.reserve(text.size() * 2);
  for (const char16_t unit : text) {
    bytes.push_back(static_cast<char>(unit & 0xFF));
    bytes.push_back(static_cast<char>(unit >> 8));
  }
  return bytes;
}

std::u16string FromWideBytes(std::string_view bytes) {
  std::u16string text(bytes.size() / 2, u'\0');
  for (size_t i = 0; i < text.size(); ++i) {
    text[i] = static_cast<char16_t>(static_cast<uint8_t>(bytes[2 * i]) |
                                    static_cast<uint8_t>(bytes[2 * i + 1]) << 8);
  }
  return text;
}

bool IsHighSurrogate(std::string_view wide, size_t at) {
  return (static_cast<uint8_t>(wide[at + 1]) & 0xFC) == 0xD8;
}

// In small pieces: at a character that the charset lacks, the C library does all that it has read
// ahead once more.
std::string EncodeWith(Converter& converter, std::u16string_view text) {
  constexpr size_t kPiece = 64;
  const std::string wide = WideBytes(text);
  std::string_view input = wide;
  std::string output;
  converter.Reset();
  while (!input.empty()) {
    size_t length = std::min(input.size(), kPiece);
    if (length < input.size() && IsHighSurrogate(input, length - 2)) length += 2;
    std::string_view piece = input.substr(0, length);
    const int error = converter.Feed(piece, output);
    input.remove_prefix(length - piece.size());
    if (error == 0) continue;
    std::string_view substitute("?\0", 2);
    converter.Feed(substitute, output);
    const bool isPair = input.size() >= 4 && IsHighSurrogate(input, 0) &&
                        (static_cast<uint8_t>(input[3]) & 0xFC) == 0xDC;
    input.remove_prefix(isPair ? 4 : 2);
  }
  converter.Finish(output);
  return output;
}

// With `isPart` the beginning of a character at the end of `bytes` stays in them; all else goes.
std::u16string DecodeWith(Converter& converter, size_t unit, std::string_view& bytes, bool isPart) {
  constexpr std::string_view kReplacement("\xFD\xFF", 2);
  std::string output;
  converter.Reset();
  while (const int error = converter.Feed(bytes, output)) {
    if (error == EINVAL && isPart) break;
    output.append(kReplacement);
    bytes.remove_prefix(error == EINVAL ? bytes.size() : std::min(unit, bytes.size()));
  }
  converter.Finish(output);
  return FromWideBytes(output);
}

class IconvCodePages final : public CodePages {
 public:
  bool SetAnsiPage(std::string_view name) override {
    const std::string clean = CleanName(name);
    if (clean.empty() || Open(clean, kWide) == nullptr || Open(kWide, clean) == nullptr) {
      return false;
    }
    ansiPage_ = name;
    return true;
  }

  std::string AnsiPage() override { return ansiPage_; }

  std::string Encode(std::u16string_view text, uint32_t page) override {
    const std::string name = NameOf(page);
    if (IsUtf8(name)) return ToUtf8(text);
    Converter* converter = Open(name, kWide);
    if (converter == nullptr) converter = Open("US-ASCII", kWide);
    return converter == nullptr ? ToUtf8(text) : EncodeWith(*converter, text);
  }

  std::u16string Decode(std::string_view bytes, uint32_t page) override {
    const std::string name = NameOf(page);
    if (std::optional<std::u16string> text = DecodeNamed(bytes, name)) return *std::move(text);
    return DecodeNamed(bytes, "US-ASCII").value_or(FromUtf8(bytes));
  }

  size_t DecodePart(std::string_view bytes, uint32_t page, std::u16string& text) override {
    const std::string name = NameOf(page);
    Converter* converter = nullptr;
    if (IsUtf8(name)) {
      bytes = WholeUtf8(bytes);
    } else if (!HoldsAscii(name) || !IsAscii(bytes)) {
      converter = Open(kWide, name);
      if (converter == nullptr) converter = Open(kWide, "US-ASCII");
    }
    if (converter == nullptr) {
      if (!AppendUtf8(bytes, text)) text += FromUtf8(bytes);
      return bytes.size();
    }
    std::string_view rest = bytes;
    text += DecodeWith(*converter, UnitOf(name), rest, true);
    return bytes.size() - rest.size();
  }

  std::optional<std::u16string> DecodeNamed(std::string_view bytes,
                                            std::string_view charset) override {
    const std::string name = CleanName(charset);
    if (name.empty()) return std::nullopt;
    if (IsUtf8(name)) return FromUtf8(bytes);
    // Most texts are ASCII throughout.
    if (HoldsAscii(name) && IsAscii(bytes)) return FromUtf8(bytes);
    Converter* converter = Open(kWide, name);
    if (converter == nullptr) return std::nullopt;
    return DecodeWith(*converter, UnitOf(name), bytes, false);
  }

 private:
  std::string NameOf(uint32_t page) const {
    if (page == kAnsiPage || page == kThreadAnsiPage) return CleanName(ansiPage_);
    return page == kUtf8Page ? "UTF-8" : "CP" + std::to_string(page);
  }

  // Null for a name iconv lacks. Opening costs far more than converting a line: both the good and
  // the bad names are kept. Valid until the next call.
  Converter* Open(const std::string& to, const std::string& from) {
    std::pair<std::string, std::string> key(to, from);
    auto found = open_.find(key);
    if (found == open_.end()) {
      if (open_.size() >= kMaxOpen) open_.clear();
      found = open_.try_emplace(std::move(key), to, from).first;
    }
    return found->second.IsOpen() ? &found->second : nullptr;
  }

  std::string ansiPage_ = "windows-1252";
  std::map<std::pair<std::string, std::string>, Converter> open_;
};

}  // namespace

CodePages& CodePages::Default() {
  static IconvCodePages pages;
  return pages;
}

}  // namespace qv

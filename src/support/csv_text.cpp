#include "support/csv_text.h"

#include <string_view>

#include "platform/system/code_page.h"
#include "platform/system/files.h"
#include "platform/system/service.h"
#include "support/text.h"

namespace qv {
namespace {

class Decoder {
 public:
  explicit Decoder(std::u16string& text) : text_(text) {}

  // False when the rest of the file does not count.
  bool Take(std::string_view piece) {
    if (!started_) piece.remove_prefix(Start(piece));
    return isWide_ ? TakeWide(piece) : TakeNarrow(piece);
  }

  void Finish() {
    if (!isWide_) Decode(rest_);
  }

 private:
  // The length of the mark.
  size_t Start(std::string_view piece) {
    started_ = true;
    isWide_ = piece.starts_with("\xFF\xFE");
    if (isWide_) return 2;
    if (!piece.starts_with("\xEF\xBB\xBF")) return 0;
    page_ = kUtf8Page;
    return 3;
  }

  bool TakeWide(std::string_view piece) {
    if (!rest_.empty() && !piece.empty()) {
      rest_.push_back(piece.front());
      piece.remove_prefix(1);
      AppendWide(rest_);
      rest_.clear();
    }
    const size_t whole = piece.size() & ~size_t{1};
    if (!ended_) AppendWide(piece.substr(0, whole));
    rest_.append(piece.substr(whole));
    return !ended_;
  }

  void AppendWide(std::string_view bytes) {
    const std::u16string wide = FromUtf16Le(bytes);
    const size_t end = wide.find(u'\0');
    ended_ = end != wide.npos;
    text_.append(wide, 0, end);
  }

  // A piece may end within a character; no character holds the byte of a line end.
  bool TakeNarrow(std::string_view piece) {
    const size_t end = piece.find_first_of(std::string_view("\x1A\0", 2));
    ended_ = end != piece.npos;
    piece = piece.substr(0, end);
    const size_t lineEnd = ended_ ? piece.npos : piece.rfind('\n');
    const size_t whole = lineEnd == piece.npos ? 0 : lineEnd + 1;
    if (whole > 0) {
      if (rest_.empty()) {
        Decode(piece.substr(0, whole));
      } else {
        rest_.append(piece.substr(0, whole));
        Decode(rest_);
      }
      rest_.clear();
    }
    rest_.append(piece.substr(whole));
    return !ended_;
  }

  void Decode(std::string_view bytes) {
    if (!bytes.empty()) text_ += Service<CodePages>::Get().Decode(bytes, page_);
  }

  std::u16string& text_;
  std::string rest_;  // of the pieces so far, not yet decoded
  uint32_t page_ = kThreadAnsiPage;
  bool started_ = false;
  bool isWide_ = false;
  bool ended_ = false;
};

}  // namespace

std::optional<std::u16string> ReadCsvText(const std::string& path) {
  Files& files = Service<Files>::Get();
  FileInfo info;
  if (files.Stat(path, info) || info.isFolder) return std::nullopt;
  std::u16string text;
  // A narrow file has no more characters than bytes; growing would hold the text twice.
  text.reserve(info.size);
  Decoder decoder(text);
  if (files.ReadPieces(path, [&](std::string_view piece) { return decoder.Take(piece); })) {
    return std::nullopt;
  }
  decoder.Finish();
  return text;
}

}  // namespace qv

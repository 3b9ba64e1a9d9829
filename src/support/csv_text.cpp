#include "support/csv_text.h"

#include <algorithm>
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

  // What is left then is no character.
  void Finish() {
    if (!isWide_ && !rest_.empty()) text_ += Service<CodePages>::Get().Decode(rest_, page_);
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

  // A piece may end within a character. Cut is behind a line end, where charsets with shift states
  // are in their first; within a line only when there is none in the whole piece.
  bool TakeNarrow(std::string_view piece) {
    const size_t end = piece.find_first_of(std::string_view("\x1A\0", 2));
    ended_ = end != piece.npos;
    piece = piece.substr(0, end);
    const size_t lineEnd = piece.rfind('\n');
    if (lineEnd == piece.npos) {
      Decode(piece);
    } else {
      Decode(piece.substr(0, lineEnd + 1));
      rest_.append(piece.substr(lineEnd + 1));
    }
    return !ended_;
  }

  void Decode(std::string_view piece) {
    if (rest_.empty()) {
      const size_t taken = Service<CodePages>::Get().DecodePart(piece, page_, text_);
      rest_.assign(piece.substr(taken));
    } else {
      rest_.append(piece);
      rest_.erase(0, Service<CodePages>::Get().DecodePart(rest_, page_, text_));
    }
  }

  std::u16string& text_;
  std::string rest_;  // of the pieces so far, not yet decoded
  uint32_t page_ = kThreadAnsiPage;
  bool started_ = false;
  bool isWide_ = false;
  bool ended_ = false;
};

}  // namespace

std::optional<std::u16string> ReadCsvText(const std::string& path, size_t limit) {
  Files& files = Service<Files>::Get();
  FileInfo info;
  if (files.Stat(path, info) || info.isFolder) return std::nullopt;
  std::u16string text;
  // A narrow file has no more characters than bytes; growing would hold the text twice.
  text.reserve(std::min<uint64_t>(info.size, limit));
  Decoder decoder(text);
  const std::error_code error = files.ReadPieces(
      path, [&](std::string_view piece) { return decoder.Take(piece) && text.size() < limit; });
  if (error) return std::nullopt;
  decoder.Finish();
  if (text.size() >= limit) return std::nullopt;
  return text;
}

}  // namespace qv

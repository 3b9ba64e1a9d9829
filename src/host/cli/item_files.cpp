#include "host/cli/item_files.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

#include "host/profile.h"
#include "platform/system/files.h"
#include "platform/system/service.h"
#include "support/vobject/marked_text.h"

namespace qv {
namespace {

std::error_code ReadStandardInput(std::string& bytes) {
  std::array<char, 65536> buffer;
  for (;;) {
    const ssize_t count = read(STDIN_FILENO, buffer.data(), buffer.size());
    if (count > 0) {
      bytes.append(buffer.data(), static_cast<size_t>(count));
    } else if (count == 0) {
      return {};
    } else if (errno != EINTR) {
      return {errno, std::generic_category()};
    }
  }
}

// Whether a line means to begin an item, whatever a reader makes of it: letter case, blanks, NULs
// and what else stands before the colon do not count. `opening` is in capitals, "BEGIN:VCARD".
bool MeansToBegin(std::string_view line, std::string_view opening) {
  std::string plain;
  for (const char c : line) {
    if (c == ' ' || c == '\t' || c == '\0') continue;
    plain.push_back(c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c);
  }
  const size_t colon = opening.find(':');
  const size_t begin = plain.find(opening.substr(0, colon));
  return begin != plain.npos && plain.find(opening.substr(colon), begin) != plain.npos;
}

}  // namespace

ItemFile::ItemFile(const std::string& path, const StoreKind& kind)
    : kind_(kind), name_(path == "-" ? "standard input" : path) {
  const std::error_code error =
      path == "-" ? ReadStandardInput(bytes_) : Service<Files>::Get().Read(path, bytes_);
  if (error) throw UsageError("cannot read " + name_ + ": " + error.message());
  text_ = WithoutMark(bytes_, converted_);
  items_ = kind.open(kind, text_);
  size_t end = 0;
  for (size_t i = 0; i < items_->Count(); ++i) {
    const std::string_view text = items_->At(i);
    const size_t begin = static_cast<size_t>(text.data() - text_.data());
    AddGap(end, begin);
    found_.push_back({PlaceAt(begin), i, {}});
    end = begin + text.size();
  }
  AddGap(end, text_.size());
  if (found_.empty()) {
    found_.push_back({name_, 0, "there is no " + std::string(kind.opening) + " in it"});
  }
}

ComPtr<IItemCommon> ItemFile::Read(const FoundItem& found, std::string& fault) const {
  fault = found.fault;
  if (!fault.empty()) return nullptr;
  ComPtr<IItemCommon> item = items_->Read(found.index);
  if (!item) fault = "the text that begins here cannot be read";
  return item;
}

std::string_view ItemFile::TextOf(const FoundItem& found) const {
  std::string_view text = items_->At(found.index);
  while (text.ends_with('\n') || text.ends_with('\r')) text.remove_suffix(1);
  return text;
}

void ItemFile::AddGap(size_t begin, size_t end) {
  while (begin < end) {
    const size_t lineEnd = std::min(text_.find_first_of("\r\n", begin), end);
    if (MeansToBegin(text_.substr(begin, lineEnd - begin), kind_.opening)) {
      found_.push_back(
          {PlaceAt(begin), 0, "the text that begins here has no end; it may be cut off"});
    }
    begin = lineEnd + 1;
  }
}

std::string ItemFile::PlaceAt(size_t offset) {
  const auto from = text_.begin();
  line_ += static_cast<size_t>(std::count(from + static_cast<std::ptrdiff_t>(countedTo_),
                                          from + static_cast<std::ptrdiff_t>(offset), '\n'));
  countedTo_ = offset;
  return name_ + ":" + std::to_string(line_);
}

}  // namespace qv

#include "host/engine/exported_files.h"

#include "host/engine/errors.h"
#include "host/store_kinds.h"
#include "platform/system/files.h"
#include "platform/system/service.h"

namespace qv {
namespace {

// Every cell stands in quotes; a quote within is doubled, which closes and opens.
class RowCounter {
 public:
  void Take(std::string_view piece) {
    for (const char byte : piece) {
      if (byte == '"') {
        isQuoted_ = !isQuoted_;
      } else if (isQuoted_) {
        saysSomething_ = true;
      } else if (byte == '\n') {
        rows_ += saysSomething_ && !isFirst_;
        saysSomething_ = isFirst_ = false;
      }
    }
  }
  int64_t rows() const { return rows_; }

 private:
  int64_t rows_ = 0;
  bool isQuoted_ = false;
  bool isFirst_ = true;
  bool saysSomething_ = false;
};

void Require(const std::error_code& error, const std::string& path) {
  if (error)
    throw StoreFailure("cannot read " + path + ", which was just written: " + error.message());
}

}  // namespace

int64_t CountExported(const FileStoreRow& row, const std::string& path) {
  Files& files = Service<Files>::Get();
  if (row.format == FileFormat::Csv) {
    RowCounter counter;
    Require(files.ReadPieces(path,
                             [&](std::string_view piece) {
                               counter.Take(piece);
                               return true;
                             }),
            path);
    return counter.rows();
  }
  // A file of its own for each contact was made whole, or not at all.
  if (row.format == FileFormat::VCard) return 1;
  std::string bytes;
  Require(files.Read(path, bytes), path);
  return static_cast<int64_t>(CountItems(*FindStoreKind(row.kind), bytes));
}

}  // namespace qv

#include <csv.h>

#include <cstdio>
#include <memory>
#include <stdexcept>

#include "csv_yardstick.h"

namespace qv {
namespace {

struct Taker {
  PlainRows rows;
  std::vector<std::string> row;
};

void TakeCell(void* text, size_t size, void* taker) {
  static_cast<Taker*>(taker)->row.emplace_back(static_cast<const char*>(text), size);
}

void TakeRow(int, void* data) {
  Taker& taker = *static_cast<Taker*>(data);
  const size_t cells = taker.row.size();
  taker.rows.push_back(std::move(taker.row));
  taker.row = {};
  taker.row.reserve(cells);
}

}  // namespace

bool HasLibcsv() {
  return true;
}

PlainRows ReadWithLibcsv(const std::string& path) {
  constexpr size_t kPiece = 1 << 18;
  constexpr size_t kMark = 3;
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                             std::fclose);
  csv_parser parser;
  if (!file || csv_init(&parser, 0) != 0) throw std::runtime_error("cannot read " + path);
  Taker taker;
  const auto piece = std::make_unique<char[]>(kPiece);
  if (std::fread(piece.get(), 1, kMark, file.get()) != kMark) return {};
  while (const size_t size = std::fread(piece.get(), 1, kPiece, file.get())) {
    if (csv_parse(&parser, piece.get(), size, TakeCell, TakeRow, &taker) != size) {
      throw std::runtime_error(csv_strerror(csv_error(&parser)));
    }
  }
  csv_fini(&parser, TakeCell, TakeRow, &taker);
  csv_free(&parser);
  return std::move(taker.rows);
}

}  // namespace qv

#include "platform/system/zone_file.h"

#include <array>
#include <cstdint>

namespace qv {
namespace {

constexpr size_t kHeaderSize = 44;
constexpr size_t kCountsAt = 20;
constexpr size_t kTypeSize = 6;

uint32_t BigEndian(std::string_view bytes, size_t at) {
  uint32_t number = 0;
  for (size_t i = 0; i < 4; ++i) number = number << 8 | static_cast<uint8_t>(bytes[at + i]);
  return number;
}

// One header with its data: transition times, their types, types, names, leap seconds, flags.
struct Block {
  uint64_t utcFlags, wallFlags, leaps, transitions, types, names;
  uint64_t timeSize;
  std::string_view data;

  uint64_t TypesAt() const { return transitions * (timeSize + 1); }
  uint64_t Size() const {
    return TypesAt() + types * kTypeSize + names + leaps * (timeSize + 4) + wallFlags + utcFlags;
  }
};

std::optional<Block> ReadBlock(std::string_view bytes, uint64_t timeSize) {
  if (bytes.size() < kHeaderSize || !bytes.starts_with("TZif")) return std::nullopt;
  std::array<uint64_t, 6> counts;
  for (size_t i = 0; i < counts.size(); ++i) counts[i] = BigEndian(bytes, kCountsAt + 4 * i);
  Block block{counts[0], counts[1], counts[2], counts[3],
              counts[4], counts[5], timeSize,  bytes.substr(kHeaderSize)};
  if (block.types == 0 || block.Size() > block.data.size()) return std::nullopt;
  return block;
}

// Of a file in the later forms the second block, whose times have 64 bits.
std::optional<Block> ReadLastBlock(std::string_view bytes) {
  const std::optional<Block> first = ReadBlock(bytes, 4);
  if (!first || bytes[4] < '2') return first;
  return ReadBlock(first->data.substr(first->Size()), 8);
}

int32_t SecondsEast(const Block& block, uint64_t type) {
  return static_cast<int32_t>(BigEndian(block.data, block.TypesAt() + type * kTypeSize));
}

std::optional<TimeZoneRecord> LastOffset(const Block& block) {
  uint64_t type = 0;
  if (block.transitions > 0) {
    type = static_cast<uint8_t>(block.data[block.TypesAt() - 1]);
    if (type >= block.types) return std::nullopt;
  }
  TimeZoneRecord record;
  record.bias = -(SecondsEast(block, type) / 60);
  return record;
}

}  // namespace

std::optional<TimeZoneRecord> ReadZoneFile(std::string_view bytes) {
  const std::optional<Block> second = ReadLastBlock(bytes);
  if (!second || second->timeSize == 4) return second ? LastOffset(*second) : std::nullopt;
  const std::string_view footer = second->data.substr(second->Size());
  const size_t end = footer.find('\n', 1);
  if (!footer.starts_with('\n') || end == footer.npos) return std::nullopt;
  const std::string_view rule = footer.substr(1, end - 1);
  return rule.empty() ? LastOffset(*second) : ParsePosixZone(rule);
}

std::optional<ZoneRules> ReadZoneHistory(std::string_view bytes) {
  const std::optional<TimeZoneRecord> behind = ReadZoneFile(bytes);
  const std::optional<Block> block = ReadLastBlock(bytes);
  if (!behind || !block) return std::nullopt;
  std::vector<ZoneRules::Transition> transitions;
  transitions.reserve(block->transitions);
  for (uint64_t i = 0; i < block->transitions; ++i) {
    const size_t at = i * block->timeSize;
    const auto high = static_cast<int32_t>(BigEndian(block->data, at));
    const int64_t utc = block->timeSize == 4
                            ? int64_t{high}
                            : int64_t{high} * (int64_t{1} << 32) + BigEndian(block->data, at + 4);
    const auto type = static_cast<uint8_t>(block->data[block->transitions * block->timeSize + i]);
    const bool ascends = transitions.empty() || transitions.back().utc < utc;
    if (type >= block->types || !ascends) return std::nullopt;
    transitions.push_back({utc, SecondsEast(*block, type)});
  }
  return ZoneRules(SecondsEast(*block, 0), std::move(transitions), *behind);
}

}  // namespace qv

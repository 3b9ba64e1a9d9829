// Random identifiers and checksums.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/com/guid.h"

namespace qv {

class GuidSource {
 public:
  virtual ~GuidSource() = default;
  virtual GUID New() = 0;

  // Random, version 4 (RFC 9562).
  static GuidSource& Default();
};

using Md5Digest = std::array<uint8_t, 16>;

class Md5Provider {
 public:
  virtual ~Md5Provider() = default;
  // Nothing when the provider fails.
  virtual std::optional<Md5Digest> Digest(std::string_view bytes) = 0;

  static Md5Provider& Default();
};

}  // namespace qv

#include <glib.h>

#include <memory>
#include <string>

#include "platform/system/identifiers.h"

namespace qv {
namespace {

class GlibGuids final : public GuidSource {
 public:
  GUID New() override {
    const std::unique_ptr<char, decltype(&g_free)> uuid(g_uuid_string_random(), &g_free);
    std::u16string text = u"{";
    for (const char* at = uuid.get(); *at != '\0'; ++at) {
      text.push_back(static_cast<char16_t>(*at));
    }
    text.push_back(u'}');
    return ParseGuid(text).value();
  }
};

class GlibMd5 final : public Md5Provider {
 public:
  std::optional<Md5Digest> Digest(std::string_view bytes) override {
    const std::unique_ptr<GChecksum, decltype(&g_checksum_free)> sum(g_checksum_new(G_CHECKSUM_MD5),
                                                                     &g_checksum_free);
    if (sum == nullptr) return std::nullopt;
    g_checksum_update(sum.get(), reinterpret_cast<const guchar*>(bytes.data()),
                      static_cast<gssize>(bytes.size()));
    Md5Digest digest;
    gsize length = digest.size();
    g_checksum_get_digest(sum.get(), digest.data(), &length);
    if (length != digest.size()) return std::nullopt;
    return digest;
  }
};

}  // namespace

GuidSource& GuidSource::Default() {
  static GlibGuids guids;
  return guids;
}

Md5Provider& Md5Provider::Default() {
  static GlibMd5 md5;
  return md5;
}

}  // namespace qv

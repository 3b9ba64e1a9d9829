// Single values of a vCard: pictures.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qv {

// The type as a contact keeps it ("JPEG", "PNG"), from a type word or a media type of any case;
// empty for what is no picture type's name.
std::u16string PhotoTypeOf(std::string_view word);

struct DataUri {
  std::string_view mediaType;
  std::string bytes;
};
// "data:image/png;base64,..."; nothing for any other URI.
std::optional<DataUri> ParseDataUri(std::string_view uri);

}  // namespace qv

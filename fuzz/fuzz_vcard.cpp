// Any bytes into the vCard converter. What was read must be written, read again as the same
// contact, and written as the same bytes.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "extras.h"
#include "items/vcard.h"
#include "marked.h"
#include "support/vobject/raw_text.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

void CheckSame(const qv::Contact& read, const qv::Contact& again) {
  qv::ContactContent expected = read;
  expected.groupNames.clear();  // read, never written
  Require(expected == again);
  Require(read.fields.objUid == again.fields.objUid);
  Require(read.fields.objModified == again.fields.objModified);
  constexpr std::string_view kNames[] = {"CATEGORIES", "NICKNAME"};
  const qv::ListProperties lists{kNames, u','};
  Require(Written(read.fields.extras, "VCARD", lists) ==
          Written(again.fields.extras, "VCARD", lists));
  Require(read.hidden == again.hidden);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  for (const std::string_view card : qv::VCardsIn(text)) {
    if (IsMarked(card)) continue;
    Require(qv::ParseVCard(card).has_value());
    Require(qv::VCardsIn(card).size() == 1);
  }
  if (const std::optional<qv::Contact> read = qv::ParseVCard(text)) {
    const std::string written = qv::WriteVCard(*read);
    const std::optional<qv::Contact> again = qv::ParseVCard(written);
    Require(again.has_value());
    CheckSame(*read, *again);
    Require(qv::WriteVCard(*again) == written);
  }
  std::string bytes;
  qv::AppendRaw(qv::TextFromRaw(text), bytes);
  Require(bytes == text);
  return 0;
}

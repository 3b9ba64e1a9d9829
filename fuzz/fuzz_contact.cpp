// Any bytes as a `.contact` file: what is read is written and read again as the same, and what is
// changed in between is changed, whatever else is in the file.
#include <cstdint>
#include <cstdlib>

#include "pim/contact_document.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

std::u16string ValueOf(const qv::ContactDocument& contact, std::u16string_view path) {
  std::u16string value;
  contact.GetString(path, value);
  return value;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using qv::ContactDocument;
  std::string why;
  auto contact = ContactDocument::Parse({reinterpret_cast<const char*>(data), size}, why);
  if (!contact) {
    Require(!why.empty());
    return 0;
  }
  constexpr std::u16string_view kNumbers = u"PhoneNumberCollection";
  constexpr std::u16string_view kNotes = u"Notes";
  const std::string bytes = contact->Bytes();
  auto again = ContactDocument::Parse(bytes, why);
  Require(again && again->Bytes() == bytes && !contact->IsChanged());
  Require(again->Id() == contact->Id() && ValueOf(*again, kNotes) == ValueOf(*contact, kNotes));

  const size_t before = contact->Nodes(kNumbers, {}).size();
  const std::u16string node = contact->CreateNode(kNumbers);
  const std::u16string_view labels[] = {u"Personal", u"Voice"};
  Require(contact->SetLabels(node, labels) && contact->SetString(node + u"/Number", u"+49 1"));
  Require(contact->SetString(kNotes, u"<note> & more"));
  contact->SetId(u"0BCF610E-A7BE-4F26-9042-D6B3C22C9863");
  Require(contact->MoveNode(node, 1));
  again = ContactDocument::Parse(contact->Bytes(), why);
  Require(again.has_value());
  Require(again->Nodes(kNumbers, {}).size() == before + 1);
  Require(ValueOf(*again, u"PhoneNumberCollection/PhoneNumber[1]/Number") == u"+49 1");
  Require(ValueOf(*again, kNotes) == u"<note> & more");
  Require(again->Id() == u"0BCF610E-A7BE-4F26-9042-D6B3C22C9863");
  for (size_t left = before + 1; left > 0; --left) {
    Require(again->DeleteNode(u"PhoneNumberCollection/PhoneNumber[1]"));
  }
  Require(again->Nodes(kNumbers, {}).empty());
  return 0;
}

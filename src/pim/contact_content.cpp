#include "pim/contact_content.h"

#include <bit>
#include <cstdint>
#include <utility>

#include "items/kinds.h"
#include "platform/database/stored_text.h"

namespace qv {
namespace {

// content := version field*
// field   := tag length payload      tags ascend; a field without content is left out
// payload := text | bytes | entry*   entries of a list stand one behind the other
// entry   := parts, each a number (one byte), a date (8 bytes) or length text
//
// `version` and `tag` are one byte; `length` counts bytes, 7 bits each from the lowest, the top bit
// of a byte saying that another follows. Texts are UTF-8, see platform/database/stored_text.h.
constexpr char kVersion = 1;

class Packer {
 public:
  explicit Packer(std::string& bytes) : bytes_(bytes) { bytes_.push_back(kVersion); }

  void Text(uint8_t tag, const std::u16string& text) {
    if (text.empty()) return;
    AppendStoredText(text, Begin());
    End(tag);
  }

  void Bytes(uint8_t tag, const std::string& bytes) {
    if (bytes.empty()) return;
    Begin() = bytes;
    End(tag);
  }

  template <class Entry, class Parts>
  void List(uint8_t tag, const std::vector<Entry>& entries, Parts parts) {
    if (entries.empty()) return;
    Begin();
    for (const Entry& entry : entries) parts(*this, entry);
    End(tag);
  }

  template <class Kind>
  void PartKind(Kind kind) {
    payload_.push_back(static_cast<char>(kind));
  }
  bool PartPresent(const std::optional<PostalAddress>& entry) {
    payload_.push_back(entry ? '\1' : '\0');
    return entry.has_value();
  }
  void PartText(const std::u16string& text) {
    text_.clear();
    AppendStoredText(text, text_);
    AppendLength(text_.size(), payload_);
    payload_.append(text_);
  }
  void PartDate(DATE date) {
    const auto bits = std::bit_cast<uint64_t>(date);
    for (int shift = 0; shift < 64; shift += 8)
      payload_.push_back(static_cast<char>(bits >> shift));
  }

 private:
  std::string& Begin() {
    payload_.clear();
    return payload_;
  }
  void End(uint8_t tag) {
    bytes_.push_back(static_cast<char>(tag));
    AppendLength(payload_.size(), bytes_);
    bytes_.append(payload_);
  }
  static void AppendLength(size_t length, std::string& to) {
    for (; length >= 0x80; length >>= 7) to.push_back(static_cast<char>(0x80 | (length & 0x7F)));
    to.push_back(static_cast<char>(length));
  }

  std::string& bytes_;
  std::string payload_;
  std::string text_;
};

// Reads what Packer wrote, in the same order. The first fault is kept; behind it nothing is read.
class Unpacker {
 public:
  explicit Unpacker(std::string_view bytes) : start_(bytes.data()), rest_(bytes) {
    if (rest_.empty() || rest_[0] != kVersion) {
      Fault("it is of another version of this program");
    } else {
      rest_.remove_prefix(1);
    }
  }

  void Text(uint8_t tag, std::u16string& text) {
    if (Open(tag)) AppendFromStoredText(payload_, text);
  }

  void Bytes(uint8_t tag, std::string& bytes) {
    if (Open(tag)) bytes = payload_;
  }

  template <class Entry, class Parts>
  void List(uint8_t tag, std::vector<Entry>& entries, Parts parts) {
    if (!Open(tag)) return;
    while (fault_ == nullptr && !payload_.empty()) parts(*this, entries.emplace_back());
  }

  template <class Kind>
  void PartKind(Kind& kind) {
    kind = static_cast<Kind>(Byte(payload_));
    if (!IsKind(kind)) Fault("there is no such kind");
  }
  bool PartPresent(std::optional<PostalAddress>& entry) {
    if (Byte(payload_) == 0) return false;
    entry.emplace();
    return true;
  }
  void PartText(std::u16string& text) { AppendFromStoredText(Take(payload_), text); }
  void PartDate(DATE& date) {
    uint64_t bits = 0;
    for (int shift = 0; shift < 64; shift += 8) bits |= uint64_t{Byte(payload_)} << shift;
    date = std::bit_cast<DATE>(bits);
  }

  // To be asked behind the last field. Null when all was read, else the reason.
  const char* Finish() {
    if (!rest_.empty()) Fault("there is no such field");
    return fault_;
  }
  size_t position() const { return position_; }

 private:
  bool Open(uint8_t tag) {
    if (fault_ != nullptr || rest_.empty() || static_cast<uint8_t>(rest_[0]) != tag) return false;
    rest_.remove_prefix(1);
    payload_ = Take(rest_);
    return fault_ == nullptr;
  }

  uint8_t Byte(std::string_view& from) {
    if (from.empty()) Fault("it is cut off");
    if (fault_ != nullptr) return 0;
    const auto byte = static_cast<uint8_t>(from[0]);
    from.remove_prefix(1);
    return byte;
  }

  // A length and that many bytes.
  std::string_view Take(std::string_view& from) {
    uint64_t length = 0;
    uint8_t byte = 0x80;
    for (int shift = 0; (byte & 0x80) != 0; shift += 7) {
      byte = Byte(from);
      if (shift > 28) Fault("a length is too great");
      if (fault_ != nullptr) return {};
      length |= uint64_t{byte & 0x7Fu} << shift;
    }
    if (length > from.size()) Fault("it is cut off");
    if (fault_ != nullptr) return {};
    const std::string_view taken = from.substr(0, length);
    from.remove_prefix(length);
    return taken;
  }

  void Fault(const char* reason) {
    if (fault_ != nullptr) return;
    fault_ = reason;
    position_ = static_cast<size_t>(rest_.data() - start_);
  }

  const char* start_;
  std::string_view rest_;     // behind the field that is being read
  std::string_view payload_;  // of that field
  const char* fault_ = nullptr;
  size_t position_ = 0;
};

constexpr auto kKindedParts = [](auto& pack, auto& entry) {
  pack.PartKind(entry.kind);
  pack.PartText(entry.value);
};
constexpr auto kTextParts = [](auto& pack, auto& text) { pack.PartText(text); };
constexpr auto kAddressParts = [](auto& pack, auto& entry) {
  if (!pack.PartPresent(entry)) return;
  pack.PartKind(entry->kind);
  for (auto& part : entry->parts) pack.PartText(part);
};
constexpr auto kOrganisationParts = [](auto& pack, auto& entry) {
  pack.PartKind(entry.kind);
  pack.PartText(entry.name);
  pack.PartText(entry.department);
};
constexpr auto kEventParts = [](auto& pack, auto& entry) {
  pack.PartKind(entry.kind);
  pack.PartDate(entry.date);
};

// Persisted: the tags. A new field takes the next one, so that the bytes, and with them the content
// hashes, of contacts without it stay as they are.
template <class Pack, class Content>
void EachField(Pack& pack, Content& contact) {
  pack.Text(1, contact.givenName);
  pack.Text(2, contact.familyName);
  pack.Text(3, contact.additionalNames);
  pack.Text(4, contact.namePrefix);
  pack.Text(5, contact.nameSuffix);
  pack.Text(6, contact.formattedName);
  pack.Text(7, contact.nickname);
  pack.List(8, contact.telephones, kKindedParts);
  pack.List(9, contact.mails, kKindedParts);
  pack.List(10, contact.webAddresses, kKindedParts);
  pack.List(11, contact.addresses, kAddressParts);
  pack.List(12, contact.organisations, kOrganisationParts);
  pack.List(13, contact.jobTitles, kTextParts);
  pack.List(14, contact.messengers, kKindedParts);
  pack.List(15, contact.events, kEventParts);
  pack.Bytes(16, contact.photo);
  pack.Text(17, contact.photoType);
  pack.Text(18, contact.note);
  pack.List(19, contact.groupUids, kTextParts);
  pack.List(20, contact.groupNames, kTextParts);
}

std::u16string FullName(const ContactContent& contact) {
  std::u16string name = contact.givenName;
  if (!name.empty() && !contact.familyName.empty()) name.push_back(u' ');
  return name + contact.familyName;
}

template <class Entry>
std::u16string FirstText(const std::vector<Entry>& entries, std::u16string Entry::*text) {
  for (const Entry& entry : entries) {
    if (!(entry.*text).empty()) return entry.*text;
  }
  return {};
}

}  // namespace

std::string PackContact(const ContactContent& contact) {
  std::string bytes;
  Packer pack(bytes);
  EachField(pack, contact);
  return bytes;
}

std::optional<ContactContent> UnpackContact(std::string_view bytes, std::string& why) {
  ContactContent contact;
  Unpacker pack(bytes);
  EachField(pack, contact);
  const char* fault = pack.Finish();
  if (fault == nullptr) return contact;
  why = std::string("the stored contact cannot be read at byte ") +
        std::to_string(pack.position()) + ": " + fault;
  return std::nullopt;
}

std::u16string DisplayName(const ContactContent& contact) {
  std::u16string candidates[] = {
      contact.formattedName,
      FullName(contact),
      contact.nickname,
      FirstText(contact.organisations, &Organisation::name),
      FirstText(contact.mails, &Mail::value),
      FirstText(contact.telephones, &Telephone::value),
  };
  for (std::u16string& candidate : candidates) {
    if (!candidate.empty()) return std::move(candidate);
  }
  return {};
}

}  // namespace qv

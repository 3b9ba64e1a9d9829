// The stored form of a contact's content, and its name for a person.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "items/contact.h"

namespace qv {

std::string PackContact(const ContactContent& contact);
// Nothing, with the reason and the place in `why`, for bytes that are damaged or of a newer form.
std::optional<ContactContent> UnpackContact(std::string_view bytes, std::string& why);

// What a list shows for a contact: its formatted name, else what it has instead, else empty.
std::u16string DisplayName(const ContactContent& contact);

}  // namespace qv

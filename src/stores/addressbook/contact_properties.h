// A contact as the property tree of a `.contact` file, and back.
//
// One table a collection, read in both directions. What the tree has no place for is not written;
// what of a contact comes back is told by reading it. Nothing here knows files or rows.
//
// Writing touches what is the contact's alone: of the eight collections of the table (Name,
// Position, Date, EmailAddress, PhoneNumber, PhysicalAddress, Url, IMAddress) the nodes that
// reading gives, and those with a value that is `own`: written for this phone before, and passed
// over by reading because another node comes first. All other nodes, collections and leaves stay as
// they are, nodes behind the written ones. A node whose value is asked for again is kept whole.
#pragma once

#include "items/contact.h"
#include "platform/contacts/contact_folder.h"

namespace qv {

// Without the picture. Both throw StatusError.
void WriteContactProperties(IUnknown& contact, const ContactContent& content,
                            const ContactContent& own);
ContactContent ReadContactProperties(IContactProperties& properties);

// Names, telephone numbers and mail addresses alone: what a key text is made of.
ContactContent ReadContactKeyValues(IContactProperties& properties);

}  // namespace qv

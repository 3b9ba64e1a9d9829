// What an address book cannot hold of a contact: kept as card lines beside it, as extras of the
// item, and put back into the item's lists when it is read.
//
// A line's form is that of a vCard 2.1: property with its parameters, and value. Lines of these
// properties come from here alone: a converter leaves none of them as an extra that it could read.
#pragma once

#include <vector>

#include "items/contact.h"

namespace qv {

// The values of `whole` that are not in `held`, value for value: of two equal ones that the book
// holds once, one. A mail address or an organisation that the book holds under another kind is in
// it: a label among the rows says which kind it has.
ContactContent UnheldOf(const ContactContent& whole, const ContactContent& held);

// Makes an item of the texts fit for the rows beside a book that holds `held` of it: what is not in
// the book goes behind the extras, with its labels, and the labels of what is in it are those of
// the book's places.
void MoveUnheldToExtras(Contact& contact, const ContactContent& held);
// The way back: `contact` is what the book holds, with the rows' extras and labels.
void TakeUnheldFromExtras(Contact& contact);
// The values of such rows, without the rest.
ContactContent UnheldIn(const std::vector<ExtraProperty>& extras);

}  // namespace qv

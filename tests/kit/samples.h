// Texts and store classes that several suites use.
#pragma once

#include "kit/store_stack.h"

namespace qv::test {

// A small card; `which` tells people apart, a null uid or time leaves the line out.
std::string Card(int which, const char* uid, const char* modified);

inline constexpr StoreSample kContactSample = {
    "Contact", u"DataStoreContact",       u"DataStore.Contact", u"text/x-vCard",
    olContact, u"Contact_BackupStatusDB", u"contact_id",        Card,
};

}  // namespace qv::test

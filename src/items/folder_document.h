// Folder documents ("application/vnd.omads-folder+xml", OMA DS) from and to folders.
//
//   <Folder><name>News</name><created>20240101T120000Z</created><modified/><accessed/></Folder>
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "items/bookmark.h"

namespace qv {

// Nothing for a text that is no such document, or has no name. Other elements are passed over; a
// time that is missing, or none, is 0.0; the time of modification is also that of the fields.
// White space in the name stays, but a name of nothing else is none. The folder's times are local,
// those of the text UTC. Linear in the text's size, no recursion; never throws on its account.
std::optional<Folder> ParseFolderDocument(std::string_view text);

// UTF-8. A time that is 0.0 gives an empty element.
std::string WriteFolderDocument(const Folder& folder);

}  // namespace qv

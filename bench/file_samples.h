// The files that qv_file_measure works on, the same ones in every run.
#pragma once

#include <string>

namespace qv {

// A table of contacts in UTF-8 with its mark: the 70 headings that a mapping knows, and rows in
// which this many of 100 cells say something. Some cells are in quotes with commas and doubled
// quotes, some hold letters beyond ASCII.
std::string SheetOfContacts(int rows, int filled);
// The mapping of all its columns, for a job that reads `path`, which is in the module's form.
std::u16string MappingOfContacts(std::u16string_view path);

// A document of about this many characters: elements, attributes, texts, some entities and
// comments, indented. The declaration names the encoding.
std::string ContactsDocument(size_t size, const char* encoding);

// Cards of some 500 bytes, one behind the other, up to about this size; every `photoEach`-th has a
// photo of 8 KB in lines of 76 characters, 0 for none.
std::string CardFile(size_t size, int photoEach);

}  // namespace qv

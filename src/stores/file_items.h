// What stores have in common whose other side is a file: a list of items that all are new, known by
// their place in it, and a folder that the texts of a job name.
#pragma once

#include <cstddef>
#include <string_view>

#include "platform/com/com_ptr.h"
#include "syncdb/status_interfaces.h"

namespace qv {

// Each family of stores numbers these in its own way.
enum class FileDirection { Neither, Reads, Writes };

// The place that an identifier names, read as a decimal number. Throws StatusError(E_FAIL) for one
// outside a list of `count` items.
size_t PlaceOf(std::u16string_view sourceUid, size_t count);

// The root with a child for each place, changed at the present moment.
ComPtr<IStatusDBItemTree> TreeOfPlaces(size_t count);

// Links are followed. Paths are in the module's form.
bool FolderExists(std::u16string_view path);
bool FileExists(std::u16string_view path);

}  // namespace qv

// Where the tree of a bookmark store begins.
#pragma once

#include <string_view>

#include "platform/com/engine_config.h"
#include "platform/system/shell_folders.h"

namespace qv {

// Does the device of this bag take folders?
bool DeviceTakesFolders(IEngineConfig* bag);

// The folder within Favorites that stores without folders of the user's own keep to.
inline constexpr std::u16string_view kMobileBookmarks = u"Quovia Mobile Bookmarks";

}  // namespace qv

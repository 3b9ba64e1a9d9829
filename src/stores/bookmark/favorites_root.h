// Where the tree of a bookmark store begins.
#pragma once

#include <string>
#include <string_view>

#include "platform/com/engine_config.h"

namespace qv {

// Where the registry keeps it. Persisted contract.
inline constexpr std::string_view kShellFoldersKey =
    R"(Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders)";
inline constexpr std::string_view kFavoritesValue = "Favorites";

// Does the device of this bag take folders?
bool DeviceTakesFolders(IEngineConfig* bag);

// The user's Favorites folder without a "\" at its end; empty when it is not known.
std::u16string FavoritesFolder();

// The folder within Favorites that stores without folders of the user's own keep to.
inline constexpr std::u16string_view kMobileBookmarks = u"Quovia Mobile Bookmarks";

}  // namespace qv

// Browsers' bookmark pages into and out of the Favorites folder.
#pragma once

#include <string>
#include <vector>

#include "host/cli/item_changes.h"
#include "host/cli/shortcut_folder.h"

namespace qv {

// Folders of the page join those of the same name; a bookmark that stands there already is left
// out, and told. Where the tree takes no folders all bookmarks go on top. `place` names the page.
void ImportPage(ShortcutFolder& pc, const std::vector<PageEntry>& page, const std::string& place,
                GroupedChanges& changes);

// What the folder with this identifier holds, all of it for an empty one. Throws UsageError for an
// unknown folder.
std::string ExportPage(ShortcutFolder& pc, const std::string& folder);

}  // namespace qv

#include "host/cli/pc_folder.h"

#include "host/cli/outlook_folder.h"
#include "host/cli/shortcut_folder.h"

namespace qv {

std::unique_ptr<PcFolder> PcFolder::Open(const Profile& profile, const StoreKind& kind) {
  if (kind.isTree) return std::make_unique<ShortcutFolder>(profile, kind);
  return std::make_unique<OutlookFolder>(profile, kind);
}

}  // namespace qv

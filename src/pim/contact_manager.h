// The contact objects over a folder of `.contact` files.
#pragma once

namespace qv {

// CLSID_ContactManager and CLSID_Contact. A manager's folder is the user's contacts folder, as it
// is when the manager is initialised; it must be there by the first walk. See also
// ContactFilesSettings.
void RegisterContactClasses();

}  // namespace qv

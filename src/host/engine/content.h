// Comparing items by what they hold, whatever their identifiers and times say.
#pragma once

#include "host/engine/model.h"
#include "host/engine/pc_side.h"

namespace qv {

// Checksums of an item's text without identifier and time: of all of it, and of what the PC side
// can hold itself. Of a bookmark both are the latter, for nobody keeps the rest.
struct ContentPrint {
  Md5Digest exact{};
  Md5Digest core{};
};

// Each of these spends the items: identifiers, times, the link to a series and what the PC cannot
// hold are taken out.
// Throw ItemError or StatusError.
ContentPrint PrintOf(PcStore& store, IItemCommon& item);
ContentMatch Compare(PcStore& store, IItemCommon& phone, IItemCommon& pc);
// The first of the three without a store, and with the series of an exception.
Md5Digest ExactPrintOf(const StoreKind& kind, IItemCommon& item);

ContentMatch Compare(const ContentPrint& phone, const ContentPrint& pc);

// What only the phone's side tells: its time of change, and the age of the file.
struct PhoneAge {
  DATE objModified = 0.0;  // UTC; 0.0 for a text without
  int64_t modifiedNs = 0;
};
// Who wins by what the store answered; where it could not tell, by the times of the phone's text,
// or else its file, and of the PC's item.
Winner NewerSide(RESV_CONFLTLASTMODIFIED answer, const PhoneAge& phone, IItemCommon& pc);
// The same where the PC's item was renamed, which its time of change tells and its file's does not.
Winner NewerThanRename(const PhoneAge& phone, const FileMark& pc);
// A time of an item as UTC: those of bookmarks and folders are local.
DATE UtcTime(IItemCommon& item, DATE time);

}  // namespace qv

// What the phone holds, held against the record: which files are the same, changed, new, renamed.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/engine/model.h"
#include "host/engine/phone_folder.h"
#include "host/engine/sync.h"

namespace qv {

struct ScanRules {
  bool readAll = false;  // even what looks the same by name, size and time
  int64_t recordNs = 0;  // when the record was made, by the clock that stamps files
  bool isTree = false;   // what each item says must be known
};

// Looks into the text of an item: fills in what the item keeps of it, and answers why the text
// cannot be used, empty when it can. `index` is the item's place among the items.
using TextLook = std::function<std::string(int32_t index, PhoneItem& item, std::string_view text)>;

// `look` sees each text that was read, except where the file proves to hold what the record says
// (with `readAll` those as well), and with `readAll` each folder, whose text is empty. A folder is
// the recorded one of its name, or of the one that most of its items were in; it has changed when
// its own name has. Items that cannot be used are `Unreadable`, and noted in
// `failed`. Throws SyncStopped.
std::vector<PhoneItem> ScanPhone(const PhoneFolder& phone, const std::vector<FolderEntry>& files,
                                 const std::vector<RecordRow>& records, const ScanRules& rules,
                                 const TextLook& look, std::vector<ItemFailure>& failed);

// The text of a scanned item: what was kept, else the file's. Throws ItemError when the file is
// no longer the one that was scanned.
std::string TextOf(const PhoneFolder& phone, const PhoneItem& item);

// Whether a file of this time cannot have been written again unseen in the moment of the record.
bool IsSettled(int64_t modifiedNs, int64_t recordNs);

// By the clock that stamps files, in nanoseconds since 1970.
int64_t FileClockNs();

}  // namespace qv

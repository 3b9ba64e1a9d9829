// Which phone a folder is: the identifier file at its root, held against what the engine's record
// knows of the path.
#pragma once

#include <string>

#include "host/engine/engine_record.h"

namespace qv {

struct PhoneIdentity {
  std::string id;      // a GUID; the stores' target key
  std::string folder;  // absolute
  bool fileMissing = false;
  bool known = false;   // the record has it at this path
  std::string refusal;  // not empty: why this folder must not be synced; the rest is then void
};

// Reads only. With `newPhone` a known phone whose own place no longer carries its identifier is met
// again here; anything else that was there before is taken for another phone's.
PhoneIdentity MeetPhone(EngineRecord& record, const std::string& folder, bool newPhone);

// Writes the identifier file where it is missing, then the record; nothing for a phone that is
// known. Throws std::runtime_error or SqliteError.
void WelcomePhone(EngineRecord& record, PhoneIdentity& phone);

// The phone that was known at this path is there: its identifier file says so.
bool IsPhoneAt(const std::string& folder, const std::string& id);

// Whether the folder is the other one or lies in it.
bool IsWithin(const std::string& folder, const std::string& outer);

}  // namespace qv

// Texts of the old device format, lifted to the current one.
//
// Each rule looks at the head of a logical line (a property with its folds), which reaches to its
// first ":", and changes the line at most once. A last line without a line end passes without
// rules; where it continues a fold, what came before it in the fold is dropped. Nothing can fail.
#pragma once

#include <string>

namespace qv {

// `isSubModel`: the device calls itself a sub-model, which takes other names for some kinds.
void NormalizeOldVCard(std::string& text, const bool& isSubModel);
// These two are the same for every device.
void NormalizeOldVCalendar(std::string& text, const bool& isSubModel);
void NormalizeOldVNote(std::string& text, const bool& isSubModel);

}  // namespace qv

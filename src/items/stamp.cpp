#include "items/stamp.h"

#include "support/date_time.h"
#include "support/text.h"

namespace qv {

void StampNew(ItemFields& fields, bool inLocalTime) {
  const DateTimeValue now = GetCurrentDateTime();
  fields.objUid = MakeGuidText();
  fields.created = inLocalTime ? now.value : LocalToUtc(now, true).value;
  fields.modified = fields.objModified = fields.created;
}

}  // namespace qv

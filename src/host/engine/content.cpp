#include "host/engine/content.h"

#include <algorithm>

#include "host/engine/bookmark_text.h"
#include "items/item_objects.h"
#include "platform/system/service.h"
#include "support/date_time.h"
#include "support/text.h"

namespace qv {
namespace {

void Strip(IItemCommon& item) {
  Check(item.put_ObjUid(nullptr));
  Check(item.put_ObjModified(0.0));
  if (const auto calendar = Query<ICalendarItem>(&item))
    Check(calendar->put_ParentRecurUid(nullptr));
  if (Query<IBookmarkItem>(&item)) Check(item.DropSideData());
}

Md5Digest Checksum(std::string_view text) {
  const auto digest = Service<Md5Provider>::Get().Digest(text);
  if (!digest) throw ItemError("the checksum service failed");
  return *digest;
}

// The cores are equal and the whole is not. What the PC side cannot hold was only ever changed on
// the phone, so the phone's counts; unless it has lost all of it.
ContentMatch WhoHasMore(bool phoneHasNone) {
  return phoneHasNone ? ContentMatch::PcHasMore : ContentMatch::PhoneHasMore;
}

constexpr int64_t kSecondNs = 1'000'000'000;

int64_t SecondsOf(const PhoneAge& phone) {
  return phone.objModified != 0.0 ? UnixSecondsFromDate(phone.objModified)
                                  : phone.modifiedNs / kSecondNs;
}

}  // namespace

ContentPrint PrintOf(PcStore& store, IItemCommon& item) {
  Strip(item);
  ContentPrint print;
  print.exact = Checksum(store.Write(&item));
  Check(item.DropSideData());
  print.core = Checksum(store.Write(&item));
  return print;
}

Md5Digest ExactPrintOf(const StoreKind& kind, IItemCommon& item) {
  // Two series may have exceptions that say the same.
  const Calendar* calendar = CalendarOf(&item);
  const std::string series = calendar == nullptr ? "" : ToUtf8(calendar->parentRecurUid);
  Strip(item);
  return Checksum(WriteItem(kind, &item) + series);
}

ContentMatch Compare(const ContentPrint& phone, const ContentPrint& pc) {
  if (phone.exact == pc.exact) return ContentMatch::Identical;
  if (phone.core != pc.core) return ContentMatch::Different;
  return WhoHasMore(phone.exact == phone.core);
}

ContentMatch Compare(PcStore& store, IItemCommon& phone, IItemCommon& pc) {
  Strip(phone);
  Strip(pc);
  const std::string phoneText = store.Write(&phone);
  const std::string pcText = store.Write(&pc);
  if (phoneText == pcText) return ContentMatch::Identical;
  Check(phone.DropSideData());
  Check(pc.DropSideData());
  const std::string phoneCore = store.Write(&phone);
  if (phoneCore != store.Write(&pc)) return ContentMatch::Different;
  return WhoHasMore(phoneText == phoneCore);
}

Winner NewerSide(RESV_CONFLTLASTMODIFIED answer, const PhoneAge& phone, IItemCommon& pc) {
  switch (answer) {
    case RESV_CONFLTLASTMODIFIED_CLIENTWIN:
      return Winner::Phone;
    case RESV_CONFLTLASTMODIFIED_SERVERWIN:
    case RESV_CONFLTLASTMODIFIED_IGNORE:
      return Winner::Pc;
    case RESV_CONFLTLASTMODIFIED_NONE:
      break;
  }
  DATE modified = 0.0;
  Check(pc.get_Modified(&modified));
  return SecondsOf(phone) > UnixSecondsFromDate(UtcTime(pc, modified)) ? Winner::Phone : Winner::Pc;
}

Winner NewerThanRename(const PhoneAge& phone, const FileMark& pc) {
  const int64_t renamed = std::max(pc.modifiedNs, pc.changedNs) / kSecondNs;
  return SecondsOf(phone) > renamed ? Winner::Phone : Winner::Pc;
}

DATE UtcTime(IItemCommon& item, DATE time) {
  const bool isLocal = Query<IBookmarkItem>(&item) || Query<IFolderItem>(&item);
  return isLocal && time != 0.0 ? LocalToUtc(time, true).value : time;
}

}  // namespace qv

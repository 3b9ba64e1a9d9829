#include "stores/importexport/data_store_ievcal.h"

#include <optional>

#include "items/item_objects.h"
#include "platform/system/debug_log.h"
#include "stores/file_names.h"
#include "support/narrow_files.h"
#include "support/text.h"
#include "support/user_flags.h"
#include "support/vobject/item_files.h"
#include "support/vobject/old_texts.h"

namespace qv {
namespace {

constexpr std::u16string_view kExtension = u".vcs";
constexpr std::u16string_view kFileName = u"calendar";
constexpr std::u16string_view kSubModelKey = u"Device.IsSubModel";
constexpr std::u16string_view kNothing = u"[QVSyncEngine] No vcal data synchronized";
constexpr std::u16string_view kTooLong =
    u"[CDataStoreIEVCal] Save the file name or folder path is too long";
constexpr std::u16string_view kNotCreated =
    u"[CDataStoreIEVCal] CreateFile Failed in SaveVCal, window error-code: ";

// Nothing but this very text is true; a value of another type is no failure.
bool IsSubModel(IEngineConfig* bag) {
  Variant value;
  Check(bag->GetValue(Bstr(kSubModelKey), value.Out()));
  return value.get().vt == VT_BSTR && View(value.get().bstrVal) == u"true";
}

}  // namespace

HRESULT CDataStoreIEVCal::Load() {
  texts_.clear();
  const bool isSubModel = IsSubModel(bag());
  for (const std::u16string_view name : NamesIn(job().fileNames)) {
    std::optional<std::string> text = ReadNarrowFile(Concat({job().folder, u"\\", name}));
    if (!text) continue;
    if (!HasFileMarker(*text)) NormalizeOldVCalendar(*text, isSubModel);
    for (std::string& event : SplitVEvents(*text)) {
      if (IsSyncStopped()) return E_FAIL;
      texts_.push_back(std::move(event));
    }
  }
  return S_OK;
}

ComPtr<IItemCommon> CDataStoreIEVCal::ItemAt(size_t place) {
  ComPtr<IUnknown> item;
  Check(converter().Parse(MakeContentData(texts_[place]).get(), item.Out()));
  return Query<IItemCommon>(item);
}

HRESULT CDataStoreIEVCal::Take(const ComPtr<IItemCommon>&, const IncomingText& text,
                               std::u16string& sourceUid) {
  const std::string calendar = ContentBytes(text.cdata);
  const std::string_view stretch = EventStretch(calendar);
  if (stretch.empty()) return E_FAIL;
  events_.emplace_back(stretch);
  sourceUid = NextUid();
  return S_OK;
}

void CDataStoreIEVCal::FinishExport() {
  if (events_.empty()) {
    OutputDebugStringW(kNothing);
    SetExportEmpty(1);
    return;
  }
  const std::u16string stem = Concat({job().folder, u"\\", kFileName});
  if (stem.size() + kExtension.size() >= kPathLimit) {
    OutputDebugStringW(kTooLong);
    return;
  }
  std::string calendar(kCalendarFileHead);
  for (const std::string& event : events_) calendar.append(event).append("\r\n");
  calendar.append(kCalendarFileTail);
  const SystemError error = UniqueNames(1).Create(stem, kExtension, calendar);
  if (error != kNoError) OutputDebugStringW(Concat({kNotCreated, Decimal(error)}));
}

}  // namespace qv

#include "host/store_kinds.h"

#include <algorithm>

#include "items/converters.h"
#include "items/item_objects.h"
#include "items/vbookmark.h"
#include "items/vcalendar.h"
#include "items/vcard.h"
#include "items/vnote.h"
#include "platform/com/class_factory.h"
#include "platform/com/component_ids.h"
#include "support/vobject/marked_text.h"

namespace qv {
namespace {

// A text whose items stand each for itself.
template <auto split>
class SplitTexts final : public ItemTexts {
 public:
  SplitTexts(const StoreKind& kind, std::string_view text) : kind_(kind), texts_(split(text)) {}
  size_t Count() const override { return texts_.size(); }
  std::string_view At(size_t index) const override { return texts_[index]; }
  ComPtr<IItemCommon> Read(size_t index) const override { return ReadItem(kind_, texts_[index]); }

 private:
  const StoreKind& kind_;
  std::vector<std::string_view> texts_;
};

// Events and tasks share the time zones of their text.
class CalendarTexts final : public ItemTexts {
 public:
  CalendarTexts(const StoreKind&, std::string_view text) : text_(text) {}
  size_t Count() const override { return text_.Count(); }
  std::string_view At(size_t index) const override { return text_.At(index); }
  ComPtr<IItemCommon> Read(size_t index) const override {
    std::optional<Calendar> calendar = text_.Read(index);
    return calendar ? MakeCalendarItem(*std::move(calendar)) : nullptr;
  }
  std::string Doubts() const override {
    std::string names;
    for (const std::string& zone : text_.UnknownZones()) {
      names.append(names.empty() ? "" : ", ").append(zone);
    }
    if (names.empty()) return names;
    return "the time zone " + names + " is not known here; its times were taken for local ones";
  }

 private:
  CalendarText text_;
};

template <class Texts>
std::unique_ptr<ItemTexts> Open(const StoreKind& kind, std::string_view text) {
  return std::make_unique<Texts>(kind, text);
}

bool TakesAll(IItemCommon&) {
  return true;
}
template <BOOL isTask>
bool Takes(IItemCommon& item) {
  BOOL itIs = kFalse;
  Check(Query<ICalendarItem>(&item)->get_IsTask(&itIs));
  return itIs == isTask;
}

constexpr StoreKind kKinds[] = {
    {.name = "contacts",
     .items = "contacts",
     .configName = "DataStore.Contact",
     .className = u"DataStoreContact",
     .mimeType = u"text/x-vCard",
     .version = "2.1",
     .extension = ".vcf",
     .pcKind = olContact,
     .converter = CLSID_VCardConverter,
     .opening = "BEGIN:VCARD",
     .open = Open<SplitTexts<VCardsIn>>,
     .takes = TakesAll},
    {.name = "calendar",
     .items = "appointments",
     .configName = "DataStore.Schedule",
     .className = u"DataStoreCalendar",
     .mimeType = u"text/x-vCalendar",
     .version = "1.0",
     .extension = ".vcs",
     .pcKind = olAppointment,
     .converter = CLSID_VCalendarConverter,
     .opening = "BEGIN:VEVENT",
     .open = Open<CalendarTexts>,
     .takes = Takes<kFalse>},
    {.name = "tasks",
     .items = "tasks",
     .configName = "DataStore.Task",
     .className = u"DataStoreTodo",
     .mimeType = u"text/x-vCalendar",
     .version = "1.0",
     .extension = ".vcs",
     .pcKind = olTask,
     .converter = CLSID_VCalendarConverter,
     .opening = "BEGIN:VTODO",
     .open = Open<CalendarTexts>,
     .takes = Takes<kTrue>},
    {.name = "notes",
     .items = "notes",
     .configName = "DataStore.Note",
     .className = u"DataStoreNote",
     .mimeType = u"text/vnote",
     .version = "1.1",
     .extension = ".vnt",
     .pcKind = olNote,
     .converter = CLSID_VNoteConverter,
     .opening = "BEGIN:VNOTE",
     .open = Open<SplitTexts<VNotesIn>>,
     .takes = TakesAll},
    {.name = "bookmarks",
     .items = "bookmarks and folders",
     .configName = "DataStore.Bookmark",
     .className = u"DataStoreBookmark",
     .mimeType = u"text/x-vBookmark",
     .version = "1.0",
     .extension = ".vbm",
     .pcKind = OlObjectClass{},
     .converter = CLSID_BookmarkConverter,
     .opening = "BEGIN:VBKM",
     .open = Open<SplitTexts<VBookmarksIn>>,
     .takes = TakesAll,
     .isTree = true},
};

}  // namespace

std::span<const StoreKind> StoreKinds() {
  return kKinds;
}

const StoreKind* FindStoreKind(std::string_view name) {
  const auto found = std::ranges::find(kKinds, name, &StoreKind::name);
  return found == std::end(kKinds) ? nullptr : &*found;
}

ComPtr<IItemCommon> ReadItem(const StoreKind& kind, std::string_view text) {
  const auto converter = CreateInstance<IConverter>(kind.converter);
  ComPtr<IUnknown> item;
  Check(converter->FromText(MakeContentData(text).get(), item.Out()));
  return Query<IItemCommon>(item);
}

std::string WriteItem(const StoreKind& kind, IItemCommon* item) {
  const auto converter = CreateInstance<IConverter>(kind.converter);
  ComPtr<IUnknown> text;
  Check(converter->ToText(item, text.Out()));
  return ContentBytes(text.get());
}

size_t CountItems(const StoreKind& kind, std::string_view text) {
  std::string buffer;
  return kind.open(kind, WithoutMark(text, buffer))->Count();
}

const StoreKind& KindOf(const StoreKind& kind, IItemCommon& item) {
  if (kind.takes(item)) return kind;
  const auto other = std::ranges::find_if(kKinds, [&](const StoreKind& row) {
    return row.converter == kind.converter && row.takes(item);
  });
  return other == std::end(kKinds) ? kind : *other;
}

std::string StoreKindNames() {
  std::string names;
  for (const StoreKind& kind : kKinds) {
    if (!names.empty()) names += ", ";
    names += kind.name;
  }
  return names;
}

}  // namespace qv

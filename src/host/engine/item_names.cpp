#include "host/engine/item_names.h"

#include <unordered_map>

#include "host/engine/bookmark_text.h"
#include "host/engine/scan.h"
#include "items/item_objects.h"
#include "pim/contact_content.h"
#include "pim/note_content.h"
#include "support/text.h"

namespace qv {
namespace {

std::string OneLine(std::u16string name) {
  std::u16string line;
  line.reserve(name.size());
  for (const char16_t c : name) {
    const bool isBlank = c <= u' ' || c == 0x7F || c == 0x85 || c == 0x2028 || c == 0x2029;
    if (!isBlank) {
      line += c;
    } else if (!line.empty() && line.back() != u' ') {
      line += u' ';
    }
  }
  while (line.ends_with(u' ')) line.pop_back();
  return ToUtf8(line);
}

}  // namespace

std::string NameOfItem(IItemCommon& item) {
  if (const Contact* contact = ContactOf(&item)) return OneLine(DisplayName(*contact));
  if (const Calendar* calendar = CalendarOf(&item)) return OneLine(calendar->subject);
  if (const Note* note = NoteOf(&item)) return OneLine(DisplayName(*note));
  return OneLine(TitleOf(item));
}

std::string ItemNames::OnPc(const PcItem& item) const {
  if (item.change == PcChange::Gone) return {};
  try {
    return NameOfItem(*pc_.Get(item.id, false).item);
  } catch (const ItemError&) {
  } catch (const StatusError&) {
  }
  return {};
}

std::string ItemNames::OnPhone(const PhoneItem& item) const {
  if (!item.title.empty() || item.isFolder || item.change == PhoneChange::Unreadable) {
    return item.title;
  }
  try {
    const ComPtr<IItemCommon> parsed = pc_.Parse(TextOf(phone_, item));
    if (parsed) return NameOfItem(*parsed);
  } catch (const ItemError&) {
  } catch (const StatusError&) {
  }
  return {};
}

std::string ItemNames::Of(const ItemLink& link) const {
  const bool onPhone = link.phone >= 0;
  if (onPhone && At(sides_.phone, link.phone).isFolder) return {};
  // Of what was looked into it is known; the PC's is the next best, for no file is opened there.
  if (onPhone && !At(sides_.phone, link.phone).title.empty()) {
    return At(sides_.phone, link.phone).title;
  }
  std::string name;
  if (link.pc >= 0) name = OnPc(At(sides_.pc, link.pc));
  return name.empty() && onPhone ? OnPhone(At(sides_.phone, link.phone)) : name;
}

void ItemNames::NameAll(StoreReport& report) const {
  std::unordered_multimap<std::string_view, std::string*> open;
  for (ItemFailure& each : report.failed) {
    if (each.name.empty()) open.emplace(each.item, &each.name);
  }
  for (ConflictNote& each : report.conflicts) open.emplace(each.item, &each.name);
  if (open.empty()) return;
  for (const ItemLink& link : sides_.links) {
    std::string id;
    if (link.pc >= 0) id = ToUtf8(At(sides_.pc, link.pc).id);
    const std::string_view items[] = {
        link.phone >= 0 ? std::string_view(At(sides_.phone, link.phone).name) : "",
        link.record >= 0 ? std::string_view(At(sides_.records, link.record).name) : "", id};
    for (const std::string_view item : items) {
      const auto [first, last] = open.equal_range(item);
      if (first == last || item.empty()) continue;
      const std::string name = Of(link);
      for (auto each = first; each != last; ++each) *each->second = name;
      open.erase(first, last);
    }
  }
}

}  // namespace qv

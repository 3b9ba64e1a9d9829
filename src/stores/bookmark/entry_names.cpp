#include "stores/bookmark/entry_names.h"

#include "support/text.h"
#include "syncdb/sync_session.h"

namespace qv {

bool NameFits(std::u16string_view name) {
  constexpr size_t kNameBytes = 255;
  return ToUtf8(name).size() <= kNameBytes;
}

// True where the folder is as it was.
bool EntryNames::Stamp(std::u16string_view folder, Listing& listing) {
  EntryInfo entry;
  FindEntry(folder, entry);
  const bool isSame = entry.modifiedNs == listing.modifiedNs &&
                      entry.changedNs == listing.changedNs && entry.inode == listing.inode;
  listing.modifiedNs = entry.modifiedNs;
  listing.changedNs = entry.changedNs;
  listing.inode = entry.inode;
  return isSame;
}

EntryNames::Listing& EntryNames::ListingOf(std::u16string_view folder) {
  const auto [place, isNew] = listings_.try_emplace(std::u16string(folder));
  Listing& listing = place->second;
  if (Stamp(folder, listing) && !isNew) return listing;
  listing.names.clear();
  listing.next.clear();
  std::vector<EntryInfo> entries;
  ListFolder(folder, ListDetail::Names, entries);
  for (EntryInfo& entry : entries) listing.names.insert(std::move(entry.name));
  return listing;
}

std::u16string EntryNames::Unique(std::u16string_view folder, std::u16string_view name,
                                  bool isFolder) {
  if (!EntryExists(Concat({folder, u"\\", name}))) return std::u16string(name);
  Listing& listing = ListingOf(folder);
  int& number = listing.next.try_emplace(std::u16string(name), 2).first->second;
  const std::u16string_view stem = isFolder ? name : name.substr(0, name.rfind(u'.'));
  while (true) {
    std::u16string candidate =
        Concat({stem, u"(", Decimal(number), u")", isFolder ? u"" : kShortcutTail});
    // Letter case may count for nothing there.
    if (!listing.names.contains(candidate) && !EntryExists(Concat({folder, u"\\", candidate}))) {
      return candidate;
    }
    ++number;
  }
}

void EntryNames::Added(std::u16string_view folder, std::u16string_view name) {
  const auto place = listings_.find(std::u16string(folder));
  if (place == listings_.end()) return;
  place->second.names.emplace(name);
  Stamp(folder, place->second);
}

void EntryNames::Removed(std::u16string_view folder, std::u16string_view name) {
  const auto place = listings_.find(std::u16string(folder));
  if (place == listings_.end()) return;
  place->second.names.erase(std::u16string(name));
  place->second.next.clear();  // a lower number may be free
  Stamp(folder, place->second);
}

}  // namespace qv

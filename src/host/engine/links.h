// Joining both sides into pairs. Pure: nothing here looks at a file or asks a store.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/engine/content.h"
#include "host/engine/model.h"

namespace qv {

// Exceptions on the phone name their series by the phone's uid: the PC's item must have it.
bool MustAdopt(const PhoneItem& phone, std::u16string_view pcUid);

// The pairs of the record, and everything else alone.
void LinkByRecord(Inventory& sides);

// What the store answered for one text of the phone in a slow sync.
struct SlowMatch {
  int32_t phone = -1;
  int32_t pc = -1;
  std::u16string pcUid;
  ContentMatch content = ContentMatch::Unknown;
  Winner newer = Winner::None;
};

// The store takes the first item that has the same uid or the same key text. Texts whose key texts
// agree may so meet each other's partners: uids go first here, then the record, then matches of
// equal content. Matches that are left, of differing contents, stay in `matches` for
// `LinkRemaining`, when all that is equal has found itself.
void LinkSlow(Inventory& sides, std::vector<SlowMatch>& matches);
void LinkRemaining(Inventory& sides, const std::vector<SlowMatch>& matches);

// An exception that both sides made of one occurrence is one item: a link of the phone whose item
// the PC lacks, and the identifier that the store found for it.
struct OccurrenceMatch {
  int32_t link = -1;
  std::u16string pcId;
};
// Matches whose PC item is not alone are passed over.
void LinkOccurrences(Inventory& sides, const std::vector<OccurrenceMatch>& matches);

// What stands alone on one side, by what it holds. `link` is its place among the links.
struct LoneItem {
  int32_t link = -1;
  std::u16string uid;
  std::optional<ContentPrint> print;  // nothing for one that could not be read
  // Of a tree, where there is no print: the PC's identifier of its folder, empty for none; and what
  // it says, of a known item as it was agreed on for the PC.
  std::u16string place = {};
  Meaning says = {};
};

// Pairs one to one: equal uids first (of equal content where there are several), then equal
// contents, then contents equal but for what the PC cannot hold. In a tree title and address pair
// within one folder; elsewhere, and in the end by the address alone, only where the phone's item is
// a known one that went from its place on the PC.
void LinkLone(Inventory& sides, const std::vector<LoneItem>& phone,
              const std::vector<LoneItem>& pc);

// Moves the PC item of one lone link to the other. One that is gone and stood there is left by
// itself; what is left empty is dropped by the second of these.
ItemLink& JoinLinks(Inventory& sides, int32_t phoneLink, int32_t pcLink);
// The same in a tree; a record of the pair follows the PC's item.
ItemLink& JoinInTree(Inventory& sides, int32_t phoneLink, int32_t pcLink);
void DropEmptyLinks(Inventory& sides);

// The links of items that the other side lacks and that can be matched: of the phone's also those
// whose PC item is gone.
std::vector<int32_t> LonePhoneLinks(const Inventory& sides);
std::vector<int32_t> LonePcLinks(const Inventory& sides);
// New or changed exceptions of the phone that the PC lacks, or has no longer.
std::vector<int32_t> OpenExceptionLinks(const Inventory& sides);

}  // namespace qv

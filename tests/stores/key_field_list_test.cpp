#include "stores/key_field_list.h"

#include <gtest/gtest.h>

namespace qv {
namespace {

struct Entry {
  std::u16string uid;
  std::u16string key;
};

bool Matches(MatchRule rule, const Entry& a, const Entry& b) {
  const bool uids = !a.uid.empty() && a.uid == b.uid;
  const bool keys = !a.key.empty() && a.key == b.key;
  if (rule == MatchRule::UidOnly) return uids;
  if (rule == MatchRule::UidOrKey) return uids || keys;
  return uids || (keys && !a.uid.empty() && !b.uid.empty());
}

// Every pairing of three uids and three keys, empty ones among them, in a fixed shuffle.
std::vector<Entry> Shuffled() {
  const std::u16string values[] = {u"", u"a", u"b"};
  std::vector<Entry> entries;
  for (unsigned i = 0; i < 60; ++i) {
    const unsigned mixed = i * 2654435761u >> 8;
    entries.push_back({values[mixed % 3], values[mixed / 3 % 3]});
  }
  return entries;
}

TEST(KeyFieldList, AnswersAsAWalkFromTheFront) {
  for (const MatchRule rule :
       {MatchRule::UidThenKeyBothUids, MatchRule::UidOrKey, MatchRule::UidOnly}) {
    const std::vector<Entry> entries = Shuffled();
    KeyFieldList list(rule);
    std::vector<bool> gone(entries.size());
    for (const Entry& entry : entries) {
      Note note;
      note.fields.objUid = entry.uid;
      note.fields.keyFields = entry.key;
      list.Add(MakeNoteItem(note));
    }
    for (size_t round = 0; round < 200; ++round) {
      const Entry& in = entries[round * 7 % entries.size()];
      std::optional<size_t> expected;
      for (size_t i = 0; i < entries.size() && !expected; ++i) {
        if (!gone[i] && Matches(rule, in, entries[i])) expected = i;
      }
      ItemFields incoming;
      incoming.objUid = in.uid;
      incoming.keyFields = in.key;
      ASSERT_EQ(list.Find(incoming), expected) << static_cast<int>(rule) << " " << round;
      if (expected) {
        list.Remove(*expected);
        gone[*expected] = true;
      }
    }
  }
}

}  // namespace
}  // namespace qv

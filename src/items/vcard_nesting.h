// Which BEGIN an END belongs to.
//
// An END:VCARD ends the nearest open card and whatever is left open inside it; any other END ends
// the component that was opened last, unless that is a card. So a component without an end does
// not swallow the card around it.
#pragma once

#include <string_view>
#include <vector>

#include "support/vobject/lines.h"

namespace qv {

enum class Envelope { None, BeginCard, BeginOther, EndCard, EndOther };

Envelope EnvelopeOf(const Line& line);

template <class Mark>
class Nesting {
 public:
  struct Open {
    bool card;
    Mark mark;
  };

  bool empty() const { return open_.empty(); }
  void Push(bool card, Mark mark) { open_.push_back({card, mark}); }
  // The mark of the component that the line ends. For a card's end without an open card `unmatched`
  // is the answer, and everything is closed.
  Mark Pop(bool card, Mark unmatched) {
    if (!card && (open_.empty() || open_.back().card)) return unmatched;
    while (!open_.empty()) {
      const Open top = open_.back();
      open_.pop_back();
      if (top.card == card) return top.mark;
    }
    return unmatched;
  }

 private:
  std::vector<Open> open_;
};

}  // namespace qv

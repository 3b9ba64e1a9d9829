// Components within components: which BEGIN an END belongs to.
//
// A reader looks for components of one name, its own. An END of that name ends the nearest open one
// and whatever is left open inside it; any other END ends the component that was opened last,
// unless that is an own one. So a component without an end does not swallow the own one around it.
#pragma once

#include <string_view>
#include <vector>

#include "support/vobject/lines.h"

namespace qv {

enum class Envelope { None, BeginOwn, BeginOther, EndOwn, EndOther };

// `own` is one name or several with commas between them, "VEVENT,VTODO"; letter case does not
// count.
Envelope EnvelopeOf(const Line& line, std::string_view own);

constexpr bool IsBegin(Envelope envelope) {
  return envelope == Envelope::BeginOwn || envelope == Envelope::BeginOther;
}

template <class Mark>
class Nesting {
 public:
  struct Open {
    bool own;
    Mark mark;
  };

  bool empty() const { return open_.empty(); }
  void Push(bool own, Mark mark) { open_.push_back({own, mark}); }
  // The mark of the component that the line ends. For an own end without an open own component
  // `unmatched` is the answer, and everything is closed.
  Mark Pop(bool own, Mark unmatched) {
    if (!own && (open_.empty() || open_.back().own)) return unmatched;
    while (!open_.empty()) {
      const Open top = open_.back();
      open_.pop_back();
      if (top.own == own) return top.mark;
    }
    return unmatched;
  }

 private:
  std::vector<Open> open_;
};

// Reads on behind `begin`, the BEGIN line of a component inside an own one, to its end: an extra is
// the value from there on, `value`. `begin` was the reader's last line. A component without an end
// reaches to the end of the own one around it; then `ended` is set, and that end has been read.
std::string_view ReadNested(LineReader& reader, const Line& begin, std::string_view own,
                            bool& ended);

// Would the rendered extra, behind others and before the END of the own component, be read as one
// property again? Rows that came from elsewhere than a reader may hold anything.
bool IsOneProperty(std::string_view rendered, std::string_view own);

// The own components of a text, one view each from BEGIN to the line end behind END, nested ones
// within their outer one. Text between them is passed over; one without an end is left out.
std::vector<std::string_view> SplitComponents(std::string_view text, std::string_view own);

}  // namespace qv

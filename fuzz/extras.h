// What extras say, whatever grammar they stand in.
#pragma once

#include <vector>

#include "items/extra.h"

// Each as it is written, without the blank lines that may follow it.
inline std::vector<std::string> Written(const std::vector<qv::ExtraProperty>& extras,
                                        std::string_view own,
                                        const qv::ListProperties& lists = {}) {
  std::vector<std::string> texts;
  for (const qv::ExtraProperty& extra : extras) {
    qv::LineWriter writer;
    qv::WriteExtra(writer, extra, own, lists);
    std::string text = writer.Take();
    while (text.ends_with('\n') || text.ends_with('\r')) text.pop_back();
    texts.push_back(std::move(text));
  }
  return texts;
}

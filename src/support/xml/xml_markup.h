// The signs of XML that reader and writer share.
#pragma once

#include <string_view>

#include "support/xml/xml_tree.h"

namespace qv {

constexpr bool IsXmlBlank(char16_t unit) {
  return unit == u' ' || unit == u'\t' || unit == u'\r' || unit == u'\n';
}

// Stretches that are taken as they stand, in the order in which they are looked for.
inline constexpr XmlClear kXmlClears[] = {
    {{}, u"<![CDATA[", u"]]>"},
    {{}, u"<!DOCTYPE", u">"},
    {{}, u"<!--", u"-->"},
    {{}, u"<PRE>", u"</PRE>"},
};

struct XmlEntity {
  std::u16string_view text;  // letter case aside
  char16_t unit;
};

inline constexpr XmlEntity kXmlEntities[] = {
    {u"&amp;", u'&'}, {u"&lt;", u'<'}, {u"&gt;", u'>'}, {u"&quot;", u'"'}, {u"&apos;", u'\''},
};

}  // namespace qv

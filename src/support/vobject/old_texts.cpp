#include "support/vobject/old_texts.h"

#include <span>
#include <string_view>

namespace qv {
namespace {

using Text = std::string_view;

// What a head's stretch becomes for an ordinary device and for a sub-model; the stretch itself
// where it stays, empty where it goes.
struct Row {
  Text match;
  Text ordinary;
  Text subModel;
};

// The rows for a head that holds a text. When none of them occurs, the line stays.
struct Group {
  Text contains;
  std::span<const Row> rows;
};

constexpr Row kLeading[] = {
    {"SOUND", "X-PHONETIC-NAME", "X-PHONETIC-NAME"},
    {"NICKNAME", "X-NICKNAME", "X-NICKNAME"},
    {"X-ANNI:", "X-ANNIVERSARY:", "X-ANNIVERSARY:"},
    {"X-EVENTDAY:", "X-EVENT:", "X-EVENT:"},
};

constexpr Row kTelephones[] = {
    {";WORK:", ";WORK;VOICE:", ";WORK;VOICE:"},
    {";HOME:", ";HOME;VOICE:", ";HOME;VOICE:"},
    {";VOICE;FAX:", ";FAX:", ";FAX:"},
    {";HOME;FAX:", ";HOME;FAX:", ";FAX;HOME:"},
    {";WORK;FAX:", ";WORK;FAX:", ";FAX;WORK:"},
    {";HOME;CELL:", ";CELL:", ";CELL;HOME:"},
    {";WORK;CELL:", ";CELL:", ";CELL;WORK:"},
    {";VOICE;CELL:", ";CELL:", ";CELL:"},
    {";COMPANY:", ";X-COMPANY-MAIN:", ";X-COMPANY-MAIN:"},
    {";WORK;PAGER:", ";PAGER:", ";PAGER;WORK:"},
    {";VOICE;PAGER:", ";PAGER:", ";PAGER:"},
    {";RADIO:", ";X-RADIO:", ";X-RADIO:"},
    {";VOICE;CAR:", ";CAR:", ";CAR:"},
    {";VIDEO:", ":", ";VIDEO:"},
    {";ASSISTANT:", ";X-ASSISTANT:", ";X-ASSISTANT:"},
    {";CALLBACK:", ";X-CALLBACK:", ";X-CALLBACK:"},
    {";MAIN:", ":", ";X-MAIN:"},
    {";TELEX:", ";X-TELEX:", ";X-TELEX:"},
    {";TTY:", ";X-TTY-TDD:", ";X-TTY-TDD:"},
    {";MMS:", ":", ";X-MMS:"},
    {";ANDROID_OTHER:", ":", ";X-OTHER:"},
    {";INTERNET:", ":", ";X-OTHER:"},
    {";PTT:", ":", ";X-OTHER:"},
    {";VOIP:", ":", ";X-OTHER:"},
    {";CUSTOM:", ":", ";X-OTHER:"},
    {";MSG:", ":", ";X-OTHER:"},
    {";BBS:", ":", ";X-OTHER:"},
    {";MODEM:", ":", ";X-OTHER:"},
};

constexpr Row kMails[] = {
    {";Private", ";INTERNET;HOME", ";HOME"}, {";Work", ";INTERNET;WORK", ";WORK"},
    {";Mobile", ";INTERNET", ";MOBILE"},     {";Unknown", ";INTERNET", ";INTERNET"},
    {";Other", ";INTERNET", ";X-OTHER"},     {";Custom", ";INTERNET", ";X-OTHER"},
};

constexpr Row kMessengers[] = {
    {";GoogleTalk", ";GOOGLE_TALK", ";X-TYPE=GOOGLE_TALK"},
    {";AIM", ";AOL", ";X-TYPE=AIM"},
    {";Window", ";MSN", ";X-TYPE=MSN"},
    {";Yahoo", ";YAHOO", ";X-TYPE=YAHOO"},
    {";Skype", ";SKYPE", ";X-TYPE=SKYPE"},
    {";Jabber", ";JABBER", ";X-TYPE=JABBER"},
    {";QQ", ";QQ", ";X-TYPE=QQ"},
    {";ICQ", ";ICQ", ";X-TYPE=ICQ"},
    {";Unknown", ";AOL", ";X-TYPE=X-OTHER"},
    {";Other", ";AOL", ";X-TYPE=X-OTHER"},
    {";Custom", ";AOL", ";X-TYPE=X-OTHER"},
};

constexpr Row kWebAddresses[] = {
    {";Private", ";HOME", ";HOME"},  {";Work", ";WORK", ";WORK"},      {";Unknown", ";WORK", ""},
    {";Other", ";WORK", ";X-OTHER"}, {";Custom", ";WORK", ";X-OTHER"},
};

constexpr Row kAddresses[] = {
    {";DOM", "", ""},
    {";INTL", "", ";X-OTHER"},
    {";POSTAL", "", ";X-OTHER"},
    {";PARCEL", "", ";X-OTHER"},
    {";OTHER", "", ";X-OTHER"},
    {";CUSTOM", "", ";X-OTHER"},
};

constexpr Row kOrganisations[] = {
    {";Work", ";WORK", ";WORK"},
    {";Unknown", "", ""},
    {";Other", "", ";X-OTHER"},
    {";Custom", "", ";X-OTHER"},
};

constexpr Text kMessengerHead = "X-CHATID;";

constexpr Group kGroups[] = {
    {"TEL;", kTelephones},   {"EMAIL;", kMails},   {kMessengerHead, kMessengers},
    {"URL;", kWebAddresses}, {"ADR;", kAddresses}, {"ORG;", kOrganisations},
};

Text HeadOf(Text line) {
  const size_t colon = line.find(':');
  return colon == line.npos ? Text() : line.substr(0, colon + 1);
}

void AppendChanged(std::string& out, Text line, size_t at, size_t length, Text replacement) {
  out.append(line.substr(0, at)).append(replacement).append(line.substr(at + length));
}

void ApplyRows(std::string& out, Text line, Text head, std::span<const Row> rows, bool isSubModel) {
  for (const Row& row : rows) {
    const size_t at = head.find(row.match);
    if (at == head.npos) continue;
    return AppendChanged(out, line, at, row.match.size(), isSubModel ? row.subModel : row.ordinary);
  }
  out.append(line);
}

void AppendFavourite(std::string& out, Text line, Text head) {
  const Text value = line.substr(head.size());
  if (value.find("YES") != value.npos) return AppendChanged(out, line, head.size(), 3, "TRUE");
  if (value.find("NO") != value.npos) return AppendChanged(out, line, head.size(), 2, "FALSE");
  out.append(line);
}

void AppendOldVCardLine(std::string& out, Text line, Text head, bool isSubModel) {
  for (const Row& row : kLeading) {
    if (!head.starts_with(row.match)) continue;
    return AppendChanged(out, line, 0, row.match.size(), row.ordinary);
  }
  for (const Group& group : kGroups) {
    if (head.find(group.contains) == head.npos) continue;
    if (group.contains != kMessengerHead) {
      return ApplyRows(out, line, head, group.rows, isSubModel);
    }
    // The first characters make room, wherever the name stood.
    std::string renamed(isSubModel ? "X-IM;" : "X-IMPP;");
    renamed.append(line.substr(kMessengerHead.size()));
    return ApplyRows(out, renamed, HeadOf(renamed), group.rows, isSubModel);
  }
  if (head.starts_with("X-GROUP")) return;
  if (head.starts_with("X-FAVORITE:")) return AppendFavourite(out, line, head);
  out.append(line);
}

void AppendOldVCalendarLine(std::string& out, Text line, Text head, bool) {
  if (head.starts_with("X-UID:") || head.starts_with("X-EXCEPTIONTYPE:")) return;
  out.append(line);
}

void AppendOldVNoteLine(std::string& out, Text line, Text head, bool) {
  constexpr Text kDescription = "DESCRIPTION";
  if (head.starts_with("X-MODIFIED:")) return;
  if (!head.starts_with(kDescription)) {
    out.append(line);
  } else {
    AppendChanged(out, line, 0, kDescription.size(), "BODY");
  }
}

template <class AppendLine>
void WalkLines(std::string& text, bool isSubModel, AppendLine appendLine) {
  constexpr Text kLineEnd = "\r\n";
  const Text all = text;
  std::string out;
  out.reserve(text.size());
  size_t start = 0;  // of the logical line
  size_t at = 0;
  while (true) {
    const size_t lineEnd = all.find(kLineEnd, at);
    if (lineEnd == all.npos) {
      out.append(all.substr(at));
      break;
    }
    at = lineEnd + kLineEnd.size();
    if (at < all.size() && (all[at] == ' ' || all[at] == '\t')) continue;
    const Text line = all.substr(start, at - start);
    appendLine(out, line, HeadOf(line), isSubModel);
    start = at;
  }
  text = std::move(out);
}

}  // namespace

void NormalizeOldVCard(std::string& text, const bool& isSubModel) {
  WalkLines(text, isSubModel, AppendOldVCardLine);
}

void NormalizeOldVCalendar(std::string& text, const bool& isSubModel) {
  WalkLines(text, isSubModel, AppendOldVCalendarLine);
}

void NormalizeOldVNote(std::string& text, const bool& isSubModel) {
  WalkLines(text, isSubModel, AppendOldVNoteLine);
}

}  // namespace qv

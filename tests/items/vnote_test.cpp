#include "items/vnote.h"

#include <gtest/gtest.h>

#include "kit/platform_fakes.h"
#include "platform/system/utf8.h"

namespace qv {
namespace {

std::string Wrap(const std::string& lines) {
  return "BEGIN:VNOTE\r\nVERSION:1.1\r\n" + lines + "END:VNOTE\r\n";
}

struct Row {
  const char* in;
  const char* out;
};

TEST(VNote, ReadsEveryFormAndWritesOne) {
  const Row kRows[] = {
      {"BODY:milk\r\n", "BODY:milk\r\n"},
      {"", "BODY:\r\n"},
      {"BODY;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=C3=A4=0D=0Ab=\r\nc\r\n",
       "BODY;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=C3=A4=0D=0Abc\r\n"},
      {"BODY;ENCODING=BASE64:bWlsaw==\r\n\r\n", "BODY:milk\r\n"},
      {"UID:7\r\nBODY:x\r\n", "X-IRMC-LUID:7\r\nBODY:x\r\n"},
      {"X-UID:7\r\nBODY:x\r\nX-IRMC-LUID:8\r\n", "X-IRMC-LUID:7\r\nBODY:x\r\nX-IRMC-LUID:8\r\n"},
      {"BODY:x\r\nLAST-MODIFIED:2024-01-02T03:04:05Z\r\n",
       "LAST-MODIFIED:20240102T030405Z\r\nBODY:x\r\n"},
      {"LAST-MODIFIED:yesterday\r\nBODY:x\r\n", "BODY:x\r\nLAST-MODIFIED:yesterday\r\n"},
      {"BEGIN:VMEMO\r\nBODY:inside\r\nEND:VMEMO\r\n", "BODY:inside\r\n"},
      {"DCREATED:20240101T000000\r\nSUMMARY:s\r\nCATEGORIES:a;b\r\nCLASS:PRIVATE\r\nBODY:x\r\n",
       "BODY:x\r\nDCREATED:20240101T000000\r\nSUMMARY:s\r\nCATEGORIES:a;b\r\nCLASS:PRIVATE\r\n"},
      {"BODY:one\r\nBODY:two\r\n", "BODY:one\r\nBODY:two\r\n"},
      {"BODY:x\r\nBEGIN:VCARD\r\nN:a\r\nEND:VCARD\r\n",
       "BODY:x\r\nBEGIN:VCARD\r\nN:a\r\nEND:VCARD\r\n"},
  };
  for (const Row& row : kRows) {
    const std::optional<Note> note = ParseVNote(Wrap(row.in));
    ASSERT_TRUE(note) << row.in;
    EXPECT_EQ(WriteVNote(*note), Wrap(row.out)) << row.in;
    EXPECT_EQ(WriteVNote(*ParseVNote(Wrap(row.out))), Wrap(row.out)) << row.out;
  }
}

TEST(VNote, TakesTheFirstWholeNoteAndTellsManyApart) {
  const std::string text = "BEGIN:VNOTE\r\nBODY:cut off\r\n" + Wrap("BODY:a\r\n") + "between\r\n" +
                           "begin:vnote\nbody:b\nend:vnote\n";
  EXPECT_EQ(VNotesIn(text).size(), 2u);
  EXPECT_EQ(ParseVNote(text)->body, u"a");
  EXPECT_EQ(ParseVNote(VNotesIn(text)[1])->body, u"b");
  for (const char* bad : {"", "BODY:x\r\n", "BEGIN:VNOTE\r\nBODY:x\r\n", "END:VNOTE\r\n"}) {
    EXPECT_FALSE(ParseVNote(bad)) << bad;
  }
}

TEST(VNote, HoldsAGreatNoteAndAnOddOne) {
  Note note;
  note.body = std::u16string(50 << 20, u'x');
  EXPECT_EQ(ParseVNote(WriteVNote(note))->body.size(), note.body.size());
  for (const char16_t* body : {u"", u"\r\n", u"END:VNOTE", u" lead", u"trail ", u"=41", u"\\n;,"}) {
    note.body = body;
    EXPECT_EQ(ParseVNote(WriteVNote(note))->body, body) << ToUtf8(body);
  }
}

TEST(VNote, PlainTextEndsAtItsFirstNulAndHasNothingBesideTheBody) {
  const Note note = NoteFromPlainText(std::string_view("a\xE4\nb\0c", 6));
  EXPECT_EQ(note.body, u"a\u00E4\nb");
  EXPECT_TRUE(note.fields.objUid.empty());
  EXPECT_EQ(NoteFromPlainText("").body, u"");
  Note odd;
  odd.body = u"\u20AC\u5C71";
  EXPECT_EQ(PlainTextOf(odd), "\x80?");
}

}  // namespace
}  // namespace qv

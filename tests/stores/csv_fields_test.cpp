// Fields of CSV files: from cells to items and back.
#include "stores/importexport/csv_fields.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <random>

#include "items/item_objects.h"
#include "items/vcard.h"
#include "kit/store_stack.h"
#include "stores/importexport/csv_number.h"
#include "support/date_time.h"
#include "support/text.h"
#include "syncdb/group_table.h"

namespace qv {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Cells = std::map<std::string, std::string>;

class CsvFields : public testing::Test {
 protected:
  CsvFields() {
    Check(s.db->GetSessionId(&session.session));
    session.accessor = Query<IDBAccessor>(s.db);
    s.db->Run(u"INSERT INTO ContGrp_NameUidMap(grpname,obj_uid) VALUES('Friends','g1')");
  }
  ComPtr<IItemCommon> Read(const CsvFieldSet& set, const Cells& cells) {
    FieldTexts texts(set.names.size());
    for (const auto& [name, text] : cells) {
      texts.at(static_cast<size_t>(FieldNumber(set, FromUtf8(name)))) = FromUtf8(text);
    }
    return set.read(texts, GroupTable(session, QuoteRule::AsTheyStand));
  }
  // "Column=text" in the order of the columns.
  std::vector<std::string> Write(const CsvFieldSet& set, IUnknown* item) {
    std::vector<std::string> cells;
    for (const FieldCell& cell : set.write(item, GroupTable(session, QuoteRule::AsTheyStand))) {
      cells.push_back(ToUtf8(ColumnName(set, cell) + u"=" + cell.text));
    }
    return cells;
  }
  std::vector<std::string> Rewrite(const CsvFieldSet& set, const Cells& cells) {
    return Write(set, Read(set, cells).get());
  }

  test::StoreBed s;
  SyncSession session;
};

TEST_F(CsvFields, AContactsFieldsHaveTheirNames) {
  std::string names;
  for (const std::u16string_view name : kContactFields.names) names += ToUtf8(name) + "|";
  EXPECT_EQ(names,
            "FamilyName|GivenName|Additional|Prefix|Suffix|FormattedName|NickName|Note|BirthDay|"
            "Anniversary|Photo|Work Company|Work Department|Other Company|Other Department|"
            "JobTitle|Google Messenger|AIM Messenger|MSN Messenger|Yahoo Messenger|"
            "Skype Messenger|QQ Messenger|ICQ Messenger|Jabber Messenger|Other Messenger|"
            "Default Telephone|Home Telephone|Work Telephone|Other Telephone|Home Fax|Work Fax|"
            "Other Fax|Mobile|Company Telephone|Pager|Radio|Car|Assistant|IDSN|Callback|Telex|"
            "TTY-TDD|Home Email|Work Email|Other Email|Home Url|Work Url|Other Url|"
            "Home Address Postoffice|Home Address Extended|Home Address Street|"
            "Home Address Locality|Home Address Region|Home Address Postalcode|"
            "Home Address Country|Work Address Postoffice|Work Address Extended|"
            "Work Address Street|Work Address Locality|Work Address Region|"
            "Work Address Postalcode|Work Address Country|Other Address Postoffice|"
            "Other Address Extended|Other Address Street|Other Address Locality|"
            "Other Address Region|Other Address Postalcode|Other Address Country|Group|");
  EXPECT_EQ(FieldNumber(kContactFields, u"mobile"), -1);
}

TEST_F(CsvFields, EachFieldIsItsOwnPropertyOfACard) {
  const struct {
    const char* fields;
    const char* lines;
  } kCases[] = {
      {"Google Messenger|AIM Messenger|MSN Messenger|Yahoo Messenger|Skype Messenger|QQ Messenger|"
       "ICQ Messenger|Jabber Messenger|Other Messenger|",
       "X-IMPP;GOOGLE_TALK|X-IMPP;AOL|X-IMPP;MSN|X-IMPP;YAHOO|X-IMPP;SKYPE|X-IMPP;QQ|X-IMPP;ICQ|"
       "X-IMPP;JABBER|X-IMPP;X-OTHER|"},
      {"Default Telephone|Home Telephone|Work Telephone|Other Telephone|Home Fax|Work Fax|"
       "Other Fax|Mobile|Company Telephone|Pager|Radio|Car|Assistant|IDSN|Callback|Telex|TTY-TDD|",
       "TEL;PREF|TEL;HOME;VOICE|TEL;WORK;VOICE|TEL|TEL;HOME;FAX|TEL;WORK;FAX|TEL;FAX|TEL;CELL|"
       "TEL;X-COMPANY-MAIN|TEL;PAGER|TEL;X-RADIO|TEL;CAR|TEL;X-ASSISTANT|TEL;ISDN|"
       "TEL;X-CALLBACK|TEL;X-TELEX|TEL;X-TTY-TDD|"},
      {"Home Email|Work Email|Other Email|Home Url|Work Url|Other Url|",
       "EMAIL;INTERNET;HOME|EMAIL;INTERNET;WORK|EMAIL;INTERNET|URL;HOME|URL;WORK|URL|"},
  };
  const auto cut = [](std::string_view& list) {
    const std::string_view entry = list.substr(0, list.find('|'));
    list.remove_prefix(entry.size() + 1);
    return std::string(entry);
  };
  for (auto [fields, lines] : kCases) {
    for (std::string_view names = fields, heads = lines; !names.empty();) {
      const std::string field = cut(names);
      const ComPtr<IItemCommon> item = Read(kContactFields, {{field, "v"}});
      EXPECT_THAT(WriteVCard(*ContactOf(item.get())),
                  testing::HasSubstr("\r\n" + cut(heads) + ":v\r\n"))
          << field;
    }
  }
}

TEST_F(CsvFields, WhatCameFromCellsGoesBackIntoTheSame) {
  std::mt19937 random(17);
  for (int round = 0; round < 300; ++round) {
    // A title has its column beside a company alone.
    Cells cells{{"Work Company", "c"}};
    for (int i = 0; i < 12; ++i) {
      const std::string field = ToUtf8(kContactFields.names[random() % 69]);
      const bool isDate = field == "BirthDay" || field == "Anniversary";
      std::string value = isDate ? "19" + std::to_string(10 + random() % 90) + "-0" +
                                       std::to_string(1 + random() % 9) + "-17 00:00"
                                 : "v" + std::to_string(random() % 1000) + ", =\n;\\ü";
      if (field != "Photo") cells[field] = std::move(value);
    }
    const ComPtr<IItemCommon> item = Read(kContactFields, cells);
    Cells back;
    for (FieldCell& cell :
         kContactFields.write(item.get(), GroupTable(session, QuoteRule::AsTheyStand))) {
      std::erase(cell.text, u'"');
      if (!cell.text.empty()) {
        back[ToUtf8(kContactFields.names[static_cast<size_t>(cell.field)])] = ToUtf8(cell.text);
      }
    }
    if (!cells.contains("FormattedName")) back.erase("FormattedName");  // made of the other names
    EXPECT_EQ(back, cells);
  }
}

TEST_F(CsvFields, CellsOfAContactStandInTheirOrder) {
  EXPECT_THAT(Rewrite(kContactFields, {{"GivenName", "Ann"},
                                       {"FamilyName", "Lee"},
                                       {"BirthDay", "1980-05-17 23:59"},
                                       {"Anniversary", "no date"},
                                       {"Work Company", "C"},
                                       {"JobTitle", "Boss"},
                                       {"Mobile", "\"555\"-1234\""},
                                       {"IDSN", "9"},
                                       {"Home Address Street", "S"},
                                       {"Group", "Unknown"}}),
              ElementsAre("FamilyName=Lee", "GivenName=Ann", "FormattedName=Lee Ann",
                          "BirthDay_1=1980-05-17 00:00", "Work Company=C",
                          "Work Department=", "JobTitle_1=Boss", "Mobile_1=\"555-1234\"",
                          "IDSN_1=\"9\"", "Home Address Postoffice=", "Home Address Extended=",
                          "Home Address Street=S", "Home Address Locality=", "Home Address Region=",
                          "Home Address Postalcode=", "Home Address Country="));
  // A name with a quote is a statement that fails; the contact comes in all the same.
  EXPECT_THAT(Rewrite(kContactFields, {{"Group", "O'Neil"}, {"Note", "n"}}), ElementsAre("Note=n"));
  const auto empty = Read(kContactFields, {});
  EXPECT_THAT(Write(kContactFields, empty.get()), IsEmpty());
  EXPECT_FALSE(FieldsOf(empty.get())->objUid.empty());
  EXPECT_EQ(FormatDateTime(FieldsOf(empty.get())->modified), u"2024-03-05 06:07:08");

  Contact contact;
  contact.telephones = {{PhoneKind::Home, u"1"}, {PhoneKind::Video, u"2"}, {PhoneKind::Home, u"3"}};
  contact.mails = {{MailKind::Mobile, u"a@b"}};
  contact.addresses = {std::nullopt, PostalAddress{PlaceKind::Home, {u"1"}},
                       PostalAddress{PlaceKind::Home, {u"2"}}};
  contact.organisations = {{OrganisationKind::Other, u"A", u""},
                           {OrganisationKind::Other, u"B", u""}};
  contact.jobTitles = {u"", u"T", u"beyond"};
  contact.groupUids = {u"g1", u"g2"};
  const auto cells = Write(kContactFields, MakeContactItem(contact).get());
  EXPECT_THAT(
      cells,
      ElementsAre("Other Company=A", "Other Department=", "JobTitle_1=T", "Home Telephone_1=\"1\"",
                  "Home Telephone_2=\"3\"", "Home Address Postoffice=1", "Home Address Extended=",
                  "Home Address Street=", "Home Address Locality=", "Home Address Region=",
                  "Home Address Postalcode=", "Home Address Country=", "Group_1=Friends"));
}

TEST_F(CsvFields, GroupsAreAskedForOnce) {
  const GroupTable groups(session, QuoteRule::AsTheyStand);
  FieldTexts texts(kContactFields.names.size());
  texts.back() = u"Friends";
  for (int i = 0; i < 3; ++i) kContactFields.read(texts, groups);
  EXPECT_EQ(s.db->statements().size(), 1u);
}

TEST_F(CsvFields, AppointmentsKeepTheirMoments) {
  s.zone.Set(ParsePosixZone("CET-1"));
  const Cells kAll = {{"Subject", "S"},
                      {"Start Date", "2024-03-01 10:00"},
                      {"End Date", "2024-03-01 11:00"},
                      {"AllDay", "1"},
                      {"Alarm Date", "2024-03-01 09:45"},
                      {"Recurrence Type", "2"},
                      {"Recurrence DayOfWeek", " 4 "},
                      {"Recurrence UntileDate", "2024-06-01 10:00"},
                      {"Priority", "1"},
                      {"Class", "2.5"}};
  const auto item = Read(kCalendarFields, kAll);
  EXPECT_EQ(FormatDateTime(CalendarOf(item.get())->start), u"2024-03-01 09:00:00");
  EXPECT_EQ(CalendarOf(item.get())->reminderMinutes, 15);
  EXPECT_THAT(
      Write(kCalendarFields, item.get()),
      ElementsAre("Subject=S", "Start Date=2024-03-01 10:00", "End Date=2024-03-01 11:00",
                  "AllDay=1", "Alarm Date=2024-03-01 09:45", "Recurrence Type=2",
                  "Recurrence Interval=0", "Recurrence Instance=0", "Recurrence DayOfWeek=4",
                  "Recurrence DayOfMonth=0", "Recurrence MonthOfYear=0", "Recurrence Occurrence=0",
                  "Recurrence UntileDate=2024-06-01 10:00", "Priority=1", "Class=2"));
  const auto odd = Read(kCalendarFields, {{"Start Date", "2024-03-01 10:00"},
                                          {"End Date", "31.31.2024"},
                                          {"AllDay", "true"},
                                          {"Alarm Date", "2024-03-01 10:30"},
                                          {"Recurrence Type", "77"},
                                          {"Recurrence Interval", "3"},
                                          {"Priority", "high"}});
  const Calendar& calendar = *CalendarOf(odd.get());
  EXPECT_EQ(calendar.end, 0.0);
  EXPECT_FALSE(calendar.allDay);
  EXPECT_EQ(calendar.reminderMinutes, -30);
  EXPECT_FALSE(calendar.isRecurring);
  EXPECT_EQ(calendar.recurrence.interval, 3);
  EXPECT_EQ(calendar.priority, 0);
  const auto alone = Read(kCalendarFields, {{"Alarm Date", "1900-01-01 01:00"}});
  EXPECT_EQ(CalendarOf(alone.get())->reminderMinutes, -2 * 1440);
}

TEST(CellNumberTest, AnythingElseIsZero) {
  const std::pair<const char16_t*, int32_t> kCases[] = {
      {u"12", 12},
      {u" \t-3 ", -3},
      {u"+4.", 4},
      {u"2.5", 2},
      {u"3.5", 4},
      {u"2.51", 3},
      {u"-2.5", -2},
      {u"2147483647.4", 2147483647},
      {u"2147483648", 0},
      {u"0x1", 0},
      {u"-2147483648", INT32_MIN},
      {u"1e3", 0},
      {u"", 0},
      {u"--1", 0},
      {u".5", 0},
      {u"1 2", 0},
      {u"1,5", 0},
      {u"99999999999999999999", 0},
  };
  for (const auto& [text, number] : kCases) EXPECT_EQ(CellNumber(text), number) << ToUtf8(text);
}

}  // namespace
}  // namespace qv

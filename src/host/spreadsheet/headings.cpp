#include "host/spreadsheet/headings.h"

#include <algorithm>

namespace qv {
namespace {

// The address books of mail programs, phones and web services in English and German.
constexpr Heading kContactHeadings[] = {
    {u"lastname", {u"FamilyName"}},
    {u"surname", {u"FamilyName"}},
    {u"familyname", {u"FamilyName"}},
    {u"nachname", {u"FamilyName"}},
    {u"last", {u"FamilyName"}},
    {u"familienname", {u"FamilyName"}},
    {u"firstname", {u"GivenName"}},
    {u"givenname", {u"GivenName"}},
    {u"vorname", {u"GivenName"}},
    {u"first", {u"GivenName"}},
    {u"middlename", {u"Additional"}},
    {u"middle", {u"Additional"}},
    {u"additionalname", {u"Additional"}},
    {u"weiterevornamen", {u"Additional"}},
    {u"zweitervorname", {u"Additional"}},
    {u"title", {u"Prefix"}},
    {u"nameprefix", {u"Prefix"}},
    {u"anrede", {u"Prefix"}},
    {u"titel", {u"Prefix"}},
    {u"namesuffix", {u"Suffix"}},
    {u"suffixname", {u"Suffix"}},
    {u"namenszusatz", {u"Suffix"}},
    {u"displayname", {u"FormattedName"}},
    {u"fullname", {u"FormattedName"}},
    {u"name", {u"FormattedName"}},
    {u"anzeigename", {u"FormattedName"}},
    {u"fileas", {u"FormattedName"}},
    {u"nickname", {u"NickName"}},
    {u"spitzname", {u"NickName"}},
    {u"notes", {u"Note"}},
    {u"note", {u"Note"}},
    {u"notizen", {u"Note"}},
    {u"bemerkungen", {u"Note"}},
    {u"bemerkung", {u"Note"}},
    {u"comments", {u"Note"}},
    {u"birthday", {u"BirthDay"}},
    {u"geburtstag", {u"BirthDay"}},
    {u"geburtsdatum", {u"BirthDay"}},
    {u"anniversary", {u"Anniversary"}},
    {u"jahrestag", {u"Anniversary"}},
    {u"company", {u"Work Company", u"Other Company"}},
    {u"organization", {u"Work Company", u"Other Company"}},
    {u"organizationname", {u"Work Company", u"Other Company"}},
    {u"organization1name", {u"Work Company", u"Other Company"}},
    {u"firma", {u"Work Company", u"Other Company"}},
    {u"organisation", {u"Work Company", u"Other Company"}},
    {u"department", {u"Work Department", u"Other Department"}},
    {u"organizationdepartment", {u"Work Department", u"Other Department"}},
    {u"organization1department", {u"Work Department", u"Other Department"}},
    {u"abteilung", {u"Work Department", u"Other Department"}},
    {u"jobtitle", {u"JobTitle"}},
    {u"organizationtitle", {u"JobTitle"}},
    {u"organization1title", {u"JobTitle"}},
    {u"position", {u"JobTitle"}},
    {u"berufsbezeichnung", {u"JobTitle"}},
    {u"arbeitstitel", {u"JobTitle"}},
    {u"homephone", {u"Home Telephone", u"Other Telephone", u"Default Telephone"}},
    {u"homephone2", {u"Other Telephone", u"Default Telephone", u"Callback"}},
    {u"telefonprivat", {u"Home Telephone", u"Other Telephone", u"Default Telephone"}},
    {u"telefonprivat2", {u"Other Telephone", u"Default Telephone"}},
    {u"telprivat", {u"Home Telephone", u"Other Telephone", u"Default Telephone"}},
    {u"rufnummerprivat", {u"Home Telephone", u"Other Telephone", u"Default Telephone"}},
    {u"home", {u"Home Telephone", u"Other Telephone", u"Default Telephone"}},
    {u"telephoneprivate", {u"Home Telephone", u"Other Telephone"}},
    {u"businessphone", {u"Work Telephone", u"Company Telephone", u"Other Telephone"}},
    {u"businessphone2", {u"Company Telephone", u"Other Telephone", u"Default Telephone"}},
    {u"workphone", {u"Work Telephone", u"Company Telephone", u"Other Telephone"}},
    {u"telefongesch\u00E4ftlich", {u"Work Telephone", u"Company Telephone", u"Other Telephone"}},
    {u"telefongesch\u00E4ftlich2", {u"Company Telephone", u"Other Telephone"}},
    {u"telefondienstlich", {u"Work Telephone", u"Company Telephone", u"Other Telephone"}},
    {u"teldienstlich", {u"Work Telephone", u"Company Telephone", u"Other Telephone"}},
    {u"rufnummergesch\u00E4ftlich", {u"Work Telephone", u"Company Telephone", u"Other Telephone"}},
    {u"work", {u"Work Telephone", u"Company Telephone", u"Other Telephone"}},
    {u"companymainphone", {u"Company Telephone", u"Work Telephone"}},
    {u"telefonfirma", {u"Company Telephone", u"Work Telephone"}},
    {u"primaryphone", {u"Default Telephone", u"Other Telephone"}},
    {u"generalphone", {u"Default Telephone", u"Other Telephone"}},
    {u"primary", {u"Default Telephone", u"Other Telephone"}},
    {u"haupttelefon", {u"Default Telephone", u"Other Telephone"}},
    {u"phone", {u"Default Telephone", u"Home Telephone", u"Other Telephone"}},
    {u"telephone", {u"Default Telephone", u"Home Telephone", u"Other Telephone"}},
    {u"telefon", {u"Default Telephone", u"Home Telephone", u"Other Telephone"}},
    {u"phonenumber", {u"Default Telephone", u"Home Telephone", u"Other Telephone"}},
    {u"phone1value", {u"Default Telephone", u"Other Telephone", u"Home Telephone"}},
    {u"phone2value", {u"Other Telephone", u"Home Telephone", u"Work Telephone"}},
    {u"phone3value", {u"Home Telephone", u"Work Telephone", u"Callback"}},
    {u"phone4value", {u"Work Telephone", u"Company Telephone", u"Callback"}},
    {u"otherphone", {u"Other Telephone", u"Default Telephone"}},
    {u"other", {u"Other Telephone", u"Default Telephone"}},
    {u"weiterestelefon", {u"Other Telephone", u"Default Telephone"}},
    {u"mobilephone", {u"Mobile", u"Other Telephone"}},
    {u"mobilenumber", {u"Mobile", u"Other Telephone"}},
    {u"cellphone", {u"Mobile", u"Other Telephone"}},
    {u"mobiltelefon", {u"Mobile", u"Other Telephone"}},
    {u"mobiltelnr", {u"Mobile", u"Other Telephone"}},
    {u"generalmobile", {u"Mobile", u"Other Telephone"}},
    {u"homemobile", {u"Mobile", u"Other Telephone", u"Default Telephone"}},
    {u"businessmobile", {u"Mobile", u"Company Telephone", u"Other Telephone"}},
    {u"mobiltelefon2", {u"Other Telephone", u"Default Telephone"}},
    {u"handy", {u"Mobile", u"Other Telephone"}},
    {u"mobil", {u"Mobile", u"Other Telephone"}},
    {u"homefax", {u"Home Fax", u"Other Fax"}},
    {u"faxprivat", {u"Home Fax", u"Other Fax"}},
    {u"businessfax", {u"Work Fax", u"Other Fax"}},
    {u"faxnumber", {u"Work Fax", u"Other Fax"}},
    {u"faxgesch\u00E4ftlich", {u"Work Fax", u"Other Fax"}},
    {u"faxdienstlich", {u"Work Fax", u"Other Fax"}},
    {u"faxnummer", {u"Work Fax", u"Other Fax"}},
    {u"fax", {u"Work Fax", u"Other Fax"}},
    {u"generalfax", {u"Other Fax", u"Work Fax"}},
    {u"otherfax", {u"Other Fax", u"Home Fax"}},
    {u"weiteresfax", {u"Other Fax", u"Home Fax"}},
    {u"pager", {u"Pager"}},
    {u"pagernumber", {u"Pager"}},
    {u"pagernummer", {u"Pager"}},
    {u"radiophone", {u"Radio"}},
    {u"mobilfunk", {u"Radio"}},
    {u"carphone", {u"Car"}},
    {u"autotelefon", {u"Car"}},
    {u"assistantsphone", {u"Assistant"}},
    {u"telefonassistent", {u"Assistant"}},
    {u"isdn", {u"IDSN"}},
    {u"callback", {u"Callback"}},
    {u"r\u00FCckmeldung", {u"Callback"}},
    {u"telex", {u"Telex"}},
    {u"ttytddphone", {u"TTY-TDD"}},
    {u"telefonf\u00FCrh\u00F6rbehinderte", {u"TTY-TDD"}},
    {u"emailaddress", {u"Home Email", u"Work Email", u"Other Email"}},
    {u"email", {u"Home Email", u"Work Email", u"Other Email"}},
    {u"primaryemail", {u"Home Email", u"Work Email", u"Other Email"}},
    {u"homeemail", {u"Home Email", u"Other Email"}},
    {u"generalemail", {u"Other Email", u"Home Email", u"Work Email"}},
    {u"emailadresse", {u"Home Email", u"Work Email", u"Other Email"}},
    {u"prim\u00E4reemailadresse", {u"Home Email", u"Work Email", u"Other Email"}},
    {u"email1value", {u"Home Email", u"Work Email", u"Other Email"}},
    {u"email2address", {u"Work Email", u"Other Email", u"Home Email"}},
    {u"secondaryemail", {u"Work Email", u"Other Email", u"Home Email"}},
    {u"alternateemail1", {u"Work Email", u"Other Email", u"Home Email"}},
    {u"businessemail", {u"Work Email", u"Other Email"}},
    {u"workemail", {u"Work Email", u"Other Email"}},
    {u"email2adresse", {u"Work Email", u"Other Email", u"Home Email"}},
    {u"sekund\u00E4reemailadresse", {u"Work Email", u"Other Email", u"Home Email"}},
    {u"email2value", {u"Work Email", u"Other Email", u"Home Email"}},
    {u"email3address", {u"Other Email", u"Work Email", u"Home Email"}},
    {u"alternateemail2", {u"Other Email", u"Work Email", u"Home Email"}},
    {u"email3adresse", {u"Other Email", u"Work Email", u"Home Email"}},
    {u"email3value", {u"Other Email", u"Work Email", u"Home Email"}},
    {u"webpage", {u"Work Url", u"Home Url", u"Other Url"}},
    {u"website", {u"Work Url", u"Home Url", u"Other Url"}},
    {u"webseite", {u"Work Url", u"Home Url", u"Other Url"}},
    {u"webpage1", {u"Work Url", u"Other Url"}},
    {u"webpage2", {u"Home Url", u"Other Url"}},
    {u"webseite1", {u"Work Url", u"Other Url"}},
    {u"webseite2", {u"Home Url", u"Other Url"}},
    {u"personalwebpage", {u"Home Url", u"Other Url"}},
    {u"personalwebsite", {u"Home Url", u"Other Url"}},
    {u"privatewebseite", {u"Home Url", u"Other Url"}},
    {u"businesswebpage", {u"Work Url", u"Other Url"}},
    {u"businesswebsite", {u"Work Url", u"Other Url"}},
    {u"webseitegesch\u00E4ftlich", {u"Work Url", u"Other Url"}},
    {u"website1value", {u"Home Url", u"Work Url", u"Other Url"}},
    {u"messengerid", {u"Yahoo Messenger", u"Other Messenger"}},
    {u"groups", {u"Group"}},
    {u"categories", {u"Group"}},
    {u"kategorien", {u"Group"}},
};

// Columns of an address: a place and a part in either order, or a part alone. "Weiterer/s/e" is how
// programs write it that know one word for all their columns.
struct AddressWord {
  std::u16string_view word;
  std::u16string_view field;  // the first or the last piece of its name
};

constexpr AddressWord kAddressPlaces[] = {
    {u"", u"Home"},
    {u"home", u"Home"},
    {u"privat", u"Home"},
    {u"address1", u"Home"},
    {u"work", u"Work"},
    {u"business", u"Work"},
    {u"dienstlich", u"Work"},
    {u"gesch\u00E4ftlich", u"Work"},
    {u"other", u"Other"},
    {u"weitere", u"Other"},
    {u"weiterer", u"Other"},
    {u"weiteres", u"Other"},
    {u"weiterers", u"Other"},
    {u"weiterersre", u"Other"},
    {u"weitererse", u"Other"},
    {u"weiteresr", u"Other"},
    {u"weiteresre", u"Other"},
};

constexpr AddressWord kAddressParts[] = {
    {u"pobox", u"Postoffice"},      {u"addresspobox", u"Postoffice"},
    {u"postfach", u"Postoffice"},   {u"extendedaddress", u"Extended"},
    {u"street", u"Street"},         {u"address", u"Street"},
    {u"stra\u00DFe", u"Street"},    {u"strasse", u"Street"},
    {u"adresse", u"Street"},        {u"city", u"Locality"},
    {u"town", u"Locality"},         {u"ort", u"Locality"},
    {u"stadt", u"Locality"},        {u"state", u"Region"},
    {u"county", u"Region"},         {u"region", u"Region"},
    {u"bundesland", u"Region"},     {u"bundeslandkanton", u"Region"},
    {u"postalcode", u"Postalcode"}, {u"postcode", u"Postalcode"},
    {u"zip", u"Postalcode"},        {u"zipcode", u"Postalcode"},
    {u"plz", u"Postalcode"},        {u"postleitzahl", u"Postalcode"},
    {u"country", u"Country"},       {u"countryregion", u"Country"},
    {u"land", u"Country"},          {u"landregion", u"Country"},
};

constexpr Heading kCalendarHeadings[] = {
    {u"subject", {u"Subject"}},
    {u"betreff", {u"Subject"}},
    {u"summary", {u"Subject"}},
    {u"description", {u"Description"}},
    {u"beschreibung", {u"Description"}},
    {u"notes", {u"Description"}},
    {u"notizen", {u"Description"}},
    {u"location", {u"Location"}},
    {u"ort", {u"Location"}},
    {u"startdate", {u"Start Date"}},
    {u"start", {u"Start Date"}},
    {u"beginntam", {u"Start Date"}},
    {u"beginn", {u"Start Date"}},
    {u"startdatum", {u"Start Date"}},
    {u"enddate", {u"End Date"}},
    {u"end", {u"End Date"}},
    {u"endetam", {u"End Date"}},
    {u"ende", {u"End Date"}},
    {u"enddatum", {u"End Date"}},
    {u"alldayevent", {u"AllDay"}},
    {u"allday", {u"AllDay"}},
    {u"ganzt\u00E4gigesereignis", {u"AllDay"}},
    {u"ganzt\u00E4gig", {u"AllDay"}},
    {u"reminderdate", {u"Alarm Date"}},
    {u"erinnerungam", {u"Alarm Date"}},
    {u"priority", {u"Priority"}},
    {u"priorit\u00E4t", {u"Priority"}},
    {u"sensitivity", {u"Class"}},
    {u"vertraulichkeit", {u"Class"}},
    {u"private", {u"Class"}},
    {u"privat", {u"Class"}},
};

constexpr Heading kMemoHeadings[] = {
    {u"note", {u"Memo"}},  {u"notes", {u"Memo"}},   {u"notebody", {u"Memo"}},
    {u"notiz", {u"Memo"}}, {u"notizen", {u"Memo"}}, {u"notiztext", {u"Memo"}},
    {u"text", {u"Memo"}},  {u"memos", {u"Memo"}},   {u"body", {u"Memo"}},
};

const SheetKind kKinds[] = {
    {"contacts", kContactFields, kContactHeadings},
    {"calendar", kCalendarFields, kCalendarHeadings},
    {"notes", kMemoFields, kMemoHeadings},
};

constexpr std::u16string_view kTimes[][2] = {
    {u"startdate", u"starttime"}, {u"enddate", u"endtime"}, {u"reminderdate", u"remindertime"},
    {u"beginntam", u"beginntum"}, {u"endetam", u"endetum"}, {u"erinnerungam", u"erinnerungum"},
};

constexpr DayHeadings kDaysInThree[] = {
    {u"birthday", u"birthmonth", u"birthyear"},
    {u"geburtstag", u"geburtsmonat", u"geburtsjahr"},
};

// The place that is left when a part is taken off either end of a heading; null for none.
const AddressWord* PlaceBeside(std::u16string_view plain, std::u16string_view part) {
  std::u16string_view place = plain;
  if (plain.ends_with(part)) {
    place.remove_suffix(part.size());
  } else if (plain.starts_with(part)) {
    place.remove_prefix(part.size());
  } else {
    return nullptr;
  }
  const auto found = std::ranges::find(kAddressPlaces, place, &AddressWord::word);
  return found == std::end(kAddressPlaces) ? nullptr : &*found;
}

// "Home Address Street" for "homestreet"; empty for a heading of no address.
std::u16string AddressField(std::u16string_view plain) {
  // What has a second line is the street: "Home Street 2".
  const bool isFurther = plain.ends_with(u'2') || plain.ends_with(u'3');
  if (isFurther) plain.remove_suffix(1);
  for (const AddressWord& part : kAddressParts) {
    const AddressWord* place = PlaceBeside(plain, part.word);
    if (place == nullptr || (isFurther && part.field != u"Street")) continue;
    return std::u16string(place->field)
        .append(u" Address ")
        .append(isFurther ? u"Extended" : part.field);
  }
  return {};
}

}  // namespace

std::span<const SheetKind> SheetKinds() {
  return kKinds;
}

const SheetKind* FindSheetKind(std::string_view store) {
  const auto found = std::ranges::find(kKinds, store, &SheetKind::store);
  return found == std::end(kKinds) ? nullptr : &*found;
}

std::u16string PlainHeading(std::u16string_view heading) {
  constexpr char16_t kCapitalUmlauts[] = {u'\u00C4', u'\u00D6', u'\u00DC'};
  std::u16string plain;
  for (char16_t unit : heading) {
    const bool isCapital = unit >= u'A' && unit <= u'Z';
    const bool isUmlaut = std::ranges::find(kCapitalUmlauts, unit) != std::end(kCapitalUmlauts);
    if (isCapital || isUmlaut) unit = static_cast<char16_t>(unit + 0x20);
    const bool counts =
        unit >= 0xAA || (unit >= u'a' && unit <= u'z') || (unit >= u'0' && unit <= u'9');
    if (counts && unit != 0xFEFF) plain.push_back(unit);
  }
  return plain;
}

Heading FindHeading(const SheetKind& kind, std::u16string_view plain) {
  const auto found = std::ranges::find(kind.headings, plain, &Heading::name);
  if (found != kind.headings.end()) return *found;
  const auto field = std::ranges::find(kind.fields.names, AddressField(plain));
  return field == kind.fields.names.end() ? Heading{} : Heading{{}, {*field}};
}

const DayHeadings* FindDayInThree(std::u16string_view plain) {
  const auto found = std::ranges::find(kDaysInThree, plain, &DayHeadings::day);
  return found == std::end(kDaysInThree) ? nullptr : &*found;
}

std::u16string_view TimeHeadingFor(std::u16string_view plainDayHeading) {
  for (const auto& [day, time] : kTimes) {
    if (day == plainDayHeading) return time;
  }
  return {};
}

}  // namespace qv

#include "syncdb/side_tables.h"

#include "items/extra.h"
#include "items/kinds.h"
#include "platform/com/status_error.h"
#include "support/text.h"
#include "syncdb/sql_text.h"

namespace qv {
namespace {

// `where` gives the condition, as one that is given would be made outside the guard.
template <class Where>
HRESULT RunDelete(const SyncSession& session, std::u16string_view table, Where&& where) noexcept {
  return Guarded([&] { return session.Run(Concat({u"DELETE FROM ", table, where()})); });
}

// What the walk over the hidden rows keeps count of.
struct HiddenWalk {
  Contact& contact;
  size_t mailRows = 0;
};

bool HasOrganisationText(const ContactContent& contact) {
  const auto filled = [](const std::u16string& text) { return !text.empty(); };
  return (!contact.organisations.empty() &&
          (filled(contact.organisations[0].name) || filled(contact.organisations[0].department))) ||
         (!contact.jobTitles.empty() && filled(contact.jobTitles[0]));
}

// Each decides over one row: true keeps it, perhaps changed.
bool KeepTelephone(HiddenWalk&, HiddenLabel&) {
  return true;
}

bool KeepOrganisation(HiddenWalk& walk, HiddenLabel&) {
  return HasOrganisationText(walk.contact);
}

bool KeepMessenger(HiddenWalk& walk, HiddenLabel&) {
  const auto& messengers = walk.contact.messengers;
  return !messengers.empty() && !messengers[0].value.empty();
}

bool KeepMail(HiddenWalk& walk, HiddenLabel& label) {
  const size_t position = walk.mailRows++;
  const auto& mails = walk.contact.mails;
  if (position >= mails.size() || mails[position].value.empty()) {
    label = {u"EMAIL", {}, {}, false};  // the position stays taken
  }
  return true;
}

bool KeepAddress(HiddenWalk& walk, HiddenLabel& label) {
  const int32_t position = ToInt(label.value);
  if (position < 0) return false;
  auto& addresses = walk.contact.addresses;
  const auto index = static_cast<size_t>(position);
  if (index < addresses.size() && addresses[index]) return true;
  if (!label.isCustom) return false;
  if (index >= kMaxAddressPositions) return true;  // the label waits for its address
  if (index >= addresses.size()) addresses.resize(index + 1);
  addresses[index].emplace();
  return true;
}

struct HiddenRule {
  std::u16string_view property;
  bool (*keep)(HiddenWalk&, HiddenLabel&);
};

constexpr HiddenRule kHiddenRules[] = {
    {u"TEL", KeepTelephone},
    {u"ORG", KeepOrganisation},
    {u"X-ORGCUSTOM", KeepOrganisation},
    {u"X-IMPP", KeepMessenger},
    {u"X-IMPPCUSTOM", KeepMessenger},
    {u"EMAIL", KeepMail},
    {u"X-EMAILCUSTOM", KeepMail},
    {u"ADR", KeepAddress},
};

bool ApplyRule(HiddenWalk& walk, HiddenLabel& label) {
  for (const HiddenRule& rule : kHiddenRules) {
    if (EqualsIgnoreCase(label.property, rule.property)) return rule.keep(walk, label);
  }
  return false;
}

}  // namespace

std::u16string SideTables::InsertHead(std::u16string_view table, std::u16string_view columns,
                                      std::u16string_view id) const {
  // The Outlook stores leave the type to the column's default.
  const bool typed = type_ != DatastoreType::Outlook;
  std::u16string head = Concat({u"INSERT INTO ", table, u"(profile_id,datastore_sourceuri,",
                                typed ? u"datastore_type," : u"", u"datastore_id,", columns,
                                u") VALUES('", session_.targetKey, u"','", session_.sourceUri});
  head += typed ? Concat({u"',", TypeDigit(type_), u",'"}) : std::u16string(u"','");
  head += id;
  return head;
}

HRESULT SideTables::WriteExtras(std::u16string_view id, const std::vector<ExtraProperty>& extras,
                                bool replace) noexcept {
  if (id.empty()) return E_FAIL;
  return Guarded([&] {
    if (replace) Check(DeleteExtras(id));
    for (const ExtraProperty& extra : extras) {
      if (extra.property.empty()) continue;
      Check(session_.Run(
          Concat({InsertHead(kExtraTable, u"property,value", id), u"','",
                  QuoteSqlText(MarkedProperty(extra)), u"','", QuoteSqlText(extra.value), u"')"})));
    }
    return S_OK;
  });
}

HRESULT SideTables::WriteHidden(std::u16string_view id, const std::vector<HiddenLabel>& labels,
                                bool replace) noexcept {
  if (id.empty()) return E_FAIL;
  return Guarded([&] {
    if (replace) Check(DeleteHidden(id));
    for (const HiddenLabel& label : labels) {
      if (label.property.empty()) continue;
      Check(session_.Run(
          Concat({InsertHead(kHiddenTable, u"property,value,extended,iscustom", id), u"','",
                  QuoteSqlText(label.property), u"','", QuoteSqlText(label.value), u"','",
                  QuoteSqlText(label.extended), label.isCustom ? u"',1)" : u"',0)"})));
    }
    return S_OK;
  });
}

HRESULT SideTables::DeleteExtras(std::u16string_view id) noexcept {
  return RunDelete(session_, kExtraTable, [&] { return RowKey(session_, type_, id); });
}

HRESULT SideTables::DeleteHidden(std::u16string_view id) noexcept {
  return RunDelete(session_, kHiddenTable, [&] { return RowKey(session_, type_, id); });
}

HRESULT SideTables::DeleteAllExtras() noexcept {
  return RunDelete(session_, kExtraTable, [&] { return StoreKey(session_, type_); });
}

HRESULT SideTables::DeleteAllHidden() noexcept {
  return RunDelete(session_, kHiddenTable, [&] { return StoreKey(session_, type_); });
}

HRESULT SideTables::ReadExtras(std::u16string_view id,
                               std::vector<ExtraProperty>& extras) noexcept {
  return Guarded([&] {
    static const Bstr kProperty(u"property");
    static const Bstr kValue(u"value");
    QueryRows rows;
    const HRESULT status = rows.Query(session_, Concat({u"SELECT property,value FROM ", kExtraTable,
                                                        RowKey(session_, type_, id)}));
    if (Failed(status)) return status;
    while (rows.Next()) extras.push_back(ExtraFromMarked(rows.Text(kProperty), rows.Text(kValue)));
    return S_OK;
  });
}

HRESULT SideTables::ReadHidden(std::u16string_view id, Contact& contact) noexcept {
  return Guarded([&] {
    static const Bstr kProperty(u"property");
    static const Bstr kValue(u"value");
    static const Bstr kExtended(u"extended");
    static const Bstr kIsCustom(u"iscustom");
    QueryRows rows;
    const HRESULT status =
        rows.Query(session_, Concat({u"SELECT property,value,extended,iscustom FROM ", kHiddenTable,
                                     RowKey(session_, type_, id)}));
    if (Failed(status)) return status;
    HiddenWalk walk{contact};
    std::vector<HiddenLabel> applied;
    while (rows.Next()) {
      HiddenLabel label{rows.Text(kProperty), rows.Text(kValue), rows.Text(kExtended),
                        rows.Number(kIsCustom) == 1};
      if (ApplyRule(walk, label)) applied.push_back(std::move(label));
    }
    rows.Close();
    contact.hidden.insert(contact.hidden.end(), applied.begin(), applied.end());
    return WriteHidden(id, applied, true);
  });
}

}  // namespace qv

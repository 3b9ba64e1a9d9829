// The vCard converter, value to value: bytes a second of the text that goes in.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "items/key_text.h"
#include "items/vcard.h"

namespace {

// Cards as a phone sends them: about 500 bytes, twelve properties, one value in a third of them
// beyond ASCII.
std::vector<std::string> TypicalCards() {
  std::vector<std::string> cards;
  for (int i = 0; i < 300; ++i) {
    const std::string n = std::to_string(1000 + i);
    const bool foreign = i % 3 == 0;
    std::string card = "BEGIN:VCARD\r\nVERSION:2.1\r\n";
    card += "UID:4FBE8971-0BC3-424C-9C26-36C3E1EF" + n + "\r\n";
    card += "REV:20250304T050607Z\r\n";
    card += "N:Johnson" + n + ";Katherine;Elizabeth;Dr.;\r\n";
    card += foreign ? "FN;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:K=C3=A4the J=C3=B6hnson " + n
                    : "FN:Dr. Katherine Elizabeth Johnson" + n;
    card += "\r\nTEL;CELL:+49 170 555 " + n + "\r\n";
    card += "TEL;HOME;VOICE:+49 30 5550 " + n + "\r\n";
    card += "TEL;WORK;VOICE:+49 30 5551 " + n + "\r\n";
    card += "EMAIL;INTERNET;HOME:katherine.johnson" + n + "@mail.example.org\r\n";
    card += "ADR;HOME:;;" + n + " Long Meadow Lane;Springfield;Illinois;62701;United States\r\n";
    card += "ORG;WORK:Example Trading Company;Purchasing\r\n";
    card += "BDAY:19800102\r\n";
    card += "NOTE:Met at the fair in spring, asked for a call back in autumn\r\n";
    card += "END:VCARD\r\n";
    cards.push_back(std::move(card));
  }
  return cards;
}

std::vector<qv::Contact> Contacts(const std::vector<std::string>& cards) {
  std::vector<qv::Contact> contacts;
  for (const std::string& card : cards) contacts.push_back(*qv::ParseVCard(card));
  return contacts;
}

template <class Step>
void OverCards(benchmark::State& state, Step step) {
  const std::vector<std::string> cards = TypicalCards();
  const std::vector<qv::Contact> contacts = Contacts(cards);
  size_t bytes = 0;
  for (const std::string& card : cards) bytes += card.size();
  for (auto _ : state) {
    for (size_t i = 0; i < cards.size(); ++i) benchmark::DoNotOptimize(step(cards[i], contacts[i]));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(cards.size()));
}

void VCardParse(benchmark::State& state) {
  OverCards(state,
            [](const std::string& card, const qv::Contact&) { return qv::ParseVCard(card); });
}
BENCHMARK(VCardParse);

void VCardWrite(benchmark::State& state) {
  OverCards(state,
            [](const std::string&, const qv::Contact& contact) { return qv::WriteVCard(contact); });
}
BENCHMARK(VCardWrite);

void VCardParseAndWrite(benchmark::State& state) {
  OverCards(state, [](const std::string& card, const qv::Contact&) {
    return qv::WriteVCard(*qv::ParseVCard(card));
  });
}
BENCHMARK(VCardParseAndWrite);

void ContactKey(benchmark::State& state) {
  OverCards(state, [](const std::string&, const qv::Contact& contact) {
    return qv::MakeContactKey(contact);
  });
}
BENCHMARK(ContactKey);

}  // namespace

// A table of the records of the header, and what each sets.
#include "edition/mobi/facts.h"

#include <algorithm>

#include "base/mobi/metadata.h"
#include "edition/page/page_limits.h"
#include "edition/page/page_tree.h"

namespace {

constexpr size_t kDay = 10;  // "2023-05-01T12:00:00Z" begins with its day

void AddContributor(Metadata& facts, const std::string& value, const char* role) {
  // Converters name themselves with their address.
  const bool isAddress = value.find("://") != std::string::npos;
  const bool isKnown =
      std::any_of(facts.contributors.begin(), facts.contributors.end(),
                  [&](const Contributor& contributor) { return contributor.name == value; });
  if (!isAddress && !isKnown) facts.contributors.push_back({value, {}, role});
}

void AddAuthor(Metadata& facts, const std::string& value) {
  AddContributor(facts, value, kAuthorRole);
}

void AddOther(Metadata& facts, const std::string& value) {
  AddContributor(facts, value, "ctb");
}

// "Novels; Ports"
void AddSubjects(Metadata& facts, const std::string& value) {
  for (std::string_view rest = value; !rest.empty();) {
    const size_t end = std::min(rest.find(';'), rest.size());
    std::string subject = OneLine(rest.substr(0, end));
    const bool isNew =
        std::find(facts.subjects.begin(), facts.subjects.end(), subject) == facts.subjects.end();
    if (!subject.empty() && isNew) facts.subjects.push_back(std::move(subject));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
}

// May be HTML, whose tags may stand between words.
void SetDescription(Metadata& facts, const std::string& value) {
  const bool isMarkup = value.find("</") != std::string::npos;
  if (!facts.description.empty()) return;
  std::string spaced;
  for (size_t i = 0; isMarkup && i < value.size(); ++i) {
    if (value.compare(i, 2, "<p") == 0 || value.compare(i, 3, "<br") == 0) spaced += ' ';
    spaced += value[i];
  }
  facts.description = OneLine(isMarkup ? TextOf(PageTree(Limited(spaced)).Root()) : value);
}

void SetDate(Metadata& facts, const std::string& value) {
  const std::string date = value.substr(0, kDay);
  if (facts.date.empty() && IsDate(date)) facts.date = date;
}

void AddIsbn(Metadata& facts, const std::string& value) {
  facts.identifiers.push_back({kIsbnScheme, value});
}

// Converters put numbers of their own into the place of the shop's.
void AddAsin(Metadata& facts, const std::string& value) {
  constexpr size_t kLength = 10;
  const bool isAsin =
      value.size() == kLength && std::all_of(value.begin(), value.end(), [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
      });
  if (isAsin) facts.identifiers.push_back({"ASIN", value});
}

void SetLanguage(Metadata& facts, const std::string& value) {
  if (facts.language.empty() && IsLanguageTag(value)) facts.language = value;
}

template <std::string Metadata::*text>
void Set(Metadata& facts, const std::string& value) {
  if ((facts.*text).empty()) facts.*text = value;
}

constexpr struct {
  MOBIExthTag tag;
  void (*take)(Metadata& facts, const std::string& value);
} kRecords[] = {
    {EXTH_AUTHOR, AddAuthor},
    {EXTH_CONTRIBUTOR, AddOther},
    {EXTH_PUBLISHER, Set<&Metadata::publisher>},
    {EXTH_IMPRINT, Set<&Metadata::publisher>},
    {EXTH_DESCRIPTION, SetDescription},
    {EXTH_ISBN, AddIsbn},
    {EXTH_SUBJECT, AddSubjects},
    {EXTH_PUBLISHINGDATE, SetDate},
    {EXTH_RIGHTS, Set<&Metadata::rights>},
    {EXTH_ASIN, AddAsin},
    {EXTH_LANGUAGE, SetLanguage},
};

}  // namespace

Metadata FactsOf(const kav_mobi::Book& book) {
  Metadata facts;
  facts.title = kav_mobi::TitleOf(book);
  for (const auto& row : kRecords) {
    for (const std::string& value : kav_mobi::StringsOf(book, row.tag)) row.take(facts, value);
  }
  const MOBIMobiHeader* header = book.Data()->mh;
  if (facts.language.empty() && header != nullptr && header->locale != nullptr) {
    constexpr std::string_view kNone = "neutral";
    const char* locale = mobi_get_locale_string(*header->locale);
    if (locale != nullptr && locale != kNone && IsLanguageTag(locale)) facts.language = locale;
  }
  return facts;
}

// What is known of a book as a whole.
#ifndef KAVEPUB_BOOK_METADATA_H
#define KAVEPUB_BOOK_METADATA_H

#include <string>
#include <string_view>
#include <vector>

inline constexpr char kAuthorRole[] = "aut";
inline constexpr char kTranslatorRole[] = "trl";
inline constexpr char kIsbnScheme[] = "ISBN";

struct Contributor {
  std::string name;
  std::string fileAs;  // "Austen, Jane"; empty where it is not known
  std::string role;    // a MARC relator: "aut", "trl", "edt"
};

struct Identifier {
  std::string scheme;  // "ISBN", "URI", "ASIN"
  std::string value;
};

// All texts are UTF-8; empty where nothing is known.
struct Metadata {
  std::string title;
  std::vector<Contributor> contributors;  // authors first
  std::string language;                   // BCP 47: "en", "zh-Hant"
  std::string script;  // ISO 15924: that of a text whose language can be written in several
  std::string publisher;
  std::string date;  // "1813" or "1813-01-28"
  std::string description;
  std::string rights;
  std::vector<std::string> subjects;
  std::vector<Identifier> identifiers;
  std::string series;
  std::string seriesIndex;
};

// What is found out, but with what the host wants in its place. Of contributors and identifiers,
// those of equal roles and schemes are replaced.
Metadata Merged(Metadata found, const Metadata& wanted);

// The same with what books cannot hold taken out: characters that XML forbids, line ends, dates and
// names that are none. A title and a language are always there.
Metadata Cleaned(Metadata metadata);

// A text on one line, in characters that XML allows.
std::string OneLine(std::string_view text);

// "1813", "1813-01" or "1813-01-28".
bool IsDate(std::string_view text);

// Has the form of a tag of BCP 47.
bool IsLanguageTag(std::string_view text);

#endif

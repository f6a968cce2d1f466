// How the pages of a book look.
#include "edition/epub/style_sheet.h"

#include "edition/epub/language.h"

namespace {

constexpr char kForAll[] = R"(p { margin: 0; text-indent: 1.5em; }
h1, h2, h3, h4, h5, h6 { text-align: center; page-break-after: avoid; }
.contents { list-style-type: none; }
)";

}  // namespace

std::string StyleSheet(std::string_view language, std::string_view further) {
  std::string sheet = kForAll;
  if (IsLanguage(language, "zh")) sheet += "p { text-indent: 2em; }\n";
  return sheet.append(further);
}

// How the pages of a book look: as printed books in its script do. Fonts and sizes are the reader's
// choice, so all measures are relative and only listings name a font.
#include "edition/epub/style_sheet.h"

#include <algorithm>

#include "edition/epub/language.h"

namespace {

constexpr std::string_view kForAll = R"(/* Prose */
p { margin: 0; text-align: justify; orphans: 2; widows: 2; }
p.break { margin: 1.2em 0; text-align: center; text-indent: 0; page-break-inside: avoid; }
p.gap { margin-top: 1.2em; }
p.center { margin: 1em 0; text-align: center; text-indent: 0; }
p.title { margin: 3em 0 1.5em; font-size: 1.5em; font-weight: bold; line-height: 1.3;
  text-align: center; text-indent: 0; }
p.right { margin: 0.5em 0; text-align: right; text-indent: 0; }
p.item { margin-left: 2em; text-indent: -1.5em; }
p.indent, .indent p { margin-left: 2em; }
blockquote { margin: 1em 2em; }
blockquote blockquote { margin: 0 0 0 2em; }
li ol, li ul { margin-top: 0; margin-bottom: 0; }
hr { width: 20%; margin: 1.5em auto; border: 0; border-top: 1px solid; }
img { max-width: 100%; height: auto; }
a { color: inherit; }
em.dots { font-style: normal; -epub-text-emphasis: filled dot; -webkit-text-emphasis: filled dot;
  text-emphasis: filled dot; }

/* Headings */
h1, h2, h3, h4, h5, h6 { margin: 1.5em 0 1em; font-weight: bold; line-height: 1.3;
  text-align: center; text-indent: 0; hyphens: none; -webkit-hyphens: none;
  page-break-after: avoid; page-break-inside: avoid; }
h1 { margin: 3em 0 2em; font-size: 1.5em; }
h2 { margin: 2.5em 0 1.5em; font-size: 1.3em; }
h3 { font-size: 1.15em; }
h4, h5, h6 { font-size: 1em; }
h1 + h2, h2 + h3, h3 + h4 { margin-top: 0; }
span.number { display: block; margin-bottom: 0.6em; font-size: 0.8em; font-weight: normal; }
span.number + br { display: none; }

/* Verse: a line that is too long goes on further in */
div.verse { margin: 1em 0 1em 1.5em; }
div.verse p { padding-left: 2em; text-align: left; text-indent: -2em; hyphens: none;
  -webkit-hyphens: none; }

/* What keeps its lines */
pre, code, kbd, samp, tt { font-family: monospace; font-size: 0.85em; }
pre code { font-size: 1em; }
pre { margin: 1em 0; line-height: 1.3; text-align: left; text-indent: 0; white-space: pre-wrap; }
pre.table { font-size: 0.7em; }

/* Tables */
table { margin: 1em auto; border-collapse: collapse; }
caption { margin-bottom: 0.5em; font-style: italic; }
th, td { padding: 0.3em 0.6em; border: 1px solid #999999; text-align: left; vertical-align: top; }
td p, th p { text-align: left; text-indent: 0; }

/* Lists of contents */
ol.contents { margin: 0; padding: 0; list-style-type: none; }
ol.contents ol.contents { margin: 0.3em 0 0.8em; padding-left: 1.5em; }
ol.contents li { margin: 0.5em 0; text-indent: 0; }
ol.contents ol.contents li { margin: 0.3em 0; }
ol.contents a { text-decoration: none; }
p.entry { margin-left: 1.5em; text-align: left; text-indent: -1.5em; }

/* Pages of their own kind */
body.cover, body.picture { height: 100%; margin: 0; padding: 0; text-align: center; }
body.cover div, body.picture div { height: 100%; page-break-inside: avoid; }
body.cover img, body.picture img { max-height: 100%; max-height: 100vh; }
body.title-page { text-align: center; }
body.title-page p { margin: 1em 0; text-align: center; text-indent: 0; }
body.title-page h1 { margin-top: 25%; }
body.back-matter { font-size: 0.9em; }
)";

// Scripts with letters: the first paragraph needs no indent to be seen.
constexpr std::string_view kLetters = R"(
/* Paragraphs */
p { text-indent: 1.5em; hyphens: auto; -webkit-hyphens: auto; }
p.first, h1 + p, h2 + p, h3 + p, h4 + p, h5 + p, h6 + p, p.break + p, p.gap, hr + p,
blockquote p.quoted { text-indent: 0; }
)";

// Scripts of square characters: every paragraph is indented by whole ones.
constexpr std::string_view kChinese = R"(
/* Paragraphs */
body { line-height: 1.7; }
p { text-indent: 2em; }
div.verse { margin-left: 2em; }
)";
constexpr std::string_view kJapanese = R"(
/* Paragraphs */
body { line-height: 1.7; }
p { text-indent: 1em; }
)";
constexpr std::string_view kKorean = R"(
/* Paragraphs */
body { line-height: 1.6; }
p { text-indent: 1em; word-break: keep-all; }
)";

// Scripts with signs above and below their letters.
constexpr std::string_view kTall = R"(
body { line-height: 1.6; }
)";

constexpr std::string_view kRightToLeftRules = R"(
/* From right to left */
p.right { text-align: left; }
ol.contents { text-align: right; }
p.indent, .indent p, p.item { margin-left: 0; margin-right: 2em; }
div.verse { margin: 1em 1.5em 1em 0; }
div.verse p { padding-left: 0; padding-right: 2em; text-align: right; }
th, td, td p, th p, p.entry { text-align: right; }
ol.contents ol.contents { padding-left: 0; padding-right: 1.5em; }
p.entry { margin-left: 0; margin-right: 1.5em; }
pre { direction: ltr; }
)";

constexpr std::string_view kTallScripts[] = {"ar", "bn", "fa", "he", "hi", "mr", "ne",
                                             "sa", "ta", "te", "th", "ur", "vi"};

// Scripts without blanks between words: those between sentences would take all the room of a line.
constexpr std::string_view kUnspaced = R"(
p { text-align: left; }
)";

constexpr std::string_view kUnspacedScripts[] = {"km", "lo", "my", "th"};

// Lines of verse that are indented by steps.
std::string VerseSteps(std::string_view side) {
  constexpr int kSteps = 9;
  std::string rules;
  for (int step = 1; step <= kSteps; ++step) {
    const std::string number = std::to_string(step);
    rules.append("div.verse p.i").append(number).append(" { margin-").append(side);
    rules.append(": ").append(number).append("em; }\n");
  }
  return rules;
}

std::string_view ParagraphsOf(std::string_view language) {
  if (IsLanguage(language, "zh")) return kChinese;
  if (IsLanguage(language, "ja")) return kJapanese;
  if (IsLanguage(language, "ko")) return kKorean;
  return kLetters;
}

}  // namespace

std::string StyleSheet(std::string_view language, std::string_view further) {
  std::string sheet(kForAll);
  sheet += ParagraphsOf(language);
  const bool isTall =
      std::any_of(std::begin(kTallScripts), std::end(kTallScripts),
                  [&](std::string_view script) { return IsLanguage(language, script); });
  if (isTall) sheet += kTall;
  const bool isUnspaced =
      std::any_of(std::begin(kUnspacedScripts), std::end(kUnspacedScripts),
                  [&](std::string_view script) { return IsLanguage(language, script); });
  if (isUnspaced) sheet += kUnspaced;
  const bool isRightToLeft = IsRightToLeft(language);
  if (isRightToLeft) sheet += kRightToLeftRules;
  sheet += VerseSteps(isRightToLeft ? "right" : "left");
  if (!further.empty()) sheet.append("\n").append(further);
  return sheet;
}

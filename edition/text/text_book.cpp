// The steps: learn what the text is, find its chapters, and write it.
#include "edition/text/text_book.h"

#include <algorithm>

#include "edition/text/book_builder.h"
#include "edition/text/chapters.h"
#include "edition/text/heading_pattern.h"
#include "edition/text/language.h"
#include "edition/text/layout.h"
#include "edition/text/lines.h"
#include "edition/text/survey.h"
#include "edition/text/text_facts.h"
#include "edition/text/text_input.h"
#include "edition/text/word_set.h"

namespace {

constexpr char kNoChapters[] = "none";
constexpr double kShareOfSurvey = 0.3;  // of the whole work, up to its end

ParagraphStyle StyleOf(const std::string& name) {
  if (name == "line") return ParagraphStyle::kLine;
  return name == "wrapped" ? ParagraphStyle::kWrapped : ParagraphStyle::kAuto;
}

const char* NameOf(ParagraphStyle style) {
  switch (style) {
    case ParagraphStyle::kWrapped:
      return "wrapped";
    case ParagraphStyle::kVerbatim:
      return "verbatim";
    default:
      return "line";
  }
}

class Maker {
 public:
  Maker(TextInput& text, const SourceOptions& chosen, BookSink& target, Run& shared)
      : input(text), options(chosen), sink(target), run(shared) {}

  Status Make() {
    if (Status status = ReadSurvey(); !status) return status;
    const Layout layout = LayoutOf(survey.lines, StyleOf(options.paragraphs));
    run.Tell("paragraphs", NameOf(layout.style));
    const Metadata facts = Facts(layout);
    if (Status status = sink.Begin(facts); !status) return status;
    const bool hasChapters =
        options.chapters != kNoChapters && (layout.style != ParagraphStyle::kVerbatim ||
                                            !options.chapters.empty() || !options.headings.empty());
    Structure structure;
    if (hasChapters) structure = FindChapters(survey);
    WordSet words;
    if (layout.style == ParagraphStyle::kWrapped && !layout.isWide && survey.lines.hyphens > 0) {
      if (Status status = ReadWords(words); !status) return status;
    }
    return Write(structure, layout, words, facts);
  }

 private:
  Status ReadSurvey() {
    Result<IsHeadingLine> pattern = PatternOf(options.chapters);
    if (!pattern) return pattern.Why();
    if (!*pattern && options.chapters.empty() && !options.headings.empty()) {
      *pattern = [this](std::string_view /*line*/, std::uint32_t number) {
        return std::binary_search(options.headings.begin(), options.headings.end(), number);
      };
    }
    Survey reader(std::move(*pattern));
    if (Status status = input.Open(run); !status) return status;
    for (;;) {
      const Result<std::string_view> piece = input.Next();
      if (!piece) return piece.Why();
      if (piece->empty()) break;
      reader.Feed(*piece);
      constexpr double kBefore = TextInput::kShareOfDetection;
      const double done = kBefore + (kShareOfSurvey - kBefore) * input.Share();
      if (Status status = run.Advance(done); !status) return status;
    }
    survey = reader.Finish();
    return input.Tell(run);
  }

  // What is no prose names neither title nor author.
  Metadata Facts(const Layout& layout) const {
    const bool isProse = layout.style != ParagraphStyle::kVerbatim;
    Metadata facts = ReadTextFacts(isProse ? survey.beginning : std::string_view(), input.Name());
    const std::string& sample = survey.sample.empty() ? survey.beginning : survey.sample;
    if (facts.language.empty()) facts.language = LanguageOfText(sample);
    facts.script = ScriptOfText(sample);
    return facts;
  }

  // Enough of the text to know its words.
  Status ReadWords(WordSet& words) {
    constexpr size_t kEnough = size_t{1} << 24;
    if (Status status = input.Restart(); !status) return status;
    for (size_t read = 0; read < kEnough;) {
      const Result<std::string_view> piece = input.Next();
      if (!piece) return piece.Why();
      if (piece->empty()) break;
      words.AddWordsOf(*piece);
      read += piece->size();
      if (Status status = run.Advance(kShareOfSurvey); !status) return status;
    }
    return Done();
  }

  Status Write(const Structure& structure, const Layout& layout, const WordSet& words,
               const Metadata& facts) {
    constexpr std::uint64_t kStep = std::uint64_t{1} << 19;
    if (Status status = input.Restart(); !status) return status;
    BookBuilder builder(survey, structure, layout, words, facts, sink);
    Lines lines(input);
    std::uint64_t next = kStep;
    for (;;) {
      const Result<bool> hasLine = lines.Next();
      if (!hasLine) return hasLine.Why();
      if (!*hasLine) break;
      if (Status status = builder.Take(lines.Text(), lines.Number(), lines.IsContinued());
          !status) {
        return status;
      }
      if (lines.Offset() < next) continue;
      next = lines.Offset() + kStep;
      const double done = kShareOfSurvey + (1 - kShareOfSurvey) * input.Share();
      if (Status status = run.Advance(done); !status) return status;
    }
    return builder.Finish();
  }

  TextInput& input;
  const SourceOptions& options;
  BookSink& sink;
  Run& run;
  SurveyResult survey;
};

}  // namespace

Status MakeTextBook(const std::vector<Input>& inputs, const SourceOptions& options, BookSink& sink,
                    Run& run) {
  TextInput text(inputs.front(), options);
  return Maker(text, options, sink, run).Make();
}

// Finds out whether there is markup, and goes to the source of such books or to that of texts.
#include "edition/palm_book.h"

#include <utility>

#include "base/mobi/metadata.h"
#include "edition/mobi/mobi_book.h"
#include "edition/mobi/mobi_input.h"
#include "edition/mobi/palm_text.h"
#include "edition/text/text_book.h"

Status MakePalmBook(const std::vector<Input>& inputs, const SourceOptions& options, BookSink& sink,
                    Run& run) {
  const Result<std::unique_ptr<kav_mobi::Book>> opened = OpenMobi(inputs.front());
  if (!opened) return opened.Why();
  const kav_mobi::Book& book = **opened;
  if (!book.IsPlainText()) return MakeMobiBook(book, options, sink, run);
  const PalmText palm = PalmTextOf(book);
  SourceOptions withHeadings = options;
  withHeadings.headings = palm.headings;
  std::vector<Input> text;
  text.push_back(Input::OfMemory(kav_mobi::TitleOf(book) + ".txt", palm.text));
  return MakeTextBook(text, withHeadings, sink, run);
}

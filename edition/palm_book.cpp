// Finds out whether there is markup, and goes to the source of such books or to that of texts.
#include "edition/palm_book.h"

#include <utility>

#include "base/mobi/metadata.h"
#include "edition/mobi/mobi_book.h"
#include "edition/mobi/mobi_input.h"
#include "edition/text/text_book.h"

namespace {

// The last record may be filled up.
std::string_view TextOf(const kav_mobi::Book& book) {
  std::string_view text = book.Documents().front();
  return text.substr(0, text.find_last_not_of('\0') + 1);
}

}  // namespace

Status MakePalmBook(const std::vector<Input>& inputs, const SourceOptions& options, BookSink& sink,
                    Run& run) {
  const Result<std::unique_ptr<kav_mobi::Book>> opened = OpenMobi(inputs.front());
  if (!opened) return opened.Why();
  const kav_mobi::Book& book = **opened;
  if (!book.IsPlainText()) return MakeMobiBook(book, options, sink, run);
  std::vector<Input> text;
  text.push_back(Input::OfMemory(kav_mobi::TitleOf(book) + ".txt", TextOf(book)));
  return MakeTextBook(text, options, sink, run);
}

// The command line of kavepub.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <string>

#include "kavepub/convert.h"
#include "kavepub/failure.h"
#include "kavepub/interruption.h"

namespace {

enum ExitCode { kDone = 0, kFailed = 1, kUsage = 2, kInterrupted = 130 };

constexpr char kDescription[] = R"(Makes EPUB books.

Examples:
  kavepub convert novel.txt                     makes novel.epub beside it
  kavepub convert novel.txt -o books/novel.epub
  kavepub convert novel.txt --title "The Novel" --author "A. Writer" --cover front.jpg
)";

constexpr char kFooter[] = R"(
Exit codes: 0 all done, 1 a conversion failed, 2 wrong usage, 130 interrupted.)";

int Convert(const BookOrder& order) {
  try {
    const std::filesystem::path book = ConvertBook(order);
    std::printf("%s\n", book.c_str());
    return kDone;
  } catch (const Interrupted& interruption) {
    std::fprintf(stderr, "kavepub: %s\n", interruption.what());
    return kInterrupted;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "kavepub: %s\n", failure.what());
    return kFailed;
  }
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app(kDescription);
  app.footer(kFooter);
  app.set_version_flag("--version", "kavepub " KAVEPUB_VERSION);
  app.require_subcommand(1);

  BookOrder order;
  std::string title;
  CLI::App* convert = app.add_subcommand("convert", "Turn a plain text (UTF-8) into a book");
  convert->add_option("INPUT", order.input, "The text")->required();
  convert->add_option("-o,--output", order.output, "The book (default: INPUT with .epub)");
  CLI::Option* titleOption =
      convert->add_option("--title", title, "Title of the book (default: the name of INPUT)");
  convert->add_option("--author", order.author, "Author of the book");
  convert->add_option("--cover", order.cover, "Picture for the cover: JPEG, PNG or GIF");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kDone : kUsage;
  }
  if (titleOption->count() > 0) order.title = title;
  CatchInterruptions();
  return Convert(order);
}

// The command line of kavepub.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <map>
#include <string>
#include <thread>

#include "hosts/kavepub/commands/commands.h"
#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"
#include "hosts/kavepub/console/standard_output.h"

namespace {

constexpr char kDescription[] = R"(Makes EPUB books of texts, HTML, MOBI books and pictures.

Examples:
  kavepub convert novel.txt                     makes novel.epub beside it
  kavepub convert novel.txt -o books/novel.epub --title "The Novel" --author "A. Writer"
  kavepub convert article.html                  with all pages and pictures it links to
  kavepub convert old.mobi                      keeps title, author and cover
  kavepub convert a.jpg b.jpg -o album.epub     a picture a page
  kavepub convert library/ -o books/            all below library, again only what has changed
  kavepub info novel.epub
  kavepub preview novel.epub                    draws the first pages into novel.png
)";

constexpr char kFooter[] =
    "Exit codes: 0 all done, 1 a book failed, 2 wrong usage, 130 interrupted.";

const std::map<std::string, ParagraphMode> kParagraphModes = {
    {"auto", ParagraphMode::kAuto},
    {"line", ParagraphMode::kLine},
    {"wrapped", ParagraphMode::kWrapped},
};
const std::map<std::string, EncodingErrors> kErrorModes = {{"auto", EncodingErrors::kAuto},
                                                           {"strict", EncodingErrors::kStrict},
                                                           {"replace", EncodingErrors::kReplace}};

// Accepts the names of a table, and says what they are when it is given another.
void AddChoice(CLI::App& command, const char* name, auto& value, const auto& table,
               const char* text) {
  const auto take = [name, &value, &table](const std::string& given) {
    std::string names;
    for (const auto& [known, meaning] : table) {
      if (known == given) {
        value = meaning;
        return;
      }
      names += (names.empty() ? "" : ", ") + known;
    }
    throw CLI::ValidationError(name, "\"" + given + "\" is none of " + names);
  };
  command.add_option_function<std::string>(name, take, text)->type_name("MODE");
}

void AddConvert(CLI::App& app, ConvertArguments& arguments) {
  CLI::App& convert = *app.add_subcommand("convert", "Make books");
  Selection& selection = arguments.selection;
  BookOptions& options = arguments.options;
  const auto option = [&](const char* name, auto& value, const char* type, const char* text) {
    return convert.add_option(name, value, text)->type_name(type);
  };
  option("INPUT", selection.inputs, "",
         "Texts, HTML pages, MOBI books, pictures, or folders of them")
      ->required();
  option("-o,--output", selection.output, "PATH",
         "The book, or a directory for the books (default: beside the input)");
  option("--title", options.title, "TEXT", "Title (default: the document's, or its file name)");
  option("--author", options.author, "TEXT", "Author (default: the document's)");
  option("--cover", options.cover, "FILE", "Picture for the cover: JPEG, PNG or GIF");
  option("--encoding", options.decoding.encoding, "NAME",
         "Encoding of the texts and pages, as `iconv -l` lists them (default: auto)");
  AddChoice(
      convert, "--encoding-errors", options.decoding.errors, kErrorModes,
      "Bytes of texts that cannot be decoded: auto (replace a few, the default), strict (fail) "
      "or replace");
  AddChoice(convert, "--paragraphs", options.paragraphs, kParagraphModes,
            "A line of a text is: line (a paragraph), wrapped (a part of one), auto (the default)");
  convert.add_flag("--separate", selection.separate,
                   "A book of each HTML page or picture instead of one of all");
  option("--work-dir", options.workDir, "DIR",
         "Directory for working files (default: $TMPDIR or /tmp)");
  option("-j,--jobs", arguments.jobs, "N", "Books made at once (default: one a processor)")
      ->check(CLI::Range(1, 1024).description(""));
  convert.add_flag("-f,--force", options.force, "Replace books that exist");
  convert.add_flag("-n,--dry-run", options.dryRun, "Only tell what would be made");
  convert.add_flag("-q,--quiet", arguments.quiet, "Tell failures only");
  convert.add_flag("--json", arguments.json, "Tell each book as one line of JSON");
}

void AddInfo(CLI::App& app, InfoArguments& arguments) {
  CLI::App* info = app.add_subcommand("info", "Tell title, author, pages, pictures and size");
  info->add_option("BOOK", arguments.books, "EPUB or MOBI books")->type_name("")->required();
  info->add_flag("--json", arguments.json, "One line of JSON for each book");
}

void AddPreview(CLI::App& app, PreviewArguments& arguments) {
  CLI::App* preview = app.add_subcommand("preview", "Draw the first pages of a book on one sheet");
  preview->add_option("BOOK", arguments.book, "An EPUB book")->type_name("")->required();
  preview
      ->add_option("-o,--output", arguments.output,
                   "The sheet, a PNG picture (default: BOOK with .png)")
      ->type_name("FILE");
  preview->add_flag("-f,--force", arguments.force, "Replace a picture that is there");
}

// One line that says what is wrong and where to look.
int Reject(const CLI::App& app, const CLI::ParseError& error) {
  const auto commands = app.get_subcommands();
  const std::string help = commands.empty() ? "" : " " + commands.front()->get_name();
  const std::string reason = commands.empty()
                                 ? "the first word must be a command, as in `kavepub convert FILE`"
                                 : OneLine(error.what());
  std::fprintf(stderr, "kavepub: %s; see `kavepub%s --help`\n", reason.c_str(), help.c_str());
  return kUsage;
}

int Run(int argc, char** argv) {
  CLI::App app(kDescription, "kavepub");
  app.footer(kFooter);
  app.set_version_flag("--version", "kavepub " KAVEPUB_VERSION);
  app.require_subcommand(1);
  app.get_formatter()->column_width(28);
  ConvertArguments convert;
  convert.jobs = std::max(1U, std::thread::hardware_concurrency());
  InfoArguments info;
  PreviewArguments preview;
  AddConvert(app, convert);
  AddInfo(app, info);
  AddPreview(app, preview);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) return Reject(app, error);
    const bool isHelp = dynamic_cast<const CLI::CallForHelp*>(&error) != nullptr;
    std::string text = isHelp ? app.help() : error.what();
    text.erase(text.find_last_not_of('\n') + 1);
    Say(text);
    return kDone;
  }
  if (app.got_subcommand("convert")) return RunConvert(convert);
  if (app.got_subcommand("info")) return RunInfo(info);
  return RunPreview(preview);
}

}  // namespace

int main(int argc, char** argv) {
  GuardStandardStreams();
  CatchInterruptions();
  int code = kDone;
  try {
    code = Run(argc, argv);
  } catch (const Interrupted& interruption) {
    std::fprintf(stderr, "kavepub: %s\n", interruption.what());
    code = kInterrupted;
  } catch (const WrongUsage& usage) {
    std::fprintf(stderr, "kavepub: %s\n", usage.what());
    code = kUsage;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "kavepub: %s\n", Explain(failure).c_str());
    code = kFailed;
  }
  return AllWasSaid() ? code : kFailed;
}

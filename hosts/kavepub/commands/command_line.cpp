// Fills the table of commands and options.
#include "hosts/kavepub/commands/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <thread>

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

constexpr char kText[] = "TEXT";
constexpr char kNumber[] = "N";

const std::map<std::string, ParagraphMode> kParagraphModes = {
    {"auto", ParagraphMode::kAuto},
    {"line", ParagraphMode::kLine},
    {"wrapped", ParagraphMode::kWrapped},
};
const std::map<std::string, EncodingErrors> kErrorModes = {{"auto", EncodingErrors::kAuto},
                                                           {"strict", EncodingErrors::kStrict},
                                                           {"replace", EncodingErrors::kReplace}};

std::string Join(const auto& table, const char* separator) {
  std::string names;
  for (const auto& row : table) names += (names.empty() ? "" : separator) + row.first;
  return names;
}

// Accepts the names of a table, and says what they are when it is given another.
void AddChoice(CLI::App& command, const char* name, auto& value, const auto& table,
               const char* text) {
  const auto take = [name, &value, &table](const std::string& given) {
    const auto known = table.find(given);
    if (known == table.end()) {
      throw CLI::ValidationError(name, "\"" + given + "\" is none of " + Join(table, ", "));
    }
    value = known->second;
  };
  command.add_option_function<std::string>(name, take, text)->type_name(Join(table, "|"));
}

void AddConvert(CLI::App& app, ConvertArguments& arguments) {
  CLI::App& convert = *app.add_subcommand("convert", "Make books");
  Selection& selection = arguments.selection;
  BookOptions& options = arguments.options;
  const auto option = [&](const char* name, auto& value, const char* type, const char* text) {
    return convert.add_option(name, value, text)->type_name(type);
  };
  option(kInputs, selection.inputs, "",
         "Texts, HTML pages, MOBI books, pictures, or folders of them; - for a text that is piped")
      ->required();
  option("-o,--output", selection.output, kAnyFile,
         "The book, a directory for the books, or - to pipe it (default: beside the input)");
  option("--title", options.title, kText, "Title (default: the document's, or its file name)");
  option("--author", options.author, kText, "Author (default: the document's)");
  option("--cover", options.cover, kPictureFile, "The cover: a JPEG, PNG or GIF file");
  option("--encoding", options.decoding.encoding, kEncoding,
         "Encoding of the texts and pages, as `iconv -l` lists them (default: auto)");
  AddChoice(
      convert, "--encoding-errors", options.decoding.errors, kErrorModes,
      "Bytes of texts that cannot be decoded: auto (replace a few, the default), strict (fail) "
      "or replace");
  AddChoice(convert, "--paragraphs", options.paragraphs, kParagraphModes,
            "A line of a text is: line (a paragraph), wrapped (a part of one), auto (the default)");
  convert.add_flag("--separate", selection.separate,
                   "A book of each HTML page or picture instead of one of all");
  option("--work-dir", options.workDir, kDirectory,
         "Directory for working files (default: $TMPDIR or /tmp)");
  option("-j,--jobs", arguments.jobs, kNumber, "Books made at once (default: one a processor)")
      ->check(CLI::Range(1, 1024).description(""));
  convert.add_flag("-f,--force", options.force, "Replace books that exist");
  convert.add_flag("-n,--dry-run", options.dryRun, "Only tell what would be made");
  convert.add_flag("-q,--quiet", arguments.quiet, "Tell failures only");
  convert.add_flag("--json", arguments.json, "Tell each book as one line of JSON");
}

void AddInfo(CLI::App& app, InfoArguments& arguments) {
  CLI::App& info = *app.add_subcommand("info", "Tell title, author, pages, pictures and size");
  info.add_option(kBooks, arguments.books, "EPUB or MOBI books")->type_name("")->required();
  info.add_flag("--json", arguments.json, "One line of JSON for each book");
}

void AddPreview(CLI::App& app, PreviewArguments& arguments) {
  CLI::App& preview = *app.add_subcommand("preview", "Draw the first pages of a book on one sheet");
  preview.add_option(kBooks, arguments.book, "An EPUB book")->type_name("")->required();
  preview
      .add_option("-o,--output", arguments.output,
                  "The sheet, a PNG picture (default: BOOK with .png)")
      ->type_name(kAnyFile);
  preview.add_flag("-f,--force", arguments.force, "Replace a picture that is there");
}

void AddHelp(CLI::App& app, std::string& explained) {
  CLI::App& help = *app.add_subcommand("help", "Print this help, or that of a command");
  help.add_option(kCommand, explained, "convert, info or preview")->type_name("");
}

}  // namespace

CommandLine::CommandLine() : app(kDescription, "kavepub") {
  app.footer(kFooter);
  app.set_version_flag("--version", "kavepub " KAVEPUB_VERSION, "Print the version and exit");
  app.require_subcommand(1);
  app.get_formatter()->column_width(28);
  convert.jobs = std::max(1U, std::thread::hardware_concurrency());
  AddConvert(app, convert);
  AddInfo(app, info);
  AddPreview(app, preview);
  AddHelp(app, explained);
}

std::vector<Entry> CommandsOf(const CLI::App& app) {
  std::vector<Entry> commands;
  for (const CLI::App* command : app.get_subcommands({})) {
    commands.push_back({command->get_name(), command->get_description()});
  }
  return commands;
}

std::vector<Entry> OptionsOf(const CLI::App& command) {
  std::vector<Entry> options;
  for (const CLI::Option* option : command.get_options()) {
    const std::string text = option->get_description();
    for (const std::string& letter : option->get_snames()) options.push_back({"-" + letter, text});
    for (const std::string& name : option->get_lnames()) options.push_back({"--" + name, text});
  }
  return options;
}

const CLI::App* FindCommand(const CLI::App& app, const std::string& name) {
  const auto commands = app.get_subcommands({});
  const auto found = std::find_if(commands.begin(), commands.end(), [&](const CLI::App* command) {
    return command->get_name() == name;
  });
  return found == commands.end() ? nullptr : *found;
}

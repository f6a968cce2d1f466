// Fills the table of commands and options.
#include "hosts/kavepub/commands/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
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
  kavepub convert library/ -o books/ --journal run.jsonl; kavepub report run.jsonl
  kavepub info novel.epub
  kavepub preview novel.epub                    draws the first pages into novel.png
  kavepub serve --open                          makes books on a page in the browser
)";

constexpr char kFooter[] =
    "Exit codes: 0 all done, 1 a book failed, 2 wrong usage, 130 interrupted.";

constexpr char kNumber[] = "N";

const std::map<std::string, Edition> kEditions = {{"plain", Edition::kPlain},
                                                  {"reader", Edition::kReader}};

const std::map<std::string, Sandbox> kSandboxes = {
    {"auto", Sandbox::kAuto}, {"off", Sandbox::kOff}, {"require", Sandbox::kRequire}};

constexpr char kOfBooks[] = "Options of books";
constexpr std::string_view kOwnOption = "threads";  // which --jobs decides

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

// All that the library of the reader's edition takes, in its own words.
void AddOptionsOfBooks(CLI::App& command, EditionOptions& chosen) {
  for (const kavepub_option& option : KnownEditionOptions()) {
    const std::string name = option.name;
    if (name == kOwnOption) continue;
    const auto take = [name, &chosen](const std::vector<std::string>& values) {
      for (const std::string& value : values) chosen.emplace_back(name, value);
    };
    std::string text = option.description;
    if (text.ends_with('.')) text.pop_back();
    if (option.repeats != 0) text += "; can be given again";
    command.add_option_function<std::vector<std::string>>("--" + name, take, text)
        ->type_name(option.values)
        ->expected(1)
        ->allow_extra_args(false)
        ->multi_option_policy(option.repeats != 0 ? CLI::MultiOptionPolicy::TakeAll
                                                  : CLI::MultiOptionPolicy::TakeLast)
        ->group(kOfBooks);
  }
}

// "3/100": the third of a hundred shares.
void AddShare(CLI::App& command, Share& share) {
  static constexpr char kName[] = "--share";
  const auto take = [&share](const std::string& given) {
    const char* end = given.data() + given.size();
    const auto number = std::from_chars(given.data(), end, share.number);
    const bool hasCount = number.ec == std::errc() && number.ptr != end && *number.ptr == '/';
    const auto count = std::from_chars(hasCount ? number.ptr + 1 : end, end, share.count);
    if (count.ec != std::errc() || count.ptr != end || share.number < 1 ||
        share.number > share.count) {
      throw CLI::ValidationError(kName, "\"" + given + "\" is no K/N with K from 1 to N");
    }
  };
  command
      .add_option_function<std::string>(
          kName, take, "Only the K-th of N shares of the books, by their names below the folder")
      ->type_name("K/N");
}

void AddConvert(CLI::App& app, ConvertArguments& arguments) {
  CLI::App& convert = *app.add_subcommand("convert", "Make books");
  Selection& selection = arguments.selection;
  BookOptions& options = arguments.options;
  const auto option = [&](const char* name, auto& value, const char* type, const char* text) {
    return convert.add_option(name, value, text)->type_name(type);
  };
  option(kInputs, selection.inputs, "",
         "Texts, HTML pages, Markdown, MOBI books, pictures, or folders of them; - for a text that "
         "is piped")
      ->expected(0, -1);
  option("-o,--output", selection.output, kAnyFile,
         "The book, a directory for the books, or - to pipe it (default: beside the input)");
  AddChoice(convert, "--edition", options.edition, kEditions,
            "reader: books to read, of texts and pages (the default); plain: sixty lines a page");
  option("--list", selection.list, kFile,
         "A book of each name that this file lists, below the one INPUT (default: the current "
         "folder); - reads it from a pipe");
  AddShare(convert, selection.share);
  convert.add_flag("--separate", selection.separate,
                   "A book of each HTML page or picture instead of one of all");
  option("--work-dir", options.workDir, kDirectory,
         "Directory for working files (default: $TMPDIR or /tmp)");
  option("-j,--jobs", arguments.jobs, kNumber, "Books made at once (default: one a processor)")
      ->check(CLI::Range(1, 1024).description(""));
  AddChoice(convert, "--sandbox", options.sandbox, kSandboxes,
            "Make each book in a process that can do nothing else: as well as the system can (the "
            "default), only if it can do all, or not");
  option("--memory", options.memory, kNumber,
         "Megabytes that making a book may take then (default: by the size of the input)")
      ->check(CLI::Range(1U, 1U << 24).description(""));
  option("--time", options.seconds, kNumber, "Seconds of processor time, likewise")
      ->check(CLI::Range(1U, 1U << 24).description(""));
  convert.add_flag("-f,--force", options.force, "Replace books that exist");
  convert.add_flag("-n,--dry-run", options.dryRun, "Only tell what would be made");
  convert.add_flag("-q,--quiet", arguments.quiet, "Tell failures only");
  convert.add_flag("--json", arguments.json, "Tell each book as one line of JSON");
  option("--journal", arguments.journal, kAnyFile,
         "Append a line of JSON for each book, which kavepub report reads");
  AddOptionsOfBooks(convert, options.chosen);
  convert.callback([&selection] {
    if (selection.inputs.empty() && selection.list.empty()) throw CLI::RequiredError(kInputs);
  });
}

void AddInfo(CLI::App& app, InfoArguments& arguments) {
  CLI::App& info = *app.add_subcommand("info", "Tell title, author, language, contents and size");
  info.add_option(kBooks, arguments.books, "EPUB or MOBI books, or texts")
      ->type_name("")
      ->required();
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

void AddList(CLI::App& app, ListArguments& arguments) {
  CLI::App& list =
      *app.add_subcommand("list", "Name the books that a folder would become, the largest first");
  list.add_option(kDirectory, arguments.folder, "The folder, below which the names are")
      ->type_name("")
      ->required();
}

void AddReport(CLI::App& app, ReportArguments& arguments) {
  CLI::App& report = *app.add_subcommand("report", "Tell what became of a run, by its journals");
  report.add_option(kJournals, arguments.journals, "Journals of convert, in any order")
      ->type_name("")
      ->required();
  report
      .add_option("--list", arguments.list,
                  "Names of all that was to be made: also tell what is missing")
      ->type_name(kFile);
  report
      .add_option("--retry", arguments.retry,
                  "List there what is worth another try, for convert --list")
      ->type_name(kAnyFile);
  report.add_flag("--json", arguments.json, "Tell all in one line of JSON");
}

// "127.0.0.1:8017", "[::1]:8017": a numeric address.
void AddListen(CLI::App& command, Endpoint& endpoint) {
  static constexpr char kName[] = "--listen";
  const auto take = [&endpoint](const std::string& given) {
    const size_t colon = given.rfind(':');
    const std::string port = colon == std::string::npos ? "" : given.substr(colon + 1);
    const char* end = port.data() + port.size();
    const auto read = std::from_chars(port.data(), end, endpoint.port);
    endpoint.host = given.substr(0, colon);
    const bool isSix = endpoint.host.starts_with('[') && endpoint.host.ends_with(']');
    if (isSix) endpoint.host = endpoint.host.substr(1, endpoint.host.size() - 2);
    if (port.empty() || read.ec != std::errc() || read.ptr != end || endpoint.host.empty()) {
      throw CLI::ValidationError(kName, "\"" + given + "\" is no ADDRESS:PORT");
    }
  };
  command
      .add_option_function<std::string>(
          kName, take, "Address that others reach, which needs a password: 0.0.0.0:8017 for all")
      ->type_name("ADDRESS:PORT");
}

void AddServe(CLI::App& app, ServeArguments& arguments) {
  CLI::App& serve = *app.add_subcommand("serve", "Open a page where books are made and read");
  ServeSettings& settings = arguments.settings;
  const auto number = [&](const char* name, auto& value, auto most, const char* text) {
    return serve.add_option(name, value, text)
        ->type_name(kNumber)
        ->check(CLI::Range(std::decay_t<decltype(value)>(1), std::decay_t<decltype(value)>(most))
                    .description(""));
  };
  serve
      .add_option("--port", settings.endpoint.port,
                  "Port on this computer (default: 8017); 0 for any that is free")
      ->type_name(kNumber);
  AddListen(serve, settings.endpoint);
  serve.add_flag("--open", settings.opensBrowser, "Open the page in the browser");
  serve
      .add_option("--name", settings.names,
                  "Name by which others see this server, behind another one; can be given again")
      ->type_name("HOST")
      ->expected(1)
      ->allow_extra_args(false)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  serve
      .add_option("--password-file", settings.passwordFile,
                  "Ask for the password whose hash this file holds")
      ->type_name(kFile);
  serve.add_flag("--hash-password", arguments.hashesPassword,
                 "Read a password, print its hash for such a file, and do nothing else");
  serve
      .add_option("--store", settings.store,
                  "Directory for books (default: ~/.local/state/kavepub/serve)")
      ->type_name(kDirectory);
  const auto keep = [&settings](unsigned hours) {
    settings.limits.keep = std::chrono::hours(hours);
  };
  serve.add_option_function<unsigned>("--keep", keep, "Hours that books are kept (default: 24)")
      ->type_name(kNumber)
      ->check(CLI::Range(1U, 100000U).description(""));
  const auto megabytes = [&](const char* name, std::uint64_t& bytes, const char* text) {
    const auto take = [&bytes](std::uint64_t given) { bytes = given << 20; };
    serve.add_option_function<std::uint64_t>(name, take, text)
        ->type_name(kNumber)
        ->check(CLI::Range(1U, 1U << 24).description(""));
  };
  megabytes("--max-upload", settings.limits.upload,
            "Megabytes that can be sent at once (default: 512)");
  megabytes("--max-store", settings.room, "Megabytes of all that is kept (default: 8192)");
  number("--max-books", settings.limits.booksOfSession, 100000,
         "Books of one visitor (default: 250)");
  number("--max-all-books", settings.limits.books, 100000, "Books of all (default: 2000)");
  number("--patience", settings.graceSeconds, 3600,
         "Seconds after which a client is cut off that is slower than 4 KB/s (default: 20)");
  number("-j,--jobs", settings.jobs, 1024, "Books made at once (default: one a processor)");
  static const std::map<std::string, Sandbox> kCells = {{"auto", Sandbox::kAuto},
                                                        {"require", Sandbox::kRequire}};
  AddChoice(serve, "--sandbox", settings.sandbox, kCells,
            "Books are made in processes that can do nothing else: as well as the system can (the "
            "default), or only if it can do all");
}

void AddHelp(CLI::App& app, std::string& explained) {
  CLI::App& help = *app.add_subcommand("help", "Print this help, or that of a command");
  help.add_option(kCommand, explained, "convert, info, preview, list, report, serve or doctor")
      ->type_name("");
}

}  // namespace

CommandLine::CommandLine() : app(kDescription, "kavepub") {
  app.footer(kFooter);
  app.set_version_flag("--version", "kavepub " KAVEPUB_VERSION, "Print the version and exit");
  app.require_subcommand(1);
  app.get_formatter()->column_width(28);
  convert.jobs = serve.settings.jobs = std::max(1U, std::thread::hardware_concurrency());
  AddConvert(app, convert);
  AddInfo(app, info);
  AddPreview(app, preview);
  AddList(app, list);
  AddReport(app, report);
  AddServe(app, serve);
  app.add_subcommand("doctor", "Tell how well this system keeps books from doing harm");
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

// The tool: takes the command line apart, runs the command, and tells what failed.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/kavepub/commands/command_line.h"
#include "hosts/kavepub/commands/commands.h"
#include "hosts/kavepub/commands/completion.h"
#include "hosts/kavepub/commands/suggestion.h"
#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"
#include "hosts/kavepub/console/standard_output.h"

namespace {

// What shells ask to complete a command line; not in the help, as only completions call it.
constexpr std::string_view kCompletion = "complete";

std::string UnknownOption(const CLI::App& command, const std::string& word) {
  const std::string option = word.substr(0, word.find('='));
  return "there is no option " + option + Suggestion(option, OptionsOf(command));
}

std::string UnknownCommand(const CLI::App& app, const std::string& word) {
  const std::string suggestion = Suggestion(word, CommandsOf(app));
  return "there is no command " + word +
         (suggestion.empty() ? "; books are made by `kavepub convert FILE`" : suggestion);
}

// What is wrong with the words: first of all one that is not known, whatever else it leads to.
std::string ReasonOf(const CLI::App& app, const CLI::ParseError& error, const std::string& first) {
  const auto commands = app.get_subcommands();
  if (commands.empty()) {
    return first.starts_with('-') ? UnknownOption(app, first) : UnknownCommand(app, first);
  }
  for (const std::string& word : commands.front()->remaining()) {
    if (word.starts_with('-') && word != "--") return UnknownOption(*commands.front(), word);
  }
  for (const std::string& word : commands.front()->remaining()) return word + " is one too many";
  return error.what();
}

// One line that says what is wrong and where to look.
int Reject(const CLI::App& app, const std::string& reason) {
  const auto commands = app.get_subcommands();
  const std::string help = commands.empty() ? "" : " " + commands.front()->get_name();
  std::fprintf(stderr, "kavepub: %s; see `kavepub%s --help`\n", OneLine(reason).c_str(),
               help.c_str());
  return kUsage;
}

int Tell(std::string text) {
  constexpr std::string_view kGap = "\n\n\n";  // between groups of options
  while (text.find(kGap) != std::string::npos) text.erase(text.find(kGap), 1);
  text.erase(text.find_last_not_of('\n') + 1);
  Say(text);
  return kDone;
}

int Explain(const CommandLine& line) {
  if (line.explained.empty()) return Tell(CommandLine().app.help());  // not that of this command
  const CLI::App* command = FindCommand(line.app, line.explained);
  if (command == nullptr) return Reject(line.app, UnknownCommand(line.app, line.explained));
  return Tell(command->help("kavepub"));
}

int Run(int argc, char** argv) {
  CommandLine line;
  if (argc == 1) return Tell(line.app.help());
  if (argv[1] == kCompletion) {
    for (const std::string& offer : Offers(line.app, {argv + 2, argv + argc})) Say(offer);
    return kDone;
  }
  try {
    line.app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) return Reject(line.app, ReasonOf(line.app, error, argv[1]));
    const bool isHelp = dynamic_cast<const CLI::CallForHelp*>(&error) != nullptr;
    return Tell(isHelp ? line.app.help() : error.what());
  }
  if (line.app.got_subcommand("convert")) return RunConvert(line.convert);
  if (line.app.got_subcommand("info")) return RunInfo(line.info);
  if (line.app.got_subcommand("list")) return RunList(line.list);
  if (line.app.got_subcommand("report")) return RunReportCommand(line.report);
  if (line.app.got_subcommand("preview")) return RunPreview(line.preview);
  if (line.app.got_subcommand("serve")) return RunServe(line.serve);
  if (line.app.got_subcommand("doctor")) return RunDoctor();
  return Explain(line);
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

// The commands and options of the tool: the one table that parsing, help and completion go by.
#ifndef KAVEPUB_COMMAND_LINE_H
#define KAVEPUB_COMMAND_LINE_H

#include <CLI/App.hpp>
#include <string>
#include <vector>

#include "hosts/kavepub/commands/commands.h"

// What the arguments of options and commands are called, which tells what completes them; choices
// are called by all of them, "auto|none|PICTURE".
inline constexpr char kAnyFile[] = "PATH";
inline constexpr char kFile[] = "FILE";
inline constexpr char kPictureFile[] = "PICTURE";
inline constexpr char kDirectory[] = "DIR";
inline constexpr char kEncoding[] = "ENCODING";
inline constexpr char kInputs[] = "INPUT";
inline constexpr char kBooks[] = "BOOK";
inline constexpr char kJournals[] = "JOURNAL";
inline constexpr char kCommand[] = "COMMAND";

struct CommandLine {
  CommandLine();

  CLI::App app;
  ConvertArguments convert;
  InfoArguments info;
  PreviewArguments preview;
  ListArguments list;
  ReportArguments report;
  ServeArguments serve;
  std::string explained;  // the command that a help is asked for
};

// A command or option, and what it is for.
struct Entry {
  std::string name;
  std::string text;
};

std::vector<Entry> CommandsOf(const CLI::App& app);
std::vector<Entry> OptionsOf(const CLI::App& command);

// The command of that name, or null.
const CLI::App* FindCommand(const CLI::App& app, const std::string& name);

#endif

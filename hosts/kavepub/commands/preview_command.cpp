// "kavepub preview": has the first pages drawn by mutool and puts them on one sheet.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <string>
#include <system_error>
#include <thread>

#include "hosts/kavepub/commands/commands.h"
#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"
#include "hosts/kavepub/console/standard_output.h"
#include "hosts/kavepub/console/work_dir.h"
#include "hosts/kavepub/inspect/contact_sheet.h"
#include "hosts/kavepub/inspect/epub_package.h"
#include "hosts/kavepub/plan/input_kind.h"

namespace {

constexpr int kMostPages = 12;
constexpr char kResolution[] = "60";
constexpr std::chrono::milliseconds kPollEvery{5};

// Starts mutool without its chatter; throws a Failure when there is no such program.
pid_t StartMutool(std::vector<std::string> arguments) {
  std::vector<char*> argv(arguments.size() + 1, nullptr);
  std::transform(arguments.begin(), arguments.end(), argv.begin(),
                 [](std::string& argument) { return argument.data(); });
  // What this program ignores, a child would ignore, too.
  sigset_t defaults;
  sigemptyset(&defaults);
  sigaddset(&defaults, SIGPIPE);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setsigdefault(&attributes, &defaults);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
    posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_WRONLY, 0);
  }
  pid_t child = 0;
  const int error = posix_spawnp(&child, argv[0], &actions, &attributes, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  if (error == ENOENT) {
    throw Failure(
        "mutool is not installed, which draws the pages; install the package mupdf-tools");
  }
  if (error != 0) throw Failure("mutool", std::generic_category().message(error));
  return child;
}

// Waits for it, unless the call is interrupted.
void WaitFor(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, WNOHANG) == 0) {
    if (WasInterrupted()) kill(child, SIGTERM);
    std::this_thread::sleep_for(kPollEvery);
  }
  StopIfInterrupted();
}

std::vector<Picture> DrawPages(const std::filesystem::path& book) {
  const WorkDir workDir;
  const std::string pattern = workDir.Path() / "page-%d.ppm";
  WaitFor(
      StartMutool({"mutool", "draw", "-q", "-a", "-c", "rgb", "-F", "pnm", "-r", kResolution, "-o",
                   pattern, std::filesystem::absolute(book), "1-" + std::to_string(kMostPages)}));
  std::vector<Picture> pages;
  for (int number = 1; number <= kMostPages; ++number) {
    const auto file = workDir.Path() / ("page-" + std::to_string(number) + ".ppm");
    if (std::filesystem::exists(file)) pages.push_back(ReadPpm(file));
  }
  return pages;
}

}  // namespace

int RunPreview(const PreviewArguments& arguments) {
  if (arguments.output.has_extension() && ExtensionOf(arguments.output) != ".png") {
    throw WrongUsage(arguments.output,
                     "is not called like a PNG picture, which is all that can be "
                     "drawn; give it the extension .png");
  }
  RequireReadable(arguments.book);
  ReadEpubPackage(arguments.book);  // tells better than mutool what is wrong with a book
  std::filesystem::path output = arguments.output;
  if (output.empty()) {
    output = std::filesystem::path(arguments.book).replace_extension(".png");
    // A picture of that name need not be an old sheet: the cover often lies there.
    if (!arguments.force && std::filesystem::exists(output)) {
      throw Failure(output, "exists already; use --force to replace it or -o to name another");
    }
  }

  const std::vector<Picture> pages = DrawPages(arguments.book);
  if (pages.empty()) throw Failure(arguments.book, "mutool can draw none of its pages");
  WritePng(ComposeSheet(pages), output);
  const std::string count = std::to_string(pages.size()) + (pages.size() == 1 ? " page" : " pages");
  Say(OneLine(output.string()) + " (" + count + ")");
  return kDone;
}

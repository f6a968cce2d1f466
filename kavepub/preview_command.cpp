// "kavepub preview": has the first pages drawn by mutool and puts them on one sheet.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>

#include "kavepub/commands.h"
#include "kavepub/contact_sheet.h"
#include "kavepub/epub_package.h"
#include "kavepub/failure.h"
#include "kavepub/work_dir.h"

namespace {

constexpr int kMostPages = 12;
constexpr char kResolution[] = "60";

// Runs mutool without its chatter. Its exit code; throws a Failure when there is no such program.
int RunMutool(std::vector<std::string> arguments) {
  std::vector<char*> argv(arguments.size() + 1, nullptr);
  std::transform(arguments.begin(), arguments.end(), argv.begin(),
                 [](std::string& argument) { return argument.data(); });
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
    posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_WRONLY, 0);
  }
  pid_t child = 0;
  const int error = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error == ENOENT) {
    throw Failure(
        "mutool is not installed, which draws the pages; install the package mupdf-tools");
  }
  if (error != 0) throw Failure("mutool", std::generic_category().message(error));
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) continue;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::vector<Picture> DrawPages(const std::filesystem::path& book) {
  const WorkDir workDir;
  const std::string pattern = workDir.Path() / "page-%d.ppm";
  RunMutool({"mutool", "draw", "-q", "-a", "-c", "rgb", "-F", "pnm", "-r", kResolution, "-o",
             pattern, std::filesystem::absolute(book), "1-" + std::to_string(kMostPages)});
  std::vector<Picture> pages;
  for (int number = 1; number <= kMostPages; ++number) {
    const auto file = workDir.Path() / ("page-" + std::to_string(number) + ".ppm");
    if (std::filesystem::exists(file)) pages.push_back(ReadPpm(file));
  }
  return pages;
}

}  // namespace

int RunPreview(const PreviewArguments& arguments) {
  RequireReadable(arguments.book);
  ReadEpubPackage(arguments.book);  // tells better than mutool what is wrong with a book
  std::filesystem::path output = arguments.output;
  if (output.empty()) output = std::filesystem::path(arguments.book).replace_extension(".png");

  const std::vector<Picture> pages = DrawPages(arguments.book);
  if (pages.empty()) throw Failure(arguments.book, "mutool can draw none of its pages");
  WritePng(ComposeSheet(pages), output);
  std::printf("%s (%zu pages)\n", output.c_str(), pages.size());
  return kDone;
}

// The commands of the tool. Each returns an exit code; wrong combinations and failures of the whole
// call are thrown.
#ifndef KAVEPUB_COMMANDS_H
#define KAVEPUB_COMMANDS_H

#include <filesystem>
#include <vector>

#include "hosts/kavepub/plan/book_order.h"
#include "hosts/kavepub/plan/planning.h"
#include "hosts/serve/server/serve.h"

enum ExitCode { kDone = 0, kFailed = 1, kUsage = 2, kInterrupted = 130 };

struct ConvertArguments {
  Selection selection;
  BookOptions options;
  unsigned jobs = 1;
  bool quiet = false;
  bool json = false;
  std::filesystem::path journal;  // empty: none
};
int RunConvert(const ConvertArguments& arguments);

struct InfoArguments {
  std::vector<std::filesystem::path> books;
  bool json = false;
};
int RunInfo(const InfoArguments& arguments);

struct PreviewArguments {
  std::filesystem::path book;
  std::filesystem::path output;  // empty: beside the book, with the extension ".png"
  bool force = false;            // replace a picture that is there
};
int RunPreview(const PreviewArguments& arguments);

struct ListArguments {
  std::filesystem::path folder;
};
int RunList(const ListArguments& arguments);

struct ReportArguments {
  std::vector<std::filesystem::path> journals;
  std::filesystem::path list;   // of all that was to be made; empty: none
  std::filesystem::path retry;  // where to list what is worth another try; empty: nowhere
  bool json = false;
};
int RunReportCommand(const ReportArguments& arguments);

struct ServeArguments {
  ServeSettings settings;
  bool hashesPassword = false;
};
int RunServe(const ServeArguments& arguments);

// Tells what keeps cells closed; a failure unless they are.
int RunDoctor();

#endif

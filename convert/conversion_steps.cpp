// Progress reports and the check of the output directory.
#include "convert/conversion_steps.h"

#include <cstdlib>
#include <memory>

#include "platform/kav_tool/kav_tool.h"

namespace {

constexpr int kCancel = -2;

}  // namespace

bool ReportAndAskToCancel(ProgressCallback progress, void* user, int done, int total) {
  return progress != nullptr && progress(user, done, total) == kCancel;
}

bool OutputDirectoryExists(const char* path) {
  const std::unique_ptr<char, decltype(&std::free)> directory(KavGetRunDirectory(path), &std::free);
  return KavIsFileOrDirExists(directory.get()) != 0;
}

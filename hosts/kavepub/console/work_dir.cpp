// Makes and removes temporary directories.
#include "hosts/kavepub/console/work_dir.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>

#include "hosts/kavepub/console/failure.h"
#include "platform/kav_tool/kav_tool.h"

WorkDir::WorkDir(std::filesystem::path parent) {
  std::error_code error;
  if (parent.empty()) parent = std::filesystem::temp_directory_path(error);
  std::string name = (parent / "kavepub-XXXXXX").string();
  if (error || mkdtemp(name.data()) == nullptr) {
    const std::error_code reason = error ? error : std::error_code(errno, std::generic_category());
    throw Failure(parent, "no working directory can be made here: " + reason.message() +
                              "; name a writable directory with --work-dir");
  }
  path = name;
}

WorkDir::~WorkDir() {
  KavDeleteDir(path.c_str());
}

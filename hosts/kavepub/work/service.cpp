// Obtains the engine's record.
#include "hosts/kavepub/work/service.h"

#include <new>

#include "hosts/kavepub/console/failure.h"

Service::Service(const std::filesystem::path& directory)
    : record(CreateEpubService()), workDir(directory) {
  if (!record) throw std::bad_alloc();
}

void Service::Require(int code, const std::filesystem::path& file) const {
  ::Require(code, file, workDir.parent_path());
}

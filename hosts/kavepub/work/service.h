// The engine's record of functions, owned for the length of a scope.
#ifndef KAVEPUB_SERVICE_H
#define KAVEPUB_SERVICE_H

#include <filesystem>
#include <memory>

#include "service/epub_service.h"

class Service {
 public:
  // Throws std::bad_alloc when memory runs out.
  explicit Service(const std::filesystem::path& workDir);

  const TEpubService* operator->() const { return record.get(); }

  // Throws a Failure for a result other than success, of a call about a file.
  void Require(int code, const std::filesystem::path& file) const;

 private:
  struct FreeRecord {
    void operator()(TEpubService* owned) const { FreeEpubService(owned); }
  };

  std::unique_ptr<TEpubService, FreeRecord> record;
  const std::filesystem::path& workDir;
};

#endif

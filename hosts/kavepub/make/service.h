// The engine's record of functions, owned for the length of a scope.
#ifndef KAVEPUB_SERVICE_H
#define KAVEPUB_SERVICE_H

#include <memory>

#include "service/epub_service.h"

struct FreeService {
  void operator()(TEpubService* record) const { FreeEpubService(record); }
};

using Service = std::unique_ptr<TEpubService, FreeService>;

// Throws std::bad_alloc when memory runs out.
Service NewService();

#endif

// Obtains the engine's record.
#include "hosts/kavepub/make/service.h"

#include <new>

Service NewService() {
  Service service(CreateEpubService());
  if (!service) throw std::bad_alloc();
  return service;
}

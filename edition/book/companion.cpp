// Finds libraries from where this one was loaded.
#include "edition/book/companion.h"

#include <dlfcn.h>

#include <string>

void* CompanionFunction(const char* library, const char* function) {
  Dl_info own{};
  if (dladdr(reinterpret_cast<const void*>(&CompanionFunction), &own) == 0) return nullptr;
  const std::string path = own.dli_fname;
  const std::string beside = path.substr(0, path.rfind('/') + 1) + library;
  void* loaded = dlopen(beside.c_str(), RTLD_NOW | RTLD_LOCAL);
  return loaded == nullptr ? nullptr : dlsym(loaded, function);
}

void KeepFile(void* target, const void* bytes, std::size_t size) noexcept {
  auto& file = *static_cast<std::string*>(target);
  try {
    file.assign(static_cast<const char*>(bytes), size);
  } catch (...) {
    file.clear();
  }
}

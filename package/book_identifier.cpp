// Makes the identifier of a book from the time.
#include "package/book_identifier.h"

#include <cstdlib>
#include <memory>
#include <new>

#include "platform/kav_tool/kav_tool.h"

namespace {

constexpr char kTimeFormat[] = "%Y%m%d%H%M%S";
constexpr int kTimeSize = 16;
constexpr char kPrefix[] = "urn:uuid:id_";

}  // namespace

std::string NewBookIdentifier() {
  const std::unique_ptr<char, decltype(&std::free)> time(
      KavGetLocalCurrentTime(kTimeFormat, kTimeSize), &std::free);
  if (time == nullptr) throw std::bad_alloc();
  return std::string(kPrefix) + time.get();
}

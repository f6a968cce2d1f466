// Wraps iconv.
#include "base/encoding/converter.h"

#include <cerrno>
#include <cstdint>
#include <new>

namespace {

constexpr size_t kBufferSize = size_t{1} << 14;

}  // namespace

Converter::Converter(const std::string& from, const std::string& to)
    : handle(iconv_open(to.c_str(), from.c_str())),
      exists(reinterpret_cast<std::intptr_t>(handle) != -1) {
  if (!exists && errno != EINVAL) throw std::bad_alloc();
}

Converter::~Converter() {
  if (exists) iconv_close(handle);
}

bool Converter::Decode(std::string_view& input, std::string& out) {
  if (buffer == nullptr) buffer = std::make_unique<char[]>(kBufferSize);
  for (;;) {
    char* from = const_cast<char*>(input.data());  // iconv does not write there
    size_t fromLeft = input.size();
    char* to = buffer.get();
    size_t toLeft = kBufferSize;
    const bool done = iconv(handle, &from, &fromLeft, &to, &toLeft) != static_cast<size_t>(-1);
    const int error = done ? 0 : errno;
    out.append(buffer.get(), kBufferSize - toLeft);
    input.remove_prefix(input.size() - fromLeft);
    if (error != E2BIG) return error == 0 || error == EINVAL;
  }
}

void Converter::Finish(std::string& out) {
  char last[32];
  char* to = last;
  size_t toLeft = sizeof last;
  iconv(handle, nullptr, nullptr, &to, &toLeft);
  out.append(last, sizeof last - toLeft);
}

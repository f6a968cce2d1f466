// Wraps iconv.
#include "hosts/kavepub/source/converter.h"

#include <array>
#include <cerrno>
#include <cstdint>

Converter::Converter(const std::string& from, const std::string& to)
    : handle(iconv_open(to.c_str(), from.c_str())),
      exists(reinterpret_cast<std::intptr_t>(handle) != -1) {}

Converter::~Converter() {
  if (Exists()) iconv_close(handle);
}

bool Converter::Decode(std::string_view& input, std::string& out) {
  std::array<char, 1 << 16> buffer;
  for (;;) {
    char* from = const_cast<char*>(input.data());  // iconv does not write there
    size_t fromLeft = input.size();
    char* to = buffer.data();
    size_t toLeft = buffer.size();
    const bool done = iconv(handle, &from, &fromLeft, &to, &toLeft) != static_cast<size_t>(-1);
    const int error = done ? 0 : errno;
    out.append(buffer.data(), buffer.size() - toLeft);
    input.remove_prefix(input.size() - fromLeft);
    if (error != E2BIG) return error == 0 || error == EINVAL;
  }
}

void Converter::Finish(std::string& out) {
  std::array<char, 32> buffer;
  char* to = buffer.data();
  size_t toLeft = buffer.size();
  iconv(handle, nullptr, nullptr, &to, &toLeft);
  out.append(buffer.data(), buffer.size() - toLeft);
}

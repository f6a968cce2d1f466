// Checks hosts, and has libidn2 write those of all scripts in ASCII. It is loaded when the first
// such host comes: few books need it, and the others are to start as fast as before.
#include "edition/page/host.h"

#include <arpa/inet.h>
#include <dlfcn.h>
#include <idn2.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>

#include "edition/page/reference.h"
#include "edition/page/words.h"

namespace {

constexpr char kLibrary[] = "libidn2.so.0";
constexpr int kAsBrowsersDo = IDN2_NFC_INPUT | IDN2_NONTRANSITIONAL;

struct Idn {
  Idn() {
    void* library = dlopen(kLibrary, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) return;
    lookUp = reinterpret_cast<decltype(lookUp)>(dlsym(library, "idn2_lookup_u8"));
    release = reinterpret_cast<decltype(release)>(dlsym(library, "idn2_free"));
  }

  decltype(idn2_lookup_u8)* lookUp = nullptr;
  decltype(idn2_free)* release = nullptr;
};

// Empty where there is no such name, or the library is not installed.
std::string InAscii(const std::string& host) {
  static const Idn library;
  const bool isThere = library.lookUp != nullptr && library.release != nullptr;
  if (!isThere || host.find('\0') != std::string::npos) return {};
  std::uint8_t* found = nullptr;
  const int code =
      library.lookUp(reinterpret_cast<const std::uint8_t*>(host.c_str()), &found, kAsBrowsersDo);
  if (code == IDN2_MALLOC) throw std::bad_alloc();
  if (code != IDN2_OK) return {};
  const std::unique_ptr<std::uint8_t, decltype(library.release)> kept(found, library.release);
  return reinterpret_cast<const char*>(found);
}

bool IsLabel(std::string_view label) {
  constexpr char kHyphen = '-';
  return !label.empty() && label.front() != kHyphen && label.back() != kHyphen &&
         std::all_of(label.begin(), label.end(),
                     [](char c) { return IsAlphanumeric(c) || c == kHyphen || c == '_'; });
}

// Four numbers; no other name of several labels has a number for its last one.
bool IsNumeric(const std::string& host) {
  in_addr address{};
  return inet_pton(AF_INET, host.c_str(), &address) == 1;
}

bool IsName(std::string_view host) {
  if (host.ends_with('.')) host.remove_suffix(1);
  std::string_view last = host;
  for (size_t dot = last.find('.'); dot != std::string_view::npos; dot = last.find('.')) {
    if (!IsLabel(last.substr(0, dot))) return false;
    last.remove_prefix(dot + 1);
  }
  const bool endsInNumber = last.size() < host.size() && last.find_first_of(kDigits) == 0;
  return IsLabel(last) && !endsInNumber;
}

}  // namespace

std::string HostOfNet(std::string_view written) {
  std::string host = Unescaped(written);
  const bool isForeign =
      std::any_of(host.begin(), host.end(), [](char c) { return static_cast<signed char>(c) < 0; });
  if (isForeign) host = InAscii(host);
  return IsNumeric(host) || IsName(host) ? host : std::string();
}

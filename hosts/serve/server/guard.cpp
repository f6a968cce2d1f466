// Compares hosts and origins.
#include "hosts/serve/server/guard.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>

#include "hosts/serve/shelf/refusal.h"

namespace {

constexpr std::string_view kSchemes[] = {"http://", "https://"};

std::string Lower(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return lower;
}

bool IsAddress(std::string_view host) {
  const bool isSix = host.starts_with('[') && host.ends_with(']');
  const std::string text(isSix ? host.substr(1, host.size() - 2) : host);
  std::array<unsigned char, sizeof(in6_addr)> address{};
  return inet_pton(isSix ? AF_INET6 : AF_INET, text.c_str(), address.data()) == 1;
}

// Without the port, and the port with its colon.
std::pair<std::string_view, std::string_view> Split(std::string_view host) {
  const size_t colon = host.rfind(':');
  const size_t bracket = host.rfind(']');
  const bool hasPort =
      colon != std::string_view::npos && (bracket == std::string_view::npos || colon > bracket);
  return {host.substr(0, hasPort ? colon : host.size()), hasPort ? host.substr(colon) : ""};
}

}  // namespace

Guard::Guard(std::uint16_t at, bool byAddress, const std::vector<std::string>& names)
    : port(":" + std::to_string(at)), takesAddresses(byAddress) {
  for (const std::string& name : names) hosts.insert(Lower(name));
}

bool Guard::IsOurs(std::string_view host) const {
  const auto [name, itsPort] = Split(host);
  const std::string lower = Lower(name);
  if (hosts.contains(lower)) return true;  // seen through another server, at any port
  const bool isLocal = lower == "localhost" || lower == "127.0.0.1" || lower == "[::1]";
  const bool isUsual = port == ":80" && itsPort.empty();
  return (isLocal || (takesAddresses && IsAddress(lower))) && (itsPort == port || isUsual);
}

void Guard::CheckForm(const Request& request) const {
  if (request.HeaderCount("Host") != 1 || !IsOurs(request.Header("Host"))) {
    throw Refused(refusal::kWrongHost,
                  "this server is not called like that; if it is, say so by --name");
  }
  const size_t lengths = request.HeaderCount("Content-Length");
  const size_t encodings = request.HeaderCount("Transfer-Encoding");
  if (lengths + encodings > 1 || (lengths == 1 && !request.ContentLength())) {
    throw Refused(refusal::kBadRequest, "the length of the request is not clear");
  }
}

void Guard::CheckOrigin(const Request& request, bool isSafe) const {
  const std::string_view site = request.Header("Sec-Fetch-Site");
  bool isOwn = site.empty() || site == "same-origin" || site == "none";
  const std::string_view origin = request.Header("Origin");
  if (!origin.empty() && !isSafe) {
    isOwn = isOwn && std::any_of(std::begin(kSchemes), std::end(kSchemes), [&](auto scheme) {
              return origin.starts_with(scheme) &&
                     origin.substr(scheme.size()) == request.Header("Host");
            });
  }
  if (!isOwn) throw Refused(refusal::kWrongOrigin, "only the own page may ask for that");
}

// Tells our own page from those of others.
#ifndef KAVEPUB_SERVE_GUARD_H
#define KAVEPUB_SERVE_GUARD_H

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/serve/http/exchange.h"

class Guard {
 public:
  // Of a server at a port, which has further names where others see it. With addresses it is also
  // called by those of the machine: another site cannot have them, as it can have any name.
  Guard(std::uint16_t port, bool byAddress, const std::vector<std::string>& names);

  // Throws a Refused for a name that is not ours, and for what cannot be understood in one way
  // only.
  void CheckForm(const Request& request) const;

  // Throws a Refused for what the page of another site asks for.
  void CheckOrigin(const Request& request, bool isSafe) const;

 private:
  bool IsOurs(std::string_view host) const;

  std::string port;
  bool takesAddresses;
  std::set<std::string, std::less<>> hosts;
};

#endif

// Who answers for an address of the net.
#ifndef KAVEPUB_PAGE_HOST_H
#define KAVEPUB_PAGE_HOST_H

#include <string>
#include <string_view>

// A host, in UTF-8 or escaped, as the net and every program know it ("xn--bcher-kva.example");
// empty where it cannot be one.
std::string HostOfNet(std::string_view written);

#endif

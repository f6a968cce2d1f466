// Decoding of data URIs.
#ifndef KAVEPUB_PAGE_BASE64_H
#define KAVEPUB_PAGE_BASE64_H

#include <string>
#include <string_view>

// The bytes that a data URI holds; empty when it holds none.
std::string BytesOfData(std::string_view uri);

#endif

// Base64, as data URIs have it.
#ifndef KAVEPUB_PAGE_BASE64_H
#define KAVEPUB_PAGE_BASE64_H

#include <string>
#include <string_view>

// The bytes that a data URI holds; empty when it holds none.
std::string BytesOfData(std::string_view uri);

std::string Base64Of(std::string_view bytes);

#endif

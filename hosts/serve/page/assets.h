// The files of the page, as the program carries them.
#ifndef HOSTS_SERVE_PAGE_ASSETS_H_
#define HOSTS_SERVE_PAGE_ASSETS_H_

#include <span>
#include <string_view>

struct Asset {
  std::string_view path;   // "/page.css"
  std::string_view type;   // for Content-Type
  std::string_view bytes;  // in gzip's format
  std::string_view tag;    // of the content, for ETag, without quotes
  bool isReader;           // belongs to the frame in which books are read
};

// In the order of their paths.
std::span<const Asset> Assets();

// Null for what there is not.
const Asset* FindAsset(std::string_view path);

// Whether books can be read on the page: not when the engine could not be had for the build.
bool HasReadingEngine();

#endif

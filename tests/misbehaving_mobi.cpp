// A part of libmobi that was taken over by what it read: commits the misdeed that KAV_MISDEED
// names, and finds the book damaged if nothing comes of it. To be preloaded.
#include <mobi.h>

#include "tests/misdeeds.h"

namespace {

std::string Named(const char* variable) {
  const char* value = std::getenv(variable);
  return value == nullptr ? "" : value;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) MOBI_RET mobi_load_file(MOBIData* /*book*/,
                                                                          FILE* /*file*/) {
  world = {Named("KAV_SECRET"), Named("KAV_LINK"), Named("KAV_INPUT"), Named("KAV_ELSEWHERE")};
  for (const Misdeed& misdeed : kMisdeeds) {
    if (misdeed.name == Named("KAV_MISDEED") && misdeed.attempt()) return MOBI_SUCCESS;
  }
  return MOBI_DATA_CORRUPT;
}

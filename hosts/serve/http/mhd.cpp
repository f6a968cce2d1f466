// Loads libmicrohttpd.
#include "hosts/serve/http/mhd.h"

#include <dlfcn.h>

#include "hosts/kavepub/console/failure.h"

namespace {

constexpr char kLibrary[] = "libmicrohttpd.so.12";

Mhd Load() {
  void* library = dlopen(kLibrary, RTLD_NOW | RTLD_LOCAL);
  bool isWhole = library != nullptr;
  Mhd mhd{};
  const auto take = [&](auto& function, const char* name) {
    if (isWhole)
      function = reinterpret_cast<std::decay_t<decltype(function)>>(dlsym(library, name));
    isWhole = isWhole && function != nullptr;
  };
  take(mhd.startDaemon, "MHD_start_daemon");
  take(mhd.stopDaemon, "MHD_stop_daemon");
  take(mhd.getConnectionValues, "MHD_get_connection_values_n");
  take(mhd.getConnectionInfo, "MHD_get_connection_info");
  take(mhd.suspendConnection, "MHD_suspend_connection");
  take(mhd.resumeConnection, "MHD_resume_connection");
  take(mhd.createResponseFromBuffer, "MHD_create_response_from_buffer");
  take(mhd.createResponseFromFile, "MHD_create_response_from_fd_at_offset64");
  take(mhd.createResponseFromCallback, "MHD_create_response_from_callback");
  take(mhd.addResponseHeader, "MHD_add_response_header");
  take(mhd.queueResponse, "MHD_queue_response");
  take(mhd.destroyResponse, "MHD_destroy_response");
  take(mhd.createPostProcessor, "MHD_create_post_processor");
  take(mhd.postProcess, "MHD_post_process");
  take(mhd.destroyPostProcessor, "MHD_destroy_post_processor");
  if (!isWhole) {
    throw Failure(
        "libmicrohttpd, by which books are served, is not installed; install the package "
        "libmicrohttpd12");
  }
  return mhd;
}

}  // namespace

const Mhd& LoadedMhd() {
  static const Mhd mhd = Load();
  return mhd;
}

// GNU libmicrohttpd, which is loaded when somebody serves: it brings a library for secure
// connections along, which the other commands need not wait for.
#ifndef KAVEPUB_SERVE_MHD_H
#define KAVEPUB_SERVE_MHD_H

#include <microhttpd.h>

struct Mhd {
  decltype(&MHD_start_daemon) startDaemon;
  decltype(&MHD_stop_daemon) stopDaemon;
  decltype(&MHD_get_connection_values_n) getConnectionValues;
  decltype(&MHD_get_connection_info) getConnectionInfo;
  decltype(&MHD_suspend_connection) suspendConnection;
  decltype(&MHD_resume_connection) resumeConnection;
  decltype(&MHD_create_response_from_buffer) createResponseFromBuffer;
  decltype(&MHD_create_response_from_fd_at_offset64) createResponseFromFile;
  decltype(&MHD_create_response_from_callback) createResponseFromCallback;
  decltype(&MHD_add_response_header) addResponseHeader;
  decltype(&MHD_queue_response) queueResponse;
  decltype(&MHD_destroy_response) destroyResponse;
  decltype(&MHD_create_post_processor) createPostProcessor;
  decltype(&MHD_post_process) postProcess;
  decltype(&MHD_destroy_post_processor) destroyPostProcessor;
};

// Throws a Failure when it is not installed.
const Mhd& LoadedMhd();

#endif

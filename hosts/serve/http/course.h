// One request from its headers to the end of its response.
#ifndef KAVEPUB_SERVE_COURSE_H
#define KAVEPUB_SERVE_COURSE_H

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>

#include "hosts/serve/http/exchange.h"
#include "hosts/serve/http/patience.h"
#include "hosts/serve/http/sleeper.h"

class Course {
 public:
  // All answers are cut off when it is ending.
  Course(MHD_Connection* connection, Patience::Turn& turn, const std::atomic<bool>& isEnding);
  ~Course();
  Course(const Course&) = delete;
  Course& operator=(const Course&) = delete;

  // The steps of a request, as libmicrohttpd tells them. MHD_NO cuts the connection.
  MHD_Result Begin(Site& site, const char* path, const char* method);
  MHD_Result Take(std::string_view bytes);
  MHD_Result End();

  // The response has gone out: the next request is the client's turn.
  void Rest() { turn.Begin(); }

  // Wakes the connection up.
  void Call() { sleeper->Call(); }

 private:
  struct Promise;
  struct FreeResponse {
    void operator()(MHD_Response* owned) const { LoadedMhd().destroyResponse(owned); }
  };
  using OwnedResponse = std::unique_ptr<MHD_Response, FreeResponse>;

  MHD_Result Send(Response response);
  OwnedResponse NewResponse(Response& response);
  OwnedResponse NewResponse(Streamed& streamed);

  MHD_Connection* connection;
  Patience::Turn& turn;
  const std::atomic<bool>& isEnding;
  std::shared_ptr<Sleeper> sleeper;
  std::unique_ptr<Receiver> receiver;
  std::shared_ptr<Promise> promise;  // of an answer, once the whole request is there
};

#endif

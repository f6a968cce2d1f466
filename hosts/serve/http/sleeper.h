// Connections that wait for somebody.
#ifndef KAVEPUB_SERVE_SLEEPER_H
#define KAVEPUB_SERVE_SLEEPER_H

#include <mutex>

#include "hosts/serve/http/mhd.h"

// A connection that is suspended when there is nothing for it, and woken up once for all that came
// meanwhile. Whoever is to call it may keep it for longer than the connection lives.
class Sleeper {
 public:
  explicit Sleeper(MHD_Connection* of) : connection(of) {}

  // Before it is looked whether there is something.
  void Look();

  // When nothing was found: false if something has come since.
  bool Sleep();

  void Call();

  // The connection has gone.
  void Forget();

 private:
  std::mutex mutex;
  MHD_Connection* connection;
  bool isCalled = false;
  bool isAsleep = false;
};

#endif

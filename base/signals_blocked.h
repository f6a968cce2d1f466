// Signals are for the threads of the host: blocks them while a thread is made, which inherits that.
#ifndef KAV_BASE_SIGNALS_BLOCKED_H
#define KAV_BASE_SIGNALS_BLOCKED_H

#include <signal.h>

class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
  }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }

 private:
  sigset_t before;
};

#endif

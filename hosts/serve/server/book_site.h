// The interface of the server: what is answered to which request.
#ifndef KAVEPUB_SERVE_BOOK_SITE_H
#define KAVEPUB_SERVE_BOOK_SITE_H

#include <functional>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "hosts/serve/http/exchange.h"
#include "hosts/serve/server/guard.h"
#include "hosts/serve/server/password.h"
#include "hosts/serve/server/receivers.h"
#include "hosts/serve/server/sessions.h"
#include "hosts/serve/shelf/shelf.h"

class BookSite : public Site {
 public:
  using Reply = std::variant<Response, std::unique_ptr<Receiver>>;

  // Without a password everybody may come.
  BookSite(Shelf& shelf, Sessions& sessions, Guard guard, Password* password);

  Reply Begin(const Request& request) override;

 private:
  // A request, and whose it is.
  struct Call {
    const Request& request;
    std::string session;  // empty when there is none
    std::string token;    // of a session that this request begins
    std::string id;       // of a book, where the path has one
  };
  using Answering = Reply (BookSite::*)(Call&);
  struct Route {
    const char* method;
    const char* path;  // "*" stands for the id of a book
    Answering answer;
  };
  static const Route kRoutes[];

  Reply AnswerOrThrow(const Request& request);
  Reply AnswerApi(const Request& request);

  Reply Status(Call& call);
  Reply LogIn(Call& call);
  Reply LogOut(Call& call);
  Reply AllBooks(Call& call);
  Reply AddBooks(Call& call);
  Reply ForgetAll(Call& call);
  Reply AllEvents(Call& call);
  Reply OneArchive(Call& call);
  Reply OneBook(Call& call);
  Reply Forget(Call& call);
  Reply EventsOfBook(Call& call);
  Reply Convert(Call& call);
  Reply Cancel(Call& call);
  Reply Download(Call& call);

  Shelf& shelf;
  Sessions& sessions;
  const Guard guard;
  Password* password;
  Tasks receiving;  // what may take longer than other requests can wait
};

#endif

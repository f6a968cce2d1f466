// Events of books, as they happen.
#ifndef KAVEPUB_SERVE_EVENTS_H
#define KAVEPUB_SERVE_EVENTS_H

#include <memory>
#include <string>

#include "hosts/serve/http/exchange.h"
#include "hosts/serve/shelf/shelf.h"

// Of one book, until it is finished, or of all of a session. Throws a Refused.
std::unique_ptr<Source> EventsOf(Shelf& shelf, const std::string& session, const std::string& id);

#endif

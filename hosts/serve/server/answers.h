// The responses of the server, each with the headers that keep browsers from doing more than they
// have to.
#ifndef KAVEPUB_SERVE_ANSWERS_H
#define KAVEPUB_SERVE_ANSWERS_H

#include <string>

#include "hosts/serve/http/exchange.h"
#include "hosts/serve/page/assets.h"
#include "hosts/serve/shelf/refusal.h"

Response JsonAnswer(unsigned status, std::string json);
Response EmptyAnswer();
Response RefusalAnswer(const Refused& refused);

// What any exception that a request led to is told as.
Response FailureAnswer(const std::exception& failure);

// A file of the page, or that it has not changed.
Response AssetAnswer(const Request& request, const Asset& asset);

// A file to be kept under a name.
Response DownloadAnswer(const char* type, const std::string& name);

Response EventsAnswer(std::unique_ptr<Source> source);

#endif

// Routes requests.
#include "hosts/serve/server/book_site.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "base/read_file.h"
#include "hosts/serve/page/assets.h"
#include "hosts/serve/server/answers.h"
#include "hosts/serve/server/archive.h"
#include "hosts/serve/server/events.h"
#include "hosts/serve/shelf/book_options.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr unsigned kCreated = 201;
constexpr unsigned kAccepted = 202;
constexpr size_t kReceivers = 2;
constexpr std::uint64_t kFewBytes = 1 << 20;  // that are taken before a refusal is told
constexpr std::uint64_t kUnpackedOfByte = 8;  // how much more a site may be than its upload
constexpr char kPage[] = "/";
constexpr char kEpub[] = "application/epub+zip";
constexpr char kZip[] = "application/zip";
constexpr char kArchiveName[] = "books.zip";

bool IsSafe(const Request& request) {
  return request.method == "GET" || request.method == "HEAD";
}

// The id in a path of such a form; nothing when it is of another.
std::optional<std::string> Match(std::string_view form, std::string_view path) {
  const size_t star = form.find('*');
  if (star == std::string_view::npos) return path == form ? std::optional("") : std::nullopt;
  const std::string_view before = form.substr(0, star);
  const std::string_view after = form.substr(star + 1);
  const size_t rest = before.size() + after.size();
  if (path.size() <= rest || !path.starts_with(before) || !path.ends_with(after)) {
    return std::nullopt;
  }
  const std::string_view id = path.substr(star, path.size() - rest);
  if (!IsToken(id)) return std::nullopt;
  return std::string(id);
}

nlohmann::json Parsed(const std::string& text) {
  auto object = nlohmann::json::parse(text, nullptr, false);
  if (object.is_object()) return object;
  throw Refused(refusal::kBadRequest, "the body is no object of JSON");
}

// A response now, or when the body has come if that is short: else a client may not read it.
BookSite::Reply AfterBody(const Request& request, Response response) {
  const bool isShort = request.ContentLength().value_or(kFewBytes + 1) <= kFewBytes;
  if (request.HasBody() && isShort) return TakeNothing(std::move(response));
  return response;
}

}  // namespace

const BookSite::Route BookSite::kRoutes[] = {
    {"GET", "/status", &BookSite::Status},
    {"POST", "/session", &BookSite::LogIn},
    {"DELETE", "/session", &BookSite::LogOut},
    {"GET", "/books", &BookSite::AllBooks},
    {"POST", "/books", &BookSite::AddBooks},
    {"DELETE", "/books", &BookSite::ForgetAll},
    {"GET", "/events", &BookSite::AllEvents},
    {"GET", "/books.zip", &BookSite::OneArchive},
    {"GET", "/books/*/book.epub", &BookSite::Download},
    {"GET", "/books/*/events", &BookSite::EventsOfBook},
    {"POST", "/books/*/convert", &BookSite::Convert},
    {"POST", "/books/*/cancel", &BookSite::Cancel},
    {"GET", "/books/*", &BookSite::OneBook},
    {"DELETE", "/books/*", &BookSite::Forget},
};

BookSite::BookSite(Shelf& books, Sessions& known, Guard checks, Password* needed)
    : shelf(books),
      sessions(known),
      guard(std::move(checks)),
      password(needed),
      receiving(kReceivers) {}

BookSite::Reply BookSite::Begin(const Request& request) {
  try {
    return AnswerOrThrow(request);
  } catch (const std::exception& failure) {
    return AfterBody(request, FailureAnswer(failure));
  }
}

BookSite::Reply BookSite::AnswerOrThrow(const Request& request) {
  guard.CheckForm(request);
  const Asset* asset = FindAsset(request.path);
  if (asset == nullptr) return AnswerApi(request);
  if (!IsSafe(request)) throw Refused(refusal::kWrongMethod, "this can only be fetched");
  Response response = AssetAnswer(request, *asset);
  const bool beginsSession = request.path == kPage && !sessions.NeedsLogin();
  if (beginsSession && sessions.Of(request).empty()) {
    response.headers.push_back(CookieOf(sessions.NewToken()));
  }
  return response;
}

BookSite::Reply BookSite::AnswerApi(const Request& request) {
  guard.CheckOrigin(request, IsSafe(request));
  const std::string method = request.method == "HEAD" ? "GET" : request.method;
  bool isKnown = false;
  for (const Route& route : kRoutes) {
    auto id = Match(route.path, request.path);
    isKnown = isKnown || id;
    if (!id || method != route.method) continue;
    Call call{request, sessions.Of(request), {}, *std::move(id)};
    const bool isOpen = route.answer == &BookSite::Status || route.answer == &BookSite::LogIn;
    if (call.session.empty() && sessions.NeedsLogin() && !isOpen) {
      throw Refused(refusal::kLoginNeeded, "log in first");
    }
    return (this->*route.answer)(call);
  }
  if (isKnown) throw Refused(refusal::kWrongMethod, "this cannot be done with it");
  throw Refused(refusal::kNotFound, "there is nothing here");
}

BookSite::Reply BookSite::Status(Call& call) {
  const ShelfLimits& limits = shelf.Limits();
  const bool isOut = sessions.NeedsLogin() && call.session.empty();
  const Json status = {{"version", KAVEPUB_VERSION},
                       {"limits", {{"upload", limits.upload}, {"books", limits.booksOfSession}}},
                       {"keepHours", limits.keep.count()},
                       {"reader", HasReadingEngine()},
                       {"login", !sessions.NeedsLogin() ? "none"
                                 : isOut                ? "needed"
                                                        : "done"},
                       {"options", OfferedOptions()}};
  return JsonAnswer(200, status.dump());
}

BookSite::Reply BookSite::LogIn(Call& call) {
  if (password == nullptr) throw Refused(refusal::kNotFound, "there is no password here");
  return TakeText([this, address = call.request.address](const std::string& text,
                                                         const Receiver::Answer& answer) {
    const auto object = Parsed(text);
    const auto given = object.find("password");
    if (given == object.end() || !given->is_string()) {
      throw Refused(refusal::kBadRequest, "there is no password in it");
    }
    receiving.Add([this, address, answer, word = given->get<std::string>()] {
      try {
        if (!password->IsRight(word, address)) {
          throw Refused(refusal::kWrongPassword, "the password is wrong");
        }
        Response response = EmptyAnswer();
        response.headers.push_back(CookieOf(sessions.LogIn()));
        answer(std::move(response));
      } catch (const std::exception& failure) {
        answer(FailureAnswer(failure));
      }
    });
  });
}

BookSite::Reply BookSite::LogOut(Call& call) {
  sessions.LogOut(call.session);
  Response response = EmptyAnswer();
  response.headers.push_back(CookieOf({}));
  return AfterBody(call.request, std::move(response));
}

BookSite::Reply BookSite::AllBooks(Call& call) {
  return JsonAnswer(200, shelf.DescribeAll(call.session));
}

BookSite::Reply BookSite::AddBooks(Call& call) {
  if (call.session.empty()) {
    call.token = sessions.NewToken();
    call.session = HashOf(call.token);
  }
  if (call.request.ContentLength().value_or(0) > shelf.Limits().upload) {
    throw Refused(refusal::kTooLarge, "it is larger than " +
                                          std::to_string(shelf.Limits().upload >> 20) +
                                          " MB, which is the most that is taken here");
  }
  shelf.Admit(call.session);
  auto finish = [this, session = call.session, token = call.token](Sending given,
                                                                   const Receiver::Answer& answer) {
    if (given.upload->Names().empty()) {
      throw Refused(refusal::kBadRequest, "there is no file in it");
    }
    CheckOptions(given.options);
    const auto sending = std::make_shared<Sending>(std::move(given));
    receiving.Add([this, session, token, answer, sending] {
      try {
        Upload& upload = *sending->upload;
        Store& store = shelf.Files();
        const std::uint64_t room = std::min(shelf.Limits().upload * kUnpackedOfByte, store.Room());
        Intake intake =
            TakeIn(store.PlaceOfFiles(upload.Id()), upload.Names(), shelf.Cells(), room);
        upload.Measure();
        Response response =
            JsonAnswer(kCreated, shelf.Add(session, upload, std::move(intake), sending->options));
        if (!token.empty()) response.headers.push_back(CookieOf(token));
        answer(std::move(response));
      } catch (const std::exception& failure) {
        answer(FailureAnswer(failure));
      }
    });
  };
  return std::make_unique<SendingReceiver>(
      call.request, std::make_unique<Upload>(shelf.Files(), shelf.Limits().upload),
      std::move(finish));
}

BookSite::Reply BookSite::ForgetAll(Call& call) {
  shelf.ForgetAll(call.session);
  return AfterBody(call.request, EmptyAnswer());
}

BookSite::Reply BookSite::AllEvents(Call& call) {
  return EventsAnswer(EventsOf(shelf, call.session, {}));
}

BookSite::Reply BookSite::OneArchive(Call& call) {
  const std::vector<Finished> books = shelf.FindAllFinished(call.session);
  if (books.empty()) throw Refused(refusal::kNotFinished, "no book is made yet");
  Response response = DownloadAnswer(kZip, kArchiveName);
  response.body = ArchiveOf(books);
  return response;
}

BookSite::Reply BookSite::OneBook(Call& call) {
  return JsonAnswer(200, shelf.Describe(call.session, call.id));
}

BookSite::Reply BookSite::Forget(Call& call) {
  shelf.Forget(call.session, call.id);
  return AfterBody(call.request, EmptyAnswer());
}

BookSite::Reply BookSite::EventsOfBook(Call& call) {
  return EventsAnswer(EventsOf(shelf, call.session, call.id));
}

BookSite::Reply BookSite::Convert(Call& call) {
  const std::string upload = shelf.UploadOf(call.session, call.id);
  if (Form::IsIn(call.request)) {
    auto finish = [this, session = call.session, id = call.id](Sending given,
                                                               const Receiver::Answer& answer) {
      CheckOptions(given.options);
      answer(JsonAnswer(kAccepted,
                        shelf.Convert(session, id, std::move(given.options), given.upload.get())));
    };
    return std::make_unique<SendingReceiver>(
        call.request, std::make_unique<Upload>(shelf.Files(), shelf.Limits().upload, upload),
        std::move(finish));
  }
  return TakeText([this, session = call.session, id = call.id](const std::string& text,
                                                               const Receiver::Answer& answer) {
    const auto object = Parsed(text);
    EditionOptions options;
    ChooseAll(options, object.value("options", nlohmann::json::object()));
    CheckOptions(options);
    answer(JsonAnswer(kAccepted, shelf.Convert(session, id, std::move(options), nullptr)));
  });
}

BookSite::Reply BookSite::Cancel(Call& call) {
  return AfterBody(call.request, JsonAnswer(kAccepted, shelf.Cancel(call.session, call.id)));
}

BookSite::Reply BookSite::Download(Call& call) {
  const Finished book = shelf.FindFinished(call.session, call.id);
  UniqueFd file = OpenRegularFile(book.file.c_str());
  if (!file) throw Refused(refusal::kNotFound, "the book has gone");
  Response response = DownloadAnswer(kEpub, book.name);
  response.body = FilePart{std::move(file), 0, book.size};
  return response;
}

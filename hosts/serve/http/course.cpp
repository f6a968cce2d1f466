// Hands a request to the site, and the response to its connection.
#include "hosts/serve/http/course.h"

#include <netdb.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>

namespace {

constexpr size_t kPiece = 16384;

std::string TextOf(const sockaddr& address) {
  std::array<char, NI_MAXHOST> text{};
  const socklen_t size = address.sa_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
  const bool isKnown =
      getnameinfo(&address, size, text.data(), text.size(), nullptr, 0, NI_NUMERICHOST) == 0;
  return isKnown ? text.data() : "";
}

Fields FieldsOf(MHD_Connection* connection, MHD_ValueKind kind) {
  Fields fields;
  const auto add = [](void* to, MHD_ValueKind, const char* key, size_t keySize, const char* value,
                      size_t valueSize) {
    try {
      static_cast<Fields*>(to)->emplace_back(std::string(key, keySize),
                                             value == nullptr ? "" : std::string(value, valueSize));
      return MHD_YES;
    } catch (...) {
      return MHD_NO;
    }
  };
  LoadedMhd().getConnectionValues(connection, kind, add, &fields);
  return fields;
}

Request RequestOf(MHD_Connection* connection, const char* path, const char* method) {
  const MHD_ConnectionInfo* client =
      LoadedMhd().getConnectionInfo(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS);
  return {method,
          path,
          FieldsOf(connection, MHD_GET_ARGUMENT_KIND),
          FieldsOf(connection, MHD_HEADER_KIND),
          FieldsOf(connection, MHD_COOKIE_KIND),
          client == nullptr ? "" : TextOf(*client->client_addr),
          connection};
}

// A source on the way to its client.
struct Flow {
  std::unique_ptr<Source> source;
  std::shared_ptr<Sleeper> sleeper;
  const std::atomic<bool>& isEnding;
};

ssize_t ReadFlow(void* user, std::uint64_t /*position*/, char* buffer, size_t capacity) {
  auto& flow = *static_cast<Flow*>(user);
  try {
    for (;;) {
      flow.sleeper->Look();
      if (flow.isEnding) return MHD_CONTENT_READER_END_WITH_ERROR;
      const ssize_t size = flow.source->Read(buffer, capacity);
      if (size == Source::kEnd) return MHD_CONTENT_READER_END_OF_STREAM;
      if (size > 0 || flow.sleeper->Sleep()) return size;
    }
  } catch (...) {
    return MHD_CONTENT_READER_END_WITH_ERROR;
  }
}

void FreeFlow(void* user) {
  delete static_cast<Flow*>(user);
}

}  // namespace

// Kept from another thread, while the connection waits or when it has gone.
struct Course::Promise {
  std::mutex mutex;
  std::optional<Response> response;

  std::optional<Response> Take() {
    const std::scoped_lock lock(mutex);
    return std::exchange(response, std::nullopt);
  }
};

Course::Course(MHD_Connection* of, Patience::Turn& clock, const std::atomic<bool>& ending)
    : connection(of), turn(clock), isEnding(ending), sleeper(std::make_shared<Sleeper>(of)) {}

Course::~Course() {
  sleeper->Forget();
}

MHD_Result Course::Begin(Site& site, const char* path, const char* method) {
  turn.Begin();
  const Request request = RequestOf(connection, path, method);
  auto begun = site.Begin(request);
  if (auto* response = std::get_if<Response>(&begun)) {
    if (request.HasBody()) return Send(std::move(*response));  // and closes the connection
    promise = std::make_shared<Promise>();
    promise->response = std::move(*response);
    return MHD_YES;
  }
  receiver = std::get<std::unique_ptr<Receiver>>(std::move(begun));
  return MHD_YES;
}

MHD_Result Course::Take(std::string_view bytes) {
  turn.Earn(bytes.size());
  return receiver->Take(bytes) ? MHD_YES : MHD_NO;
}

MHD_Result Course::End() {
  if (!promise) {
    turn.Stop();
    promise = std::make_shared<Promise>();
    receiver->Finish([kept = promise, call = sleeper](Response given) {
      {
        const std::scoped_lock lock(kept->mutex);
        kept->response = std::move(given);
      }
      call->Call();
    });
  }
  for (;;) {
    sleeper->Look();
    if (isEnding) return MHD_NO;
    if (auto response = promise->Take()) return Send(*std::move(response));
    if (sleeper->Sleep()) return MHD_YES;
  }
}

MHD_Result Course::Send(Response response) {
  turn.Begin();
  const OwnedResponse owned = NewResponse(response);
  if (!owned) return MHD_NO;
  for (const auto& [name, value] : response.headers) {
    if (LoadedMhd().addResponseHeader(owned.get(), name.c_str(), value.c_str()) != MHD_YES) {
      return MHD_NO;
    }
  }
  return LoadedMhd().queueResponse(connection, response.status, owned.get());
}

Course::OwnedResponse Course::NewResponse(Response& response) {
  const Mhd& mhd = LoadedMhd();
  if (auto* streamed = std::get_if<Streamed>(&response.body)) return NewResponse(*streamed);
  if (auto* part = std::get_if<FilePart>(&response.body)) {
    turn.Earn(part->size);
    OwnedResponse owned(mhd.createResponseFromFile(part->size, part->file.Get(), part->offset));
    if (owned) part->file.Release();
    return owned;
  }
  const auto* text = std::get_if<std::string>(&response.body);
  const std::string_view bytes = text ? *text : std::get<std::string_view>(response.body);
  turn.Earn(bytes.size());
  return OwnedResponse(
      mhd.createResponseFromBuffer(bytes.size(), const_cast<char*>(bytes.data()),
                                   text ? MHD_RESPMEM_MUST_COPY : MHD_RESPMEM_PERSISTENT));
}

Course::OwnedResponse Course::NewResponse(Streamed& streamed) {
  if (streamed.size) {
    turn.Earn(*streamed.size);
  } else {
    turn.Stop();  // of what never ends
  }
  auto flow = std::unique_ptr<Flow>(new Flow{std::move(streamed.source), sleeper, isEnding});
  flow->source->Begin([call = sleeper] { call->Call(); });
  OwnedResponse owned(LoadedMhd().createResponseFromCallback(
      streamed.size.value_or(MHD_SIZE_UNKNOWN), kPiece, ReadFlow, flow.get(), FreeFlow));
  if (owned) flow.release();
  return owned;
}

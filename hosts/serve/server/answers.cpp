// Makes responses.
#include "hosts/serve/server/answers.h"

#include <libdeflate.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>

#include "hosts/kavepub/console/failure.h"
#include "hosts/serve/page/policy.h"

namespace {

constexpr char kNothingAllowed[] = "default-src 'none'; frame-ancestors 'none'";
constexpr char kGzip[] = "gzip";

Response Guarded(unsigned status, std::string_view policy, const char* type, const char* cache) {
  Response response;
  response.status = status;
  response.headers = {{"Content-Security-Policy", std::string(policy)},
                      {"X-Content-Type-Options", "nosniff"},
                      {"Referrer-Policy", "no-referrer"},
                      {"Cross-Origin-Opener-Policy", "same-origin"},
                      {"Cache-Control", cache}};
  if (type != nullptr) response.headers.emplace_back("Content-Type", type);
  return response;
}

// What belongs to one session.
Response Private(unsigned status, const char* type) {
  Response response = Guarded(status, kNothingAllowed, type, "no-store");
  response.headers.emplace_back("Cross-Origin-Resource-Policy", "same-origin");
  response.headers.emplace_back("X-Frame-Options", "DENY");
  return response;
}

struct FreeDecompressor {
  void operator()(libdeflate_decompressor* owned) const { libdeflate_free_decompressor(owned); }
};

// Its size stands in its last four bytes.
std::string Inflated(std::string_view gzip) {
  std::uint32_t size = 0;
  std::memcpy(&size, gzip.data() + gzip.size() - sizeof size, sizeof size);
  std::string bytes(size, '\0');
  const std::unique_ptr<libdeflate_decompressor, FreeDecompressor> decompressor(
      libdeflate_alloc_decompressor());
  if (!decompressor) throw std::bad_alloc();
  libdeflate_gzip_decompress(decompressor.get(), gzip.data(), gzip.size(), bytes.data(), size,
                             nullptr);
  return bytes;
}

// What RFC 8187 lets stand in a header.
std::string Escaped(const std::string& name) {
  std::string escaped;
  for (const char c : name) {
    const bool isPlain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                         (c >= '0' && c <= '9') || c == '.' || c == '-' || c == '_';
    std::array<char, 4> code{c};
    if (!isPlain) std::snprintf(code.data(), code.size(), "%%%02X", static_cast<unsigned char>(c));
    escaped += code.data();
  }
  return escaped;
}

}  // namespace

Response JsonAnswer(unsigned status, std::string json) {
  Response response = Private(status, "application/json");
  response.body = std::move(json);
  return response;
}

Response EmptyAnswer() {
  constexpr unsigned kNoContent = 204;
  return Private(kNoContent, nullptr);
}

Response RefusalAnswer(const Refused& refused) {
  const nlohmann::ordered_json error = {
      {"error", {{"code", refused.Kind().code}, {"message", refused.what()}}}};
  Response response =
      JsonAnswer(refused.Kind().status,
                 error.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
  if (refused.Kind().status == refusal::kBusy.status ||
      refused.Kind().status == refusal::kTooManyTries.status) {
    response.headers.emplace_back("Retry-After", "60");
  }
  return response;
}

Response FailureAnswer(const std::exception& failure) {
  if (const auto* refused = dynamic_cast<const Refused*>(&failure)) return RefusalAnswer(*refused);
  if (dynamic_cast<const WrongUsage*>(&failure) != nullptr) {
    return RefusalAnswer({refusal::kBadOption, failure.what()});
  }
  const Cause cause = CauseOf(failure);
  if (cause == Cause::kDisk) return RefusalAnswer({refusal::kFull, "there is no room for it here"});
  if (cause == Cause::kBook && dynamic_cast<const Failure*>(&failure) != nullptr) {
    return RefusalAnswer({refusal::kNothingToConvert, failure.what()});
  }
  return RefusalAnswer({refusal::kFailed, "something went wrong here; try again"});
}

Response AssetAnswer(const Request& request, const Asset& asset) {
  constexpr unsigned kNotModified = 304;
  const std::string tag = "\"" + std::string(asset.tag) + "\"";
  const bool isKnown = request.Header("If-None-Match") == tag;
  const bool takesGzip = request.Header("Accept-Encoding").find(kGzip) != std::string_view::npos;
  Response response = Guarded(isKnown ? kNotModified : 200,
                              asset.isReader ? kReaderPolicy : kPagePolicy, nullptr, "no-cache");
  response.headers.emplace_back("Cross-Origin-Resource-Policy", "same-origin");
  response.headers.emplace_back("ETag", tag);
  response.headers.emplace_back("Vary", "Accept-Encoding");
  if (isKnown) return response;
  response.headers.emplace_back("Content-Type", std::string(asset.type));
  if (takesGzip) {
    response.headers.emplace_back("Content-Encoding", kGzip);
    response.body = asset.bytes;
  } else {
    response.body = Inflated(asset.bytes);
  }
  return response;
}

Response DownloadAnswer(const char* type, const std::string& name) {
  Response response = Private(200, type);
  response.headers.emplace_back("Content-Disposition",
                                "attachment; filename*=UTF-8''" + Escaped(name));
  return response;
}

Response EventsAnswer(std::unique_ptr<Source> source) {
  Response response = Private(200, "text/event-stream");
  response.headers.emplace_back("X-Accel-Buffering", "no");  // by proxies
  response.body = Streamed{std::move(source), {}};
  return response;
}

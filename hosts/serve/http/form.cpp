// Has libmicrohttpd take forms apart.
#include "hosts/serve/http/form.h"

#include <strings.h>

#include <new>
#include <utility>

namespace {

constexpr std::string_view kType = "multipart/form-data";
constexpr size_t kBuffer = 16384;  // the heads of parts have to fit in

}  // namespace

bool Form::IsIn(const Request& request) {
  const std::string_view type = request.Header("Content-Type");
  return type.size() > kType.size() && strncasecmp(type.data(), kType.data(), kType.size()) == 0 &&
         type[kType.size()] == ';';
}

Form::Form(const Request& request, FormListener& heard)
    : listener(heard),
      parser(LoadedMhd().createPostProcessor(request.connection, kBuffer, OnPiece, this)) {}

Form::~Form() {
  if (parser != nullptr) LoadedMhd().destroyPostProcessor(parser);
}

bool Form::Take(std::string_view bytes) {
  const bool isTaken =
      parser != nullptr && LoadedMhd().postProcess(parser, bytes.data(), bytes.size()) == MHD_YES;
  if (thrown) std::rethrow_exception(std::exchange(thrown, nullptr));
  return isTaken;
}

bool Form::End() {
  MHD_PostProcessor* ended = std::exchange(parser, nullptr);
  const bool isWhole = ended != nullptr && LoadedMhd().destroyPostProcessor(ended) == MHD_YES;
  if (thrown) std::rethrow_exception(std::exchange(thrown, nullptr));
  return isWhole;
}

// Also told before the first bytes of a part have come, and then again.
void Form::Begin(std::string_view field, const char* file) {
  const std::string name = file == nullptr ? "" : file;
  const bool isAgain = isEmpty && field == lastField && name == lastFile;
  if (isAgain) return;
  isEmpty = true;
  lastField = field;
  lastFile = name;
  listener.Begin(field, file);
}

MHD_Result Form::OnPiece(void* user, MHD_ValueKind /*kind*/, const char* field, const char* file,
                         const char* /*type*/, const char* /*encoding*/, const char* bytes,
                         std::uint64_t offset, size_t size) {
  auto& form = *static_cast<Form*>(user);
  if (form.thrown || field == nullptr) return MHD_NO;
  try {
    if (offset == 0) form.Begin(field, file);
    if (size == 0) return MHD_YES;
    form.isEmpty = false;
    form.listener.TakePiece({bytes, size});
    return MHD_YES;
  } catch (...) {
    form.thrown = std::current_exception();
    return MHD_NO;
  }
}

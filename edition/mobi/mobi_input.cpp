// Lets libmobi read an input as it would read a file.
#include "edition/mobi/mobi_input.h"

#include <cstdio>
#include <new>
#include <optional>

namespace {

struct Stream {
  const Input& input;
  std::uint64_t at = 0;
  std::optional<Failure> failure;
};

ssize_t ReadNext(void* cookie, char* buffer, size_t size) {
  auto& stream = *static_cast<Stream*>(cookie);
  const Result<size_t> count = stream.input.Read(stream.at, buffer, size);
  if (!count) {
    stream.failure = count.Why();
    return -1;
  }
  stream.at += *count;
  return static_cast<ssize_t>(*count);
}

int Seek(void* cookie, off64_t* offset, int from) {
  auto& stream = *static_cast<Stream*>(cookie);
  std::uint64_t base = 0;
  if (from == SEEK_CUR) base = stream.at;
  if (from == SEEK_END) base = stream.input.Size();
  const off64_t place = static_cast<off64_t>(base) + *offset;
  if (place < 0) return -1;
  stream.at = static_cast<std::uint64_t>(place);
  *offset = place;
  return 0;
}

struct CloseStream {
  void operator()(std::FILE* file) const { (void)fclose(file); }
};

constexpr struct {
  kav_mobi::Opening opening;
  kavepub_code code;
  const char* message;
} kFailures[] = {
    {kav_mobi::Opening::kNotMobi, KAVEPUB_E_FORMAT,
     "is no MOBI book; give it the extension of what it is"},
    {kav_mobi::Opening::kDamaged, KAVEPUB_E_FORMAT,
     "is a damaged MOBI book; get a whole copy of it"},
    {kav_mobi::Opening::kEncrypted, KAVEPUB_E_FORMAT,
     "is locked to a reader or device (DRM); get a copy without a lock"},
    {kav_mobi::Opening::kNoText, KAVEPUB_E_FORMAT, "holds no text; there is nothing to convert"},
    {kav_mobi::Opening::kNoMemory, KAVEPUB_E_MEMORY, "takes more memory than there is; free some"},
};

}  // namespace

Result<std::unique_ptr<kav_mobi::Book>> OpenMobi(const Input& input) {
  constexpr size_t kBufferSize = size_t{1} << 16;
  Stream stream{input, 0, {}};
  const std::unique_ptr<std::FILE, CloseStream> file(
      fopencookie(&stream, "rb", {ReadNext, nullptr, Seek, nullptr}));
  if (!file || setvbuf(file.get(), nullptr, _IOFBF, kBufferSize) != 0) throw std::bad_alloc();
  std::unique_ptr<kav_mobi::Book> book;
  const kav_mobi::Opening opening =
      kav_mobi::Book::Open(file.get(), input.Size(), kav_mobi::Extent::kAll, book);
  if (stream.failure) return std::move(*stream.failure);
  for (const auto& row : kFailures) {
    if (row.opening == opening) return Failure{row.code, input.Name() + ": " + row.message};
  }
  return book;
}

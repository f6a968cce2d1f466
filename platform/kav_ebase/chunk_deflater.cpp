// Deflates what is too large for memory, piece by piece.
#include "platform/kav_ebase/chunk_deflater.h"

#include <new>

namespace {

constexpr int kLevel = 6;
constexpr int kRawFormat = -MAX_WBITS;
constexpr int kMemoryLevel = 8;  // zlib's own choice
constexpr size_t kGrowth = size_t{1} << 16;

}  // namespace

ChunkDeflater::ChunkDeflater() {
  if (deflateInit2(&stream, kLevel, Z_DEFLATED, kRawFormat, kMemoryLevel, Z_DEFAULT_STRATEGY) !=
      Z_OK) {
    throw std::bad_alloc();
  }
}

ChunkDeflater::~ChunkDeflater() {
  deflateEnd(&stream);
}

std::string_view ChunkDeflater::Deflate(std::string_view piece, bool isLast) {
  deflated.clear();
  stream.next_in = reinterpret_cast<const Bytef*>(piece.data());
  stream.avail_in = static_cast<uInt>(piece.size());
  do {
    const size_t done = deflated.size();
    deflated.resize(done + kGrowth);
    stream.next_out = reinterpret_cast<Bytef*>(&deflated[done]);
    stream.avail_out = static_cast<uInt>(kGrowth);
    deflate(&stream, isLast ? Z_FINISH : Z_NO_FLUSH);
    deflated.resize(deflated.size() - stream.avail_out);
  } while (stream.avail_out == 0);
  return deflated;
}

// Deflates what is too large for memory, piece by piece.
#ifndef KAV_EBASE_CHUNK_DEFLATER_H
#define KAV_EBASE_CHUNK_DEFLATER_H

#define ZLIB_CONST  // input is not changed
#include <zlib.h>

#include <string>
#include <string_view>

class ChunkDeflater {
 public:
  // Throws std::bad_alloc.
  ChunkDeflater();
  ChunkDeflater(const ChunkDeflater&) = delete;
  ChunkDeflater& operator=(const ChunkDeflater&) = delete;
  ~ChunkDeflater();

  // What comes out for this piece; it stays until the next one.
  std::string_view Deflate(std::string_view piece, bool isLast);

  // What zlib takes it for.
  bool IsText() const { return stream.data_type == Z_TEXT; }

 private:
  z_stream stream{};
  std::string deflated;
};

#endif

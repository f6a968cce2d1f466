// The writing of the container's entries.
#ifndef KAV_EBASE_CONTAINER_WRITER_H
#define KAV_EBASE_CONTAINER_WRITER_H

#include <libdeflate.h>

#include <memory>
#include <vector>

#include "base/zip_stream.h"
#include "platform/kav_ebase/book_files.h"

// All operations return 0 or a KavEbaseResult; after a failure only destruction is left.
class ContainerWriter {
 public:
  using Method = ZipStream::Method;

  // The file behind the descriptor is empty and stays the caller's.
  explicit ContainerWriter(int descriptor);

  // Adds a file as an entry. One that deflating does not make smaller is stored all the same.
  int Add(const char* name, const BookFile& file, Method method);

  // Writes the central directory, and with it everything.
  int Finish();

 private:
  struct FreeCompressor {
    void operator()(libdeflate_compressor* owned) const { libdeflate_free_compressor(owned); }
  };

  int AddWhole(const char* name, const BookFile& file, Method method);
  int AddInChunks(const char* name, const BookFile& file, Method method);
  size_t DeflateContent(size_t size);

  ZipStream zip;
  std::unique_ptr<libdeflate_compressor, FreeCompressor> compressor;
  std::vector<unsigned char> content;  // both kept from file to file
  std::vector<unsigned char> deflated;
};

#endif

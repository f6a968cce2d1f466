// The writing of the container's entries.
#ifndef KAV_EBASE_CONTAINER_WRITER_H
#define KAV_EBASE_CONTAINER_WRITER_H

#include <libdeflate.h>
#include <minizip/zip.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/kav_ebase/book_files.h"
#include "platform/kav_ebase/output_buffer.h"

enum class Packing { kStored, kDeflated };

// All operations return 0 or a KavEbaseResult; after a failure only destruction is left.
class ContainerWriter {
 public:
  // The file behind the descriptor is empty and stays the caller's.
  explicit ContainerWriter(int descriptor);
  ContainerWriter(const ContainerWriter&) = delete;
  ContainerWriter& operator=(const ContainerWriter&) = delete;
  ~ContainerWriter();

  // Adds a file as an entry. One that deflating does not make smaller is stored all the same.
  int Add(const char* name, const BookFile& file, Packing packing);

  // Writes the central directory, and with it everything.
  int Finish();

 private:
  struct FreeCompressor {
    void operator()(libdeflate_compressor* owned) const { libdeflate_free_compressor(owned); }
  };

  int AddWhole(const char* name, const BookFile& file, Packing packing);
  int AddInChunks(const char* name, const BookFile& file, Packing packing);
  int OpenEntry(const char* name, Packing packing, bool raw, bool large);
  int WriteData(const void* data, size_t size);
  int Checked(int zipResult) const;
  size_t DeflateContent(size_t size);
  void CorrectEnd(uint64_t directoryStart);

  OutputBuffer output;
  zipFile zip = nullptr;
  uint64_t entries = 0;
  std::unique_ptr<libdeflate_compressor, FreeCompressor> compressor;
  std::vector<unsigned char> content;  // both kept from file to file
  std::vector<unsigned char> deflated;
};

#endif

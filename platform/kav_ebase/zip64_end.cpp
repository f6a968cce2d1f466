// The end of a container with more entries than the plain format can count.
#include "platform/kav_ebase/zip64_end.h"

#include <algorithm>

namespace {

constexpr uint64_t kVersion45 = 45;  // of the format, the first to know ZIP64
constexpr uint64_t kZip64RecordSize = 56;
constexpr uint64_t kUncountedHead = 12;  // a record's size leaves its first two fields out

void Put(std::string& record, uint64_t value, int bytes) {
  for (; bytes > 0; --bytes, value >>= 8) record.push_back(static_cast<char>(value & 0xFF));
}

void PutClipped(std::string& record, uint64_t value, int bytes) {
  Put(record, std::min(value, (uint64_t{1} << (8 * bytes)) - 1), bytes);
}

}  // namespace

std::string Zip64End(uint64_t entries, uint64_t directoryStart, uint64_t directorySize) {
  std::string end = "PK\x06\x06";
  Put(end, kZip64RecordSize - kUncountedHead, 8);
  Put(end, kVersion45, 2);  // made by
  Put(end, kVersion45, 2);  // needed
  Put(end, 0, 4);           // this disk
  Put(end, 0, 4);           // the directory's disk
  Put(end, entries, 8);     // on this disk
  Put(end, entries, 8);     // in all
  Put(end, directorySize, 8);
  Put(end, directoryStart, 8);

  end += "PK\x06\x07";
  Put(end, 0, 4);  // the record's disk
  Put(end, directoryStart + directorySize, 8);
  Put(end, 1, 4);  // disks

  end += "PK\x05\x06";
  Put(end, 0, 2);  // this disk
  Put(end, 0, 2);  // the directory's disk
  PutClipped(end, entries, 2);
  PutClipped(end, entries, 2);
  PutClipped(end, directorySize, 4);
  PutClipped(end, directoryStart, 4);
  Put(end, 0, 2);  // comment
  return end;
}

// The end of a ZIP container: what follows its central directory.
#include "base/zip_end.h"

#include <algorithm>

namespace {

constexpr uint64_t kZip64RecordSize = 56;
constexpr uint64_t kUncountedHead = 12;  // a record's size leaves its first two fields out

void PutClipped(std::string& record, uint64_t value, int bytes) {
  PutNumber(record, std::min(value, (uint64_t{1} << (8 * bytes)) - 1), bytes);
}

}  // namespace

void PutNumber(std::string& record, uint64_t value, int bytes) {
  for (; bytes > 0; --bytes, value >>= 8) record.push_back(static_cast<char>(value & 0xFF));
}

std::string PlainZipEnd(uint64_t entries, uint64_t directoryStart, uint64_t directorySize) {
  std::string end = "PK\x05\x06";
  PutNumber(end, 0, 2);  // this disk
  PutNumber(end, 0, 2);  // the directory's disk
  PutClipped(end, entries, 2);
  PutClipped(end, entries, 2);
  PutClipped(end, directorySize, 4);
  PutClipped(end, directoryStart, 4);
  PutNumber(end, 0, 2);  // comment
  return end;
}

std::string Zip64End(uint64_t entries, uint64_t directoryStart, uint64_t directorySize) {
  std::string end = "PK\x06\x06";
  PutNumber(end, kZip64RecordSize - kUncountedHead, 8);
  PutNumber(end, kZip64Version, 2);  // made by
  PutNumber(end, kZip64Version, 2);  // needed
  PutNumber(end, 0, 4);              // this disk
  PutNumber(end, 0, 4);              // the directory's disk
  PutNumber(end, entries, 8);        // on this disk
  PutNumber(end, entries, 8);        // in all
  PutNumber(end, directorySize, 8);
  PutNumber(end, directoryStart, 8);

  end += "PK\x06\x07";
  PutNumber(end, 0, 4);  // the record's disk
  PutNumber(end, directoryStart + directorySize, 8);
  PutNumber(end, 1, 4);  // disks
  return end + PlainZipEnd(entries, directoryStart, directorySize);
}

// The plan of a book: its entries, in the order of the container, and where their bytes come from.
//
// A plan is one flat file of entries "SOURCE PACKING LENGTH NAME\n" + LENGTH bytes.
#ifndef KAV_BENCH_PLAN_H
#define KAV_BENCH_PLAN_H

#include <fstream>
#include <string>

struct PlanEntry {
  std::string source;   // "data": the bytes are the content; "copy", "html": they name a file
  std::string packing;  // "stored" or "deflated"
  std::string name;
  std::string bytes;
};

class PlanReader {
 public:
  explicit PlanReader(const char* path) : file(path, std::ios::binary) {}

  // False at the end.
  bool Next(PlanEntry& entry) {
    size_t length = 0;
    if (!(file >> entry.source >> entry.packing >> length)) return false;
    file.ignore();
    std::getline(file, entry.name);
    entry.bytes.resize(length);
    return static_cast<bool>(file.read(entry.bytes.data(), static_cast<std::streamsize>(length)));
  }

 private:
  std::ifstream file;
};

#endif

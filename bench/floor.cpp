// What a book costs at the least: the same files written, the same bytes deflated, nothing thought.
//
//   floor [--no-sync] PLAN WORKDIR OUTPUT [MOBI]
//
// Every entry of the plan is written into the working directory and, from memory, into the
// container, which is synchronised and renamed into its place; then the working directory goes.
// HTML pages are parsed and saved by libxml2 on the way. Of a MOBI book, libmobi extracts the page
// and the pictures first, for the plan to name them.
#include <fcntl.h>
#include <libdeflate.h>
#include <libxml/HTMLparser.h>
#include <libxml/tree.h>
#include <mobi.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>

#include "bench/plan.h"

namespace {

namespace fs = std::filesystem;
constexpr int kDeflateLevel = 6;  // the packer's
constexpr size_t kBufferSize = size_t{1} << 18;
constexpr uint64_t kMostPlainEntries = 0xFFFE;

void Require(bool succeeded, const std::string& what) {
  if (succeeded) return;
  std::fprintf(stderr, "floor: failed at %s\n", what.c_str());
  std::exit(1);
}

void WriteAll(int descriptor, std::string_view data) {
  while (!data.empty()) {
    const ssize_t written = write(descriptor, data.data(), data.size());
    Require(written > 0, "a write");
    data.remove_prefix(static_cast<size_t>(written));
  }
}

void WriteFile(const fs::path& path, std::string_view data) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  Require(file >= 0, path);
  WriteAll(file, data);
  close(file);
}

std::string ReadFile(const fs::path& path) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  Require(file >= 0, path);
  std::string content(fs::file_size(path), '\0');
  Require(read(file, content.data(), content.size()) == static_cast<ssize_t>(content.size()), path);
  close(file);
  return content;
}

// A ZIP archive, written from its beginning to its end.
class Container {
 public:
  explicit Container(const std::string& path)
      : file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)) {
    Require(file >= 0, path);
  }

  void Add(const std::string& name, bool isStored, std::string_view content) {
    std::string_view data = content;
    if (!isStored) {
      deflated.resize(libdeflate_deflate_compress_bound(compressor, content.size()));
      const size_t size = libdeflate_deflate_compress(compressor, content.data(), content.size(),
                                                      deflated.data(), deflated.size());
      data = std::string_view(deflated).substr(0, size);
    }
    std::string common;
    Put(common, {{20, 2}, {0, 2}, {isStored ? 0U : 8U, 2}, {0x00210000, 4}});
    Put(common, {{libdeflate_crc32(0, content.data(), content.size()), 4}, {data.size(), 4}});
    Put(common, {{content.size(), 4}, {name.size(), 2}, {0, 2}});
    Put(directory, {{0x02014b50, 4}, {0x0314, 2}});
    directory += common;
    Put(directory, {{0, 6}, {0x81A40000, 4}, {Position(), 4}});
    directory += name;
    Put(output, {{0x04034b50, 4}});
    output.append(common).append(name).append(data);
    if (output.size() >= kBufferSize) Flush();
    ++entries;
  }

  void Finish(bool synchronise) {
    const uint64_t start = Position();
    const uint64_t end = start + directory.size();
    output += directory;
    if (entries > kMostPlainEntries) {
      Put(output, {{0x06064b50, 4}, {44, 8}, {45, 2}, {45, 2}, {0, 8}, {entries, 8}, {entries, 8}});
      Put(output, {{directory.size(), 8}, {start, 8}, {0x07064b50, 4}, {0, 4}, {end, 8}, {1, 4}});
    }
    const uint64_t count = entries > kMostPlainEntries ? 0xFFFF : entries;
    Put(output, {{0x06054b50, 4}, {0, 4}, {count, 2}, {count, 2}});
    Put(output, {{directory.size(), 4}, {start, 4}, {0, 2}});
    Flush();
    Require(!synchronise || fsync(file) == 0, "synchronising");
    close(file);
    libdeflate_free_compressor(compressor);
  }

 private:
  struct Field {
    uint64_t value;
    int bytes;
  };

  static void Put(std::string& out, std::initializer_list<Field> fields) {
    for (auto [value, bytes] : fields) {
      for (; bytes > 0; --bytes, value >>= 8) out += static_cast<char>(value & 0xFF);
    }
  }

  uint64_t Position() const { return flushed + output.size(); }

  void Flush() {
    WriteAll(file, output);
    flushed += output.size();
    output.clear();
  }

  int file;
  libdeflate_compressor* compressor = libdeflate_alloc_compressor(kDeflateLevel);
  std::string output;
  std::string directory;
  std::string deflated;
  uint64_t flushed = 0;
  uint64_t entries = 0;
};

void Extract(const char* book, const fs::path& dir) {
  MOBIData* mobi = mobi_init();
  Require(mobi_load_filename(mobi, book) == MOBI_SUCCESS, book);
  MOBIRawml* raw = mobi_init_rawml(mobi);
  Require(mobi_parse_rawml(raw, mobi) == MOBI_SUCCESS, book);
  fs::create_directories(dir);
  const MOBIPart* page = raw->markup;
  WriteFile(dir / "book.html", {reinterpret_cast<const char*>(page->data), page->size});
  for (const MOBIPart* part = raw->resources; part != nullptr; part = part->next) {
    const std::string extension = mobi_get_filemeta_by_type(part->type).extension;
    WriteFile(dir / ("picture-" + std::to_string(part->uid + 1) + "." + extension),
              {reinterpret_cast<const char*>(part->data), part->size});
  }
  mobi_free_rawml(raw);
  mobi_free(mobi);
}

std::string ParsedAndSaved(const std::string& html, const std::string& path) {
  xmlDoc* doc = htmlReadMemory(html.data(), static_cast<int>(html.size()), nullptr, "UTF-8",
                               HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING);
  Require(doc != nullptr, path);
  xmlChar* text = nullptr;
  int size = 0;
  xmlDocDumpMemoryEnc(doc, &text, &size, "UTF-8");
  Require(text != nullptr, path);
  std::string saved(reinterpret_cast<char*>(text), static_cast<size_t>(size));
  xmlFree(text);
  xmlFreeDoc(doc);
  return saved;
}

}  // namespace

int main(int argc, char** argv) {
  const bool synchronise = argc < 2 || std::strcmp(argv[1], "--no-sync") != 0;
  if (!synchronise) --argc, ++argv;
  if (argc < 4) {
    std::fprintf(stderr, "Usage: floor [--no-sync] PLAN WORKDIR OUTPUT [MOBI]\n");
    return 2;
  }
  const fs::path workDir = argv[2];
  const fs::path bookDir = workDir / "floor";
  const fs::path output = argv[3];
  if (argc > 4) Extract(argv[4], workDir / "extracted");

  fs::create_directories(bookDir / "META-INF");
  fs::create_directories(bookDir / "OEBPS" / "images");
  const fs::path unfinished = output.string() + ".part";
  Container container(unfinished);
  PlanReader plan(argv[1]);
  for (PlanEntry entry; plan.Next(entry);) {
    if (entry.source != "data") {
      std::string content = ReadFile(workDir / entry.bytes);  // a path may be absolute
      entry.bytes = entry.source == "html" ? ParsedAndSaved(content, entry.bytes) : content;
    }
    WriteFile(bookDir / entry.name, entry.bytes);
    container.Add(entry.name, entry.packing == "stored", entry.bytes);
  }
  container.Finish(synchronise);
  fs::rename(unfinished, output);
  fs::remove_all(bookDir);
  fs::remove_all(workDir / "extracted");
  return 0;
}

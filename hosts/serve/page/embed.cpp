// Writes the table of the page's files as C++, of a list of paths and the files that they are of:
// embed TABLE.cpp PATH FILE PATH FILE...
#include <libdeflate.h>
#include <xxhash.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace {

constexpr int kBestCompression = 12;
constexpr size_t kBytesInLine = 32;
constexpr std::string_view kReader = "/reader/";

// By the ends of paths; a page has none.
struct Type {
  std::string_view end;
  std::string_view name;
};
constexpr std::array kTypes = {
    Type{".css", "text/css; charset=utf-8"}, Type{".js", "text/javascript; charset=utf-8"},
    Type{".svg", "image/svg+xml"},           Type{"/api", "application/json"},
    Type{"", "text/html; charset=utf-8"},
};

std::string_view TypeOf(std::string_view path) {
  for (const Type& type : kTypes) {
    if (path.ends_with(type.end)) return type.name;
  }
  return {};
}

std::string ContentOf(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) throw std::runtime_error(file + " cannot be read");
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::string Compressed(std::string_view content) {
  libdeflate_compressor* compressor = libdeflate_alloc_compressor(kBestCompression);
  if (compressor == nullptr) throw std::bad_alloc();
  std::string result(libdeflate_gzip_compress_bound(compressor, content.size()), '\0');
  result.resize(libdeflate_gzip_compress(compressor, content.data(), content.size(), result.data(),
                                         result.size()));
  libdeflate_free_compressor(compressor);
  return result;
}

std::string TagOf(std::string_view content) {
  std::array<char, 17> digits;
  std::snprintf(digits.data(), digits.size(), "%016llx",
                static_cast<unsigned long long>(XXH3_64bits(content.data(), content.size())));
  return digits.data();
}

void WriteLiteral(std::string_view bytes, std::ostream& table) {
  for (size_t i = 0; i < bytes.size(); ++i) {
    if (i % kBytesInLine == 0) table << (i == 0 ? "\n    \"" : "\"\n    \"");
    std::array<char, 5> escape;
    std::snprintf(escape.data(), escape.size(), "\\%03o", static_cast<unsigned char>(bytes[i]));
    table << escape.data();
  }
  table << "\"";
}

void WriteAsset(std::string_view path, std::string_view content, std::ostream& table) {
  const std::string bytes = Compressed(content);
  table << "    {\"" << path << "\", \"" << TypeOf(path) << "\", {";
  WriteLiteral(bytes, table);
  table << ", " << bytes.size() << "}, \"" << TagOf(content) << "\", "
        << (path.starts_with(kReader) ? "true" : "false") << "},\n";
}

void WriteTable(const std::map<std::string, std::string>& files, std::ostream& table) {
  table << "// Made by embed.cpp.\n#include \"hosts/serve/page/assets.h\"\n\n"
           "#pragma GCC diagnostic ignored \"-Woverlength-strings\"\n\n"
           "static constexpr Asset kAssets[] = {\n";
  for (const auto& [path, file] : files) WriteAsset(path, ContentOf(file), table);
  table << "};\n\nstd::span<const Asset> Assets() { return kAssets; }\n";
}

}  // namespace

int main(int count, char** arguments) try {
  std::map<std::string, std::string> files;
  for (int i = 2; i + 1 < count; i += 2) files[arguments[i]] = arguments[i + 1];
  const std::string file = count > 1 ? arguments[1] : "";
  std::ostringstream table;
  WriteTable(files, table);
  // What is as it was keeps its time, so that nothing is compiled again.
  if (std::ifstream(file) && ContentOf(file) == table.str()) return 0;
  if (!(std::ofstream(file) << table.str()).flush()) {
    throw std::runtime_error("the table cannot be written");
  }
} catch (const std::exception& error) {
  std::cerr << "embed: " << error.what() << '\n';
  return 1;
}

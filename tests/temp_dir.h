// A private directory for one test, removed with everything in it at the end.
#ifndef KAV_EPUB_TESTS_TEMP_DIR_H
#define KAV_EPUB_TESTS_TEMP_DIR_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <string>

class TempDir {
 public:
  TempDir() {
    std::string name = Base() / "kav-test-XXXXXX";
    path = mkdtemp(name.data());
  }
  ~TempDir() {
    std::error_code error;
    std::filesystem::remove_all(path, error);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  std::string operator/(const std::string& name) const { return (path / name).string(); }
  std::string String() const { return path.string(); }

  // Writes a file below the directory and returns its path.
  std::string Write(const std::string& name, const std::string& content) const {
    std::filesystem::create_directories((path / name).parent_path());
    std::ofstream(path / name, std::ios::binary) << content;
    return *this / name;
  }

 private:
  // In memory where there is room: a disk makes the tests wait for each of their many small files.
  static std::filesystem::path Base() {
    constexpr std::uintmax_t kRoom = 1 << 30;
    std::error_code error;
    const auto memory = std::filesystem::space("/dev/shm", error);
    const bool hasRoom = !error && memory.available > kRoom;
    return hasRoom ? "/dev/shm" : std::filesystem::temp_directory_path();
  }

  std::filesystem::path path;
};

// Bytes that no packing makes smaller, the same ones each time.
inline std::string RandomBytes(size_t size) {
  std::mt19937 generator(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp)
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(generator());
  return bytes;
}

// The content of a file; empty when it cannot be read.
inline std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// The paths of all that is below a directory; those of directories end with "/".
inline std::set<std::string> FilesBelow(const std::string& directory) {
  std::set<std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
    const std::string path = entry.path().lexically_relative(directory);
    files.insert(std::filesystem::is_directory(entry.symlink_status()) ? path + "/" : path);
  }
  return files;
}

#endif

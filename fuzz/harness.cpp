// Runs one input in its directory and checks what was left behind.
#include "fuzz/harness.h"

#include <fcntl.h>
#include <iconv.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <sstream>

namespace {

namespace fs = std::filesystem;

// The name as a path below a directory, each part short enough for a file. Of control characters
// only line ends stay: libzip refuses to open a container with others beside letters beyond ASCII.
fs::path Tamed(const std::string& name) {
  fs::path tamed;
  std::istringstream parts(name);
  for (std::string part; std::getline(parts, part, '/');) {
    std::replace(part.begin(), part.end(), '\1', '\n');
    std::erase_if(part, [](char c) { return c >= 0 && c < ' ' && c != '\n'; });
    if (!part.empty() && part != "." && part != "..") tamed /= part.substr(0, 255);
  }
  return tamed;
}

// The content of a file or the target of a link.
std::string Held(const fs::path& path) {
  return fs::is_symlink(path) ? fs::read_symlink(path).string() : ReadFile(path);
}

// What the next file would get: a higher descriptor than before if one was left open.
int NextDescriptor() {
  const int descriptor = open("/", O_PATH | O_CLOEXEC);
  close(descriptor);
  return descriptor;
}

// To load the converters of encodings anew for each input would take longer than most inputs do.
void KeepConverters() {
  static auto* const kept = new std::vector<iconv_t>;  // until the process ends
  for (const char* name : {"WINDOWS-1250", "WINDOWS-1251", "WINDOWS-1252", "WINDOWS-1253",
                           "WINDOWS-1254", "GB18030", "BIG5-HKSCS", "CP950", "CP932", "EUC-JP-MS",
                           "CP949", "KOI8-R", "CP866", "CP850", "MACINTOSH"}) {
    kept->push_back(iconv_open("UTF-8", name));
  }
}

}  // namespace

void Require(bool holds, const std::string& property) {
  if (holds) return;
  std::fprintf(stderr, "Does not hold: %s\n", property.c_str());
  std::abort();
}

Sandbox::Sandbox() : secret("Secret of " + dir.String()) {
  KeepConverters();
  for (const char* name : {"work", "out"}) fs::create_directory(dir / name);
  for (const char* name : {"secret/private.html", "secret/private.png"}) Keep(name, secret);
}

// Makes the directory of a file that can be made there; links on the way would lead elsewhere.
bool Sandbox::MakeRoom(const std::string& name) const {
  std::error_code error;
  const fs::path path = dir / name;
  if (fs::weakly_canonical(path.parent_path(), error) != path.parent_path() || error) return false;
  fs::create_directories(path.parent_path(), error);
  return !error && !fs::exists(fs::symlink_status(path, error));
}

void Sandbox::Write(const std::string& name, const std::string& content) {
  if (!MakeRoom(name)) return;
  std::ofstream file(dir / name, std::ios::binary);
  if (file << content) expected[name] = content;
}

void Sandbox::Keep(const std::string& name, const std::string& content) {
  if (kept.count(name) != 0) return;
  Write(name, content);
  kept[name] = content;
}

void Sandbox::Link(const std::string& name, const std::string& target) {
  std::error_code error;
  if (!MakeRoom(name)) return;
  fs::create_symlink(target, dir / name, error);
  if (!error) expected[name] = target;
}

std::vector<std::string> Sandbox::Plant(const std::string& directory, const std::string& input) {
  std::vector<std::string> files;
  for (size_t at = 0, end = 0; at < input.size(); at = end) {
    end = std::min(input.find("\n=", at), input.find("\n@", at));
    end = end == std::string::npos ? input.size() : end + 1;
    const std::string entry = input.substr(at, end - at);
    const size_t line = std::min(entry.find('\n'), entry.size());
    const size_t split = entry[0] == '@' ? std::min(entry.find('=', 1), line) : line;
    const fs::path name = directory / Tamed(entry.substr(1, split - 1));
    if (!name.has_filename()) continue;
    if (split != line) {
      Link(name, entry.substr(split + 1, line - split - 1).c_str());
    } else {
      files.push_back(name);
      Write(name, entry.substr(std::min(line + 1, entry.size())));
    }
  }
  return files;
}

void Sandbox::RequireEmpty(const std::string& directory) const {
  Require(fs::is_empty(dir / directory), directory + " is empty");
}

void Sandbox::RequireUntouched() const {
  std::map<std::string, std::string> found;
  for (auto it = fs::recursive_directory_iterator(dir.String()); it != end(it); ++it) {
    const std::string name = it->path().lexically_relative(dir.String());
    if (name == "work" || name == "out") it.disable_recursion_pending();
    if (it->is_symlink() || !it->is_directory()) found[name] = Held(it->path());
  }
  Require(found == expected, "nothing is written, changed or deleted elsewhere");
}

void Sandbox::Clear() {
  for (const auto& [name, content] : expected) {
    if (kept.count(name) == 0) fs::remove(dir / name);
  }
  for (const auto& top : fs::directory_iterator(dir.String())) {
    const std::string name = top.path().filename();
    const auto first = kept.lower_bound(name + "/");
    if (name == "work" || name == "out") {
      for (const auto& entry : fs::directory_iterator(top)) fs::remove_all(entry);
    } else if (first == kept.end() || !first->first.starts_with(name + "/")) {
      fs::remove_all(top);
    }
  }
  expected = kept;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size) {
  static Sandbox box;
  const std::string input(reinterpret_cast<const char*>(data), size);
  // What is compared becomes known to the fuzzer, in time.
  if (input.find(box.Secret()) != std::string::npos) return 0;
  const int nextBefore = NextDescriptor();
  Fuzz(input, box);
  box.RequireUntouched();
  box.Clear();
  Require(NextDescriptor() == nextBefore, "all files are closed");
  return 0;
}

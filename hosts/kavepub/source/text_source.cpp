// Lets the library of the reader's edition decode texts.
#include "hosts/kavepub/source/text_source.h"

#include <fstream>
#include <memory>
#include <new>

#include "edition/kavepub.h"
#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"

namespace {

constexpr size_t kPieceSize = size_t{1} << 16;

struct FreeText {
  void operator()(kavepub_text* owned) const { kavepub_text_free(owned); }
};

class Text {
 public:
  Text() : text(kavepub_text_new()) {
    if (!text) throw std::bad_alloc();
  }

  void Set(const char* option, const std::string& value) {
    Require(kavepub_text_set_option(text.get(), option, value.c_str()));
  }

  void Open(const std::filesystem::path& path, std::optional<std::string_view> piped) {
    Require(piped
                ? kavepub_text_open_memory(text.get(), kStandardInput, piped->data(), piped->size())
                : kavepub_text_open_path(text.get(), path.c_str()));
  }

  // The next characters, none at the end.
  std::string_view Read() {
    size_t size = 0;
    Require(kavepub_text_read(text.get(), chunk.data(), chunk.size(), &size));
    return {chunk.data(), size};
  }

  std::string Fact(const char* name) const {
    const char* fact = kavepub_text_report(text.get(), name);
    return fact == nullptr ? std::string() : fact;
  }

  std::vector<BookWarning> Warnings() const {
    std::vector<BookWarning> warnings;
    kavepub_warning warning = {};
    while (kavepub_text_warning(text.get(), warnings.size(), &warning, sizeof warning) != 0) {
      warnings.push_back({OneLine(warning.place), OneLine(warning.message)});
    }
    return warnings;
  }

 private:
  void Require(int code) const { RequireEdition(code, kavepub_text_error(text.get())); }

  std::unique_ptr<kavepub_text, FreeText> text;
  std::string chunk = std::string(kPieceSize, '\0');
};

}  // namespace

TextSource DecodeText(const std::filesystem::path& path, std::optional<std::string_view> piped,
                      const std::string& encoding, const std::string& errors,
                      const std::filesystem::path& target) {
  Text text;
  text.Set("encoding", encoding);
  text.Set("encoding-errors", errors);
  text.Open(path, piped);
  std::ofstream file(target, std::ios::binary);
  for (std::string_view chunk = text.Read(); !chunk.empty(); chunk = text.Read()) {
    StopIfInterrupted();
    file << chunk;
  }
  file.close();
  if (file.fail()) {
    throw Failure("the working files cannot be written; check the room in " +
                      target.parent_path().parent_path().string(),
                  Cause::kDisk);
  }
  return {text.Fact("encoding"), text.Fact("paragraphs") == "line", text.Warnings()};
}

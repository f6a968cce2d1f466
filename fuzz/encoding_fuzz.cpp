// Texts of any encoding, as a host reads them: valid UTF-8 with LF line ends, the same in pieces of
// any size, and what was replaced is told.
#include <libxml/xmlstring.h>

#include <algorithm>

#include "edition/kavepub.h"
#include "fuzz/harness.h"

namespace {

constexpr char kReplacement[] = "\uFFFD";
constexpr size_t kMuch = size_t{1} << 16;
constexpr size_t kLittle = 8;

struct Reading {
  int code;
  std::string text;
  std::string encoding;
  size_t replaced;
};

Reading Read(const std::string& input, const char* errors, size_t capacity) {
  kavepub_text* handle = kavepub_text_new();
  Reading reading = {};
  reading.code = kavepub_text_set_option(handle, "encoding-errors", errors);
  Require(reading.code == KAVEPUB_OK, "there is such an option");
  reading.code = kavepub_text_open_memory(handle, "text.txt", input.data(), input.size());
  std::string piece(capacity, '\0');
  for (size_t size = 1; reading.code == KAVEPUB_OK && size != 0;) {
    reading.code = kavepub_text_read(handle, piece.data(), capacity, &size);
    if (reading.code != KAVEPUB_OK) break;
    Require(size <= capacity, "there is room");
    std::string text = piece.substr(0, size);
    std::replace(text.begin(), text.end(), '\0', ' ');
    Require(xmlCheckUTF8(reinterpret_cast<const xmlChar*>(text.c_str())) == 1, "pieces are UTF-8");
    reading.text += text;
  }
  Require((*kavepub_text_error(handle) != '\0') == (reading.code != KAVEPUB_OK), "words, or none");
  if (reading.code == KAVEPUB_OK) {
    reading.encoding = kavepub_text_report(handle, "encoding");
    reading.replaced = std::stoul(kavepub_text_report(handle, "replaced"));
  }
  kavepub_text_free(handle);
  return reading;
}

size_t Replacements(const std::string& text) {
  size_t count = 0;
  for (size_t at = 0; (at = text.find(kReplacement, at)) != std::string::npos; ++at) ++count;
  return count;
}

}  // namespace

void Fuzz(const std::string& input, Sandbox& /*box*/) {
  const Reading usual = Read(input, "auto", kMuch);
  const Reading slow = Read(input, "auto", kLittle);
  Require(usual.code == slow.code && usual.text == slow.text, "pieces do not matter");
  if (usual.code != KAVEPUB_OK) return;
  Require(usual.text.find('\r') == std::string::npos, "line ends are LF");
  Require(Replacements(usual.text) >= usual.replaced, "what is replaced is seen");
  const Reading strict = Read(input, "strict", kMuch);
  Require((strict.code == KAVEPUB_OK) == (usual.replaced == 0), "strict refuses what is replaced");
  const Reading lenient = Read(input, "replace", kMuch);
  Require(lenient.code == KAVEPUB_OK && lenient.text == usual.text,
          "replacing is the same for all");
}

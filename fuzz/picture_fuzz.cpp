// A picture as an album of the reader's edition: the book is sound, and the picture in it is one
// that stays as it is when it comes in again.
#include "edition/kavepub.h"
#include "fuzz/book_check.h"
#include "fuzz/harness.h"

namespace {

const std::string kName = "picture.jpg";

// Empty when there is no book of it, which is then told.
std::string PictureInBook(const std::string& input, const std::string& path) {
  kavepub_job* job = kavepub_job_new();
  kavepub_job_add_memory(job, kName.c_str(), input.data(), input.size());
  kavepub_job_set_option(job, "threads", "1");
  kavepub_job_set_output_path(job, path.c_str());
  const int code = kavepub_job_run(job);
  const std::string error = kavepub_job_error(job);
  const char* kind = kavepub_job_report(job, "kind");
  const bool isAlbum = kind != nullptr && kind == std::string("pictures");
  kavepub_job_free(job);
  if (code != KAVEPUB_OK) {
    const bool isKnown = code == KAVEPUB_E_FORMAT || code == KAVEPUB_E_LIMIT ||
                         code == KAVEPUB_E_UNSUPPORTED || code == KAVEPUB_E_ENCODING;
    Require(isKnown && error.starts_with(kName), "a failure names the picture: " + error);
    return {};
  }
  if (!isAlbum) return {};
  std::string picture;
  for (const auto& [name, content] : ReadArchive(path)) {
    if (name.ends_with(".xhtml") || name.ends_with(".svg")) RequiredXml(content, name);
    if (name.starts_with("OEBPS/picture.")) picture = content;
  }
  Require(!picture.empty(), "the book shows the picture");
  return picture;
}

}  // namespace

void Fuzz(const std::string& input, Sandbox& box) {
  const std::string path = box / "out/book.epub";
  const std::string picture = PictureInBook(input, path);
  if (picture.empty()) return;
  Require(PictureInBook(picture, path) == picture, "a picture of books stays as it is");
}

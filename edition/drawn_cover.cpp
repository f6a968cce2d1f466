// Loads libkavepub-cover from beside this library when the first cover is drawn.
#include "edition/drawn_cover.h"

#include <sys/mman.h>

#include <string>

#include "base/large_stack.h"
#include "edition/book/companion.h"
#include "edition/cover/draw_cover.h"

namespace {

constexpr size_t kMostAuthors = 3;

std::string AuthorsOf(const Metadata& metadata) {
  std::string authors;
  size_t count = 0;
  for (const Contributor& contributor : metadata.contributors) {
    if (contributor.role != kAuthorRole) continue;
    if (++count > kMostAuthors) return authors + " …";
    authors += (authors.empty() ? "" : ", ") + contributor.name;
  }
  return authors;
}

// GLib ends the process when it gets no memory, so there has to be plenty. Most of what drawing
// asks for is address space: fonts, and what each thread sets apart.
bool HasRoomToDraw() {
  constexpr size_t kPlenty = size_t{1} << 29;
  void* room =
      mmap(nullptr, kPlenty, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  return room != MAP_FAILED && munmap(room, kPlenty) == 0;
}

}  // namespace

std::optional<Resource> DrawnCover(const Metadata& metadata) {
  static const auto draw = reinterpret_cast<kavepub_cover_function>(
      CompanionFunction(KAVEPUB_COVER_LIBRARY, KAVEPUB_COVER_FUNCTION));
  const std::string authors = AuthorsOf(metadata);
  const kavepub_cover_texts texts = {metadata.title.c_str(), authors.c_str(),
                                     metadata.language.c_str()};
  Resource picture;
  if (draw == nullptr || !HasRoomToDraw()) return std::nullopt;
  int code = 0;
  // Outlines of letters are interpreted with large tables on the stack. Pango ends the process when
  // it cannot start a thread beside this one, so that is tried first.
  const bool isTried = DoOnLargeStack([&] {
    if (DoOnLargeStack([] {})) code = draw(&texts, KeepFile, &picture.bytes);
  });
  if (!isTried || code != 0 || picture.bytes.empty()) return std::nullopt;
  return picture;
}

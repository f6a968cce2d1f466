// check_book FILE... says what of a book does not fit together, with the oracle of the fuzz
// targets.
#include <cstdio>
#include <cstdlib>

#include "fuzz/book_check.h"
#include "fuzz/harness.h"

namespace {

constexpr char kNoSecret[] = "what no book has been told";
constexpr std::string_view kDocuments[] = {".html", ".xml", ".opf", ".ncx"};

}  // namespace

void Require(bool holds, const std::string& property) {
  if (holds) return;
  std::fprintf(stderr, "Does not hold: %s\n", property.c_str());
  std::exit(1);
}

int main(int count, char** arguments) {
  for (int i = 1; i < count; ++i) {
    for (const auto& [name, content] : CheckBook(arguments[i], kNoSecret).entries) {
      for (const std::string_view ending : kDocuments) {
        if (name.ends_with(ending)) RequiredXml(content, name);
      }
    }
  }
  return count > 1 ? 0 : 2;
}

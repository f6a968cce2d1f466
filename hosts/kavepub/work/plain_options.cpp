// Takes the options of books apart.
#include "hosts/kavepub/work/plain_options.h"

#include <algorithm>

namespace {

constexpr char kNone[] = "none";
constexpr char kAnd[] = " & ";  // between authors

void TakeTitle(PlainOptions& options, const std::string& value) {
  options.title = value;
}

void TakeAuthor(PlainOptions& options, const std::string& value) {
  options.author = options.author ? *options.author + kAnd + value : value;
}

void TakeCover(PlainOptions& options, const std::string& value) {
  options.cover = FileOf("cover", value);
  options.wantsNoCover = value == kNone;
}

template <std::string PlainOptions::*text>
void Take(PlainOptions& options, const std::string& value) {
  options.*text = value;
}

constexpr struct {
  const char* name;
  void (*take)(PlainOptions& options, const std::string& value);
} kTaken[] = {
    {"title", TakeTitle},
    {"author", TakeAuthor},
    {"cover", TakeCover},
    {"encoding", Take<&PlainOptions::encoding>},
    {"encoding-errors", Take<&PlainOptions::encodingErrors>},
    {"paragraphs", Take<&PlainOptions::paragraphs>},
};

}  // namespace

PlainOptions PlainOptionsOf(const EditionOptions& chosen) {
  PlainOptions options;
  for (const auto& [name, value] : chosen) {
    const auto* row =
        std::find_if(std::begin(kTaken), std::end(kTaken),
                     [&given = name](const auto& known) { return known.name == given; });
    if (row != std::end(kTaken)) {
      row->take(options, value);
    } else {
      options.ignored.push_back(name);
    }
  }
  return options;
}

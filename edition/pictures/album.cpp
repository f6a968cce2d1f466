// Takes pictures one by one, so that there is never more than one in memory.
#include "edition/pictures/album.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "edition/book/markup.h"
#include "edition/book/metadata.h"
#include "edition/page/picture_file.h"

namespace {

constexpr std::uint64_t kLargestFile = std::uint64_t{1} << 30;
constexpr size_t kLongestTitle = 200;  // in bytes; what is longer describes

constexpr char kBroken[] = "is a picture that is cut off or broken; get a whole copy of it";

// "Blue hour" of "dir/Blue_hour.jpg".
std::string NameOf(const std::string& path) {
  std::string name = path.substr(path.rfind('/') + 1);
  const size_t dot = name.rfind('.');
  if (dot != 0) name.resize(std::min(dot, name.size()));
  std::replace(name.begin(), name.end(), '_', ' ');
  name = OneLine(name);
  return name;
}

class Album {
 public:
  Album(BookSink& target, Run& shared) : sink(target), run(shared) {}

  Status Add(const Input& input) {
    Result<std::string> bytes = input.ReadAll(kLargestFile);
    if (!bytes) return bytes.Why();
    Resource file{input.Name(), {}, std::move(*bytes)};
    const Result<TakenPicture> taken = TakePicture(file);
    if (!taken) return Failure{taken.Why().code, input.Name() + ": " + taken.Why().message};
    if (!taken->warning.empty()) run.Warn({taken->warning, input.Name()});
    if (!taken->isWhole) {
      return Failure{KAVEPUB_E_FORMAT, input.Name() + ": " + kBroken};
    }
    return AddPage(std::move(file), input.Name(), taken->title);
  }

  Status Finish() { return sink.Finish(std::move(contents)); }

 private:
  Status AddPage(Resource file, const std::string& path, const std::string& ownTitle) {
    const std::string name = NameOf(path);
    // What several pictures are called says nothing of one.
    const bool hasOwn = !ownTitle.empty() && titles.insert(ownTitle).second;
    const Result<std::string> reference = sink.Add(std::move(file));
    if (!reference) return reference.Why();
    Document page;
    page.role = contents.empty() ? Document::Role::kCover : Document::Role::kPicture;
    page.picture = *reference;
    page.title = hasOwn && ownTitle.size() <= kLongestTitle ? ownTitle : name;
    page.body = "<div class=\"picture\"><img src=\"";
    AppendEscaped(*reference, page.body);
    page.body += "\" alt=\"";
    AppendEscaped(hasOwn ? ownTitle : name, page.body);
    page.body += "\"/></div>";
    contents.push_back({page.title, contents.size(), {}, 0, {}});
    return sink.Add(std::move(page));
  }

  BookSink& sink;
  Run& run;
  std::vector<ContentsEntry> contents;
  std::unordered_set<std::string> titles;
};

}  // namespace

Status MakeAlbum(const std::vector<Input>& inputs, const SourceOptions& /*options*/, BookSink& sink,
                 Run& run) {
  if (Status status = sink.Begin({}); !status) return status;
  Album album(sink, run);
  for (size_t i = 0; i < inputs.size(); ++i) {
    if (Status status = album.Add(inputs[i]); !status) return status;
    const double done = static_cast<double>(i + 1) / static_cast<double>(inputs.size());
    if (Status status = run.Advance(done); !status) return status;
  }
  return album.Finish();
}

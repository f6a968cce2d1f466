// Reads sources for their digests.
#include "hosts/kavepub/make/provenance.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>
#include <system_error>
#include <vector>

#include "hosts/kavepub/console/interruption.h"
#include "hosts/kavepub/make/digest.h"
#include "hosts/kavepub/work/plain_options.h"
#include "hosts/kavepub/work/reader_book.h"

namespace {

namespace fs = std::filesystem;

// Books lie beside their sources and are none themselves.
std::vector<fs::path> FilesBelow(const fs::path& folder) {
  std::vector<fs::path> files;
  std::error_code error;
  for (fs::recursive_directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    StopIfInterrupted();
    std::error_code ignored;  // a link that leads nowhere is no source
    const bool isSource =
        entry->is_regular_file(ignored) && entry->path().extension() != kBookExtension;
    if (isSource) files.push_back(entry->path());
  }
  if (error) throw fs::filesystem_error("", folder, error);
  std::sort(files.begin(), files.end());
  return files;
}

Digest DigestOfSource(const BookOrder& order) {
  Digest digest;
  digest.Add(NameOf(order.kind));
  if (order.folder.empty() || order.kind == BookKind::kPictures) {
    for (const fs::path& input : order.inputs) digest.Add(input.filename().string()).AddFile(input);
  } else {
    for (const fs::path& file : FilesBelow(order.folder)) {
      digest.Add(file.lexically_relative(order.folder).string()).AddFile(file);
    }
  }
  return digest;
}

std::string DigestOfReaders(const EditionOptions& options) {
  Digest digest;
  digest.Add("reader's edition");
  for (const auto& [name, value] : options) {
    digest.Add(name);
    const fs::path file = FileOf(name, value);
    file.empty() ? digest.Add(value) : digest.AddFile(file);
  }
  return digest.Text();
}

// The number of a value, which stays when it is called otherwise.
std::string PlaceIn(std::initializer_list<std::string_view> values, std::string_view value) {
  return std::to_string(std::find(values.begin(), values.end(), value) - values.begin());
}

std::string DigestOfPlain(const PlainOptions& options) {
  Digest digest;
  for (const auto& text : {options.title, options.author}) {
    digest.Add(text ? "given" : "none").Add(text.value_or(""));
  }
  if (!options.cover.empty()) digest.AddFile(options.cover);
  digest.Add(options.encoding);
  digest.Add(PlaceIn({kAuto, "strict", "replace"}, options.encodingErrors));
  digest.Add(PlaceIn({kAuto, "line", "wrapped"}, options.paragraphs));
  return digest.Text();
}

std::string DigestOfOptions(const BookOrder& order, const BookOptions& options) {
  return IsForReaders(order, options) ? DigestOfReaders(options.chosen)
                                      : DigestOfPlain(PlainOptionsOf(options.chosen));
}

std::string DigestOfPlace(const BookOrder& order) {
  const fs::path source = order.folder.empty() ? order.inputs.front() : order.folder;
  const fs::path directory = fs::weakly_canonical(fs::absolute(order.output).parent_path());
  return Digest().Add(fs::weakly_canonical(source).lexically_relative(directory).string()).Text();
}

}  // namespace

Provenance ProvenanceOf(const BookOrder& order, const BookOptions& options) {
  if (order.inputs.front() == kStandardStream) return {{}, DigestOfOptions(order, options), {}};
  const Digest source = DigestOfSource(order);
  return {source.Text(), DigestOfOptions(order, options), DigestOfPlace(order),
          source.BytesOfFiles()};
}

bool IsAllKnown(const BookOrder& order) {
  if (order.inputs.front() == kStandardStream) return false;
  const bool isOfPages = order.kind == BookKind::kHtml || order.kind == BookKind::kMarkdown;
  return !isOfPages || !order.folder.empty();
}

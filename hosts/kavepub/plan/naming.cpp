// Names books after what they are made of, each by a name of its own.
#include "hosts/kavepub/plan/naming.h"

#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <string_view>
#include <system_error>

#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/plan/input_kind.h"

namespace {

namespace fs = std::filesystem;

// What other books and documents are called; this tool makes none of them.
constexpr std::string_view kForeignExtensions[] = {
    ".pdf",  ".azw",   ".azw3", ".azw4", ".mobi", ".prc",   ".pdb",  ".kfx", ".fb2",
    ".lit",  ".lrf",   ".cbz",  ".cbr",  ".djvu", ".doc",   ".docx", ".odt", ".rtf",
    ".html", ".xhtml", ".htm",  ".txt",  ".md",   ".kepub", ".zip"};

enum class Place { kBesideInputs, kStandardOutput, kFile, kDirectory };

bool IsDirectory(const fs::path& path) {
  std::error_code error;
  return fs::is_directory(path, error);
}

// What it is called, with or without a slash at its end.
fs::path NameOf(const fs::path& path) {
  return path.has_filename() ? path.filename() : path.parent_path().filename();
}

// That of a book is not made: one that is missing is more likely a slip.
void RequireDirectoryOf(const fs::path& output) {
  if (!output.has_parent_path() || IsDirectory(output.parent_path())) return;
  throw WrongUsage(output, "its directory does not exist; make it first");
}

[[noreturn]] void RefuseMany(const fs::path& output, size_t books) {
  throw WrongUsage(output, "is to be one book, but " + std::to_string(books) +
                               " are to be made; name a directory for them");
}

// Of a folder, however many books it holds today, the output is another folder, unless it is called
// like the one book that a site or an album is.
Place PlaceOf(const Selection& selection, size_t books) {
  const fs::path& output = selection.output;
  if (output.empty()) return Place::kBesideInputs;
  if (output == kStandardStream) {
    if (books > 1) RefuseMany("standard output", books);
    return Place::kStandardOutput;
  }
  const bool isDirectory = IsDirectory(output) || !output.has_filename();
  if (ExtensionOf(NameOf(output)) == kBookExtension) {
    if (isDirectory) {
      throw WrongUsage(output, "is called like a book, but is a directory; give it another name");
    }
    if (books > 1) RefuseMany(output, books);
    RequireDirectoryOf(output);
    return Place::kFile;
  }
  if (isDirectory) return Place::kDirectory;
  const std::string extension = ExtensionOf(output);
  if (std::find(std::begin(kForeignExtensions), std::end(kForeignExtensions), extension) !=
      std::end(kForeignExtensions)) {
    throw WrongUsage(output,
                     "is not called like an EPUB book, which is all that can be made; "
                     "give it the extension .epub");
  }
  if (books == 1 && !IsDirectory(selection.inputs.front())) {
    RequireDirectoryOf(output);
    return Place::kFile;
  }
  std::error_code error;
  if (fs::exists(output, error)) {
    throw WrongUsage(output, "exists already, but is no directory for books; name another");
  }
  return Place::kDirectory;
}

// Tells books by their places, with what they are made of.
class Names {
 public:
  // "a.txt" becomes "a.epub", or "a.txt.epub" when another book has that name.
  void Give(const Draft& draft, const fs::path& place, BookOrder& order) {
    const fs::path& input = order.inputs.front();
    fs::path output = place;
    if (input.filename() == draft.name.filename()) output.replace_extension();
    output += kBookExtension;
    const fs::path wanted = output;
    for (int copy = 1; !IsFree(output, input); ++copy) {
      output = place;
      if (copy > 1) output.concat("-").concat(std::to_string(copy));
      output += kBookExtension;
    }
    order.output = output;
    if (output == wanted) return;
    order.remark = input.string() + " becomes " + output.string() + ", as " +
                   taken.at(Key(wanted)).string() + " becomes " + wanted.string();
  }

 private:
  static fs::path Key(const fs::path& output) { return fs::absolute(output).lexically_normal(); }

  bool IsFree(const fs::path& output, const fs::path& input) {
    return taken.emplace(Key(output), input).second;
  }

  std::map<fs::path, fs::path> taken;
};

}  // namespace

void NameBooks(std::vector<Draft>& drafts, const Selection& selection) {
  if (drafts.empty()) return;
  const Place place = PlaceOf(selection, drafts.size());
  Names names;
  for (Draft& draft : drafts) {
    BookOrder& order = draft.order;
    order.isInDirectory = place == Place::kDirectory;
    if (place == Place::kFile || place == Place::kStandardOutput) {
      order.output = selection.output;
    } else if (place == Place::kDirectory) {
      names.Give(draft, selection.output / draft.name, order);
    } else if (order.inputs.front() == kStandardStream) {
      throw WrongUsage("a book of the standard input has no name; give it one with -o");
    } else {
      names.Give(draft, draft.directory / draft.name.filename(), order);
    }
  }
}

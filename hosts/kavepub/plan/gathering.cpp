// Walks through what a person named.
#include "hosts/kavepub/plan/gathering.h"

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <utility>

#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"
#include "hosts/kavepub/plan/input_kind.h"
#include "hosts/kavepub/plan/natural_order.h"

namespace {

namespace fs = std::filesystem;

constexpr std::array kIndexNames = {"index.html", "index.htm", "index.xhtml", "index.md"};
constexpr std::array kFirstNames = {"README.md", "readme.md"};  // of Markdown
constexpr char kStandardInputName[] = "stdin";

constexpr char kIsLink[] = "is a link to a folder";
constexpr char kIsBook[] = "is an EPUB book";
constexpr char kIsNotCalledText[] = "is not called .txt or .text";
constexpr char kIsBesideBooks[] = "lies beside books that it may belong to";
constexpr char kIsBesidePages[] = "lies beside pages, which take along what they show";

bool IsNamedIn(const auto& names, const fs::path& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

// What systems put beside pictures.
bool IsByTheWay(const fs::path& file) {
  constexpr std::array kNames = {"Thumbs.db", "thumbs.db", "desktop.ini"};
  return IsNamedIn(kNames, file.filename());
}

// What a folder holds, each in its order; what is hidden is left out.
struct Listing {
  std::vector<fs::path> folders;
  std::vector<fs::path> files;
  std::error_code error;
};

Listing List(const fs::path& folder) {
  Listing listing;
  for (fs::directory_iterator entry(folder, listing.error), end; !listing.error && entry != end;
       entry.increment(listing.error)) {
    if (entry->path().filename().string().starts_with('.')) continue;
    std::error_code ignored;
    (entry->is_directory(ignored) ? listing.folders : listing.files).push_back(entry->path());
  }
  for (auto* paths : {&listing.folders, &listing.files}) {
    std::sort(paths->begin(), paths->end(), [](const fs::path& one, const fs::path& other) {
      if (one.stem() == other.stem()) return one < other;
      return ComesBefore(one.stem().native(), other.stem().native());
    });
  }
  return listing;
}

// Whether something below a folder is called like a book or a page that is no Markdown.
bool HoldsOtherBooks(const fs::path& folder) {
  std::error_code error;
  for (fs::recursive_directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    if (entry->path().filename().string().starts_with('.')) {
      entry.disable_recursion_pending();
      continue;
    }
    const std::optional<BookKind> kind = KindByName(entry->path());
    if (kind && kind != BookKind::kMarkdown && kind != BookKind::kPictures) return true;
  }
  return static_cast<bool>(error);
}

class Gatherer {
 public:
  Gatherer(bool separate, bool deep, Gathering& gathering)
      : isSeparate(separate), goesDown(deep), found(gathering) {}

  void AddInput(const fs::path& input) {
    std::error_code error;
    if (input == kStandardStream || input == "/dev/stdin") {
      if (IsNew(kStandardStream)) Add(BookKind::kText, {kStandardStream}, kStandardInputName, {});
    } else if (fs::is_directory(input, error)) {
      fs::path whole = input.has_filename() ? input : input.parent_path();
      if (whole.filename() == "." || whole.filename() == "..") whole = fs::canonical(whole);
      AddFolder(whole, whole.filename());
    } else {
      AddFile(input);
    }
  }

 private:
  void AddFile(const fs::path& file) {
    BookKind kind = BookKind::kPictures;
    try {
      kind = KindOf(file);
    } catch (const Failure& failure) {
      // An album that lacks a picture which was named is none; it will tell what is wrong with it.
      if (!IsCalledLikePicture(file)) {
        Refuse(file, file.filename(), failure);
        return;
      }
    }
    const bool joins = !isSeparate && kind != BookKind::kText && kind != BookKind::kMobi;
    const auto shared = std::find_if(
        found.drafts.begin(), found.drafts.end(),
        [&](const Draft& draft) { return draft.isShared && draft.order.kind == kind; });
    if (joins && shared != found.drafts.end()) {
      shared->order.inputs.push_back(file);
    } else if (joins || IsNew(file)) {
      Add(kind, {file}, file.filename(), file.parent_path()).isShared = joins;
    }
  }

  // What is named twice, or named and found in a folder, becomes one book.
  bool IsNew(const fs::path& input) {
    return planned.insert(fs::absolute(input).lexically_normal()).second;
  }

  void Refuse(const fs::path& input, const fs::path& name, const Failure& reason) {
    if (!IsNew(input)) return;
    RefuseAt(input, name, reason);
  }

  void RefuseAt(const fs::path& input, const fs::path& name, const Failure& reason) {
    BookOrder& order = Add(BookKind::kText, {input}, name, input.parent_path()).order;
    order.refusal = reason.what();
    order.refusalCause = reason.DueTo();
  }

  void Skip(const fs::path& file, const std::string& reason) {
    found.skipped.push_back({file, reason});
  }

  // name: where the folder lies below the one that a person named, that one included.
  void AddFolder(const fs::path& folder, const fs::path& name) {
    StopIfInterrupted();
    if (!IsNew(folder)) return;
    const Listing listing = List(folder);
    if (listing.error) {
      RefuseAt(folder, name,
               {folder, listing.error.message() + "; check its permissions", Cause::kMachine});
      return;
    }
    if (AddSite(folder, listing.files, name)) return;
    AddFilesOfFolder(folder, listing.files, name);
    for (const fs::path& below : listing.folders) {
      if (fs::is_symlink(below)) {
        Skip(below, kIsLink);
      } else if (goesDown) {
        AddFolder(below, name / below.filename());
      } else {
        found.folders.push_back(below);
      }
    }
  }

  // A folder with an index page is a site; all in it belongs to that. So is one of Markdown alone,
  // with a page that is to be read first.
  bool AddSite(const fs::path& folder, const std::vector<fs::path>& files, const fs::path& name) {
    const auto find = [&](const auto& names) {
      return std::find_if(files.begin(), files.end(),
                          [&](const fs::path& file) { return IsNamedIn(names, file.filename()); });
    };
    auto index = find(kIndexNames);
    if (index == files.end()) {
      index = find(kFirstNames);
      if (index != files.end() && HoldsOtherBooks(folder)) return false;
    }
    if (index == files.end() || isSeparate) return false;
    const BookKind kind = KindByName(*index).value_or(BookKind::kHtml);
    Add(kind, {*index}, name, folder.parent_path()).order.folder = folder;
    return true;
  }

  // Pages become one book; so do pictures, unless they may belong to the pages or books there.
  void AddFilesOfFolder(const fs::path& folder, const std::vector<fs::path>& files,
                        const fs::path& name) {
    std::vector<fs::path> pages;
    std::vector<fs::path> notes;  // in Markdown
    std::vector<fs::path> pictures;
    size_t books = 0;
    for (const fs::path& file : files) {
      const std::optional<BookKind> kind = KindInFolder(file, name);
      if (kind == BookKind::kPictures) pictures.push_back(file);
      if (kind == BookKind::kHtml) pages.push_back(file);
      if (kind == BookKind::kMarkdown) notes.push_back(file);
      const bool isBook = kind == BookKind::kText || kind == BookKind::kMobi;
      if (isBook && IsNew(file)) Add(*kind, {file}, name / file.filename(), folder);
      books += isBook ? 1 : 0;
    }
    AddTogether(BookKind::kHtml, pages, folder, name);
    std::stable_partition(notes.begin(), notes.end(), [](const fs::path& file) {
      return IsNamedIn(kFirstNames, file.filename());
    });
    if (pages.empty() && books == 0) {
      AddTogether(BookKind::kMarkdown, notes, folder, name);
      if (!notes.empty()) pages = std::move(notes);
    } else {
      for (const fs::path& note : notes) Skip(note, kIsBesideBooks);
    }
    if (pages.empty() && pictures.size() > books) {
      AddTogether(BookKind::kPictures, pictures, folder, name);
    } else {
      for (const fs::path& picture : pictures) {
        Skip(picture, pages.empty() ? kIsBesideBooks : kIsBesidePages);
      }
    }
  }

  // None for a file of which no book is to be made. Of a folder, only what is called a text is
  // taken for one, and only what is called like something convertible is missed when it cannot be
  // read.
  std::optional<BookKind> KindInFolder(const fs::path& file, const fs::path& name) {
    const std::optional<BookKind> promised = KindByName(file);
    try {
      if (IsByTheWay(file)) return std::nullopt;
      if (ExtensionOf(file) == kBookExtension) {
        Skip(file, kIsBook);
        return std::nullopt;
      }
      const BookKind kind = KindOf(file);
      if (kind != BookKind::kText || promised) return kind == BookKind::kText ? promised : kind;
      Skip(file, kIsNotCalledText);
    } catch (const Failure& failure) {
      if (promised == BookKind::kPictures) return promised;  // the album will name it
      if (promised) {
        Refuse(file, name / file.filename(), failure);
      } else {
        Skip(file, failure.Reason());
      }
    }
    return std::nullopt;
  }

  void AddTogether(BookKind kind, const std::vector<fs::path>& files, const fs::path& folder,
                   const fs::path& name) {
    if (!isSeparate) {
      if (!files.empty()) Add(kind, files, name, folder.parent_path()).order.folder = folder;
      return;
    }
    for (const fs::path& file : files) {
      if (IsNew(file)) Add(kind, {file}, name / file.filename(), folder);
    }
  }

  Draft& Add(BookKind kind, std::vector<fs::path> inputs, const fs::path& name,
             const fs::path& directory) {
    Draft draft;
    draft.order.kind = kind;
    draft.order.inputs = std::move(inputs);
    draft.name = name;
    draft.directory = directory;
    found.drafts.push_back(std::move(draft));
    return found.drafts.back();
  }

  bool isSeparate;
  bool goesDown;  // into folders of folders
  Gathering& found;
  std::set<fs::path> planned;
};

}  // namespace

Gathering Gather(const std::vector<fs::path>& inputs, bool separate) {
  Gathering gathering;
  Gatherer gatherer(separate, true, gathering);
  for (const fs::path& input : inputs) gatherer.AddInput(input);
  return gathering;
}

Gathering GatherFolder(const fs::path& folder) {
  Gathering gathering;
  Gatherer(false, false, gathering).AddInput(folder);
  return gathering;
}

std::optional<BookOrder> GatherOne(const fs::path& input) {
  Gathering gathering;
  std::error_code error;
  const bool isFolder = fs::is_directory(input, error);
  Gatherer(!isFolder, false, gathering).AddInput(input);
  for (Draft& draft : gathering.drafts) {
    const bool isOfWhole = draft.order.folder == input || draft.order.inputs.front() == input;
    if (isOfWhole) return std::move(draft.order);
  }
  return std::nullopt;
}

// Sorts inputs into books and finds a place for each.
#include "hosts/kavepub/plan/planning.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <system_error>

#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"
#include "hosts/kavepub/plan/input_kind.h"

namespace {

namespace fs = std::filesystem;

constexpr std::array kIndexNames = {"index.html", "index.htm", "index.xhtml"};

// An order, and the path that its book is named after: without the book's extension.
struct Draft {
  BookOrder order;
  fs::path name;  // relative to the output directory when there is one
  fs::path directory;
  bool isShared = false;  // further named pages or pictures join it
};

class Planner {
 public:
  explicit Planner(bool separate) : isSeparate(separate) {}

  void AddInput(const fs::path& input) {
    std::error_code error;
    if (fs::is_directory(input, error)) {
      fs::path whole = input.has_filename() ? input : input.parent_path();
      if (whole.filename() == "." || whole.filename() == "..") whole = fs::canonical(whole);
      AddFolder(whole, whole.filename());
    } else {
      AddFile(input, input.filename(), true);
    }
  }

  std::vector<Draft> Take() { return std::move(drafts); }

 private:
  // `together`: pages and pictures join the one book of their kind.
  void AddFile(const fs::path& file, const fs::path& name, bool together) {
    BookKind kind = BookKind::kText;
    try {
      kind = KindOf(file);
    } catch (const Failure& failure) {
      Refuse(file, name, failure);
      return;
    }
    const bool joins =
        together && !isSeparate && (kind == BookKind::kHtml || kind == BookKind::kPictures);
    const auto shared = std::find_if(drafts.begin(), drafts.end(), [&](const Draft& draft) {
      return draft.isShared && draft.order.kind == kind;
    });
    if (joins && shared != drafts.end()) {
      shared->order.inputs.push_back(file);
    } else if (joins || IsNew(file)) {
      Add(kind, {file}, name, file.parent_path()).isShared = joins;
    }
  }

  // What is named twice, or named and found in a folder, becomes one book.
  bool IsNew(const fs::path& input) {
    return planned.insert(fs::absolute(input).lexically_normal()).second;
  }

  void Refuse(const fs::path& input, const fs::path& name, const Failure& reason) {
    if (!IsNew(input)) return;
    Add(BookKind::kText, {input}, name, input.parent_path()).order.refusal = reason.what();
  }

  // name: where the folder lies below the one that a person named, that one included.
  void AddFolder(const fs::path& folder, const fs::path& name) {
    StopIfInterrupted();
    if (!IsNew(folder)) return;
    std::vector<fs::path> folders;
    std::vector<fs::path> files;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
      if (entry->path().filename().string().starts_with('.')) continue;
      std::error_code ignored;
      (entry->is_directory(ignored) ? folders : files).push_back(entry->path());
    }
    if (error) {
      Add(BookKind::kText, {folder}, name, folder.parent_path()).order.refusal =
          Failure(folder, error.message() + "; check its permissions").what();
      return;
    }
    std::sort(folders.begin(), folders.end());
    std::sort(files.begin(), files.end());
    if (AddSite(folder, files, name)) return;
    AddFilesOfFolder(folder, files, name);
    for (const fs::path& below : folders) {
      if (!fs::is_symlink(below)) AddFolder(below, name / below.filename());
    }
  }

  // A folder with an index page is a site; all in it belongs to that.
  bool AddSite(const fs::path& folder, const std::vector<fs::path>& files, const fs::path& name) {
    const auto index = std::find_if(files.begin(), files.end(), [](const fs::path& file) {
      return std::find(kIndexNames.begin(), kIndexNames.end(), file.filename()) !=
             kIndexNames.end();
    });
    if (index == files.end() || isSeparate) return false;
    Add(BookKind::kHtml, {*index}, name, folder.parent_path()).order.folder = folder;
    return true;
  }

  // Pages become one book; so do pictures, unless they lie beside books that they may belong to.
  void AddFilesOfFolder(const fs::path& folder, const std::vector<fs::path>& files,
                        const fs::path& name) {
    std::vector<fs::path> pages;
    std::vector<fs::path> pictures;
    bool holdsBooks = false;
    for (const fs::path& file : files) {
      const std::optional<BookKind> kind = KindInFolder(file, name);
      if (kind == BookKind::kPictures) pictures.push_back(file);
      if (kind == BookKind::kHtml) pages.push_back(file);
      const bool isBook = kind == BookKind::kText || kind == BookKind::kMobi;
      if (isBook && IsNew(file)) Add(*kind, {file}, name / file.filename(), folder);
      holdsBooks = holdsBooks || isBook || (!kind && !IsByTheWay(file));
    }
    AddTogether(BookKind::kHtml, pages, folder, name);
    if (pages.empty() && !holdsBooks) AddTogether(BookKind::kPictures, pictures, folder, name);
  }

  // None for a file of which no book is to be made. Of a folder, only what is called a text is
  // taken for one, and only what is called like something convertible is missed when it cannot be
  // read.
  std::optional<BookKind> KindInFolder(const fs::path& file, const fs::path& name) {
    if (file.extension() == kBookExtension) return std::nullopt;  // made earlier, beside its source
    const std::optional<BookKind> promised = KindByName(file);
    try {
      const BookKind kind = KindOf(file);
      return kind == BookKind::kText ? promised : kind;
    } catch (const Failure& failure) {
      if (promised == BookKind::kPictures) return promised;  // the album will name it
      if (promised) Refuse(file, name / file.filename(), failure);
      return std::nullopt;
    }
  }

  // What systems put beside pictures.
  static bool IsByTheWay(const fs::path& file) {
    constexpr std::array kNames = {"Thumbs.db", "thumbs.db", "desktop.ini"};
    return std::find(kNames.begin(), kNames.end(), file.filename()) != kNames.end();
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
    drafts.push_back(std::move(draft));
    return drafts.back();
  }

  std::vector<Draft> drafts;
  std::set<fs::path> planned;
  bool isSeparate;
};

// Of a folder, however many books it holds today, the output is another folder, unless it is called
// like the one book that a site or an album is.
bool IsDirectoryNamed(const Selection& selection, size_t books) {
  const fs::path& output = selection.output;
  std::error_code error;
  if (fs::is_directory(output, error) || !output.has_filename() || books > 1) return true;
  const bool isOfFolder = fs::is_directory(selection.inputs.front(), error);
  return isOfFolder && output.extension() != kBookExtension;
}

// The names of books, with what they are made of.
using TakenNames = std::map<fs::path, fs::path>;

// "a.txt" becomes "a.epub", or "a.txt.epub" when another book has that name.
void NameBook(BookOrder& order, bool isFile, const fs::path& place, TakenNames& taken) {
  fs::path& output = order.output;
  output = place;
  if (isFile) output.replace_extension();
  output += kBookExtension;
  const fs::path wanted = output;
  const auto isFree = [&] {
    return taken.emplace(fs::absolute(output).lexically_normal(), order.inputs.front()).second;
  };
  if (isFree()) return;
  output = place;
  output += kBookExtension;
  for (int copy = 2; !isFree(); ++copy) {
    output = place;
    output += '-';
    output += std::to_string(copy);
    output += kBookExtension;
  }
  const fs::path& other = taken.at(fs::absolute(wanted).lexically_normal());
  order.remark = order.inputs.front().string() + " becomes " + output.string() + ", as " +
                 other.string() + " becomes " + wanted.string();
}

}  // namespace

std::vector<BookOrder> PlanBooks(const Selection& selection) {
  Planner planner(selection.separate);
  for (const fs::path& input : selection.inputs) planner.AddInput(input);
  std::vector<Draft> drafts = planner.Take();

  const bool intoDirectory =
      !selection.output.empty() && IsDirectoryNamed(selection, drafts.size());
  std::error_code error;
  if (intoDirectory && fs::exists(selection.output, error) &&
      !fs::is_directory(selection.output, error)) {
    throw Failure(selection.output, "exists already, but is no directory for books; name another");
  }
  std::vector<BookOrder> orders;
  TakenNames taken;
  for (Draft& draft : drafts) {
    BookOrder& order = draft.order;
    const bool isFile = order.inputs.front().filename() == draft.name.filename();
    if (selection.output.empty()) {
      NameBook(order, isFile, draft.directory / draft.name.filename(), taken);
    } else if (intoDirectory) {
      NameBook(order, isFile, selection.output / draft.name, taken);
    } else {
      order.output = selection.output;
    }
    orders.push_back(std::move(order));
  }
  return orders;
}

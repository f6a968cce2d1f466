// Sorts inputs into books and finds a place for each.
#include "kavepub/planning.h"

#include <algorithm>
#include <array>
#include <set>
#include <string>
#include <system_error>

#include "kavepub/failure.h"
#include "kavepub/input_kind.h"

namespace {

namespace fs = std::filesystem;

constexpr char kBookExtension[] = ".epub";
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
      const fs::path whole = input.has_filename() ? input : input.parent_path();
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
      Add(kind, {file}, name, file.parent_path()).order.refusal = failure.what();
      return;
    }
    const bool joins =
        together && !isSeparate && (kind == BookKind::kHtml || kind == BookKind::kPictures);
    const auto shared = std::find_if(drafts.begin(), drafts.end(), [&](const Draft& draft) {
      return draft.isShared && draft.order.kind == kind;
    });
    if (joins && shared != drafts.end()) {
      shared->order.inputs.push_back(file);
    } else {
      Add(kind, {file}, name, file.parent_path()).isShared = joins;
    }
  }

  // name: where the folder lies below the one that a person named, that one included.
  void AddFolder(const fs::path& folder, const fs::path& name) {
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
          folder.string() + ": " + error.message() + "; check its permissions";
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
    Add(BookKind::kHtml, {*index}, name, folder.parent_path());
    return true;
  }

  void AddFilesOfFolder(const fs::path& folder, const std::vector<fs::path>& files,
                        const fs::path& name) {
    std::vector<fs::path> pages;
    std::vector<fs::path> pictures;
    for (const fs::path& file : files) {
      if (file.extension() == kBookExtension) continue;  // made earlier, beside its source
      BookKind kind = BookKind::kText;
      try {
        kind = KindOf(file);
      } catch (const Failure&) {
        // A folder may hold anything; what was not named is passed over.
        continue;
      }
      if (kind == BookKind::kHtml && !isSeparate) {
        pages.push_back(file);
      } else if (kind == BookKind::kPictures) {
        pictures.push_back(file);
      } else if (kind != BookKind::kText || IsText(file)) {
        Add(kind, {file}, name / file.filename(), folder);
      }
    }
    if (!pages.empty()) Add(BookKind::kHtml, pages, name, folder.parent_path());
    if (!pictures.empty() && pictures.size() == files.size()) {
      Add(BookKind::kPictures, pictures, name, folder.parent_path());
    }
  }

  // Of a folder, only files that are called a text are taken for one.
  static bool IsText(const fs::path& file) {
    const std::string extension = file.extension().string();
    return extension == ".txt" || extension == ".TXT" || extension == ".text";
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
  bool isSeparate;
};

bool IsDirectoryNamed(const fs::path& output, size_t books) {
  std::error_code error;
  return fs::is_directory(output, error) || !output.has_filename() || books > 1;
}

// "a.txt" becomes "a.epub", or "a.txt.epub" when another book has that name.
fs::path FreeName(const Draft& draft, const fs::path& place, std::set<fs::path>& taken) {
  fs::path output = place;
  const bool isFile = draft.order.inputs.front().filename() == draft.name.filename();
  if (isFile) output.replace_extension();
  output += kBookExtension;
  if (taken.insert(output).second) return output;
  output = place;
  output += kBookExtension;
  for (int copy = 2; !taken.insert(output).second; ++copy) {
    output = place;
    output += '-';
    output += std::to_string(copy);
    output += kBookExtension;
  }
  return output;
}

}  // namespace

std::vector<BookOrder> PlanBooks(const Selection& selection) {
  Planner planner(selection.separate);
  for (const fs::path& input : selection.inputs) planner.AddInput(input);
  std::vector<Draft> drafts = planner.Take();

  const bool intoDirectory =
      !selection.output.empty() && IsDirectoryNamed(selection.output, drafts.size());
  std::error_code error;
  if (intoDirectory && fs::exists(selection.output, error) &&
      !fs::is_directory(selection.output, error)) {
    throw Failure(selection.output, "exists already, but is no directory for books; name another");
  }
  std::vector<BookOrder> orders;
  std::set<fs::path> taken;
  for (Draft& draft : drafts) {
    if (selection.output.empty()) {
      draft.order.output = FreeName(draft, draft.directory / draft.name.filename(), taken);
    } else if (intoDirectory) {
      draft.order.output = FreeName(draft, selection.output / draft.name, taken);
    } else {
      draft.order.output = selection.output;
    }
    orders.push_back(std::move(draft.order));
  }
  return orders;
}

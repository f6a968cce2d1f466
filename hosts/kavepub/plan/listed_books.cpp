// Turns names into books, each for itself.
#include "hosts/kavepub/plan/listed_books.h"

#include <optional>
#include <set>
#include <system_error>
#include <utility>

#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/plan/gathering.h"
#include "hosts/kavepub/plan/input_kind.h"

namespace {

namespace fs = std::filesystem;

// A wrong root would make a failure of every name of the list.
fs::path RootOf(const Selection& selection) {
  if (selection.inputs.size() > 1) {
    throw WrongUsage(selection.inputs[1],
                     "is one too many: of a list, all names are below one folder");
  }
  std::error_code error;
  const fs::path root = selection.inputs.empty() ? fs::path() : selection.inputs.front();
  if (!root.empty() && !fs::is_directory(root, error)) {
    throw WrongUsage(root, "is no folder, below which the names of the list could be");
  }
  const fs::path& output = selection.output;
  const bool isBook = output == kStandardStream || ExtensionOf(output) == kBookExtension;
  if (isBook || (fs::exists(output, error) && !fs::is_directory(output, error))) {
    throw WrongUsage(output, "is no directory, which the books of a list need; name one");
  }
  return root;
}

BookOrder Refused(const fs::path& input, const Failure& reason) {
  BookOrder order;
  order.inputs = {input};
  order.refusal = reason.what();
  order.refusalCause = reason.DueTo();
  return order;
}

BookOrder OrderOf(const fs::path& input) {
  const fs::path file = input == kStandardStream ? "." / input : input;
  if (std::optional<BookOrder> order = GatherOne(file)) return *std::move(order);
  return Refused(input, {input, "is a folder of several books; list these"});
}

// Whether a name is relative, and has neither empty parts nor dots alone: nearly all of a list, of
// which millions may belong to other shares.
bool IsNormal(std::string_view name) {
  for (;;) {
    const std::string_view part = name.substr(0, name.find('/'));
    if (part.empty() || part == "." || part == "..") return false;
    if (part.size() == name.size()) return true;
    name.remove_prefix(part.size() + 1);
  }
}

}  // namespace

std::string NameBelow(const fs::path& root, std::string_view name) {
  if (IsNormal(name)) return std::string(name);
  fs::path below = fs::path(name).lexically_normal();
  if (below.is_absolute()) {
    below = below.lexically_relative(fs::absolute(root / ".").lexically_normal());
  }
  if (!below.has_filename()) below = below.parent_path();
  const bool isBelow = !below.empty() && below != "." && *below.begin() != "..";
  return isBelow ? below.string() : std::string();
}

std::vector<BookOrder> BooksOfList(const Selection& selection) {
  const fs::path root = RootOf(selection);
  const fs::path& books = selection.output.empty() ? root : selection.output;
  std::vector<BookOrder> orders;
  std::set<std::string, std::less<>> planned;
  ForEachName(selection.list, [&](std::string_view listed) {
    const std::string below = NameBelow(root, listed);
    const std::string name = below.empty() ? std::string(listed) : below;
    if (!selection.share.Holds(name) || !planned.insert(name).second) return;
    BookOrder order = below.empty() ? Refused(name, {name, "is not below the folder of the list"})
                                    : OrderOf(root / name);
    order.name = name;
    if (!below.empty()) order.output = books / name += kBookExtension;
    order.isInDirectory = !selection.output.empty();
    orders.push_back(std::move(order));
  });
  return orders;
}

// The walk over everything below a directory, depth first.
#include "base/tree_walk.h"

#include <string>
#include <vector>

namespace {

// The entries still to be visited, of all levels, in one piece of memory: the type as a letter, the
// name, a NUL.
class PendingEntries {
 public:
  bool ReadFrom(const DirectoryCursor& cursor) {
    return cursor.ForEachEntry([this](const dirent& entry) {
      text.push_back(static_cast<char>(kTypeBase + entry.d_type));
      text.append(entry.d_name);
      text.push_back('\0');
    });
  }

  size_t Size() const { return text.size(); }
  unsigned char Type() const { return static_cast<unsigned char>(text[Start()] - kTypeBase); }
  const char* Name() const { return text.data() + Start() + 1; }
  void Pop() { text.resize(Start()); }

 private:
  static constexpr char kTypeBase = 'A';

  // Behind the NUL before the last one; npos + 1 is 0, where the first entry begins.
  size_t Start() const { return text.rfind('\0', text.size() - 2) + 1; }

  std::string text;
};

}  // namespace

bool TreeWalk::Run(DirectoryCursor& cursor) {
  PendingEntries pending;
  bool complete = pending.ReadFrom(cursor);
  std::vector<size_t> levels{0};  // where the entries of each open directory begin
  for (;;) {
    if (pending.Size() == levels.back()) {
      levels.pop_back();
      if (levels.empty()) return complete;
      if (!cursor.Leave()) return false;
      Left(cursor.Fd(), pending.Name());
      pending.Pop();
    } else if (!Visit(cursor.Fd(), pending.Name(), pending.Type())) {
      pending.Pop();
    } else if (cursor.Enter(pending.Name())) {
      Entered(pending.Name());
      levels.push_back(pending.Size());
      complete = pending.ReadFrom(cursor) && complete;
    } else {
      complete = false;
      pending.Pop();
    }
  }
}

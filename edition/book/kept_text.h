// A long text that is not needed for a while.
#ifndef KAVEPUB_BOOK_KEPT_TEXT_H
#define KAVEPUB_BOOK_KEPT_TEXT_H

#include <string>

class KeptText {
 public:
  KeptText() = default;
  explicit KeptText(std::string content) : text(std::move(content)), size(text.size()) {}

  // Makes it smaller; Take becomes slower.
  void Pack();

  bool IsEmpty() const { return size == 0; }
  size_t Size() const { return size; }

  // Once.
  std::string Take();

 private:
  std::string text;  // or what it is packed to
  size_t size = 0;
  bool isPacked = false;
};

#endif

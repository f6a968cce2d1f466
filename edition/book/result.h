// What an operation comes to: its value, or the failure in words and as a code of kavepub.h.
#ifndef KAVEPUB_BOOK_RESULT_H
#define KAVEPUB_BOOK_RESULT_H

#include <string>
#include <utility>
#include <variant>

#include "edition/kavepub.h"

struct Failure {
  kavepub_code code;
  std::string message;  // what, where and what can be done; no options of one host
};

template <typename Value>
class [[nodiscard]] Result {
 public:
  Result(Value value) : content(std::move(value)) {}
  Result(Failure failure) : content(std::move(failure)) {}

  explicit operator bool() const { return content.index() == 0; }
  Value& operator*() { return std::get<0>(content); }
  Value* operator->() { return &std::get<0>(content); }
  const Value& operator*() const { return std::get<0>(content); }
  const Value* operator->() const { return &std::get<0>(content); }

  // Of a failure only.
  const Failure& Why() const { return std::get<1>(content); }

 private:
  std::variant<Value, Failure> content;
};

// Of an operation without a value.
using Status = Result<std::monostate>;
inline Status Done() {
  return std::monostate{};
}

#endif

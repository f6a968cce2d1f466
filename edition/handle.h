// What the handles of the C interface have in common: the boundary where failures become codes and
// exceptions end.
#ifndef KAVEPUB_HANDLE_H
#define KAVEPUB_HANDLE_H

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "edition/book/result.h"

// What a handle says of its last failure.
struct Words {
  std::string message;
  const char* error = "";  // the same, or a text for which no memory is needed
};

inline constexpr char kOutOfMemory[] = "Memory ran out.";
inline constexpr char kFault[] = "A fault of libkavepub: an exception that nobody expected.";
inline constexpr char kNull[] = "An argument is null.";

// Does a step with a handle; its code.
template <typename Handle, typename Step>
int Do(Handle* handle, Step step) noexcept {
  if (handle == nullptr) return KAVEPUB_E_ARGUMENT;
  try {
    const Status status = step();
    if (status) return KAVEPUB_OK;
    handle->message = status.Why().message;
    handle->error = handle->message.c_str();
    return status.Why().code;
  } catch (const std::bad_alloc&) {
    handle->error = kOutOfMemory;
    return KAVEPUB_E_MEMORY;
  } catch (...) {
    handle->error = kFault;
    return KAVEPUB_E_INTERNAL;
  }
}

inline std::string_view Bytes(const void* bytes, size_t size) {
  return {static_cast<const char*>(bytes), size};
}

// Fills what the caller has room for, and clears what only later versions know.
template <typename Struct>
int Hand(const Struct& filled, Struct* target, size_t size) {
  if (target == nullptr) return 0;
  std::memset(target, 0, size);
  std::memcpy(target, &filled, std::min(size, sizeof filled));
  return 1;
}

#endif

// Texts of a book as they may stand on a page.
#ifndef KAV_BASE_MOBI_ESCAPING_H
#define KAV_BASE_MOBI_ESCAPING_H

#include <string>
#include <string_view>

#include "base/byte_set.h"

namespace kav_mobi {

enum class TextKind {
  kPlain,  // each character stands for itself
  kMarkup  // as the book's markup has it: references stay references
};

// Characters that a text or, between quotation marks, a value cannot hold.
inline constexpr ByteSet kSpecialInText("<&");
inline constexpr ByteSet kSpecialInValue("<&\"");

// Appends a text, in UTF-8, with references in the place of special characters.
void AppendEscaped(std::string_view text, TextKind kind, const ByteSet& special, std::string& out);

}  // namespace kav_mobi

#endif

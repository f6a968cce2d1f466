// Whether bytes make sense in an encoding.
#ifndef KAVEPUB_ENCODING_PLAUSIBILITY_H
#define KAVEPUB_ENCODING_PLAUSIBILITY_H

#include <string>
#include <string_view>

// UTF-16 or UTF-32, in either byte order, of a text without a byte order mark; empty when it is
// neither.
std::string_view GuessWideEncoding(std::string_view beginning);

// The share of the characters beyond ASCII that no text would have where they stand: control
// characters, symbols and capital letters inside words, words of two scripts. 1 when the sample
// cannot be decoded. A last character may be cut.
double ShareOfFaults(std::string_view sample, const std::string& encoding);

// Whether a text is UTF-8 but for a few damaged places.
bool IsMostlyUtf8(std::string_view sample);

#endif

// Whether bytes make sense in an encoding.
#ifndef KAV_BASE_ENCODING_PLAUSIBILITY_H
#define KAV_BASE_ENCODING_PLAUSIBILITY_H

#include <string_view>

// UTF-16 or UTF-32, in either byte order, of a text without a byte order mark; empty when it is
// neither.
std::string_view GuessWideEncoding(std::string_view beginning);

// The share of the characters beyond ASCII that no text would have where they stand: bytes that are
// none, control characters, symbols and capital letters inside words, words of two scripts or of
// accented letters. 1 when there is no such encoding, and when a text of East Asia had none of the
// characters that its languages are full of. A last character may be cut.
double ShareOfFaults(std::string_view sample, std::string_view encoding);

// Whether more is UTF-8 than is not: where another encoding looks like it by chance, in Japanese,
// it is less than half as much.
bool IsMostlyUtf8(std::string_view sample);

#endif

// Whether a text is wrapped, or holds a whole paragraph on each line.
#ifndef KAVEPUB_PARAGRAPH_MODE_H
#define KAVEPUB_PARAGRAPH_MODE_H

#include <filesystem>

enum class ParagraphMode { kAuto, kLine, kWrapped };

// Tells by the lengths of the lines: a wrapped text keeps to a column, whole paragraphs do not. The
// text is in UTF-8.
bool LinesAreParagraphs(const std::filesystem::path& text);

#endif

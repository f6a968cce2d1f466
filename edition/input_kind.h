// Telling texts, HTML, MOBI books and pictures apart.
#ifndef KAVEPUB_INPUT_KIND_H
#define KAVEPUB_INPUT_KIND_H

#include "edition/book/input.h"
#include "edition/book/result.h"

enum class InputKind { kText, kHtml, kMobi, kPictures, kMarkdown };

// By the content first and by the extension second.
Result<InputKind> KindOf(const Input& input);

// As the report has it.
const char* NameOf(InputKind kind);

#endif

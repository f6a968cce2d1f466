// What a text says of itself: title, author, language, where it comes from.
#ifndef KAVEPUB_TEXT_TEXT_FACTS_H
#define KAVEPUB_TEXT_TEXT_FACTS_H

#include <string>
#include <string_view>

#include "edition/book/metadata.h"

// Reads the beginning of a text, and the name of its file ("Author - Title.txt", with or without
// directories) for what that does not tell. The title is never empty.
Metadata ReadTextFacts(std::string_view beginning, std::string_view fileName);

#endif

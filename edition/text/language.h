// The language of a text.
#ifndef KAVEPUB_TEXT_LANGUAGE_H
#define KAVEPUB_TEXT_LANGUAGE_H

#include <string>
#include <string_view>

// By its name in English or as a tag ("French", "fr", "fr-CA"); empty for others.
std::string LanguageOfName(std::string_view name);

// By a sample of the text; empty where it cannot be told.
std::string LanguageOfText(std::string_view sample);

#endif

// The language of a text.
#ifndef KAVEPUB_TEXT_LANGUAGE_H
#define KAVEPUB_TEXT_LANGUAGE_H

#include <string>
#include <string_view>

// By its name in English or as a tag ("French", "fr", "fr-CA"); empty for others.
std::string LanguageOfName(std::string_view name);

// By a sample of the text; empty where it cannot be told.
std::string LanguageOfText(std::string_view sample);

// "Hant" or "Hans" by the characters that only one of both ways of writing Chinese has; empty for
// texts without any.
std::string ScriptOfText(std::string_view sample);

#endif

// What can be chosen of a book by those who send it.
#ifndef KAVEPUB_SERVE_BOOK_OPTIONS_H
#define KAVEPUB_SERVE_BOOK_OPTIONS_H

#include <nlohmann/json.hpp>
#include <string_view>

#include "hosts/kavepub/source/edition_job.h"

inline constexpr char kCoverOption[] = "cover";
inline constexpr char kCoverFile[] = "file";  // the value for one that was sent along

// The options by their names, with the values that the library tells: none of those that name files
// of this system.
nlohmann::ordered_json OfferedOptions();

// Adds what was chosen; an empty value says nothing. Throws WrongUsage for what cannot be.
void Choose(EditionOptions& options, std::string_view name, std::string_view value);

// Adds all of an object {"title": "…", "author": ["…", "…"]}. Throws likewise.
void ChooseAll(EditionOptions& options, const nlohmann::json& chosen);

// The same object of what was chosen.
nlohmann::ordered_json AsJson(const EditionOptions& options);

// In the order in which the tool takes them, so that equal options leave equal traces in books.
EditionOptions InOrderOfTool(EditionOptions options);

// Throws WrongUsage for values that the library does not take.
void CheckOptions(const EditionOptions& options);

#endif

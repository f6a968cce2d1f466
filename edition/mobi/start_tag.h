// The start tags of a MOBI book in the way of HTML.
#ifndef KAVEPUB_MOBI_START_TAG_H
#define KAVEPUB_MOBI_START_TAG_H

#include <string>
#include <string_view>

#include "base/mobi/tags.h"

// Appends the tag that a text begins with, with an id (none if it is empty). What only the old
// format knows, positions, records, indents and spaces in attributes, is put before its own
// attributes, as of those with the same name the first one counts.
void AppendStartTag(std::string_view text, const kav_mobi::Tag& tag, bool isNew,
                    std::string_view id, std::string& html);

// The reference to the picture that a tag shows, as it is when it was appended; empty for none.
std::string PictureReferenceOf(const kav_mobi::Attributes& attributes, bool isNew);

// The same of the place that a link leads to.
std::string LinkReferenceOf(const kav_mobi::Attributes& attributes, bool isNew);

#endif

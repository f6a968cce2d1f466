// What a page may ask of its parser.
#ifndef KAVEPUB_PAGE_PAGE_LIMITS_H
#define KAVEPUB_PAGE_PAGE_LIMITS_H

#include <string>

// The parser looks through all elements that are open at many a tag, and through all attributes of
// a tag at each of them. So of a page that nests its elements deeper than any person does, those
// that go too deep become such as hold nothing, and what was in them stays; of a tag with very many
// attributes, the first ones stay.
std::string Limited(std::string html);

#endif

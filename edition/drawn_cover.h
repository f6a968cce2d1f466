// Covers that are drawn by libkavepub-cover.
#ifndef KAVEPUB_DRAWN_COVER_H
#define KAVEPUB_DRAWN_COVER_H

#include <optional>

#include "edition/book/document.h"
#include "edition/book/metadata.h"

// Nothing where that library is not beside this one, or cannot draw.
std::optional<Resource> DrawnCover(const Metadata& metadata);

#endif

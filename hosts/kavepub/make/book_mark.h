// What a book of this tool knows of its making: a line in the comment of its container, so that its
// entries are those of any other book.
#ifndef KAVEPUB_BOOK_MARK_H
#define KAVEPUB_BOOK_MARK_H

#include <filesystem>
#include <optional>
#include <string>

#include "hosts/kavepub/make/provenance.h"

struct BookMark {
  Provenance provenance;
  bool isEdited = false;  // the container is not the one that was marked
};

// Nothing when the file is no container or has no such line.
std::optional<BookMark> ReadMark(const std::filesystem::path& book);

// The end of a container without a comment, from its last two bytes on, as it has to be to carry
// the mark. Nothing when what the descriptor reads is no such container.
std::optional<std::string> MarkedEnd(int container, const Provenance& provenance);

#endif

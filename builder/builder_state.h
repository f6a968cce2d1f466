// The state of a book builder that none of its fields has: what its parts know for each other.
#ifndef KAV_EPUB_BUILDER_STATE_H
#define KAV_EPUB_BUILDER_STATE_H

#include <string>

#include "builder/entry_names.h"
#include "builder/epub_base.h"
#include "builder/torn_character.h"
#include "xml/dtd_cache.h"

struct EpubBase::State {
  // A write has failed: the book on disk is not whole and must not be packed.
  bool isIncomplete = false;

  // Names of imported files; the directory beyond their own to which imports may go; the encoding
  // that their pages have whatever they declare.
  EntryNames names;
  std::string importRoot;
  std::string importEncoding;
  DtdCache dtds;

  TornCharacter torn;
};

// The file name of a numbered page; text, picture and imported pages share the numbers.
inline std::string PageName(std::int32_t pageNum) {
  return "page-" + std::to_string(pageNum) + ".html";
}

#endif

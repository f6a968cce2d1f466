// What the parts of a book builder remember for each other.
#ifndef KAV_EPUB_BUILDER_MEMORY_H
#define KAV_EPUB_BUILDER_MEMORY_H

#include <memory>
#include <string>

#include "builder/entry_names.h"
#include "builder/epub_base.h"
#include "xml/dtd_cache.h"

struct EpubBase::Memory {
  // A write has failed: the book on disk is not whole and must not be packed.
  bool isIncomplete = false;

  // Names of imported files; the directory beyond their own to which imports may go.
  EntryNames names;
  std::string importRoot;
  DtdCache dtds;

  // Bytes at the end of the text so far that begin a character; the next line may complete it.
  std::string tornCharacter;
  // The page that ended there, kept until it is known whether it did: its file name, its document
  // and its last paragraph with those bytes.
  std::string tornPagePath;
  std::unique_ptr<XMLFile> tornPage;
  std::string tornParagraph;
};

// The file name of a numbered page; text, picture and imported pages share the numbers.
inline std::string PageName(std::int32_t pageNum) {
  return "page-" + std::to_string(pageNum) + ".html";
}

#endif

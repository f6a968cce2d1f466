// Where the links of pages lead.
#ifndef KAVEPUB_PAGE_REFERENCE_H
#define KAVEPUB_PAGE_REFERENCE_H

#include <string>
#include <string_view>

struct Reference {
  enum class Kind {
    kNothing,  // to run something, to a file of the machine, outside the root
    kNet,      // the web, mail
    kFile,     // below the root
    kData      // itself what it leads to
  };
  Kind kind = Kind::kNothing;
  std::string target;    // a URI; of a file its path from the root on, as it is written
  std::string fragment;  // of a file, an id in it
};

// Resolves what a page refers to; `base` is the path of the page from the root on.
Reference Resolve(std::string_view written, std::string_view base);

// With the bytes in the place of their escapes ("%20").
std::string Unescaped(std::string_view text);

// An id as XML has it; the same for the same one.
std::string XmlIdOf(std::string_view id);

#endif

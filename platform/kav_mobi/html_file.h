// A whole book as one HTML file.
#ifndef KAV_MOBI_HTML_FILE_H
#define KAV_MOBI_HTML_FILE_H

#include <string>

#include "base/mobi/reader.h"

namespace kav_mobi {

// Writes book to htmlPath and its pictures beside it; `cover` becomes the file name of its cover,
// empty when it has none. 0, or a code of KavMobiResult.
int WriteHtmlFile(const Book& book, const char* htmlPath, std::string& cover);

}  // namespace kav_mobi

#endif

// Puts what links and pictures lead to into the body of a page.
#ifndef KAVEPUB_PAGE_PAGE_ASSEMBLY_H
#define KAVEPUB_PAGE_PAGE_ASSEMBLY_H

#include <functional>
#include <string>
#include <vector>

#include "edition/book/document.h"
#include "edition/book/result.h"
#include "edition/page/markup_writer.h"

// What the mark of a reference becomes, by its number.
using ResolveMark = std::function<Result<std::string>(size_t number)>;

// The body with its marks replaced, without the parts that are to go, and cut where pages may end.
Result<BlockRun> Assemble(const PageMarkup& markup, const std::vector<bool>& dropped,
                          const ResolveMark& resolve);

#endif

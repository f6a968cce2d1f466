// Opens a MOBI book.
#ifndef KAVEPUB_MOBI_MOBI_INPUT_H
#define KAVEPUB_MOBI_MOBI_INPUT_H

#include <memory>

#include "base/mobi/reader.h"
#include "edition/book/input.h"
#include "edition/book/result.h"

Result<std::unique_ptr<kav_mobi::Book>> OpenMobi(const Input& input);

#endif

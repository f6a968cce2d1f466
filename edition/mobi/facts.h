// What a MOBI book says of itself.
#ifndef KAVEPUB_MOBI_FACTS_H
#define KAVEPUB_MOBI_FACTS_H

#include "base/mobi/reader.h"
#include "edition/book/metadata.h"

Metadata FactsOf(const kav_mobi::Book& book);

#endif

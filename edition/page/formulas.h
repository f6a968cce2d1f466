// MathML for readers that do not know it: signs and letters in a line.
#ifndef KAVEPUB_PAGE_FORMULAS_H
#define KAVEPUB_PAGE_FORMULAS_H

#include "edition/page/content_model.h"
#include "edition/page/page_tree.h"

// Of an element in MathML's namespace.
ElementRule RuleOfFormula(const GumboNode& element);

// What is written around its content: "√(" and ")", or "" .
const char* TextBeforeFormula(const GumboNode& element);
const char* TextAfterFormula(const GumboNode& element);

#endif

// MathML for readers that do not know it: signs and letters in a line.
#ifndef KAVEPUB_HTML_FORMULAS_H
#define KAVEPUB_HTML_FORMULAS_H

#include "edition/html/content_model.h"
#include "edition/html/page_tree.h"

// Of an element in MathML's namespace.
ElementRule RuleOfFormula(const GumboNode& element);

// What is written around its content: "√(" and ")", or "" .
const char* TextBeforeFormula(const GumboNode& element);
const char* TextAfterFormula(const GumboNode& element);

#endif

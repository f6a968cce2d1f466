// Attributes of HTML as XHTML 1.1 has them.
#ifndef KAVEPUB_PAGE_ATTRIBUTES_H
#define KAVEPUB_PAGE_ATTRIBUTES_H

#include <string>
#include <string_view>

#include "edition/page/page_tree.h"
#include "edition/page/style_rules.h"

// Characters that XML forbids are left out; it may be appended to markup as content or as a value.
void AppendSafe(std::string_view text, std::string& markup);

// The style that attributes of old pages ask for, and that of the style attribute.
std::string StyleOf(const GumboNode& element, std::string_view name, StyleRules& rules,
                    const StyleRules::Refer& refer);

// The attributes of an element for its tag, but for the id: ` class="note" title="..."`. A class
// may be added.
std::string AttributesOf(const GumboNode& element, std::string_view name,
                         std::string_view addedClass, std::string_view style);

#endif

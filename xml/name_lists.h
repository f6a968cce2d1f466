// The names by which the import of foreign HTML decides.
#ifndef KAV_EPUB_NAME_LISTS_H
#define KAV_EPUB_NAME_LISTS_H

#include <string_view>

// Elements that stay as they are; parts of these names pass, too.
constexpr std::string_view kAllowedNames =
    "|body|head|html|title|abbr|acronym|address|blockquote|br|cite|code|dfn|div|em|h1|h2|h3|h4|h5|"
    "h6|kbd|p|pre|q|samp|span|strong|var|a|dl|dt|dd|ol|ul|li|param|b|big|hr|i|small|sub|sup|tt|del|"
    "ins|bdo|caption|col|colgroup|table|tbody|td|tfoot|th|thead|tr|img|area|map|meta|link|base|"
    "text|";

// Elements that become a "div" when they are not allowed, and that stand in a body by themselves.
constexpr std::string_view kBlockNames =
    "|address|blockquote|center|dir|div|dl|fieldset|form|h1|h2|h3|h4|h5|h6|hr|isindex|menu|"
    "noframes|"
    "noscript|ol|p|pre|table|ul|dd|dt|frameset|li|tbody|td|tfoot|th|thead|tr|applet|button|del|"
    "iframe|ins|map|object|script|";

// Elements that hold nothing but their own kind of children: others cannot be turned into text.
constexpr std::string_view kListContainers = "|ul|dl|tr|tbody|tfoot|thead|colgroup|ol|menu|dir|";

// Elements that have no place in a body.
constexpr std::string_view kHeadOnlyNames = "|title|meta|base|link|style|";

// Attributes that go; parts of these names go, too.
constexpr std::string_view kEventAttributes =
    "|onclick|ondblclick|onmousedown|onmouseup|onmouseover|onmousemove|onmouseout|onkeypress|"
    "onkeydown|onkeyup|";

constexpr std::string_view kImageExtensions = "|.jpeg|.jpg|.png|.gif|";

// What pages are called behind the last dot; parts of these pass, too.
constexpr std::string_view kPageExtensions = "|html|xhtml|htm|";

// Whether a name is one of a list.
constexpr bool IsListed(std::string_view list, std::string_view name) {
  for (size_t at = list.find(name); at != std::string_view::npos; at = list.find(name, at + 1)) {
    const size_t end = at + name.size();
    if (at > 0 && list[at - 1] == '|' && end < list.size() && list[end] == '|') return true;
  }
  return false;
}

// Whether a name occurs anywhere in the text of a list: "d" as in "dd", "tml" as in "html", "".
// That is meant: books have always been made by it. A search for whole names would rename elements
// that now stay, keep attributes that now go, and copy files as they are that now become pages.
constexpr bool IsPartOfListed(std::string_view list, std::string_view name) {
  return list.find(name) != std::string_view::npos;
}

#endif

// The names by which the repair of foreign HTML decides. Lists are searched as text: the rules say
// whether a name must stand whole in its list or may be a part of one there.
#ifndef KAV_EPUB_NAME_LISTS_H
#define KAV_EPUB_NAME_LISTS_H

#include <string_view>

// Elements that stay as they are; any part of a name in this list passes too.
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

// Attributes that go; any part of a name in this list goes too.
constexpr std::string_view kEventAttributes =
    "|onclick|ondblclick|onmousedown|onmouseup|onmouseover|onmousemove|onmouseout|onkeypress|"
    "onkeydown|onkeyup|";

constexpr std::string_view kImageExtensions = "|.jpeg|.jpg|.png|.gif|";

// Whether a list holds "|" + name + "|".
constexpr bool HoldsWhole(std::string_view list, std::string_view name) {
  for (size_t at = list.find(name); at != std::string_view::npos; at = list.find(name, at + 1)) {
    const size_t end = at + name.size();
    if (at > 0 && list[at - 1] == '|' && end < list.size() && list[end] == '|') return true;
  }
  return false;
}

// Whether a name occurs anywhere in a list.
constexpr bool HoldsPart(std::string_view list, std::string_view name) {
  return list.find(name) != std::string_view::npos;
}

#endif

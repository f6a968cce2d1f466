// Style sheets of strangers on their way into a book.
#ifndef KAVEPUB_PAGE_STYLE_RULES_H
#define KAVEPUB_PAGE_STYLE_RULES_H

#include <functional>
#include <map>
#include <string>
#include <string_view>

// Wider than this, in pixels, boxes are left as wide as their page.
inline constexpr double kWidestBox = 400;

// What a length comes to; 0 for what depends on something else.
double Pixels(std::string_view length);

class StyleRules {
 public:
  // What comes in the place of a reference to a picture or font: "url(name.png)"; empty where it
  // leads to nothing that books can have.
  using Refer = std::function<std::string(std::string_view reference)>;

  // What a sheet holds that readers of any kind understand: rules for the screen, imports, fonts.
  // What would run, move with the window, or be wider than a page goes. `import` gives the name of
  // a sheet in the book.
  std::string Clean(std::string_view sheet, const Refer& refer, const Refer& import);

  // The same of the value of a style attribute.
  std::string CleanDeclarations(std::string_view declarations, const Refer& refer);

 private:
  class Reader;

  std::map<std::string, std::string, std::less<>> variables;
  std::map<std::string, std::string, std::less<>> cleaned;  // declarations as they were, and are
};

#endif

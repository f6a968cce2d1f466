// A page of a book: its name and its frame.
#include "edition/epub/page.h"

#include "edition/book/markup.h"
#include "edition/epub/language.h"

namespace {

constexpr std::string_view kPageBegin =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
    "<!DOCTYPE html PUBLIC \"-//W3C//DTD XHTML 1.1//EN\" "
    "\"http://www.w3.org/TR/xhtml11/DTD/xhtml11.dtd\">\n"
    "<html xmlns=\"http://www.w3.org/1999/xhtml\" xml:lang=\"";
constexpr std::string_view kRightToLeftAttribute = "\" dir=\"rtl";
constexpr std::string_view kHead = "\">\n<head>\n<title>";
constexpr std::string_view kTitleEnd = "</title>\n";
constexpr std::string_view kSheet = "<link rel=\"stylesheet\" type=\"text/css\" href=\"";
constexpr std::string_view kSheetEnd = "\"/>\n";
constexpr std::string_view kBody = "</head>\n<body class=\"";
constexpr std::string_view kBodyEnd = "\">\n";
constexpr std::string_view kNothing = "<div></div>";  // a body has to have a block
constexpr std::string_view kEnd = "\n</body>\n</html>\n";

constexpr size_t kRoomForFrame = 1024;

void PutSheet(std::string_view name, std::string& file) {
  file.append(kSheet);
  AppendEscaped(name, file);
  file.append(kSheetEnd);
}

void PutBodyAttribute(std::string_view name, std::string_view value, std::string& file) {
  if (value.empty()) return;
  file.append("\" ").append(name).append("=\"");
  AppendEscaped(value, file);
}

void PutLook(const Page& page, std::string& file) {
  for (const std::string& sheet : page.look->sheets) PutSheet(sheet, file);
  if (page.hasFurtherSheet) PutSheet(kFurtherSheetName, file);
  file.append(kBody).append(page.bodyClass);
  if (!page.look->styleClass.empty()) file += ' ';
  AppendEscaped(page.look->styleClass, file);
  PutBodyAttribute("id", page.look->id, file);
  PutBodyAttribute("style", page.look->style, file);
}

}  // namespace

std::string PageName(size_t document, size_t page) {
  std::string name = kPagePrefix + std::to_string(document + 1);
  if (page > 0) name.append("-").append(std::to_string(page + 1));
  return name + kPageSuffix;
}

std::string PageFile(const Page& page) {
  std::string file;
  file.reserve(page.body.size() + kRoomForFrame);
  file += kPageBegin;
  AppendEscaped(page.language, file);
  if (IsRightToLeft(page.language)) file += kRightToLeftAttribute;
  file += kHead;
  AppendEscaped(page.title, file);
  file += kTitleEnd;
  if (page.look != nullptr) {
    PutLook(page, file);
  } else {
    PutSheet(kStyleSheetName, file);
    file.append(kBody).append(page.bodyClass);
  }
  file += kBodyEnd;
  file += page.body.empty() ? kNothing : page.body;
  file += kEnd;
  return file;
}

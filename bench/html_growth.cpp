// The cost of importing pages that grow in one way each: at n, at ten times n, and the ratio, which
// is about 10 when no step costs more than linear.
//
// Usage: html_growth [DIVISOR]      (n is the table's size divided by it)
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "builder/epub_base.h"

namespace {

namespace fs = std::filesystem;

std::string Repeated(size_t count, const std::function<std::string(const std::string&)>& piece) {
  std::string text;
  for (size_t i = 0; i < count; ++i) text += piece(std::to_string(i));
  return text;
}

std::string Repeated(size_t count, const std::string& piece) {
  return Repeated(count, [&](const std::string&) { return piece; });
}

std::string Elements(size_t n) {
  return Repeated(n, "<p>text</p>\n");
}

std::string IdsAndFragments(size_t n) {
  return Repeated(n, [](const std::string& i) {
    return "<p id=\"i" + i + "\"><a href=\"#i" + i + "\">x</a><a href=\"#none" + i + "\">y</a></p>";
  });
}

std::string BadChildrenOfBody(size_t n) {
  return Repeated(n, "<center>x</center>");
}

std::string BadChildrenOfMixed(size_t n) {
  return "<div>" + Repeated(n, "<font>x</font><u>y</u>") + "</div>";
}

std::string BadObjects(size_t n) {
  return "<p>" + Repeated(n, "<object>x</object>") + "</p>";
}

std::string BadChildrenOfList(size_t n) {
  return "<ul>" + Repeated(n, "<font>x</font>") + "</ul>";
}

std::string BadChildrenOfUnknown(size_t n) {
  return "<d>" + Repeated(n, "<center>x</center>") + "</d>";
}

std::string LinksInList(size_t n) {
  return "<ul>" + Repeated(n, "<a href=\"#x\">x</a>") + "</ul>";
}

std::string AttributesOfOne(size_t n) {
  return "<p" + Repeated(n, [](const std::string& i) { return " a" + i + "=\"v\""; }) + ">x</p>";
}

std::string AttributesOfMany(size_t n) {
  return Repeated(n, "<p align=\"left\" nonsense=\"1\">x</p>");
}

std::string Nested(size_t n) {
  return Repeated(n, "<div><b>");
}

std::string NestedAndStrayEnds(size_t n) {
  return Repeated(n, "<div>") + Repeated(n, "</b>");
}

std::string DuplicateIds(size_t n) {
  return Repeated(n, "<p id=\"same\">x</p>");
}

std::string LongLine(size_t n) {
  return Repeated(n, "word ");
}

constexpr struct {
  const char* name;
  std::string (*body)(size_t n);
  size_t size;
} kPages[] = {
    {"elements", Elements, 200000},
    {"ids and fragment links", IdsAndFragments, 50000},
    {"bad elements in a body", BadChildrenOfBody, 50000},
    {"bad elements in a div", BadChildrenOfMixed, 50000},
    {"bad objects in a paragraph", BadObjects, 50000},
    {"bad elements in a list", BadChildrenOfList, 50000},
    {"bad elements in an unknown one", BadChildrenOfUnknown, 50000},
    {"links in a list", LinksInList, 50000},
    {"bad attributes of one element", AttributesOfOne, 50000},
    {"bad attributes of many", AttributesOfMany, 50000},
    {"nested elements", Nested, 500000},
    {"nested elements, stray ends", NestedAndStrayEnds, 500000},
    {"duplicate ids", DuplicateIds, 50000},
    {"one line", LongLine, 10000000},
};

double SecondsToImport(const std::string& body, const fs::path& dir) {
  const std::string path = dir / "page.html";
  std::ofstream(path) << "<html><body>" << body << "</body></html>";
  EpubBase book;
  if (book.Init(dir.c_str(), "", "") != EPUB_OK) std::abort();
  const auto start = std::chrono::steady_clock::now();
  if (book.AddHTHLToEpub(path.c_str()) != EPUB_OK) std::abort();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double SecondsToImportChain(size_t length, const fs::path& dir) {
  const fs::path chain = dir / "chain";
  fs::create_directory(chain);
  for (size_t i = 0; i < length; ++i) {
    std::ofstream(chain / (std::to_string(i) + ".html"))
        << "<p>Page " << i << " <a href=\"" << i + 1 << ".html\">next</a></p>";
  }
  EpubBase book;
  if (book.Init(dir.c_str(), "", "") != EPUB_OK) std::abort();
  const auto start = std::chrono::steady_clock::now();
  if (book.AddHTHLToEpub((chain / "0.html").c_str()) != EPUB_OK) std::abort();
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
  fs::remove_all(chain);
  return time.count();
}

void Print(const char* name, size_t n, double tenth, double whole) {
  std::printf("%-32s %9zu %8.3f s %9zu %8.3f s  x%.1f\n", name, n / 10, tenth, n, whole,
              whole / tenth);
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  const size_t divisor = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1;
  std::string name = (fs::temp_directory_path() / "html-growth-XXXXXX").string();
  const fs::path dir = mkdtemp(name.data());
  for (const auto& page : kPages) {
    const size_t n = page.size / divisor;
    const double tenth = SecondsToImport(page.body(n / 10), dir);
    Print(page.name, n, tenth, SecondsToImport(page.body(n), dir));
  }
  const size_t n = 100000 / divisor;
  const double tenth = SecondsToImportChain(n / 10, dir);
  Print("pages, each linking to the next", n, tenth, SecondsToImportChain(n, dir));
  fs::remove_all(dir);
  return 0;
}

// A book in a directory of its own, and scripts of its operations for the rows of tests.
#ifndef KAV_EPUB_TESTS_BOOK_SCRIPT_H
#define KAV_EPUB_TESTS_BOOK_SCRIPT_H

#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "builder/epub_base.h"
#include "temp_dir.h"
#include "xml_text.h"

struct Book {
  Book() { Begin("."); }

  int Begin(const std::string& root) {
    epub = std::make_unique<EpubBase>();
    return epub->Init((dir / root).c_str(), "T", "A");
  }
  std::string Path(const std::string& name) const { return dir / ("epub_temp/epub/" + name); }
  std::string Content(const std::string& name) const { return ReadFile(Path(name)); }
  std::string Output() const { return dir / "book.epub"; }
  std::vector<std::string> Paragraphs(int page) const {
    return TextsOf(Content("OEBPS/page-" + std::to_string(page) + ".html"), "p");
  }

  // Does one operation, "NAME ARGUMENT"; files of the argument are below the directory.
  int Do(const std::string& operation) {
    using Operation = int (*)(Book&, const std::string&);
    static const std::map<std::string, Operation> operations = {
        {"begin", [](Book& b, const std::string& a) { return b.Begin(a); }},
        {"fresh", [](Book& b, const std::string&) { return b.epub.reset(new EpubBase), 0; }},
        {"start", [](Book& b, const std::string&) { return b.epub->StartPage(); }},
        {"line",
         [](Book& b, const std::string& a) { return b.epub->AddTextLineToPage(a.c_str()); }},
        {"end", [](Book& b, const std::string&) { return b.epub->EndPage(); }},
        {"cover",
         [](Book& b, const std::string& a) {
           return b.epub->AddCoverImageToEpub((b.dir / a).c_str());
         }},
        {"sheet",
         [](Book& b, const std::string& a) { return b.epub->AddImageToEpub((b.dir / a).c_str()); }},
        {"picture",
         [](Book& b, const std::string& a) { return b.epub->AddImageToPage((b.dir / a).c_str()); }},
        {"cell",
         [](Book& b, const std::string& a) { return b.epub->AddFormToPage(a.c_str(), FormCell); }},
        {"row", [](Book& b, const std::string&) { return b.epub->AddFormToPage("", FormRow); }},
        {"table", [](Book& b, const std::string&) { return b.epub->AddFormToPage("", FormTable); }},
        {"mimetype", [](Book& b, const std::string&) { return b.epub->GenerateMimetypeFile(); }},
        {"css", [](Book& b, const std::string&) { return b.epub->GenerateCSSFile(); }},
        {"rules", [](Book& b, const std::string& a) { return b.epub->AppendPropToCSS(a.c_str()); }},
        {"generate",
         [](Book& b, const std::string& a) { return b.epub->GenerateEpub((b.dir / a).c_str()); }},
        {"clear", [](Book& b, const std::string&) { return b.epub->ClearData(); }},
        {"release", [](Book& b, const std::string&) { return b.epub->Destory(), 0; }},
        {"write", [](Book& b, const std::string& a) { return b.dir.Write(a, "x"), 0; }},
        // A directory that is not empty takes the place of a file of the book, and goes again.
        {"block",
         [](Book& b, const std::string& a) {
           std::filesystem::remove_all(b.Path(a));
           return std::filesystem::create_directories(b.Path(a) + "/x") ? 0 : 1;
         }},
        {"unblock",
         [](Book& b, const std::string& a) {
           return std::filesystem::remove_all(b.Path(a)) > 0 ? 0 : 1;
         }},
    };
    const size_t blank = operation.find(' ');
    const std::string argument = blank == std::string::npos ? "" : operation.substr(blank + 1);
    return operations.at(operation.substr(0, blank))(*this, argument);
  }

  // Does operations separated by "|" and returns the result of the last one.
  int Run(const std::string& script) {
    int result = 0;
    std::istringstream operations(script);
    for (std::string operation; std::getline(operations, operation, '|');) result = Do(operation);
    return result;
  }

  TempDir dir;
  std::unique_ptr<EpubBase> epub;
};

#endif

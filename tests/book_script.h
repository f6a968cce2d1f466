// A book in a directory of its own, and scripts of its operations for the rows of tests.
#ifndef KAV_EPUB_TESTS_BOOK_SCRIPT_H
#define KAV_EPUB_TESTS_BOOK_SCRIPT_H

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "builder/epub_base.h"
#include "data_rows.h"
#include "temp_dir.h"
#include "xml_text.h"

struct Book {
  Book() { Do("begin", "."); }

  std::string Path(const std::string& name) const { return dir / ("epub_temp/epub/" + name); }
  std::string Content(const std::string& name) const { return ReadFile(Path(name)); }
  std::string Output() const { return dir / "book.epub"; }
  std::vector<std::string> Paragraphs(size_t page) const {
    return TextsOf(Content("OEBPS/page-" + std::to_string(page) + ".html"), "p");
  }

  // Does one operation, with null for the argument "null"; "block" puts a directory that is not
  // empty in the place of a file of the book, "unblock" takes it away.
  int Do(const std::string& operation, const std::string& argument) {
    namespace fs = std::filesystem;
    const std::string path = dir / argument;
    const char* const file = argument == "null" ? nullptr : path.c_str();
    const char* const text = argument == "null" ? nullptr : argument.c_str();
    const std::string inBook = Path(argument);
    const std::map<std::string, std::function<int()>> operations = {
        {"begin", [&] { return epub = std::make_unique<EpubBase>(), epub->Init(file, "T", "A"); }},
        {"fresh", [&] { return epub = std::make_unique<EpubBase>(), 0; }},
        {"start", [&] { return epub->StartPage(); }},
        {"line", [&] { return epub->AddTextLineToPage(text); }},
        {"end", [&] { return epub->EndPage(); }},
        {"cover", [&] { return epub->AddCoverImageToEpub(file); }},
        {"sheet", [&] { return epub->AddImageToEpub(file); }},
        {"picture", [&] { return epub->AddImageToPage(file); }},
        {"cell", [&] { return epub->AddFormToPage(argument.c_str(), FormCell); }},
        {"row", [&] { return epub->AddFormToPage("", FormRow); }},
        {"table", [&] { return epub->AddFormToPage("", FormTable); }},
        {"mimetype", [&] { return epub->GenerateMimetypeFile(); }},
        {"css", [&] { return epub->GenerateCSSFile(); }},
        {"rules", [&] { return epub->AppendPropToCSS(text); }},
        {"generate", [&] { return epub->GenerateEpub(file); }},
        {"clear", [&] { return epub->ClearData(); }},
        {"release", [&] { return epub->Destory(), 0; }},
        {"write", [&] { return dir.Write(argument, "x"), 0; }},
        {"block",
         [&] { return fs::remove_all(inBook), fs::create_directories(inBook + "/x") ? 0 : 1; }},
        {"unblock", [&] { return fs::remove_all(inBook) > 0 ? 0 : 1; }},
    };
    return operations.at(operation)();
  }

  // Does operations, "NAME ARGUMENT|NAME ...", and returns the result of the last one. Files of the
  // arguments are below the directory.
  int Run(const std::string& script) {
    int result = 0;
    for (const std::string& operation : Split(script, '|')) {
      const size_t end = std::min(operation.find(' '), operation.size());
      result = Do(operation.substr(0, end), operation.substr(std::min(end + 1, operation.size())));
    }
    return result;
  }

  TempDir dir;
  std::unique_ptr<EpubBase> epub;
};

#endif

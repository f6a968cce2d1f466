// The documents of a book, byte for byte: container, package, navigation and page documents.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <regex>

#include "data_rows.h"
#include "package/xml_file.h"
#include "temp_dir.h"

namespace {

// What a row calls the operations on a document; each takes the rest of its line.
std::uint32_t Do(XMLFile& file, const std::string& operation, const std::string& path) {
  const size_t blank = std::min(operation.find(' '), operation.size());
  const std::string rest = operation.substr(std::min(blank + 1, operation.size()));
  const char* const text = rest == "null" ? nullptr : rest.c_str();
  const std::map<std::string, std::function<std::uint32_t()>> operations = {
      {"title", [&] { return file.InitOpfFile(text, "Anon"), 0; }},
      {"author", [&] { return file.InitOpfFile("", text), 0; }},
      {"record", [&] { return file.AddRecordToOpf(text); }},
      {"cover", [&] { return file.AddCoverToOpf("cover.html", "images/cover.jpg"); }},
      {"save-opf", [&] { return file.SaveOpfFile(path.c_str()); }},
      {"contents", [&] { return file.InitNcxFile(text), 0; }},
      {"entry", [&] { return file.AddRecordToNcx(text); }},
      {"save-ncx", [&] { return file.SaveNcxFile(path.c_str()); }},
      {"page", [&] { return file.InitHTML(text), 0; }},
      {"text", [&] { return file.AddTextLineToHtml(text); }},
      {"image", [&] { return file.AddImageToHtml(text); }},
      {"sheet", [&] { return file.AddImageToXhtml(text); }},
      {"table", [&] { return file.AddFormToHtml("", FormTable); }},
      {"row", [&] { return file.AddFormToHtml("", FormRow); }},
      {"cell", [&] { return file.AddFormToHtml(text, FormCell); }},
      {"nothing", [&] { return file.AddFormToHtml("x", static_cast<FormOperator>(3)); }},
      {"save-page", [&] { return file.SaveHtml(path.c_str()); }},
      {"save-container", [&] { return file.GenerateContainerFile(path.c_str()); }}};
  return operations.at(operation.substr(0, blank))();
}

TEST(PackageDocuments, AreWhatTheirOperationsMakeOfThem) {
  const TempDir dir;
  for (const auto& row : DataRows("package_documents.txt", 3)) {
    SCOPED_TRACE(row[0]);
    XMLFile file;
    for (const std::string& operation : Split(row[1], '|')) {
      EXPECT_EQ(Do(file, operation, dir / "document"), 0U) << operation;
    }
    const std::regex time("id_[0-9]{14}");
    EXPECT_EQ(std::regex_replace(ReadFile(dir / "document"), time, "id_TIME"), row[2]);
  }
}

TEST(PackageDocuments, ReportWhatFails) {
  const TempDir dir;
  for (const auto& row : DataRows("package_codes.txt", 4)) {
    SCOPED_TRACE(row[0] + " " + row[1] + " " + row[2]);
    XMLFile file;
    if (row[0] != "fresh") {
      file.InitOpfFile("", "");
      file.InitNcxFile("");
      file.InitHTML("");
    }
    if (row[0] == "released") file.Destory(), file.Destory();
    EXPECT_EQ(Do(file, row[1], row[2] == "file" ? dir / "x" : row[2]), std::stoul(row[3]));
    EXPECT_EQ(ReadFile(dir / "x"), "");
  }
  XMLFile file;
  file.InitOpfFile("", "");
  EXPECT_EQ(file.SaveOpfFile(nullptr), 411U);
  EXPECT_EQ(file.GenerateContainerFile(nullptr), 411U);
}

}  // namespace

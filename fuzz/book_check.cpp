// Reads a book with libzip and libxml2 and requires that all its parts fit together.
#include "fuzz/book_check.h"

#include <libxml/uri.h>
#include <zip.h>

#include <algorithm>
#include <set>

#include "fuzz/harness.h"

namespace {

constexpr std::string_view kBegin = "mimetypeapplication/epub+zip";
const std::string kRoot = "OEBPS/";

std::string Decoded(const std::string& reference) {
  char* decoded = xmlURIUnescapeString(reference.c_str(), 0, nullptr);
  const std::string text = decoded;
  xmlFree(decoded);
  return text;
}

// What names a page on the web is left as it is, wherever it does that.
bool LeadsOut(const std::string& reference) {
  if (reference.find("http://") != std::string::npos) return true;
  const size_t end = reference.find_first_not_of(
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789+-.");
  return end != std::string::npos && end > 0 && reference[end] == ':';
}

std::set<std::string> Resolved(const std::vector<std::string>& references) {
  std::set<std::string> names;
  for (const std::string& reference : references) names.insert(kRoot + Decoded(reference));
  return names;
}

void CheckLinks(const CheckedBook& book, const std::string& name, const XmlDoc& page) {
  const auto ids = XPathTexts(page, "//@id");
  // Areas of a picture are no links to an import, so they say what they said.
  for (const std::string& reference :
       XPathTexts(page, "//*[local-name()!='area']/@*[local-name()='href'] | //@src")) {
    if (reference.empty() || LeadsOut(reference)) continue;
    const std::string path = reference.substr(0, reference.find('#'));
    const std::string fragment =
        Decoded(reference.substr(std::min(path.size() + 1, reference.size())));
    const bool leads = path.empty() ? std::count(ids.begin(), ids.end(), fragment) == 1
                                    : book.entries.count(kRoot + Decoded(path)) == 1;
    Require(leads, name + ": " + reference + " leads somewhere");
  }
}

}  // namespace

XmlDoc RequiredXml(std::string_view xml, const std::string& name) {
  XmlDoc doc = ParseXml(xml);
  Require(doc != nullptr, name + " is well-formed: " + std::string(xml));
  return doc;
}

Entries ReadArchive(const std::string& path) {
  zip_t* archive = zip_open(path.c_str(), ZIP_CHECKCONS | ZIP_RDONLY, nullptr);
  Require(archive != nullptr, "the book is a container");
  Entries entries;
  const zip_int64_t count = zip_get_num_entries(archive, 0);
  for (zip_int64_t i = 0; i < count; ++i) {
    zip_stat_t status;
    const auto index = static_cast<zip_uint64_t>(i);
    Require(zip_stat_index(archive, index, 0, &status) == 0, "an entry has its data");
    std::string content(status.size, '\0');
    zip_file_t* file = zip_fopen_index(archive, index, 0);
    const bool isRead = file != nullptr && zip_fread(file, content.data(), status.size + 1) ==
                                               static_cast<zip_int64_t>(status.size);
    Require(isRead && zip_fclose(file) == 0, "an entry can be read");
    entries.emplace_back(zip_get_name(archive, index, ZIP_FL_ENC_RAW), content);
  }
  zip_discard(archive);
  return entries;
}

CheckedBook CheckBook(const std::string& path, const std::string& secret) {
  CheckedBook book;
  for (const auto& [name, content] : ReadArchive(path)) {
    Require(book.entries.emplace(name, content).second, name + " is there once");
  }
  Require(ReadFile(path).substr(30, kBegin.size()) == kBegin, "the type comes first, as it is");
  for (const auto& [name, content] : book.entries) {
    Require(content.find(secret) == std::string::npos, name + " holds no secret");
  }
  const auto parsed = [&](const std::string& name) {
    return RequiredXml(book.entries[name], name);
  };
  const auto roots = XPathTexts(parsed("META-INF/container.xml"), "//@full-path");
  Require(roots == std::vector{kRoot + "content.opf"}, "the container file leads to the package");

  const XmlDoc opf = parsed(kRoot + "content.opf");
  const auto hrefs = XPathTexts(opf, "//*[local-name()='item']/@href");
  const auto ids = XPathTexts(opf, "//*[local-name()='item']/@id");
  std::set<std::string> entries = {"mimetype", "META-INF/container.xml", kRoot + "content.opf"};
  entries.merge(Resolved(hrefs));
  std::set<std::string> found;
  for (const auto& [name, content] : book.entries) {
    // Files without an extension have no media type, and are not listed.
    if (name.find('.') != std::string::npos || entries.count(name) == 1) found.insert(name);
  }
  Require(entries == found && entries.size() == hrefs.size() + 3, "what is listed is there, once");
  Require(std::set(ids.begin(), ids.end()).size() == hrefs.size(), "ids differ");
  std::vector<std::string> spine;
  for (const std::string& id : XPathTexts(opf, "//@idref")) {
    const auto at = std::find(ids.begin(), ids.end(), id);
    Require(at != ids.end(), "the spine names items");
    spine.push_back(hrefs[static_cast<size_t>(at - ids.begin())]);
  }
  for (const std::string& href : XPathTexts(opf, "//*[local-name()='reference']/@href")) {
    Require(std::count(hrefs.begin(), hrefs.end(), href) == 1, "the guide names items");
  }

  // A page that is not called ".html" is in the navigation, but not in the spine.
  std::vector<std::string> shown;
  for (const std::string& src : XPathTexts(parsed(kRoot + "toc.ncx"), "//@src")) {
    book.pages.push_back(kRoot + Decoded(src));
    if (src.ends_with(".html")) shown.push_back(src);
  }
  std::erase(spine, "cover.html");
  Require(shown == spine, "the navigation is the spine");
  for (const std::string& name : book.pages) {
    Require(book.entries.count(name) == 1, "the navigation names entries");
    CheckLinks(book, name, parsed(name));
  }
  return book;
}

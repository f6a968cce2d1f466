// A small site as a book of the reader's edition: the book is sound, its pages are valid XHTML, and
// nothing in it runs, leads nowhere or comes from elsewhere.
#include <libxml/parser.h>
#include <libxml/valid.h>

#include <algorithm>
#include <map>
#include <set>

#include "edition/kavepub.h"
#include "fuzz/book_check.h"
#include "fuzz/harness.h"
#include "xml/xml_base.h"

namespace {

const std::string kRoot = "OEBPS/";

bool MakeBook(const std::vector<std::string>& pages, const std::string& path) {
  kavepub_job* job = kavepub_job_new();
  for (const std::string& page : pages) kavepub_job_add_path(job, page.c_str());
  kavepub_job_set_option(job, "cover", "none");
  kavepub_job_set_option(job, "threads", "1");
  kavepub_job_set_output_path(job, path.c_str());
  const int code = kavepub_job_run(job);
  const std::string error = kavepub_job_error(job);
  Require(code == KAVEPUB_OK || code == KAVEPUB_E_FORMAT, "pages become a book: " + error);
  kavepub_job_free(job);
  return code == KAVEPUB_OK;
}

xmlDtd* Dtd() {
  static xmlDtd* const dtd = [] {
    xmlParserInputBuffer* input = xmlParserInputBufferCreateMem(
        kXhtml1StrictDtd[0], static_cast<int>(std::string_view(kXhtml1StrictDtd[0]).size()),
        XML_CHAR_ENCODING_NONE);
    return xmlIOParseDTD(nullptr, input, XML_CHAR_ENCODING_NONE);
  }();
  return dtd;
}

void Replace(std::string& text, std::string_view old, std::string_view by) {
  for (size_t at = 0; (at = text.find(old, at)) != std::string::npos; at += by.size()) {
    text.replace(at, old.size(), by);
  }
}

// In XHTML 1.1, a listing may hold what a paragraph may.
void CheckValidity(std::string page, const std::string& name) {
  Replace(page, "<pre", "<p");
  Replace(page, "</pre>", "</p>");
  const XmlDoc doc = RequiredXml(page, name);
  xmlValidCtxtPtr context = xmlNewValidCtxt();
  context->error = nullptr;
  context->warning = nullptr;
  const bool isValid = xmlValidateDtd(context, doc.get(), Dtd()) == 1;
  xmlFreeValidCtxt(context);
  Require(isValid, name + " is valid: " + page);
}

void CheckStillness(const XmlDoc& doc, const std::string& name) {
  Require(XPathTexts(doc, "//*[local-name()='script' or local-name()='foreignObject']").empty(),
          name + " has no scripts");
  Require(XPathTexts(doc, "//@*[starts-with(local-name(), 'on')]").empty(), name + " does nothing");
  for (const std::string& link : XPathTexts(doc, "//@*[local-name()='href'] | //@src | //@style")) {
    Require(link.find("javascript:") == std::string::npos, name + " runs nothing: " + link);
    Require(link.find("expression") == std::string::npos || link.find('/') != std::string::npos,
            name + " has no expressions: " + link);
  }
}

bool LeadsOut(const std::string& link) {
  const size_t colon = link.find(':');
  return colon != std::string::npos && link.find('/') > colon;
}

class Checker {
 public:
  explicit Checker(const std::string& path) {
    for (const auto& [name, content] : ReadArchive(path)) {
      Require(entries.emplace(name, content).second, name + " is there once");
    }
  }

  void Run(const std::string& secret) {
    for (const auto& [name, content] : entries) {
      Require(content.find(secret) == std::string::npos, name + " holds no secret");
      const bool isPage = name.ends_with(".xhtml");
      if (!isPage && !name.ends_with(".svg") && !name.ends_with(".ncx")) continue;
      const XmlDoc doc = RequiredXml(content, name);
      CheckStillness(doc, name);
      if (!name.ends_with(".svg")) CheckLinks(doc, name);
      if (isPage) CheckValidity(content, name);
    }
  }

 private:
  void CheckLinks(const XmlDoc& doc, const std::string& name) {
    for (const std::string& link : XPathTexts(doc, "//@href | //@src")) {
      if (LeadsOut(link)) continue;
      const size_t mark = std::min(link.find('#'), link.size());
      const std::string target = mark == 0 ? name : kRoot + link.substr(0, mark);
      Require(entries.count(target) == 1, name + ": " + link + " leads somewhere");
      if (mark == link.size()) continue;
      Require(IdsOf(target).count(link.substr(mark + 1)) == 1, link + " has a place");
    }
  }

  const std::set<std::string>& IdsOf(const std::string& name) {
    const auto [known, isNew] = ids.try_emplace(name);
    if (isNew) {
      for (std::string& id : XPathTexts(ParseXml(entries[name]), "//@id")) {
        known->second.insert(std::move(id));
      }
    }
    return known->second;
  }

  std::map<std::string, std::string> entries;
  std::map<std::string, std::set<std::string>> ids;
};

}  // namespace

void Fuzz(const std::string& input, Sandbox& box) {
  std::vector<std::string> files = box.Plant("site", input);
  if (files.empty()) return;
  for (std::string& file : files) file = box / file;
  const std::string path = box / "out/book.epub";
  files.resize(1);
  if (!files.front().ends_with(".html")) return;
  if (MakeBook(files, path)) Checker(path).Run(box.Secret());
  box.RequireEmpty("work");
}

// One XML document over libxml2: building by node paths, saving, and the clean-up of foreign HTML.
//
// Strings are NUL-terminated. Texts and attribute values may hold any bytes: what is not UTF-8
// becomes U+FFFD and what XML 1.0 forbids is dropped, so that every document saved is well-formed.
// Result codes are those of result_codes.h, unsigned here. An object is used by one thread at a
// time.
//
// A node path is a list of element names separated by "/" (or by "\" in a path without any "/"). A
// name matches at any depth below the element before it. With a "-" anywhere in the path the first
// match is taken, and "tr-3" names the third "tr" among siblings; without one the newest match is.
#ifndef KAV_EPUB_XML_BASE_H
#define KAV_EPUB_XML_BASE_H

#include <libxml/tree.h>
#include <libxml/valid.h>
#include <libxml/xpath.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "../fileutil/export.h"
#include "../fileutil/result_codes.h"

// One attribute of a new element and the link to the next one; both texts end in a NUL.
struct XMLAttrInfo {
  char name[256];
  char value[256];
  XMLAttrInfo* next;
};

// An attribute of any length.
struct XmlAttribute {
  const char* name;
  const char* value;
};

// The record of a running HTML clean-up.
struct TRepairState;

class DtdCache;
class XhtmlRepair;

// The XHTML 1.0 Strict DTD without its character entities, followed by null.
KAV_EPUB_API extern const char* const kXhtml1StrictDtd[2];

// One XML document.
class KAV_EPUB_API XMLBase {
 public:
  XMLBase();
  virtual ~XMLBase();
  XMLBase(const XMLBase&) = delete;
  XMLBase& operator=(const XMLBase&) = delete;

  // Releases the document ahead of the destructor; the object then holds none.
  void Destroy();

  // Creates an empty document, with the XHTML 1.1 document type declaration or without any. A
  // former document is released. EPUB_E_CREATE_DOCUMENT when memory runs out.
  std::uint32_t Init();
  std::uint32_t InitForOpf();

  // Appends an element, with the attributes of the chain in its order, to the element at
  // parentPath; with a null parentPath it becomes the root, in place of a former one. Without a
  // document the root stands alone, is found by paths and is never saved. EPUB_E_ARGUMENT when name
  // is no XML name; EPUB_E_NOT_FOUND when there is no such parent; EPUB_E_CREATE_DOCUMENT when
  // memory runs out for the root.
  std::uint32_t AddXMLNode(const char* parentPath, const char* name, XMLAttrInfo* attrs);
  KAV_EPUB_LOCAL std::uint32_t AddElement(const char* parentPath, const char* name,
                                          std::initializer_list<XmlAttribute> attrs = {});

  // Replaces all content of the element at path by text. References in it ("&amp;", "&#38;",
  // "&eacute;") become their characters; any other "&" stands for itself. EPUB_E_ARGUMENT without a
  // path, EPUB_E_NOT_FOUND when it names nothing.
  std::uint32_t AddTextToNode(const char* path, const char* text);

  // Sets one attribute of the element at path, in place of a former value; "&" stands for itself.
  // Nothing is set when name is no XML name. Results as for AddTextToNode.
  std::uint32_t SetNodeAttribute(const char* path, const char* name, const char* value);

  // The first element that path names, among start and its following siblings; null when none.
  xmlNode* FindNode(xmlNode* start, const char* path);

  // The newest element that path names at or below start; null when none. A path of one name is
  // first tried on the neighbours of the element found last, wherever that is.
  xmlNode* FindLastNode(xmlNode* start, const char* path);

  // Writes the document as unindented UTF-8. EPUB_E_ARGUMENT without a file name,
  // EPUB_E_NO_DOCUMENT without a document, EPUB_E_WRITE when the file does not take all of it or
  // memory ran out before.
  std::uint32_t SaveFile(const char* fileName);

  // The non-empty node set that an XPath expression selects in a document, to be released with
  // xmlXPathFreeObject; null when it selects nothing.
  static xmlXPathObject* GetNodeSet(xmlDoc* doc, const xmlChar* xpath);

  // A new "head" element, in no document, with the title and a link to the book's style sheet; null
  // when memory runs out.
  static xmlNode* GenerateHeadNode(const char* title);

  // Deletes all comments and CDATA sections at or below first and its following siblings, except
  // below elements named "comment". EPUB_E_NOT_FOUND when first is null.
  std::uint32_t DelCommentNode(xmlNode* first);

  // Deletes a node with all below it. Always EPUB_OK.
  std::uint32_t DelNode(xmlNode* node);

  // Replaces a pattern, from the end of the text to its beginning; what is put in is not searched
  // again, but an occurrence before it may run into it. length characters go at each occurrence.
  // Changes and returns text.
  static std::string& ReplaceString(std::string& text, const char* pattern, int length,
                                    const char* replacement);

  // Decodes the URL escapes of blanks and of the characters !#$&'()*+,/:;=?@[]; no others. Changes
  // and returns text.
  static std::string& PercentEncoding(std::string& text);

  // Takes a foreign HTML file into the document, made by Init: a new head with the title, and the
  // file's body as XHTML 1.0 Strict. An object is meant for one page: a second call is safe and
  // replaces the page, but what was registered stays. The ids of the first page count as taken, its
  // local files are still handed out, and the head that comes after its body is emptied.
  // Local files that the page refers to are looked for in
  // sourceDir and handed out by GetXhtmlExternSource. EPUB_E_NO_DOCUMENT without a document;
  // EPUB_E_OPEN when the file cannot be read or parsed; EPUB_E_NOT_FOUND when it has no root
  // element or body; EPUB_E_MISSING when there is no DTD at dtdPath; EPUB_E_VALIDATION or
  // std::bad_alloc when memory runs out.
  int HtmlProcess(const char* htmlPath, const char* sourceDir, const char* title,
                  const char* dtdPath);

  // The path of a local file that the page refers to, relative to its directory, each once, the
  // last one found first: a new string for the caller to free(). Null when there are no more.
  char* GetXhtmlExternSource();

  // Validate a document, or a node with all below it, against the DTD and repair what fails. 1 when
  // all was valid, else 0. What has to go is deleted at the end of HtmlProcess only.
  int xhtmlValidateDtd(xmlValidCtxt* ctxt, xmlDoc* doc, xmlDtd* dtd);
  int xhtmlValidateElement(xmlValidCtxt* ctxt, xmlDoc* doc, xmlNode* node);

  // The handlers of the validation: the error handler repairs the node of libxml2's last error; ctx
  // is the record of the running clean-up.
  static void PrintError(void* ctx, const char* msg, ...);
  static void PrintWarning(void* ctx, xmlError* error);

  // Rewrites the HTML of a MOBI book in place: an img with a "recindex" of k gets images[k] as its
  // source, or goes when there is none; the first "image" element becomes an img with images[0];
  // nested "html" elements go. Without images nothing is done. EPUB_E_MISSING when the file does
  // not exist; EPUB_E_OPEN when it cannot be parsed or holds no element; EPUB_E_MOBI_HTML when it
  // cannot be written.
  static int MobiHtmlProcess(const char* htmlPath, const char* encoding,
                             std::vector<std::string>& images);

  // For HtmlProcess: decides which paths are local files, in place of "every regular file"; reads
  // the page itself, as UTF-8; and keeps the DTD between pages.
  using FileTest = std::function<bool(const std::string& path)>;
  using FileReader = std::function<std::optional<std::string>(const char* path)>;
  KAV_EPUB_LOCAL void SetImport(FileTest isLocal, FileReader reader, DtdCache* cache);

  // Points the links and pictures of the page to what its local files are called in the book: by
  // the order in which GetXhtmlExternSource hands them out, all of which must still be there.
  KAV_EPUB_LOCAL void PointLinks(const std::vector<std::string>& references);

  // Turns the links of a saved page to any of the references into marked text, and those to ids
  // that go with them. False when the file could not be read or, if it has such links, written
  // again.
  KAV_EPUB_LOCAL static bool NeutralizeLinks(const std::string& path,
                                             const std::unordered_set<std::string>& references);

 private:
  friend class XhtmlRepair;

  KAV_EPUB_LOCAL std::uint32_t AppendElement(const char* parentPath, const char* name,
                                             xmlNode*& element);
  KAV_EPUB_LOCAL xmlNode* FindByRule(const char* path);
  KAV_EPUB_LOCAL xmlNode* FindBesideLast(const std::string& name);
  KAV_EPUB_LOCAL void ForgetBelow(const xmlNode* node);
  KAV_EPUB_LOCAL void ForgetNodes();
  KAV_EPUB_LOCAL void FreeLooseRoot();

  KAV_EPUB_LOCAL bool IsLocalFile(const std::string& path) const;
  KAV_EPUB_LOCAL void MarkLink(xmlNode* node);
  KAV_EPUB_LOCAL int MakePage(const char* htmlPath, const char* sourceDir, const char* title,
                              const char* dtdPath);
  KAV_EPUB_LOCAL int TakeOverBody(const char* htmlPath, const char* title, xmlNode*& body);
  KAV_EPUB_LOCAL int Repair(xmlDtd* dtd, xmlNode* body);
  KAV_EPUB_LOCAL void NeutralizeDeadFragments(const std::unordered_set<xmlNode*>& deleted);

  xmlDoc* doc = nullptr;
  xmlNode* root = nullptr;
  // The directory part of the last local reference.
  std::string resourceDir;
  // The attribute whose value is being validated.
  xmlAttr* currentAttr = nullptr;
  // The local files that the page refers to, and the links that hold a "#".
  std::vector<std::string> externSources;
  std::vector<xmlNode*> anchorLinks;
  TRepairState* repairState = nullptr;
  // The directory of the HTML file.
  std::string baseDir;
  // The ids of the page, with their parts that count as ids too, and their elements.
  std::unordered_set<std::string> knownIds;
  std::unordered_set<const xmlNode*> idOwners;
  std::int32_t inBody = 0;
  // For each element that refers to a local file: the number of that file, counted from 1.
  std::deque<size_t> linkMarks;
  FileTest isLocalFile;
  FileReader readPage;
  DtdCache* dtdCache = nullptr;
  xmlNode* lastFound = nullptr;
  // The newest element of each name that was looked up and not added since, as a full search from
  // the root finds it: a book of n pages looks up the same few elements n times.
  std::unordered_map<std::string, xmlNode*> newest;
  // Memory ran out while something was added: the document must not be taken for whole.
  bool incomplete = false;
};

#endif

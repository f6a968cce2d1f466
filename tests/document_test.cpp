// The document wrapper: its codes, the gate for texts and attribute values, the files it saves.
#include <gtest/gtest.h>
#include <libxml/xmlerror.h>

#include <filesystem>

#include "temp_dir.h"
#include "xml/xml_base.h"
#include "xml_text.h"

namespace {

using namespace std::string_literals;

constexpr char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

const xmlChar* Xml(const char* text) {
  return reinterpret_cast<const xmlChar*>(text);
}

// An attribute list from names and values; each record links to the next.
struct Attributes {
  explicit Attributes(std::initializer_list<std::pair<const char*, std::string>> list)
      : records(list.size()) {
    size_t i = 0;
    for (const auto& [name, value] : list) {
      snprintf(records[i].name, sizeof records[i].name, "%s", name);
      snprintf(records[i].value, sizeof records[i].value, "%s", value.c_str());
      records[i].next = i + 1 < records.size() ? &records[i + 1] : nullptr;
      ++i;
    }
  }
  XMLAttrInfo* Head() { return records.data(); }
  std::vector<XMLAttrInfo> records;
};

// The saved file without its declaration and final line feed.
std::string Saved(XMLBase& base) {
  const TempDir dir;
  EXPECT_EQ(base.SaveFile((dir / "saved.xml").c_str()), 0U);
  const std::string file = ReadFile(dir / "saved.xml");
  EXPECT_EQ(file.substr(0, sizeof kDeclaration - 1), kDeclaration);
  EXPECT_EQ(file.back(), '\n');
  return file.substr(sizeof kDeclaration - 1, file.size() - sizeof kDeclaration);
}

struct TextCase {
  const char* name;
  std::string text;
  std::string content;    // of the element, as saved
  std::string attribute;  // as saved; "" when it is as the content, or each "&" stands for itself
};

const TextCase kTextCases[] = {
    {"empty", "", "", ""},
    {"plain", "Hello", "Hello", ""},
    {"markup", "<b>\"']]>", "&lt;b&gt;\"']]&gt;", "&lt;b&gt;&quot;']]&gt;"},
    {"escaped ampersand", "A &amp; B", "A &amp; B", ""},
    {"escaped once, not again", "&amp;lt;", "&amp;lt;", ""},
    {"predefined", "&lt;&gt;&quot;&apos;", "&lt;&gt;\"'", ""},
    {"decimal", "&#228;", "ä", ""},
    {"hexadecimal", "&#xE4;&#x1F600;", "ä😀", ""},
    {"HTML name", "&eacute;&nbsp;&thetasym;", "é\u00A0ϑ", ""},
    {"unterminated", "a &b", "a &amp;b", ""},
    {"unterminated and a reference", "&amp &amp;", "&amp;amp &amp;", ""},
    {"unterminated at the end", "AT&", "AT&amp;", ""},
    {"unknown name", "&nothing;&thetasymthetasym;", "&amp;nothing;&amp;thetasymthetasym;", ""},
    {"no digits", "&#;&#x;&;&#-1;", "&amp;#;&amp;#x;&amp;;&amp;#-1;", ""},
    {"capital X is no reference", "&#X41;", "&amp;#X41;", ""},
    {"forbidden references", "a&#0;b&#1;c&#xD800;d&#xFFFF;e", "abcde", ""},
    {"references beyond Unicode", "a&#x110000;b&#99999999999999;c", "abc", ""},
    {"control characters", "a\x01\x08\x0B\x0C\x0E\x1Fz\x7F", "az\x7F", ""},
    {"white space", "\t\n\r", "\t\n&#13;", "&#9;&#10;&#13;"},
    {"2, 3 and 4 bytes", "é漢😀", "é漢😀", ""},
    {"not characters", "a\xEF\xBF\xBE\xEF\xBF\xBFz", "az", ""},
    {"lone bytes", "a\x80\xC3z\xFF", "a\uFFFD\uFFFDz\uFFFD", ""},
    {"overlong", "\xC0\xAF\xE0\x9F\xBF", "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD", ""},
    {"overlong, 4 bytes", "\xF0\x8F\xBF\xBF", "\uFFFD\uFFFD\uFFFD\uFFFD", ""},
    {"surrogate", "\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD", ""},
    {"beyond Unicode", "\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD", ""},
    {"cut characters", "\xF0\x9F\x98z\xE6\xBC", "\uFFFDz\uFFFD", ""},
};

std::string WithAmpersandsEscaped(std::string text) {
  for (size_t at = 0; (at = text.find('&', at)) != std::string::npos; ++at) {
    text.replace(at, 1, "&amp;");
  }
  return text;
}

TEST(Document, TakesAnyTextThroughOneGate) {
  for (const auto& [name, text, content, attribute] : kTextCases) {
    SCOPED_TRACE(name);
    XMLBase base;
    base.InitForOpf();
    base.AddXMLNode(nullptr, "r", Attributes({{"k", text}}).Head());
    ASSERT_EQ(base.SetNodeAttribute("r", "l", text.c_str()), 0U);
    ASSERT_EQ(base.AddTextToNode("r", "former &"), 0U);
    ASSERT_EQ(base.AddTextToNode("r", text.c_str()), 0U);
    const std::string value = !attribute.empty()                    ? attribute
                              : text.find('&') != std::string::npos ? WithAmpersandsEscaped(text)
                                                                    : content;
    const std::string xml = Saved(base);
    EXPECT_EQ(xml, "<r k=\"" + value + "\" l=\"" + value +
                       (content.empty() ? "\"/>" : "\">" + content + "</r>"));
    EXPECT_NE(ParseXml(xml), nullptr);
  }
}

TEST(Document, EveryByteMakesAWellFormedDocument) {
  for (int first = 1; first < 256; ++first) {
    const std::string text = {'<', static_cast<char>(first), '&', static_cast<char>(first ^ 0x55)};
    XMLBase base;
    base.Init();
    base.AddXMLNode(nullptr, "r", Attributes({{"k", text}}).Head());
    base.AddTextToNode("r", text.c_str());
    EXPECT_NE(ParseXml(Saved(base)), nullptr) << "byte " << first;
  }
}

TEST(Document, BuildsElementsInOrder) {
  XMLBase base;
  ASSERT_EQ(base.InitForOpf(), 0U);
  EXPECT_EQ(Saved(base), "");
  EXPECT_EQ(base.AddXMLNode(nullptr, "old", nullptr), 0U);
  EXPECT_EQ(base.AddTextToNode("old", "gone with it"), 0U);
  Attributes attributes(
      {{"z", "1"}, {"xmlns", "u"}, {"xmlns:p", "v"}, {"a", ""}, {"xml:lang", "en"}, {"z", "2"}});
  EXPECT_EQ(base.AddXMLNode(nullptr, "package", attributes.Head()), 0U) << "replaces the root";
  EXPECT_EQ(base.AddXMLNode("old", "x", nullptr), 415U);
  EXPECT_EQ(base.AddXMLNode("package", "p:one", nullptr), 0U);
  EXPECT_EQ(base.AddXMLNode("package", "two", nullptr), 0U);
  EXPECT_EQ(base.AddXMLNode("p:one", "in", nullptr), 0U);
  EXPECT_EQ(base.AddXMLNode("package", "two", nullptr), 0U);
  EXPECT_EQ(base.AddTextToNode("two", "newest"), 0U);
  EXPECT_EQ(base.AddTextToNode("two-1", "first"), 0U);
  EXPECT_EQ(base.SetNodeAttribute("in", "k", "1"), 0U);
  EXPECT_EQ(base.SetNodeAttribute("in", "k", "2"), 0U);
  EXPECT_EQ(Saved(base),
            "<package z=\"2\" xmlns=\"u\" xmlns:p=\"v\" a=\"\" xml:lang=\"en\"><p:one><in k=\"2\"/>"
            "</p:one><two>first</two><two>newest</two></package>");
  EXPECT_EQ(base.AddTextToNode("package", "all"), 0U) << "replaces all children";
  EXPECT_EQ(base.AddXMLNode("two", "x", nullptr), 415U);
  EXPECT_EQ(base.Init(), 0U);
  EXPECT_EQ(base.AddXMLNode("package", "x", nullptr), 415U);
  EXPECT_EQ(base.AddXMLNode(nullptr, "html", nullptr), 0U);
  EXPECT_EQ(Saved(base),
            "<!DOCTYPE html PUBLIC \"-//W3C//DTD XHTML 1.1//EN\" "
            "\"http://www.w3.org/TR/xhtml11/DTD/xhtml11.dtd\">\n<html/>");
}

struct CodeCase {
  char operation;  // 'e'lement below, 't'ext, 'a'ttribute, 's'ave; a capital without a document
  const char* first;
  const char* second;
  std::uint32_t expected;
};

constexpr CodeCase kCodeCases[] = {
    {'e', "r", nullptr, 411},     {'e', "r", "", 411},
    {'e', nullptr, "", 411},      {'e', "r", "a b>", 411},
    {'e', "r", "a\xFF\xC3", 411}, {'e', "r", "1", 411},
    {'e', "", "a", 415},          {'e', "x", "a", 415},
    {'e', "r-2", "a", 415},       {'E', "r", "a", 415},
    {'E', nullptr, "a", 401},     {'e', nullptr, "a", 0},
    {'t', nullptr, "a", 411},     {'t', "", "a", 411},
    {'t', "x", "a", 415},         {'t', "r", nullptr, 0},
    {'T', "r", "a", 415},         {'a', "", "a", 411},
    {'a', nullptr, "a", 411},     {'a', "x", "a", 415},
    {'a', "r", "a b", 411},       {'a', "r", nullptr, 411},
    {'A', "r", "a", 415},         {'s', nullptr, "", 411},
    {'s', "", "", 411},           {'S', "", "", 411},
    {'S', "/tmp/x", "", 416},     {'s', "/nonexistent/x", "", 413},
    {'s', "/tmp", "", 413},       {'s', "/dev/full", "", 413},
};

TEST(Document, ReportsWhatFails) {
  for (const CodeCase& row : kCodeCases) {
    SCOPED_TRACE(row.operation + (row.first == nullptr ? "null"s : row.first));
    XMLBase base;
    base.InitForOpf();
    base.AddXMLNode(nullptr, "r", nullptr);
    if (std::isupper(row.operation) != 0) base.Destroy();
    const int operation = std::tolower(row.operation);
    EXPECT_EQ(operation == 'e'   ? base.AddXMLNode(row.first, row.second, nullptr)
              : operation == 't' ? base.AddTextToNode(row.first, row.second)
              : operation == 'a' ? base.SetNodeAttribute(row.first, row.second, nullptr)
                                 : base.SaveFile(row.first),
              row.expected);
  }
  EXPECT_EQ(XMLBase().DelCommentNode(nullptr), 415U);
}

TEST(Document, SavesUnderTheNameGiven) {
  const TempDir dir;
  std::filesystem::create_directory(dir / "a b");  // what "a%20b" would name, were it a URI
  XMLBase base;
  base.InitForOpf();
  base.AddXMLNode(nullptr, "r", nullptr);
  EXPECT_EQ(base.SaveFile((dir / "a%20b/x.xml").c_str()), 413U);
  for (const char* name :
       {"a%20b.xml", "a b/x y.xml", "%.xml", "&\"'<é.xml", "file:x.xml", "x.xml"}) {
    EXPECT_EQ(base.SaveFile((dir / name).c_str()), 0U) << name;
    EXPECT_EQ(ReadFile(dir / name), kDeclaration + "<r/>\n"s) << name;
  }
  EXPECT_EQ(base.SaveFile((dir / "x.xml").c_str()), 0U);
}

int heard = 0;
void Hear(void* /*context*/, const char* /*format*/, ...) {
  ++heard;
}
void HearStructured(void* /*context*/, xmlError* /*error*/) {
  ++heard;
}

void ProvokeLibxml2() {
  XMLBase base;
  base.Init();
  base.AddXMLNode(nullptr, "r", nullptr);
  base.AddXMLNode("r", "a\xFF", nullptr);
  base.AddXMLNode("r", "\xF8\x80", nullptr);
  base.AddTextToNode("r", "&unterminated \xFF &unknown; \x01");
  base.SetNodeAttribute("r", "\xC3", "\xFF&");
  base.SaveFile("/nonexistent/x.xml");
  base.SaveFile("/dev/full");
  const XmlDoc doc = ParseXml("<r/>");
  EXPECT_EQ(XMLBase::GetNodeSet(doc.get(), Xml("//[")), nullptr);
  EXPECT_EQ(XMLBase::GetNodeSet(doc.get(), Xml("p:q()")), nullptr);
}

TEST(Document, LeavesTheHostsLibxml2AloneAndPrintsNothing) {
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  ProvokeLibxml2();
  int context = 0;
  xmlSetGenericErrorFunc(&context, Hear);
  ProvokeLibxml2();
  xmlSetStructuredErrorFunc(&context, HearStructured);
  ProvokeLibxml2();
  EXPECT_EQ(heard, 0);
  EXPECT_EQ(xmlGenericError, Hear);
  EXPECT_EQ(xmlGenericErrorContext, &context);
  EXPECT_EQ(xmlStructuredError, HearStructured);
  EXPECT_EQ(xmlStructuredErrorContext, &context);
  xmlSetGenericErrorFunc(nullptr, nullptr);
  xmlSetStructuredErrorFunc(nullptr, nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr() + testing::internal::GetCapturedStdout(), "");
}

struct CommentCase {
  const char* name;
  const char* before;
  const char* after;
};

constexpr CommentCase kCommentCases[] = {
    {"at several depths", "<r><!--1--><a>x<!--2--><b><!--3--></b></a></r>", "<r><a>x<b/></a></r>"},
    {"CDATA", "<r><![CDATA[x]]><a>y<![CDATA[z]]></a></r>", "<r><a>y</a></r>"},
    {"except below 'comment'", "<r><comment><!--1--><a><!--2--></a></comment><!--3--></r>",
     "<r><comment><!--1--><a><!--2--></a></comment></r>"},
    {"nothing else", "<r><?comment x?>a<b/></r>", "<r><?comment x?>a<b/></r>"},
};

TEST(Document, DeletesComments) {
  for (const CommentCase& row : kCommentCases) {
    SCOPED_TRACE(row.name);
    for (const bool fromDocument : {false, true}) {
      const XmlDoc doc = ParseXml(row.before);
      auto* start = fromDocument ? reinterpret_cast<xmlNode*>(doc.get()) : doc->children;
      EXPECT_EQ(XMLBase().DelCommentNode(start), 0U);
      xmlChar* dump = nullptr;
      int size = 0;
      xmlDocDumpMemory(doc.get(), &dump, &size);
      EXPECT_EQ(reinterpret_cast<char*>(dump), "<?xml version=\"1.0\"?>\n"s + row.after + "\n");
      xmlFree(dump);
    }
  }
}

TEST(Document, TreeUtilities) {
  const XmlDoc doc = ParseXml("<r><a/><b/><a/></r>");
  xmlXPathObject* found = XMLBase::GetNodeSet(doc.get(), Xml("//a"));
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->nodesetval->nodeNr, 2);
  EXPECT_EQ(found->nodesetval->nodeTab[1], doc->children->last);
  xmlXPathFreeObject(found);
  for (const char* nothing : {"//x", "1 + 1", "string(//a)"}) {
    EXPECT_EQ(XMLBase::GetNodeSet(doc.get(), Xml(nothing)), nullptr) << nothing;
  }
  EXPECT_EQ(XMLBase::GetNodeSet(nullptr, Xml("//a")), nullptr);
  EXPECT_EQ(XMLBase().DelNode(doc->children->last), 0U);
  EXPECT_EQ(doc->children->last->prev, doc->children->children);

  xmlNode* head = XMLBase::GenerateHeadNode("A &amp; B < C");
  xmlBuffer* buffer = xmlBufferCreate();
  xmlNodeDump(buffer, nullptr, head, 0, 0);
  EXPECT_STREQ(reinterpret_cast<const char*>(xmlBufferContent(buffer)),
               "<head><title>A &amp; B &lt; C</title>"
               "<link rel=\"stylesheet\" type=\"text/css\" href=\"main.css\"/></head>");
  xmlBufferFree(buffer);
  xmlFreeNode(head);
}

}  // namespace

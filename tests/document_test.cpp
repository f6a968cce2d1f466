// The document wrapper: its codes, the gate for texts and attribute values, the files it saves.
#include <gtest/gtest.h>
#include <libxml/xmlerror.h>

#include <filesystem>

#include "data_rows.h"
#include "temp_dir.h"
#include "xml/xml_base.h"
#include "xml_text.h"

namespace {

using namespace std::string_literals;

constexpr char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

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

TEST(Document, TakesAnyTextThroughOneGate) {
  for (const auto& row : DataRows("xml_texts.txt", 4)) {
    SCOPED_TRACE(row[0]);
    const auto& [text, content, value] = std::tie(row[1], row[2], row[3]);
    XMLBase base;
    base.InitForOpf();
    base.AddXMLNode(nullptr, "r", Attributes({{"k", text}}).Head());
    ASSERT_EQ(base.SetNodeAttribute("r", "l", text.c_str()), 0U);
    ASSERT_EQ(base.AddTextToNode("r", "former &"), 0U);
    ASSERT_EQ(base.AddTextToNode("r", text.c_str()), 0U);
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

TEST(Document, ReportsWhatFails) {
  for (const auto& row : DataRows("document_codes.txt", 4)) {
    SCOPED_TRACE(row[0] + " " + row[1] + " " + row[2]);
    const std::string operation = row[0].substr(row[0][0] == '!' ? 1 : 0);
    const char* first = row[1] == "null" ? nullptr : row[1].c_str();
    const char* second = row[2] == "null" ? nullptr : row[2].c_str();
    XMLBase base;
    base.InitForOpf();
    base.AddXMLNode(nullptr, "r", nullptr);
    if (row[0][0] == '!') base.Destroy();
    EXPECT_EQ(operation == "element"     ? base.AddXMLNode(first, second, nullptr)
              : operation == "text"      ? base.AddTextToNode(first, second)
              : operation == "attribute" ? base.SetNodeAttribute(first, second, nullptr)
                                         : base.SaveFile(first),
              std::stoul(row[3]));
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
  const TempDir dir;
  const std::string html = dir.Write("x.html", "<p nonsense=1><font>x</font>&nope; <b></i></p>");
  const std::string dtd = dir.Write("dtd", kXhtml1StrictDtd[0]);
  EXPECT_EQ(base.HtmlProcess(html.c_str(), dir.String().c_str(), "t", dtd.c_str()), 0);
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

TEST(Document, DeletesComments) {
  for (const auto& row : DataRows("comments.txt", 3)) {
    for (const bool fromDocument : {false, true}) {
      const XmlDoc doc = ParseXml(row[1]);
      auto* start = fromDocument ? reinterpret_cast<xmlNode*>(doc.get()) : doc->children;
      EXPECT_EQ(XMLBase().DelCommentNode(start), 0U);
      EXPECT_EQ(Written(doc), "<?xml version=\"1.0\"?>\n" + row[2] + "\n") << row[0];
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

  const XmlDoc page(xmlNewDoc(Xml("1.0")));
  xmlDocSetRootElement(page.get(), XMLBase::GenerateHeadNode("A &amp; B < C"));
  EXPECT_EQ(Written(page),
            "<?xml version=\"1.0\"?>\n<head><title>A &amp; B &lt; C</title>"
            "<link rel=\"stylesheet\" type=\"text/css\" href=\"main.css\"/></head>\n");
}

}  // namespace

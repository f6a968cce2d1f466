// Node paths: which element a path names, and at what cost.
#include <gtest/gtest.h>

#include <random>

#include "temp_dir.h"
#include "xml/xml_base.h"
#include "xml_text.h"

namespace {

const xmlChar* Xml(const std::string& text) {
  return reinterpret_cast<const xmlChar*>(text.c_str());
}

// The "id" of an element: "none" for a null one.
std::string IdOf(xmlNode* node) {
  if (node == nullptr) return "none";
  xmlChar* id = xmlGetProp(node, Xml("id"));
  std::string text = id == nullptr ? "(no id)" : reinterpret_cast<const char*>(id);
  xmlFree(id);
  return text;
}

struct PathCase {
  const char* name;
  const char* document;
  const char* path;
  const char* first;  // what FindNode finds from the root, by its id
  const char* last;   // what FindLastNode finds
};

constexpr char kTable[] =
    "<t id='t'><tr id='1'><td id='1a'/><td id='1b'/></tr><tr id='2'><td id='2a'/><td id='2b'/></tr>"
    "<tr id='3'><td id='3a'/><td id='3b'/></tr></t>";

constexpr PathCase kPathCases[] = {
    {"the root itself", kTable, "t", "t", "t"},
    {"any depth", kTable, "td", "1a", "3b"},
    {"first among siblings", kTable, "tr-1", "1", "none"},
    {"third among siblings", kTable, "tr-3", "3", "none"},
    {"beyond the last", kTable, "tr-4", "none", "none"},
    {"index 0", kTable, "tr-0", "none", "none"},
    {"negative index", kTable, "tr--1", "none", "none"},
    {"index without digits", kTable, "tr-x", "none", "none"},
    {"index with an end", kTable, "tr-2x", "2", "none"},
    {"index before a child", kTable, "tr-2/td", "2a", "none"},
    {"index on both", kTable, "tr-2/td-2", "2b", "none"},
    {"index on the root", kTable, "t-2", "none", "none"},
    {"siblings count, cousins do not", kTable, "td-3", "none", "none"},
    {"so do siblings' descendants", "<r><a id='1'/><b><a id='2'/></b></r>", "a-2", "2", "none"},
    {"not aunts", "<r><b><a id='1'/></b><a id='2'/></r>", "a-2", "none", "none"},
    {"not its own descendants", "<r><a id='1'><a id='2'/></a></r>", "a-2", "none", "none"},
    {"a later one with the child", "<r><a id='1'/><a id='2'/><a id='3'><b id='x'/></a></r>",
     "a-2/b", "x", "none"},
    {"not an earlier one with it", "<r><a id='1'><b id='x'/></a><a id='2'/></r>", "a-2/b", "none",
     "none"},
    {"a name with '-' in the document", "<r><a-1 id='x'/></r>", "a-1", "none", "x"},
    {"backslash", kTable, "tr\\td", "1a", "3b"},
    {"slash first, then backslash", "<a><b><c id='x'/></b></a>", "a/b\\c", "x", "x"},
    {"not only direct children", "<r><a><x><b id='1'/></x></a></r>", "a/b", "1", "1"},
    {"three segments", "<r><a><a><b id='1'/></a></a></r>", "a/a/b", "1", "1"},
    {"past a match without the rest", "<r><a><b id='1'/></a><a><c/></a></r>", "a/b", "1", "1"},
    {"a match hides what is below it", "<r><a id='1'><a id='2'/></a></r>", "a", "1", "1"},
    {"prefixes do not count", "<r xmlns:p='u'><p:a id='1'/></r>", "a", "1", "1"},
    {"case counts", kTable, "TD", "none", "none"},
    {"missing name", kTable, "x", "none", "none"},
    {"missing rest", kTable, "tr/x", "none", "none"},
    {"empty path", kTable, "", "none", "none"},
    {"empty first segment", kTable, "/td", "none", "none"},
    {"text is no element", "<r>some<b>text</b></r>", "text", "none", "none"},
};

TEST(NodePath, NamesOneElement) {
  for (const PathCase& row : kPathCases) {
    SCOPED_TRACE(row.name);
    const XmlDoc doc = ParseXml(row.document);
    xmlNode* root = xmlDocGetRootElement(doc.get());
    EXPECT_EQ(IdOf(XMLBase().FindNode(root, row.path)), row.first);
    EXPECT_EQ(IdOf(XMLBase().FindLastNode(root, row.path)), row.last);
  }
  const XmlDoc doc = ParseXml("<r/>");
  EXPECT_EQ(XMLBase().FindNode(nullptr, "r"), nullptr);
  EXPECT_EQ(XMLBase().FindLastNode(nullptr, "r"), nullptr);
  EXPECT_EQ(XMLBase().FindNode(doc->children, nullptr), nullptr);
  EXPECT_EQ(XMLBase().FindLastNode(doc->children, nullptr), nullptr);
}

TEST(NodePath, OneNameIsTriedOnTheNeighboursOfTheLastElement) {
  // Without parent: the last child.
  xmlNode* top = xmlNewNode(nullptr, Xml("top"));
  for (const char* id : {"1", "2"})
    xmlNewProp(xmlNewChild(top, nullptr, Xml("c"), nullptr), Xml("id"), Xml(id));
  const XmlDoc other = ParseXml("<c id='other'/>");
  XMLBase base;
  EXPECT_EQ(base.FindLastNode(top, "top"), top);
  EXPECT_EQ(IdOf(base.FindLastNode(other->children, "c")), "2") << "outside the subtree of start";
  xmlFreeNode(top);
}

// The rules word for word, on a document of its own: slow, recursive and without memory but for
// the element found last.
class PlainDocument {
 public:
  xmlNode* FindNode(xmlNode* start, const std::string& path) {
    if (start == nullptr || path.empty()) return nullptr;
    const auto [head, rest, hasRest] = Split(path);
    const size_t dash = head.find('-');
    const int index = dash == std::string::npos ? 1 : std::atoi(head.c_str() + dash + 1);
    if (IsNamed(start, head.substr(0, dash))) {
      if (index < 1) return nullptr;
      if (index == 1 && !hasRest) return start;
      const std::string next = index == 1 ? rest
                                          : head.substr(0, dash + 1) + std::to_string(index - 1) +
                                                path.substr(head.size());
      for (xmlNode* n = index == 1 ? start->children : start->next; n != nullptr; n = n->next) {
        if (xmlNode* found = FindNode(n, next)) return found;
      }
      return nullptr;
    }
    for (xmlNode* n = start->children; n != nullptr; n = n->next) {
      if (xmlNode* found = FindNode(n, path)) return found;
    }
    return nullptr;
  }

  xmlNode* FindLastNode(xmlNode* start, const std::string& path) {
    if (start == nullptr || path.empty()) return nullptr;
    const auto [head, rest, hasRest] = Split(path);
    if (lastFound != nullptr && !hasRest) {
      xmlNode* tried = lastFound->next;
      if (tried == nullptr && IsNamed(lastFound, path)) return lastFound;
      if (tried == nullptr) tried = lastFound->parent ? lastFound->parent : lastFound->last;
      if (tried != nullptr && IsNamed(tried, path)) return lastFound = tried;
    }
    lastFound = nullptr;
    const bool matches = IsNamed(start, head);
    if (matches && !hasRest) return lastFound = start;
    for (xmlNode* n = start->last; n != nullptr; n = n->prev) {
      if (xmlNode* found = FindLastNode(n, matches ? rest : path)) return found;
    }
    return nullptr;
  }

  xmlNode* Find(const std::string& path) {
    xmlNode* root = xmlDocGetRootElement(doc.get());
    return path.find('-') == std::string::npos ? FindLastNode(root, path) : FindNode(root, path);
  }

  XmlDoc doc{xmlNewDoc(Xml("1.0"))};

 private:
  struct Parts {
    std::string head, rest;
    bool hasRest;
  };
  static Parts Split(const std::string& path) {
    size_t at = path.find('/');
    if (at == std::string::npos) at = path.find('\\');
    if (at == std::string::npos) return {path, "", false};
    return {path.substr(0, at), path.substr(at + 1), true};
  }
  static bool IsNamed(xmlNode* node, const std::string& name) {
    return node->type == XML_ELEMENT_NODE && xmlStrEqual(node->name, Xml(name)) != 0;
  }

  xmlNode* lastFound = nullptr;
};

// The same random operations on both; the documents must stay equal.
TEST(NodePath, AgreesWithTheRulesWordForWord) {
  const TempDir dir;
  std::mt19937 random(20);
  const auto below = [&](unsigned n) { return static_cast<unsigned>(random() % n); };
  const auto randomPath = [&] {
    std::string path;
    const char separator = below(4) == 0 ? '\\' : '/';
    for (unsigned segments = below(3) + 1; segments > 0; --segments) {
      path += path.empty() ? "" : std::string(1, separator);
      path += "abc"[below(3)];
      if (below(4) == 0) path.append("-").append(std::to_string(below(4)));
    }
    return path;
  };
  for (int round = 0; round < 1000; ++round) {
    XMLBase tested;
    PlainDocument plain;
    tested.InitForOpf();
    tested.AddXMLNode(nullptr, "a", nullptr);
    xmlDocSetRootElement(plain.doc.get(), xmlNewNode(nullptr, Xml("a")));
    for (int step = 0; step < 40; ++step) {
      const std::string path = randomPath();
      const std::string number = std::to_string(step);
      xmlNode* node = plain.Find(path);
      const std::uint32_t expected = node == nullptr ? 415 : 0;
      // With elements below it, the one found last could be lost, and the plain document with it.
      const bool isFillable = node == nullptr || xmlFirstElementChild(node) == nullptr;
      if (const unsigned choice = below(12); choice < 2 && isFillable) {
        ASSERT_EQ(tested.AddTextToNode(path.c_str(), number.c_str()), expected) << path;
        if (node != nullptr) xmlNodeSetContent(node, Xml(number));
      } else if (choice < 5) {
        ASSERT_EQ(tested.SetNodeAttribute(path.c_str(), "k", number.c_str()), expected) << path;
        if (node != nullptr) xmlSetProp(node, Xml("k"), Xml(number));
      } else {
        const std::string name(1, "abc"[below(3)]);
        ASSERT_EQ(tested.AddXMLNode(path.c_str(), name.c_str(), nullptr), expected) << path;
        if (node != nullptr) xmlAddChild(node, xmlNewNode(nullptr, Xml(name)));
      }
    }
    ASSERT_EQ(tested.SaveFile((dir / "x.xml").c_str()), 0U);
    xmlChar* dump = nullptr;
    int size = 0;
    xmlDocDumpMemoryEnc(plain.doc.get(), &dump, &size, "UTF-8");
    ASSERT_EQ(ReadFile(dir / "x.xml"), reinterpret_cast<const char*>(dump)) << "round " << round;
    xmlFree(dump);
  }
}

// Word for word, a too large index costs 2^n here, and a deep tree as many stack frames.
TEST(NodePath, CostsNoMoreThanTheDocumentIsLarge) {
  constexpr int kMany = 200'000;
  const XmlDoc doc(xmlNewDoc(Xml("1.0")));
  xmlNode* root = xmlNewDocNode(doc.get(), nullptr, Xml("r"), nullptr);
  xmlDocSetRootElement(doc.get(), root);
  xmlNode* wide = xmlNewChild(root, nullptr, Xml("wide"), nullptr);
  for (int i = 0; i < kMany; ++i) xmlAddChild(wide, xmlNewNode(nullptr, Xml("a")));
  EXPECT_EQ(XMLBase().FindNode(root, "a-200001"), nullptr);
  EXPECT_EQ(XMLBase().FindNode(root, "a-200000"), wide->last);
  EXPECT_EQ(XMLBase().FindNode(root, "a-100000/x"), nullptr);
  EXPECT_EQ(XMLBase().FindLastNode(root, "wide/a/x"), nullptr);

  xmlNode* deep = root;
  for (int i = 0; i < kMany; ++i) {
    xmlNode* child = xmlNewNode(nullptr, Xml(i % 2 == 0 ? "a" : "b"));
    deep = xmlAddChild(deep, child);
  }
  xmlAddChild(deep, xmlNewNode(nullptr, Xml("z")));
  EXPECT_EQ(XMLBase().FindNode(root->last, "z"), deep->children);
  EXPECT_EQ(XMLBase().FindLastNode(root, "z"), deep->children);
  EXPECT_EQ(XMLBase().FindNode(root, "a/b/z-2"), nullptr);
  EXPECT_EQ(XMLBase().FindLastNode(root, "a/b/x"), nullptr);
  xmlAddChild(deep, xmlNewComment(Xml("gone")));
  EXPECT_EQ(XMLBase().DelCommentNode(root), 0U);
  EXPECT_EQ(deep->children->next, nullptr);
}

}  // namespace

// Node paths: which element a path names, and at what cost.
#include <gtest/gtest.h>

#include <sstream>

#include "data_rows.h"
#include "temp_dir.h"
#include "xml/xml_base.h"
#include "xml_text.h"

namespace {

constexpr char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

std::string IdOf(xmlNode* node) {
  return node == nullptr ? "none" : TakenXml(xmlGetProp(node, Xml("id")));
}

TEST(NodePath, NamesOneElement) {
  for (const auto& row : DataRows("node_paths.txt", 5)) {
    SCOPED_TRACE(row[0]);
    const XmlDoc doc = ParseXml(row[1]);
    xmlNode* root = xmlDocGetRootElement(doc.get());
    EXPECT_EQ(IdOf(XMLBase().FindNode(root, row[2].c_str())), row[3]);
    EXPECT_EQ(IdOf(XMLBase().FindLastNode(root, row[2].c_str())), row[4]);
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

TEST(NodePath, LeadsOperationsToTheElementOfTheRules) {
  const TempDir dir;
  for (const auto& row : DataRows("path_scripts.txt", 3)) {
    SCOPED_TRACE(row[0]);
    XMLBase base;
    base.InitForOpf();
    base.AddXMLNode(nullptr, "a", nullptr);
    for (const std::string& line : Split(row[1], '|')) {
      const bool fails = line[0] == '!';
      std::istringstream words(line.substr(fails ? 1 : 0));
      std::string operation;
      std::string path;
      std::string value;
      words >> operation >> path >> value;
      EXPECT_EQ(operation == "text"        ? base.AddTextToNode(path.c_str(), value.c_str())
                : operation == "attribute" ? base.SetNodeAttribute(path.c_str(), "k", value.c_str())
                                           : base.AddXMLNode(path.c_str(), value.c_str(), nullptr),
                fails ? 415U : 0U)
          << line;
    }
    ASSERT_EQ(base.SaveFile((dir / "x.xml").c_str()), 0U);
    EXPECT_EQ(ReadFile(dir / "x.xml"), kDeclaration + row[2] + "\n");
  }
}

// Taken word for word, a too large index costs 2^n here, and a deep tree as many stack frames.
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

// Node paths: which element a path names, and at what cost.
#include <gtest/gtest.h>

#include "xml/xml_base.h"
#include "xml_text.h"

namespace {

std::string IdOf(xmlNode* node) {
  return node == nullptr ? "none" : TakenXml(xmlGetProp(node, Xml("id")));
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

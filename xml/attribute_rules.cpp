// The rules of the repair for attributes.
#include "xml/name_lists.h"
#include "xml/xhtml_repair.h"

namespace {

constexpr char kXmlLang[] = "xml:lang";
constexpr size_t kMostPartsOfId = 64;

std::string_view NameOf(const xmlAttr* attr) {
  return reinterpret_cast<const char*>(attr->name);
}

std::string ValueOf(xmlNode* node, const xmlAttr* attr) {
  return TextOf(XmlString(xmlGetProp(node, attr->name)));
}

}  // namespace

// Every rule that changes the attributes has the pass begin again at the first one.
XhtmlRepair::Step XhtmlRepair::RepairAttributes(xmlNode* node) {
  constexpr AttributeRule kRules[] = {
      &XhtmlRepair::RemoveFromInsertion, &XhtmlRepair::TurnIntoXmlLang,
      &XhtmlRepair::RegisterId,          &XhtmlRepair::RemoveName,
      &XhtmlRepair::RemoveEmptyOrEvent,  &XhtmlRepair::ValidateAttribute};
  if (node->type != XML_ELEMENT_NODE) return Step::kNext;
  for (xmlAttr* attr = node->properties; attr != nullptr;) {
    Attributes outcome = Attributes::kAsTheyWere;
    if (attr->name != nullptr) {
      value = ValueOf(node, attr);
      for (const AttributeRule rule : kRules) {
        outcome = (this->*rule)(node, attr);
        if (outcome == Attributes::kChanged) break;
      }
    }
    attr = outcome == Attributes::kChanged ? node->properties : attr->next;
  }
  return Step::kNext;
}

// Neither name is an attribute of XHTML: the attributes of an insertion all go.
XhtmlRepair::Attributes XhtmlRepair::RemoveFromInsertion(xmlNode* node, xmlAttr* attr) {
  if (::NameOf(node) != "ins" || NameOf(attr) == "city" || NameOf(attr) == "datatime") {
    return Attributes::kAsTheyWere;
  }
  xmlRemoveProp(attr);
  return Attributes::kChanged;
}

XhtmlRepair::Attributes XhtmlRepair::TurnIntoXmlLang(xmlNode* node, xmlAttr* attr) {
  if (NameOf(attr) != "lang" || attr->ns != nullptr) return Attributes::kAsTheyWere;
  xmlRemoveProp(attr);
  // An attribute that stands twice would not be well-formed.
  if (xmlAttr* former = FindAttribute(node, Xml(kXmlLang))) xmlRemoveProp(former);
  SetAttribute(node, Xml(kXmlLang), Xml(value));
  return Attributes::kChanged;
}

XhtmlRepair::Attributes XhtmlRepair::RegisterId(xmlNode* node, xmlAttr* attr) {
  if (NameOf(attr) != "id" || value.empty()) return Attributes::kAsTheyWere;
  const bool isKnown = IsRegistered(value);
  if (isKnown && page.idOwners.count(node) != 0) return Attributes::kAsTheyWere;
  if (!isKnown && value.find_first_of(" \t") == std::string::npos) {
    Register(value, node);
    return Attributes::kAsTheyWere;
  }
  xmlRemoveProp(attr);
  return Attributes::kChanged;
}

XhtmlRepair::Attributes XhtmlRepair::RemoveName(xmlNode* node, xmlAttr* attr) {
  if (NameOf(attr) != "name" || (::NameOf(node) != "a" && ::NameOf(node) != "map")) {
    return Attributes::kAsTheyWere;
  }
  xmlRemoveProp(attr);
  return Attributes::kChanged;
}

XhtmlRepair::Attributes XhtmlRepair::RemoveEmptyOrEvent(xmlNode* /*node*/, xmlAttr* attr) {
  const bool goes = value.empty() || IsPartOfListed(kEventAttributes, NameOf(attr));
  if (!goes || NameOf(attr) == "alt") return Attributes::kAsTheyWere;
  xmlRemoveProp(attr);
  return Attributes::kChanged;
}

XhtmlRepair::Attributes XhtmlRepair::ValidateAttribute(xmlNode* node, xmlAttr* attr) {
  page.currentAttr = attr;
  xmlChar* content = xmlNodeListGetString(doc, attr->children, 0);
  if (xmlValidateOneAttribute(context, doc, node, attr, content) == 0) valid = false;
  xmlFree(content);
  if (!state.startOver) return Attributes::kAsTheyWere;
  state.startOver = false;
  return Attributes::kChanged;
}

// An id counts as known when it is another one, or what stands in one between a "#" and a "|" or
// the ends of it; the index holds all that can be asked for.
bool XhtmlRepair::IsRegistered(const std::string& id) const {
  return page.knownIds.count(id) != 0;
}

void XhtmlRepair::Register(const std::string& id, const xmlNode* owner) {
  page.idOwners.insert(owner);
  page.knownIds.insert(id);
  if (id.find_first_of("#|") == std::string::npos) return;
  size_t parts = 0;
  for (size_t begin = 0; begin != std::string::npos;) {
    for (size_t end = id.find('|', begin);; end = id.find('|', end + 1)) {
      if (parts++ == kMostPartsOfId) return;
      page.knownIds.insert(id.substr(begin, end - begin));
      if (end == std::string::npos) break;
    }
    begin = id.find('#', begin);
    if (begin != std::string::npos) ++begin;
  }
}

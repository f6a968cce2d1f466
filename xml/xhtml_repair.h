// The walk over a page that validates each node and repairs what fails.
#ifndef KAV_EPUB_XHTML_REPAIR_H
#define KAV_EPUB_XHTML_REPAIR_H

#include <libxml/parser.h>
#include <libxml/valid.h>

#include <string>

#include "xml/repair_state.h"
#include "xml/xml_base.h"

class XhtmlRepair {
 public:
  XhtmlRepair(XMLBase& repairedPage, xmlValidCtxt* validation, xmlDoc* document)
      : page(repairedPage), state(*repairedPage.repairState), context(validation), doc(document) {}

  // Repairs top with all below it; false when any of it was not valid.
  bool Walk(xmlNode* top);

 private:
  enum class Step { kNext, kEnd };  // whether the node has further steps
  enum class Attributes { kAsTheyWere, kChanged };
  using Rule = Step (XhtmlRepair::*)(xmlNode*);
  using AttributeRule = Attributes (XhtmlRepair::*)(xmlNode*, xmlAttr*);

  // Repairs one node; false when what is below it is not to be visited.
  bool Visit(xmlNode* node);

  // The rules of elements, in their order.
  Step QueueHeadElement(xmlNode* node);
  Step QueueCode(xmlNode* node);
  Step ReplaceUnknownElement(xmlNode* node);
  Step RepairImage(xmlNode* node);
  Step RepairStyleLink(xmlNode* node);
  Step ReplaceQuotation(xmlNode* node);
  Step RepairAnchor(xmlNode* node);
  Step ValidateElement(xmlNode* node);
  Step RepairAttributes(xmlNode* node);
  Step ValidateNamespaces(xmlNode* node);

  // The rules of attributes, in their order.
  Attributes RemoveFromInsertion(xmlNode* node, xmlAttr* attr);
  Attributes TurnIntoXmlLang(xmlNode* node, xmlAttr* attr);
  Attributes RegisterId(xmlNode* node, xmlAttr* attr);
  Attributes RemoveName(xmlNode* node, xmlAttr* attr);
  Attributes RemoveEmptyOrEvent(xmlNode* node, xmlAttr* attr);
  Attributes ValidateAttribute(xmlNode* node, xmlAttr* attr);

  bool RevalidateParent(xmlNode* node);
  Step RepairTarget(xmlNode* node, std::string target);
  bool UseLocalFile(xmlNode* node, const char* attribute, std::string target);
  bool FindLocalFile(std::string& reference);
  bool IsRegistered(const std::string& id) const;
  void Register(const std::string& id, const xmlNode* owner);
  Step Queue(xmlNode* node);

  XMLBase& page;
  TRepairState& state;
  xmlValidCtxt* context;
  xmlDoc* doc;
  xmlNode* start = nullptr;
  bool valid = true;
  std::string value;  // of the attribute that the rules look at
};

#endif

// Node paths against a plain search that follows their rules word for word. Each line of the input
// is an operation, its path and a word: "e PATH NAME" adds an element, "t PATH TEXT" a text, "a
// PATH VALUE" an attribute; "f PATH" and "l PATH" look for the first and the last element at the
// end.
#include <sstream>

#include "fuzz/book_check.h"
#include "fuzz/harness.h"
#include "xml/xml_base.h"

namespace {

constexpr size_t kMostElements = 16;  // the plain search costs the square of two to the power of it
constexpr size_t kLongestPath = 16;

bool IsNamed(const xmlNode* node, const std::string& name) {
  return node != nullptr && node->type == XML_ELEMENT_NODE &&
         xmlStrEqual(node->name, Xml(name)) == 1;
}

struct Path {
  explicit Path(const std::string& path) {
    const size_t end =
        std::min(path.find(path.find('/') == std::string::npos ? '\\' : '/'), path.size());
    head = path.substr(0, end);
    rest = path.substr(std::min(end + 1, path.size()));
  }
  std::string head;
  std::string rest;
};

xmlNode* First(xmlNode* start, const std::string& path) {
  if (start == nullptr || path.empty()) return nullptr;
  const auto [head, rest] = Path(path);
  const size_t dash = std::min(head.find('-'), head.size());
  const long index = dash == head.size() ? 1 : std::strtol(head.c_str() + dash + 1, nullptr, 10);
  if (index < 1) return nullptr;
  const bool isNamed = IsNamed(start, head.substr(0, dash));
  if (isNamed && index == 1 && rest.empty()) return start;
  const bool goesOn = isNamed && index != 1;
  std::string next = isNamed ? rest : path;
  if (goesOn)
    next = head.substr(0, dash + 1) + std::to_string(index - 1) + path.substr(head.size());
  for (xmlNode* node = goesOn ? start->next : start->children; node != nullptr; node = node->next) {
    if (xmlNode* found = First(node, next)) return found;
  }
  return nullptr;
}

xmlNode* Newest(xmlNode* start, const std::string& path) {
  const auto [head, rest] = Path(path);
  const bool isNamed = IsNamed(start, head);
  if (isNamed && rest.empty()) return start;
  for (xmlNode* node = start->last; node != nullptr; node = node->prev) {
    if (xmlNode* found = Newest(node, isNamed ? rest : path)) return found;
  }
  return nullptr;
}

xmlNode* Last(xmlNode* start, const std::string& path, xmlNode*& lastFound) {
  if (start == nullptr || path.empty()) return nullptr;
  if (lastFound != nullptr && path.find_first_of("/\\") == std::string::npos) {
    xmlNode* above = lastFound->parent;
    if (above != nullptr && above->type != XML_ELEMENT_NODE) above = nullptr;
    xmlNode* beside = lastFound->next != nullptr     ? lastFound->next
                      : IsNamed(lastFound, path)     ? lastFound
                      : lastFound->parent != nullptr ? above
                                                     : lastFound->last;
    if (IsNamed(beside, path)) return lastFound = beside;
  }
  return lastFound = Newest(start, path);
}

// Texts replace what is below a node; what was found there is gone.
void SetText(xmlNode* node, const std::string& text, xmlNode*& lastFound) {
  const xmlNode* above = lastFound;
  while (above != nullptr && above != node) above = above->parent;
  if (above == node && lastFound != node) lastFound = nullptr;
  xmlNodeSetContent(node, Xml(text));
}

}  // namespace

void Fuzz(const std::string& input, Sandbox& box) {
  XMLBase base;
  base.InitForOpf();
  base.AddXMLNode(nullptr, "a", nullptr);
  const XmlDoc doc = ParseXml("<?xml version='1.0' encoding='UTF-8'?><a/>");
  xmlNode* root = xmlDocGetRootElement(doc.get());
  xmlNode* lastFound = nullptr;
  size_t elements = 1;
  std::vector<std::pair<char, std::string>> searches;
  std::istringstream lines(input.substr(0, input.find('\0')));
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    char operation = 0;
    std::string path;
    std::string word;
    words >> operation >> path >> word;
    if (path.empty() || path.size() > kLongestPath) continue;
    if (operation == 'f' || operation == 'l') searches.emplace_back(operation, path);
    const bool isElement = operation == 'e' && elements < kMostElements;
    const bool isWord = !word.empty() && std::all_of(word.begin(), word.end(), islower);
    if (!isWord || (!isElement && operation != 't' && operation != 'a')) continue;
    xmlNode* node =
        path.find('-') == std::string::npos ? Last(root, path, lastFound) : First(root, path);
    std::uint32_t code = 0;
    if (isElement) {
      ++elements;
      if (node != nullptr) xmlNewChild(node, nullptr, Xml(word), nullptr);
      code = base.AddXMLNode(path.c_str(), word.c_str(), nullptr);
    } else if (operation == 't') {
      if (node != nullptr) SetText(node, word, lastFound);
      code = base.AddTextToNode(path.c_str(), word.c_str());
    } else {
      if (node != nullptr) xmlSetProp(node, Xml("k"), Xml(word));
      code = base.SetNodeAttribute(path.c_str(), "k", word.c_str());
    }
    Require(code == (node == nullptr ? EPUB_E_NOT_FOUND : EPUB_OK), line + " gives its code");
  }
  Require(base.SaveFile((box / "out/x.xml").c_str()) == EPUB_OK, "a document is saved");
  Require(ReadFile(box / "out/x.xml") == Written(doc), "documents are equal: " + Written(doc));

  XMLBase finder;
  lastFound = nullptr;
  xmlNode* start = root;
  for (const auto& [operation, path] : searches) {
    const bool isFirst = operation == 'f';
    xmlNode* expected = isFirst ? First(start, path) : Last(start, path, lastFound);
    xmlNode* found =
        isFirst ? finder.FindNode(start, path.c_str()) : finder.FindLastNode(start, path.c_str());
    Require(found == expected, path + " is found");
    start = found == nullptr ? root : found;
  }
}

// Of the standard's algorithm, the part in which each element is ended by its own tag, or by what
// always ends it. All else is left to the parser that knows the rest.
#include "edition/page/orderly_tree.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "base/utf8.h"
#include "edition/page/element_sorts.h"
#include "edition/page/orderly_tokens.h"
#include "edition/page/page_tree.h"
#include "edition/page/words.h"

namespace {

using Kind = OrderlyTokens::Kind;

bool IsBlankText(std::string_view text) {
  return text.find_first_not_of(kBlanks) == std::string_view::npos;
}

// Whether browsers certainly take it for a modern one, in which tables end paragraphs.
bool IsModern(std::string_view doctype) {
  const std::string lowered = Lowered(doctype);
  return lowered == "<!doctype html>" ||
         lowered.starts_with("<!doctype html public \"-//w3c//dtd xhtml 1.");
}

// Whether there are none that the parser replaces.
bool HasPlainCharacters(std::string_view source) {
  if (source.starts_with("\xEF\xBB\xBF") || ValidUtf8Length(source) != source.size()) return false;
  for (size_t i = 0; i < source.size(); ++i) {
    const auto byte = static_cast<unsigned char>(source[i]);
    if (byte >= ' ' && byte < 0x7F) continue;
    if (byte < 0x80 && !IsBlankText(source.substr(i, 1))) return false;
    if (byte == 0xC2 && static_cast<unsigned char>(source[i + 1]) < 0xA0) return false;
    const bool mayBeNone = byte >= 0xF0 || byte == 0xEF;
    if (mayBeNone && IsNoCharacter(DecodeUtf8(source.substr(i)).codePoint)) return false;
  }
  return true;
}

class Builder {
 public:
  Builder(std::string_view page, Arena& taken) : source(page), arena(taken), tokens(page, taken) {}

  const GumboNode* Build();

 private:
  struct Open {
    GumboNode* node;
    Sort sort;
    size_t children;  // where they begin among those of all open elements
    // Inside of it, without what screens these:
    bool isInParagraph;
    bool isInAnchor;
    bool isInForm;
    bool isInButton;
  };
  enum class Phase { kBeforePage, kBeforeHead, kInHead, kBehindHead, kInBody, kBehindBody };

  bool Take(Kind kind);
  bool TakeText();
  bool TakeDoctype();
  bool TakeStart();
  bool TakeDocumentPart();
  bool Reach(Sort sort);
  void ReachHead(std::string_view written, GumboVector attributes);
  void ReachBody(std::string_view written, GumboVector attributes);
  bool StartInBody(Sort sort);
  bool StartTablePart(Sort sort);
  bool StartItem(Sort sort);
  bool StartRaw();
  bool TakeForeign();
  std::string_view ReadForeign();
  bool TakeEnd();
  bool IsStray(Sort sort) const;
  bool EndPartsOf(Sort frame);
  bool EndForm();
  bool IsEndOf(const GumboNode& node) const;
  bool EndDocumentPart();

  bool EndParagraph();
  void EndImplied(Sort except = Sort::kOther);
  bool MakeRoomFor(Sort part);

  void FlushText();
  GumboNode* NewNode(GumboNodeType type);
  void Push(GumboTag tag, std::string_view written, GumboVector attributes);
  void Push() { Push(tokens.Tag(), tokens.Text(), tokens.Attributes()); }
  void Pop();
  Sort Top() const { return open.back().sort; }

  std::string_view source;
  Arena& arena;
  OrderlyTokens tokens;
  Phase phase = Phase::kBeforePage;
  bool isModern = false;
  bool skipsLineEnd = false;  // the first one in preformatted text
  std::vector<Open> open;
  std::vector<GumboNode*> children;
  std::string text;
};

const GumboNode* Builder::Build() {
  if (!HasPlainCharacters(source)) return nullptr;
  for (Kind kind = tokens.Next(); kind != Kind::kEnd; kind = tokens.Next()) {
    if (!Take(kind)) return nullptr;
  }
  ReachBody({}, {});
  GumboNode* root = open.front().node;
  while (!open.empty()) Pop();
  return root;
}

bool Builder::Take(Kind kind) {
  if (kind == Kind::kText) return TakeText();
  skipsLineEnd = false;
  switch (kind) {
    case Kind::kStartTag:
      return TakeStart();
    case Kind::kEndTag:
      return TakeEnd();
    case Kind::kDoctype:
      return TakeDoctype();
    case Kind::kComment:
      if (phase > Phase::kBeforeHead) FlushText();
      return true;
    default:
      return false;
  }
}

bool Builder::TakeDoctype() {
  if (phase != Phase::kBeforePage) return false;
  isModern = IsModern(tokens.Text());
  return true;
}

bool Builder::TakeText() {
  std::string_view added = tokens.Text();
  const bool isBlank = IsBlankText(added);
  if (phase < Phase::kInHead) {
    if (isBlank) return true;
    added.remove_prefix(added.find_first_not_of(kBlanks));
    ReachBody({}, {});
  }
  if (!isBlank && (phase != Phase::kInBody || IsTableFrame(Top()))) return false;
  if (skipsLineEnd && added.starts_with('\n')) added.remove_prefix(1);
  skipsLineEnd = false;
  text += added;
  return true;
}

bool Builder::TakeStart() {
  const Sort sort = SortOf(tokens.Tag());
  if (tokens.IsSelfClosing() && !IsVoid(sort)) return false;
  if (sort == Sort::kDocument) return TakeDocumentPart();
  if (!Reach(sort)) return false;
  FlushText();
  if (sort == Sort::kOther) return false;
  if (IsTablePart(sort)) return StartTablePart(sort);
  if (IsTableFrame(Top())) return false;
  if (sort == Sort::kRaw) return StartRaw();
  if (sort == Sort::kForeign) return TakeForeign();
  if (!StartInBody(sort)) return false;
  Push();
  if (IsVoid(sort)) Pop();
  skipsLineEnd = sort == Sort::kPreformatted;
  return true;
}

bool Builder::TakeDocumentPart() {
  switch (tokens.Tag()) {
    case GUMBO_TAG_HTML:
      if (phase != Phase::kBeforePage) return false;
      Push();
      phase = Phase::kBeforeHead;
      return true;
    case GUMBO_TAG_HEAD:
      if (phase > Phase::kBeforeHead) return false;
      ReachHead(tokens.Text(), tokens.Attributes());
      return true;
    default:
      if (phase > Phase::kBehindHead) return false;
      ReachBody(tokens.Text(), tokens.Attributes());
      return true;
  }
}

// Begins what it can stand in.
bool Builder::Reach(Sort sort) {
  const bool isForHead =
      sort == Sort::kHead || (sort == Sort::kRaw && tokens.Tag() != GUMBO_TAG_IFRAME);
  const bool hasOwnRules = isForHead
                               ? phase == Phase::kBehindHead
                               : phase < Phase::kBehindHead && tokens.Tag() == GUMBO_TAG_NOSCRIPT;
  if (hasOwnRules || phase == Phase::kBehindBody) return false;
  if (isForHead) {
    ReachHead({}, {});
  } else {
    ReachBody({}, {});
  }
  return true;
}

void Builder::ReachHead(std::string_view written, GumboVector attributes) {
  if (phase == Phase::kBeforePage) Push(GUMBO_TAG_HTML, {}, {});
  if (phase > Phase::kBeforeHead) return;
  Push(GUMBO_TAG_HEAD, written, attributes);
  phase = Phase::kInHead;
}

void Builder::ReachBody(std::string_view written, GumboVector attributes) {
  ReachHead({}, {});
  if (phase == Phase::kInHead) Pop();
  if (phase > Phase::kBehindHead) return;
  FlushText();
  Push(GUMBO_TAG_BODY, written, attributes);
  phase = Phase::kInBody;
}

// Ends what the element ends.
bool Builder::StartInBody(Sort sort) {
  const Open& place = open.back();
  switch (sort) {
    case Sort::kAnchor:
      return !place.isInAnchor;
    case Sort::kButton:
      return !place.isInButton;
    case Sort::kForm:
      return !place.isInForm && EndParagraph();
    case Sort::kHeading:
      return EndParagraph() && Top() != Sort::kHeading;
    case Sort::kTable:
      return !place.isInParagraph || (isModern && EndParagraph());
    case Sort::kListItem:
    case Sort::kTerm:
      return StartItem(sort) && EndParagraph();
    case Sort::kBlock:
    case Sort::kParagraph:
    case Sort::kPreformatted:
    case Sort::kRuler:
      return EndParagraph();
    default:
      return true;
  }
}

// An item ends the one before it, if that is not in another list.
bool Builder::StartItem(Sort sort) {
  for (size_t i = open.size(); i-- > 0;) {
    const Sort outer = open[i].sort;
    const GumboTag tag = open[i].node->v.element.tag;
    if (outer == sort) {
      EndImplied(sort);
      if (open.size() != i + 1) return false;
      Pop();
      return true;
    }
    const bool isAnotherList = tag == GUMBO_TAG_DL || tag == GUMBO_TAG_OL || tag == GUMBO_TAG_UL;
    if (isAnotherList || outer == Sort::kCell || outer == Sort::kListItem || outer == Sort::kTerm) {
      return true;
    }
  }
  return true;
}

bool Builder::StartRaw() {
  const GumboTag tag = tokens.Tag();
  Push();
  if (tokens.NextRaw(gumbo_normalized_tagname(tag), tag == GUMBO_TAG_TITLE) != Kind::kText) {
    return false;
  }
  text = tokens.Text();
  if (tokens.Next() != Kind::kEndTag || tokens.Tag() != tag) return false;
  Pop();
  return true;
}

// Whatever surrounds it, the parser makes the same of it, as long as no HTML is in it.
bool Builder::TakeForeign() {
  const GumboTag tag = tokens.Tag();
  const std::string_view foreign = ReadForeign();
  if (foreign.empty()) return false;
  const auto childOf = [](const GumboNode& node, unsigned number) {
    return static_cast<GumboNode*>(node.v.element.children.data[number]);
  };
  const GumboNode& body = *childOf(*GumboTreeOf(foreign, arena), 1);
  if (body.v.element.tag != GUMBO_TAG_BODY || body.v.element.children.length != 1) return false;
  GumboNode* node = childOf(body, 0);
  if (!IsElement(*node) || node->v.element.tag != tag) return false;
  bool isForeign = true;
  const auto enter = [&](const GumboNode& inner) {
    if (!IsElement(inner)) return false;
    isForeign &= inner.v.element.tag_namespace != GUMBO_NAMESPACE_HTML;
    return isForeign;
  };
  Walk(*node, enter, [](const GumboNode&) {});
  node->parent = open.back().node;
  children.push_back(node);
  return isForeign;
}

// Behind its first tag: all of it as it is written; empty where tags do not match.
std::string_view Builder::ReadForeign() {
  const char* begin = tokens.Text().data();
  std::vector<std::string_view> names = {tokens.Name()};
  while (!names.empty()) {
    const Kind kind = tokens.Next();
    if (kind == Kind::kStartTag && !tokens.IsSelfClosing()) {
      names.push_back(tokens.Name());
    } else if (kind == Kind::kEndTag) {
      if (names.back() != tokens.Name()) return {};
      names.pop_back();
    } else if (kind >= Kind::kDoctype) {
      return {};
    }
  }
  const std::string_view end = tokens.Text();
  return {begin, static_cast<size_t>(end.data() - begin) + end.size()};
}

bool Builder::StartTablePart(Sort sort) {
  if (!MakeRoomFor(sort)) return false;
  Push();
  if (sort == Sort::kColumn) Pop();
  return true;
}

// Ends parts of the table that it cannot stand in, and begins the group that rows stand in.
bool Builder::MakeRoomFor(Sort part) {
  if (part != Sort::kColumn && Top() == Sort::kColumnGroup) Pop();
  if (!IsTableFrame(Top())) {
    EndImplied();
    if (Top() != Sort::kCell) return false;
    Pop();
  }
  if (part < Sort::kCell && Top() == Sort::kRow) Pop();
  if (part < Sort::kRow && Top() == Sort::kRowGroup) Pop();
  switch (part) {
    case Sort::kCell:
      return Top() == Sort::kRow;
    case Sort::kRow:
      if (Top() == Sort::kTable) Push(GUMBO_TAG_TBODY, {}, {});
      return Top() == Sort::kRowGroup;
    case Sort::kColumn:
      if (Top() == Sort::kTable) Push(GUMBO_TAG_COLGROUP, {}, {});
      return Top() == Sort::kColumnGroup;
    default:
      return Top() == Sort::kTable;
  }
}

bool Builder::TakeEnd() {
  const Sort sort = SortOf(tokens.Tag());
  if (sort == Sort::kDocument) return EndDocumentPart();
  if (phase != Phase::kInBody || IsVoid(sort)) return false;
  if (sort == Sort::kForm) return EndForm();
  if (IsStray(sort)) return true;
  FlushText();
  if (sort == Sort::kParagraph) {
    if (IsTableFrame(Top())) return false;
    if (!open.back().isInParagraph) Push(GUMBO_TAG_P, {}, {});
  }
  if (IsTableFrame(sort)) {
    if (!EndPartsOf(sort)) return false;
  } else if (sort > Sort::kParagraph) {
    EndImplied(sort);
  }
  if (!IsEndOf(*open.back().node)) return false;
  Pop();
  return true;
}

// Whether nothing of its kind is open, so that it says nothing.
bool Builder::IsStray(Sort sort) const {
  if (sort == Sort::kOther || sort == Sort::kParagraph || IsTableFrame(Top())) return false;
  const GumboTag tag = tokens.Tag();
  if (open.back().node->v.element.tag == tag) return false;
  return std::none_of(open.begin(), open.end(), [&](const Open& outer) {
    return outer.node->v.element.tag == tag || (sort == Sort::kHeading && outer.sort == sort);
  });
}

// Ends what is open inside of that part of a table.
bool Builder::EndPartsOf(Sort frame) {
  if (!IsTableFrame(Top()) && !MakeRoomFor(Sort::kCell)) return false;
  if (frame < Sort::kRow && Top() == Sort::kRow) Pop();
  if (frame == Sort::kTable && Top() != Sort::kTable) Pop();
  return true;
}

// The parser puts the text before it behind it.
bool Builder::EndForm() {
  if (EndsItself(Top())) EndImplied();
  if (Top() != Sort::kForm) return false;
  const std::string before = std::exchange(text, {});
  Pop();
  text = before;
  return true;
}

// Elements that the parser does not know are all one to it.
bool Builder::IsEndOf(const GumboNode& node) const {
  if (node.v.element.tag != tokens.Tag()) return false;
  return tokens.Tag() != GUMBO_TAG_UNKNOWN || NameOf(node) == Lowered(tokens.Name());
}

// What comes behind the body goes into it.
bool Builder::EndDocumentPart() {
  switch (tokens.Tag()) {
    case GUMBO_TAG_HEAD:
      if (phase != Phase::kInHead) return false;
      phase = Phase::kBehindHead;
      FlushText();
      Pop();
      return true;
    case GUMBO_TAG_BODY:
      if (phase != Phase::kInBody || IsTableFrame(Top())) return false;
      phase = Phase::kBehindBody;
      return true;
    default:
      return phase == Phase::kBehindBody;
  }
}

// Nothing else is open in the paragraph, or it is left to the parser.
bool Builder::EndParagraph() {
  if (!open.back().isInParagraph) return true;
  if (Top() != Sort::kParagraph) return false;
  Pop();
  return !open.back().isInParagraph;
}

void Builder::EndImplied(Sort except) {
  while (EndsItself(Top()) && Top() != except) Pop();
}

void Builder::FlushText() {
  if (text.empty()) return;
  GumboNode* node = NewNode(IsBlankText(text) ? GUMBO_NODE_WHITESPACE : GUMBO_NODE_TEXT);
  node->v.text.text = arena.Copy(text);
  children.push_back(node);
  text.clear();
}

GumboNode* Builder::NewNode(GumboNodeType type) {
  auto* node = static_cast<GumboNode*>(arena.Take(sizeof(GumboNode)));
  *node = GumboNode{};
  node->type = type;
  if (!open.empty()) node->parent = open.back().node;
  return node;
}

void Builder::Push(GumboTag tag, std::string_view written, GumboVector attributes) {
  GumboNode* node = NewNode(GUMBO_NODE_ELEMENT);
  GumboElement& element = node->v.element;
  element.tag = tag;
  element.tag_namespace = GUMBO_NAMESPACE_HTML;
  element.original_tag = {written.data(), written.size()};
  element.attributes = attributes;
  if (!open.empty()) children.push_back(node);

  const Sort sort = SortOf(tag);
  const bool isScreen = sort == Sort::kTable || sort == Sort::kCaption || sort == Sort::kCell;
  const bool isRoot = open.empty();
  const Open outer = isRoot ? Open{} : open.back();
  const bool endsAnchor = sort == Sort::kCaption || sort == Sort::kCell;
  open.push_back(
      {node, sort, children.size(),
       sort == Sort::kParagraph || (outer.isInParagraph && !isScreen && sort != Sort::kButton),
       sort == Sort::kAnchor || (outer.isInAnchor && !endsAnchor),
       sort == Sort::kForm || outer.isInForm, sort == Sort::kButton || outer.isInButton});
}

void Builder::Pop() {
  FlushText();
  const Open& closed = open.back();
  const auto count = static_cast<unsigned>(children.size() - closed.children);
  if (count > 0) {
    auto** kept = static_cast<void**>(arena.Take(count * sizeof(void*)));
    std::copy(children.end() - count, children.end(), kept);
    closed.node->v.element.children = {kept, count, count};
    children.resize(closed.children);
  }
  open.pop_back();
}

}  // namespace

const GumboNode* OrderlyTreeOf(std::string_view source, Arena& arena) {
  return Builder(source, arena).Build();
}

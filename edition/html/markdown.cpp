// Lets libcmark-gfm read Markdown. It is loaded when the first such page comes: few books need it,
// and the others are to start as fast and to stand alone as before.
#include "edition/html/markdown.h"

#include <cmark-gfm-core-extensions.h>
#include <cmark-gfm.h>
#include <cmark-gfm_version.h>
#include <dlfcn.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

#include "edition/book/markup.h"
#include "edition/page/words.h"

namespace {

constexpr std::string_view kEndings[] = {".md", ".markdown"};
constexpr const char* kExtensions[] = {"autolink", "strikethrough", "table", "tasklist"};
constexpr char kLibrary[] = "libcmark-gfm.so." CMARK_GFM_VERSION_STRING;
constexpr char kExtensionsLibrary[] = "libcmark-gfm-extensions.so." CMARK_GFM_VERSION_STRING;
constexpr char kMissing[] = "Markdown is read with libcmark-gfm " CMARK_GFM_VERSION_STRING
                            " and its extensions, which are not installed here.";

constexpr char kTooMuch[] = "Its tables have far more cells than letters.";
constexpr size_t kCellsFreely = size_t{1} << 16;

constexpr int kOptions = CMARK_OPT_UNSAFE | CMARK_OPT_FOOTNOTES | CMARK_OPT_VALIDATE_UTF8;

// The boxes of task lists, which are elements of forms, become characters.
constexpr struct {
  std::string_view box;
  std::string_view becomes;
} kBoxes[] = {
    {"<input type=\"checkbox\" checked=\"\" disabled=\"\" />", "\u2611"},
    {"<input type=\"checkbox\" disabled=\"\" />", "\u2610"},
};

// What a page may say of itself, and the name of the meta element for it.
constexpr struct {
  std::string_view key;
  const char* name;
} kFacts[] = {
    {"author", "author"},
    {"date", "date"},
    {"description", "description"},
    {"lang", "content-language"},
    {"language", "content-language"},
    {"title", "dc.title"},
};

template <typename Function>
void Find(void* library, const char* name, Function*& function, bool& isWhole) {
  function = library == nullptr ? nullptr : reinterpret_cast<Function*>(dlsym(library, name));
  isWhole = isWhole && function != nullptr;
}

// The functions of the library; it stays loaded.
struct Cmark {
  Cmark() {
    void* library = dlopen(kLibrary, RTLD_NOW | RTLD_LOCAL);
    void* further = dlopen(kExtensionsLibrary, RTLD_NOW | RTLD_LOCAL);
    Find(library, "cmark_parser_new_with_mem", newParser, isWhole);
    Find(library, "cmark_parser_feed", feed, isWhole);
    Find(library, "cmark_parser_finish", finish, isWhole);
    Find(library, "cmark_parser_attach_syntax_extension", attach, isWhole);
    Find(library, "cmark_parser_get_syntax_extensions", attached, isWhole);
    Find(library, "cmark_find_syntax_extension", findExtension, isWhole);
    Find(library, "cmark_iter_new", newIterator, isWhole);
    Find(library, "cmark_iter_next", next, isWhole);
    Find(library, "cmark_iter_get_node", nodeOf, isWhole);
    Find(library, "cmark_node_get_type", typeOf, isWhole);
    Find(library, "cmark_node_get_literal", literalOf, isWhole);
    Find(library, "cmark_node_new_with_mem", newNode, isWhole);
    Find(library, "cmark_node_set_literal", setLiteral, isWhole);
    Find(library, "cmark_node_prepend_child", prepend, isWhole);
    Find(library, "cmark_render_html_with_mem", render, isWhole);
    Find(further, "cmark_gfm_core_extensions_ensure_registered", registerAll, isWhole);
    if (isWhole) registerAll();
  }

  bool isWhole = true;
  decltype(cmark_parser_new_with_mem)* newParser;
  decltype(cmark_parser_feed)* feed;
  decltype(cmark_parser_finish)* finish;
  decltype(cmark_parser_attach_syntax_extension)* attach;
  decltype(cmark_parser_get_syntax_extensions)* attached;
  decltype(cmark_find_syntax_extension)* findExtension;
  decltype(cmark_iter_new)* newIterator;
  decltype(cmark_iter_next)* next;
  decltype(cmark_iter_get_node)* nodeOf;
  decltype(cmark_node_get_type)* typeOf;
  decltype(cmark_node_get_literal)* literalOf;
  decltype(cmark_node_new_with_mem)* newNode;
  decltype(cmark_node_set_literal)* setLiteral;
  decltype(cmark_node_prepend_child)* prepend;
  decltype(cmark_render_html_with_mem)* render;
  decltype(cmark_gfm_core_extensions_ensure_registered)* registerAll;
};

const Cmark& Library() {
  static const Cmark library;
  return library;
}

// What the library takes while it works, which is all freed in the end. Its own way ends the
// process when there is no memory.
class Memory {
 public:
  // Which characters mean something is kept in one place for all parsers, so one works at a time.
  Memory() : lock(turn) { current = &blocks; }
  Memory(const Memory&) = delete;
  Memory& operator=(const Memory&) = delete;

  cmark_mem* Functions() { return &functions; }

 private:
  using Block = std::unique_ptr<char[]>;

  static void* Take(size_t count, size_t size) {
    Block block = std::make_unique<char[]>(kHeader + count * size);
    *reinterpret_cast<size_t*>(block.get()) = count * size;
    current->push_back(std::move(block));
    return current->back().get() + kHeader;
  }

  static void* TakeAgain(void* old, size_t size) {
    void* taken = Take(1, size);
    if (old == nullptr) return taken;
    const size_t known = *reinterpret_cast<size_t*>(static_cast<char*>(old) - kHeader);
    std::memcpy(taken, old, std::min(known, size));
    return taken;
  }

  static constexpr size_t kHeader = alignof(std::max_align_t);
  inline static std::mutex turn;
  inline static std::vector<Block>* current = nullptr;

  const std::scoped_lock<std::mutex> lock;
  std::vector<Block> blocks;
  cmark_mem functions = {Take, TakeAgain, [](void*) {}};
};

// "Getting started!" is linked to as "#getting-started", and a second one as "#getting-started-1".
class Anchors {
 public:
  std::string Of(std::string_view heading) {
    std::string anchor;
    for (const char c : Lowered(heading)) {
      const bool isPlain = (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
                           c == '_' || static_cast<unsigned char>(c) >= 0x80;
      if (isPlain) anchor += c;
      if (c == ' ') anchor += '-';
    }
    const size_t count = counts[anchor]++;
    return count == 0 ? anchor : anchor + "-" + std::to_string(count);
  }

 private:
  std::unordered_map<std::string, size_t> counts;
};

// Puts an anchor at the beginning of each heading.
void AddAnchors(const Cmark& cmark, cmark_node* document, Memory& memory) {
  cmark_iter* place = cmark.newIterator(document);
  Anchors anchors;
  std::string text;
  for (cmark_event_type event = cmark.next(place); event != CMARK_EVENT_DONE;
       event = cmark.next(place)) {
    cmark_node* node = cmark.nodeOf(place);
    const cmark_node_type type = cmark.typeOf(node);
    if (type != CMARK_NODE_HEADING) {
      const bool isText = type == CMARK_NODE_TEXT || type == CMARK_NODE_CODE;
      if (const char* literal = isText ? cmark.literalOf(node) : nullptr) text += literal;
      continue;
    }
    if (event == CMARK_EVENT_EXIT) {
      const std::string anchor = "<a id=\"" + anchors.Of(text) + "\"></a>";
      cmark_node* element = cmark.newNode(CMARK_NODE_HTML_INLINE, memory.Functions());
      cmark.setLiteral(element, anchor.c_str());
      cmark.prepend(node, element);
    }
    text.clear();
  }
}

std::string Rendered(const Cmark& cmark, std::string_view markdown) {
  Memory memory;
  cmark_parser* parser = cmark.newParser(kOptions, memory.Functions());
  for (const char* name : kExtensions) {
    if (cmark_syntax_extension* known = cmark.findExtension(name)) cmark.attach(parser, known);
  }
  cmark.feed(parser, markdown.data(), markdown.size());
  cmark_node* document = cmark.finish(parser);
  AddAnchors(cmark, document, memory);
  return cmark.render(document, kOptions, cmark.attached(parser), memory.Functions());
}

std::string WithCharactersForBoxes(std::string_view html) {
  constexpr std::string_view kBegin = "<input ";
  std::string out;
  for (;;) {
    const size_t at = std::min(html.find(kBegin), html.size());
    out += html.substr(0, at);
    html.remove_prefix(at);
    if (html.empty()) return out;
    const auto* row = std::find_if(std::begin(kBoxes), std::end(kBoxes),
                                   [&](const auto& known) { return html.starts_with(known.box); });
    const bool isBox = row != std::end(kBoxes);
    out += isBox ? row->becomes : html.substr(0, 1);
    html.remove_prefix(isBox ? row->box.size() : 1);
  }
}

std::string_view LineOf(std::string_view& text) {
  const size_t end = std::min(text.find('\n'), text.size());
  std::string_view line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return line.substr(0, line.find_last_not_of(kBlanks) + 1);
}

std::string_view WithoutQuotes(std::string_view value) {
  value.remove_prefix(std::min(value.find_first_not_of(kBlanks), value.size()));
  const bool isQuoted = value.size() > 1 && (value.front() == '"' || value.front() == '\'') &&
                        value.back() == value.front();
  return isQuoted ? value.substr(1, value.size() - 2) : value;
}

// Takes the lines before the text; the elements of a head for what is known of them.
std::string TakeFacts(std::string_view& markdown) {
  std::string_view rest = markdown;
  if (LineOf(rest) != "---") return {};
  std::string head;
  while (!rest.empty()) {
    const std::string_view line = LineOf(rest);
    if (line == "---" || line == "...") {
      markdown = rest;
      return head;
    }
    const size_t colon = std::min(line.find(':'), line.size());
    const auto* row = std::find_if(std::begin(kFacts), std::end(kFacts), [&](const auto& known) {
      return known.key == Lowered(line.substr(0, colon));
    });
    if (row == std::end(kFacts) || colon == line.size()) continue;
    head.append("<meta name=\"").append(row->name).append("\" content=\"");
    AppendEscaped(WithoutQuotes(line.substr(colon + 1)), head);
    head.append("\">\n");
  }
  return {};  // a rule, and no end
}

// The library gives each row of a table as many cells as its head has, so a few letters may ask for
// millions of cells.
bool AsksForTooMuch(std::string_view markdown) {
  const size_t most = kCellsFreely + markdown.size();
  size_t columns = 0;
  size_t added = 0;
  while (!markdown.empty() && added <= most) {
    const std::string_view line = LineOf(markdown);
    const auto bars = static_cast<size_t>(std::count(line.begin(), line.end(), '|'));
    const bool isRule = line.find_first_not_of("|-: \t>") == std::string_view::npos;
    const bool hasDash = line.find('-') != std::string_view::npos;
    if (isRule && !hasDash && bars == 0) {
      columns = 0;  // the table is at its end
    } else if (isRule && hasDash) {
      columns = std::max(columns, bars + 1);
    } else if (bars < columns) {
      added += columns - bars;
    }
  }
  return added > most;
}

}  // namespace

bool IsMarkdown(std::string_view path) {
  const std::string name = Lowered(path);
  return std::any_of(std::begin(kEndings), std::end(kEndings),
                     [&](std::string_view ending) { return name.ends_with(ending); });
}

bool CanReadMarkdown() {
  return Library().isWhole;
}

Result<std::string> MarkdownToHtml(std::string_view markdown) {
  const Cmark& cmark = Library();
  if (!cmark.isWhole) return Failure{KAVEPUB_E_UNSUPPORTED, kMissing};
  if (AsksForTooMuch(markdown)) return Failure{KAVEPUB_E_LIMIT, kTooMuch};
  std::string html = "<!DOCTYPE html>\n<head>\n" + TakeFacts(markdown) + "</head>\n<body>\n";
  return html + WithCharactersForBoxes(Rendered(cmark, markdown));
}

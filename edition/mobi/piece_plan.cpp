// One walk over all tags: what is open at each, what is text, and what leads to where.
#include "edition/mobi/piece_plan.h"

#include <algorithm>
#include <iterator>

#include "edition/mobi/start_tag.h"

namespace {

using kav_mobi::Role;
using kav_mobi::Tag;
using kav_mobi::TagKind;

// The parser makes a tree of a piece, which takes many times its size.
constexpr size_t kLongPiece = 200'000;
constexpr size_t kVeryLongPiece = 1'000'000;
constexpr size_t kMostOpen = 64;

constexpr std::string_view kMedia[] = {"audio", "video"};

bool IsBlank(std::string_view text) {
  return text.find_first_not_of(kav_mobi::kBlanks) == std::string_view::npos;
}

bool EndsParagraph(Role role) {
  return role == Role::kBlock || role == Role::kParagraph || role == Role::kContainer ||
         role == Role::kRule;
}

class Planner {
 public:
  Planner(const BookText& source, const std::vector<Cut>& chosen) : text(source), cuts(chosen) {}

  MobiPlan Make() {
    for (size_t i = 0; i < text.Parts().size(); ++i) ReadPart(i);
    if (plan.pieces.empty()) plan.pieces.push_back(std::move(last));
    std::sort(plan.targets.begin(), plan.targets.end());
    plan.targets.erase(std::unique(plan.targets.begin(), plan.targets.end()), plan.targets.end());
    return std::move(plan);
  }

 private:
  struct Open {
    const kav_mobi::Element* element;
    std::string_view tag;
  };

  void ReadPart(size_t number) {
    const BookText::Part& part = text.Parts()[number];
    open.clear();
    containers = 0;
    Begin(number, part.begin, {});
    Tag tag;
    size_t textBegin = 0;
    for (kav_mobi::TagScanner scanner(part.text); scanner.Next(tag);) {
      ReadText(part, textBegin, tag.begin);
      const bool isBreak = tag.element != nullptr && tag.element->role == Role::kPageBreak;
      CutBefore(part, tag, isBreak);
      if (!isBreak) ReadTag(part, tag);
      textBegin = tag.end;
    }
    ReadText(part, textBegin, part.text.size());
    End(part.begin + part.text.size());
  }

  void ReadText(const BookText::Part& part, size_t begin, size_t end) {
    if (IsBlank(part.text.substr(begin, end - begin))) return;
    NoteContent(part.begin + begin);
    piece.hasText = true;
  }

  void NoteContent(size_t position) {
    if (!piece.hasText && piece.pictures == 0) piece.content = position;
  }

  void CutBefore(const BookText::Part& part, const Tag& tag, bool isBreak) {
    const size_t position = part.begin + tag.begin;
    if (nextCut < cuts.size() && cuts[nextCut].position <= position) {
      while (nextCut + 1 < cuts.size() && cuts[nextCut + 1].position <= position) ++nextCut;
      CutHere(position, cuts[nextCut++].heading);
      return;
    }
    if (tag.kind != TagKind::kStart) return;
    const bool isPage = isBreak && nextCut == 0 && !text.IsNew();
    if (isPage || (IsLong(position) && IsBlock(tag))) CutHere(position, {});
  }

  static bool IsBlock(const Tag& tag) {
    return tag.element != nullptr &&
           (tag.element->role == Role::kParagraph || tag.element->role == Role::kBlock);
  }

  bool IsLong(size_t position) const {
    return position - piece.begin > (containers == 0 ? kLongPiece : kVeryLongPiece);
  }

  void CutHere(size_t position, std::string heading) {
    const size_t part = piece.part;
    End(position);
    Begin(part, position, std::move(heading));
    for (const Open& element : open) {
      const Role role = element.element->role;
      const bool goesOn = role == Role::kBody || role == Role::kBlock || role == Role::kParagraph ||
                          (role == Role::kInline && element.element->name != "a");
      if (goesOn) AddOpening(element.tag);
    }
  }

  void AddOpening(std::string_view bytes) {
    Tag tag;
    if (!kav_mobi::TagScanner(bytes).Next(tag)) return;
    AppendStartTag(bytes, tag, text.IsNew(), {}, piece.opening);
  }

  void Begin(size_t part, size_t position, std::string heading) {
    piece = {};
    piece.part = part;
    piece.begin = piece.content = position;
    piece.heading = std::move(heading);
  }

  void End(size_t position) {
    piece.end = position;
    const bool isEmpty = !piece.hasText && piece.pictures == 0 && piece.heading.empty();
    if (isEmpty) piece.content = position;
    Piece& place = isEmpty ? last : plan.pieces.emplace_back();
    place = std::move(piece);
  }

  void ReadTag(const BookText::Part& part, const Tag& tag) {
    if (tag.kind == TagKind::kSkipped) return;
    if (tag.kind == TagKind::kStart) NoteReferences(part, tag);
    if (tag.element == nullptr) return;
    tag.kind == TagKind::kStart ? Start(part, tag) : Finish(*tag.element);
  }

  void NoteReferences(const BookText::Part& part, const Tag& tag) {
    if (std::find(std::begin(kMedia), std::end(kMedia), tag.name) != std::end(kMedia)) {
      plan.hasMedia = true;
    }
    const bool isPicture = tag.element != nullptr && tag.element->role == Role::kPicture;
    const bool isLink = tag.element != nullptr && tag.element->name == "a";
    if (isPicture || tag.name == "svg" || tag.name == "math") {
      NoteContent(part.begin + tag.begin);
      attributes.Read(tag.attributes);
      const std::string picture = PictureReferenceOf(attributes, text.IsNew());
      // A drawing and the picture that it holds count as one.
      const bool isHeld = tag.name == "image" && piece.pictures == 1 && piece.picture.empty();
      if (isHeld || piece.pictures++ == 0) piece.picture = picture;
    } else if (isLink) {
      attributes.Read(tag.attributes);
      const auto target = text.PositionOf(LinkReferenceOf(attributes, text.IsNew()));
      if (target) plan.targets.push_back(*target);
    }
  }

  void Start(const BookText::Part& part, const Tag& tag) {
    const Role role = tag.element->role;
    if (EndsParagraph(role) && !open.empty() && open.back().element->name == "p") open.pop_back();
    if (role == Role::kContainer) ++containers;
    const bool holds = role <= Role::kItem || role == Role::kBody;
    if (!holds || tag.selfClosing || open.size() >= kMostOpen) return;
    open.push_back({tag.element, part.text.substr(tag.begin, tag.end - tag.begin)});
  }

  void Finish(const kav_mobi::Element& element) {
    if (element.role == Role::kContainer && containers > 0) --containers;
    const auto latest = std::find_if(open.rbegin(), open.rend(), [&](const Open& candidate) {
      return candidate.element == &element;
    });
    if (latest == open.rend()) return;
    const auto place = std::prev(latest.base());
    open.erase(place, element.role == Role::kInline ? std::next(place) : open.end());
  }

  const BookText& text;
  const std::vector<Cut>& cuts;
  MobiPlan plan;
  Piece piece;
  Piece last;  // of those with nothing in them
  std::vector<Open> open;
  size_t containers = 0;
  size_t nextCut = 0;
  kav_mobi::Attributes attributes;
};

}  // namespace

MobiPlan PlanOf(const BookText& text, const std::vector<Cut>& cuts) {
  return Planner(text, cuts).Make();
}

size_t PieceOf(const std::vector<Piece>& pieces, size_t position) {
  const auto there = std::partition_point(
      pieces.begin(), pieces.end(), [&](const Piece& piece) { return piece.end <= position; });
  return std::min(static_cast<size_t>(there - pieces.begin()), pieces.size() - 1);
}

// Sequences of candidates, what speaks for them, and how they nest.
#include "edition/text/chapters.h"

#include <algorithm>
#include <map>
#include <unordered_map>
#include <unordered_set>

namespace {

using Index = std::uint32_t;
using Indices = std::vector<Index>;

constexpr std::uint64_t kTightBytes = 300;  // between the entries of a list, at most
constexpr std::uint32_t kTightLines = 2;
constexpr size_t kShortestList = 3;
constexpr std::uint64_t kSmallestBody =
    600;  // of a chapter that only its number tells of, in bytes
constexpr std::uint64_t kUsualBody = 1500;

// A sequence of headings of one kind.
struct Group {
  std::uint32_t kind = 0;
  Indices members;  // in order
  bool isWeak = false;
  int level = 0;
};

class Chooser {
 public:
  explicit Chooser(const SurveyResult& surveyed)
      : survey(surveyed),
        all(surveyed.candidates),
        isWrapped(surveyed.lines.IsWrapped()),
        isWide(surveyed.lines.IsWide()),
        isTaken(all.size()),
        isInList(all.size()) {}

  Structure Choose() {
    if (TakeMarked()) return Assemble();
    std::map<std::uint32_t, Indices> byKind;
    for (Index i = 0; i < all.size(); ++i) {
      if (all[i].form != HeadingLine::Form::kNamed) byKind[all[i].kind].push_back(i);
    }
    for (auto& [kind, members] : byKind) FindLists(members);
    for (auto& [kind, members] : byKind) FindVolumesInLists(members);
    for (const auto& [kind, members] : byKind) TryStrong(kind, members);
    for (const auto& [kind, members] : byKind) TryWeak(kind, members);
    TryListed();
    if (groups.empty()) TryUnderlined();
    if (groups.empty()) TryDated(byKind[KindOf(kDate, 0)]);
    if (groups.empty()) TrySetApart();
    SetLevels();
    TrySections(byKind[KindOf(kDottedNumber, 0)]);
    AddNamed();
    return Assemble();
  }

 private:
  bool IsStrongKind(std::uint32_t kind) const {
    const auto unit = static_cast<Unit>(kind >> 16);
    return unit >= kFirstNamedUnit && unit < kListedUnit;
  }

  std::uint64_t Distance(Index from, Index to) const { return all[to].offset - all[from].offset; }

  std::uint64_t BytesBehind(Index i) const { return survey.lines.bytes - all[i].offset; }

  bool IsTight(Index from, Index to) const {
    return all[to].textLine - all[from].textLine - 1 <= kTightLines &&
           Distance(from, to) < kTightBytes;
  }

  bool TakeMarked();
  double Look(const Candidate& c) const;
  void FindLists(const Indices& members);
  void JudgeList(const Indices& members, size_t begin, size_t end);
  void FindVolumesInLists(const Indices& members);
  double Link(Index from, Index to) const;
  void DropUnlikely(Indices& chain) const;
  Indices BestChain(const Indices& members) const;
  Indices WithoutRepeats(const Indices& members) const;
  void TryStrong(std::uint32_t kind, const Indices& members);
  void TryWeak(std::uint32_t kind, const Indices& members);
  Indices RunningChain(const Indices& members) const;
  bool BeginsAnewTooOften(const Indices& chain) const;
  std::uint64_t MedianBody(const Indices& chain) const;
  bool IsConvincing(const Indices& chain, size_t least) const;
  bool HasVolumeBetween(Index from, Index to) const;
  void TryListed();
  void TryUnderlined();
  void TryDated(const Indices& members);
  void TrySetApart();
  void SetLevels();
  void TrySections(const Indices& members);
  bool IsAbove(const Group& upper, const Group& lower) const;
  void AddNamed();
  Structure Assemble() const;
  void LinkLists(Structure& structure) const;
  static bool IsTitleBlock(const Candidate& c) { return c.blockLines > 1 && c.blockLines <= 6; }
  Heading::Title TitleOf(const Candidate& c, double shareOfBlocks, double shareOfNextLines) const;
  bool HasTitleInNextLine(const Candidate& c) const;

  const SurveyResult& survey;
  const std::vector<Candidate>& all;
  bool isWrapped;
  bool isWide;
  std::vector<bool> isTaken;   // by a group
  std::vector<bool> isInList;  // of contents
  std::vector<Group> groups;
};

// Where the text says what its headings are, nothing else is one.
bool Chooser::TakeMarked() {
  std::map<std::uint32_t, Indices> byLevel;
  for (Index i = 0; i < all.size(); ++i) {
    if (all[i].UnitIn() == kMarkedUnit) byLevel[all[i].kind].push_back(i);
  }
  int level = 0;
  for (auto& [kind, members] : byLevel)
    groups.push_back({kind, std::move(members), false, level++});
  return !groups.empty();
}

// How much a line looks like a heading, whatever its number; about 1 for one that does.
double Chooser::Look(const Candidate& c) const {
  double look = c.form == HeadingLine::Form::kMarked ? 1.0 : 0.4;
  const bool isLong = c.length > (isWide ? 45 : 80);
  look += c.blanksBefore > 1 ? 0.75 : c.blanksBefore == 1 ? 0.5 : isWrapped ? -2.0 : 0.0;
  if (c.blanksBehind > 0) look += 0.25;
  if (isWrapped && (c.blockLines > 6 || (c.blockLines > 4 && c.length > 55))) look -= 2.0;
  if (isLong) look -= c.length > (isWide ? 70 : 140) ? 2.0 : 0.75;
  if (c.Has(HeadingLine::kGlued)) look -= 0.5;
  if (c.Has(HeadingLine::kFunctionWord)) look -= 1.2;
  if (c.Has(HeadingLine::kSmallLetter)) look -= 1.5;
  if (c.Has(HeadingLine::kEndsSentence))
    look -= c.length > 24 || c.Has(HeadingLine::kGlued) ? 1.5 : 0.4;
  if (c.Has(HeadingLine::kEndsSentence) && c.form == HeadingLine::Form::kCounter) look -= 1.5;
  if (c.Has(HeadingLine::kCommas)) look -= 0.5;
  if (c.Has(HeadingLine::kEndMark)) look -= 4.0;
  if (c.Has(HeadingLine::kPageNumber)) look -= 1.0;
  if (!c.Is(Candidate::kSentenceBefore)) look -= 0.5;
  if (c.Is(Candidate::kIsListed)) look += 1.0;
  return look;
}

// Runs of candidates with hardly a line between them name chapters that are elsewhere.
void Chooser::FindLists(const Indices& members) {
  size_t begin = 0;
  for (size_t i = 1; i <= members.size(); ++i) {
    if (i < members.size() && IsTight(members[i - 1], members[i])) continue;
    if (i - begin >= kShortestList ||
        (i - begin > 1 && all[members[begin]].Is(Candidate::kInsideList))) {
      JudgeList(members, begin, i);
    }
    begin = i;
  }
  for (const Index i : members) {
    if (all[i].Is(Candidate::kInsideList)) isInList[i] = true;
  }
}

void Chooser::JudgeList(const Indices& members, size_t begin, size_t end) {
  std::unordered_set<std::int32_t> elsewhere;
  for (size_t i = 0; i < members.size(); ++i) {
    if (i < begin || i >= end) elsewhere.insert(all[members[i]].number);
  }
  // The last of the run may be the first chapter itself: its number does not go on.
  size_t last = end;
  const Candidate& final = all[members[end - 1]];
  const bool goesOn =
      final.number > all[members[end - 2]].number && elsewhere.contains(final.number);
  const bool hasBody = end == members.size() ? BytesBehind(members[end - 1]) > kTightBytes : true;
  if (!goesOn && hasBody && end - begin > 2) {
    --last;
    elsewhere.insert(final.number);
  }
  size_t found = 0;
  size_t empty = 0;
  for (size_t i = begin; i < last; ++i) {
    found += elsewhere.contains(all[members[i]].number) ? 1 : 0;
    empty += i + 1 < end && all[members[i + 1]].textLine - all[members[i]].textLine == 1 ? 1 : 0;
  }
  const size_t count = last - begin;
  if (found * 2 < count && empty * 2 < count) return;  // short chapters
  for (size_t i = begin; i < last; ++i) isInList[members[i]] = true;
}

// Volumes with nothing but entries of a list up to the next one, or around them, are entries, too.
void Chooser::FindVolumesInLists(const Indices& members) {
  for (size_t i = 0; i < members.size(); ++i) {
    const Index volume = members[i];
    if (RankOf(all[volume].UnitIn()) != Rank::kVolume || volume + 1 == all.size()) continue;
    Index end = volume + 1;
    while (end < all.size() && isInList[end] && all[end].kind != all[volume].kind) ++end;
    if (end == volume + 1) continue;
    const bool isBeforeNext = i + 1 < members.size() && members[i + 1] == end;
    if (isBeforeNext || (volume > 0 && isInList[volume - 1])) isInList[volume] = true;
  }
}

// How well one heading follows another by its number.
double Chooser::Link(Index from, Index to) const {
  const int step = all[to].number - all[from].number;
  if (step == 1) return 1.5;
  if (step == 0) return all[to].titleHash == all[from].titleHash ? -1.0 : -0.5;
  if (step > 1 && step <= 3) return 0.0;
  if (step > 3 && step <= 20) return -0.75;
  if (all[to].number <= 1) return HasVolumeBetween(from, to) ? 1.0 : -0.25;
  if (all[to].outerKind != 0 && all[to].outerNumber != all[from].outerNumber) return 0.0;
  return step < 0 && step >= -3 ? -1.0 : -1.75;
}

bool Chooser::HasVolumeBetween(Index from, Index to) const {
  constexpr Index kFar = 12;
  for (Index i = to; i-- > from + 1 && to - i < kFar;) {
    if (IsStrongKind(all[i].kind) && all[i].kind != all[to].kind &&
        RankOf(all[i].UnitIn()) == Rank::kVolume) {
      return true;
    }
  }
  return all[from].outerNumber != all[to].outerNumber;
}

// Of a heading that is repeated as it is (on every page, or at once), the first one.
Indices Chooser::WithoutRepeats(const Indices& members) const {
  Indices kept;
  for (size_t i = 0; i < members.size();) {
    size_t end = i + 1;
    const auto isSame = [&](Index a, Index b) {
      return all[a].number == all[b].number && all[a].outerNumber == all[b].outerNumber &&
             (all[a].titleHash == all[b].titleHash || all[a].titleHash == 0 ||
              all[b].titleHash == 0);
    };
    while (end < members.size() && isSame(members[end - 1], members[end])) ++end;
    kept.push_back(members[i]);
    if (end - i == 2 && !IsTight(members[i], members[i + 1])) kept.push_back(members[i + 1]);
    i = end;
  }
  return kept;
}

// The best sequence: the looks of its headings and how their numbers follow.
Indices Chooser::BestChain(const Indices& members) const {
  constexpr size_t kWindow = 12;
  std::vector<double> value(members.size());
  std::vector<size_t> before(members.size(), SIZE_MAX);
  for (size_t i = 0; i < members.size(); ++i) {
    const double look = Look(all[members[i]]);
    value[i] = look;
    for (size_t back = 1; back <= std::min(i, kWindow); ++back) {
      const size_t j = i - back;
      if (IsTight(members[j], members[i]) && all[members[i]].number - all[members[j]].number != 1)
        continue;
      const double sum = value[j] + look + Link(members[j], members[i]);
      if (sum > value[i]) {
        value[i] = sum;
        before[i] = j;
      }
    }
  }
  Indices chain;
  if (members.empty()) return chain;
  const auto best =
      static_cast<size_t>(std::max_element(value.begin(), value.end()) - value.begin());
  if (value[best] <= 0) return chain;
  for (size_t i = best; i != SIZE_MAX; i = before[i]) chain.push_back(members[i]);
  std::reverse(chain.begin(), chain.end());
  return chain;
}

// What looks doubtful stays where its number is the one that was to come.
void Chooser::DropUnlikely(Indices& chain) const {
  Indices kept;
  for (size_t i = 0; i < chain.size(); ++i) {
    const auto number = [&](size_t at) { return all[chain[at]].number; };
    double worth = Look(all[chain[i]]);
    if (i > 0 && number(i) == number(i - 1) + 1) worth += 0.5;
    if (i + 1 < chain.size() && number(i + 1) == number(i) + 1) worth += 0.5;
    if (worth > 0.3) kept.push_back(chain[i]);
  }
  chain = std::move(kept);
}

// Kinds that a word marks as headings: what looks like one is one.
void Chooser::TryStrong(std::uint32_t kind, const Indices& members) {
  if (!IsStrongKind(kind)) return;
  Indices outside;
  for (const Index i : members) {
    if (!isInList[i]) outside.push_back(i);
  }
  Indices chain = BestChain(WithoutRepeats(outside));
  DropUnlikely(chain);
  if (chain.empty()) return;
  const bool isAlone = chain.size() == 1;
  if (isAlone &&
      (Look(all[chain.front()]) < 1.0 || outside.size() > 4 || all[chain.front()].number > 1)) {
    return;
  }
  for (const Index i : chain) isTaken[i] = true;
  groups.push_back({kind, std::move(chain), false, 0});
}

// The longest sequence whose numbers run on, with bodies between; volumes may begin it anew.
Indices Chooser::RunningChain(const Indices& members) const {
  std::vector<double> value(members.size(), 0);
  std::vector<size_t> before(members.size(), SIZE_MAX);
  std::unordered_map<std::int32_t, size_t> lastOf;  // the best chain that ends with a number
  size_t best = SIZE_MAX;
  for (size_t i = 0; i < members.size(); ++i) {
    const Candidate& c = all[members[i]];
    const auto link = [&](size_t j, double worth) {
      if (Distance(members[j], members[i]) < kSmallestBody) return;
      if (value[j] + worth <= value[i]) return;
      value[i] = value[j] + worth;
      before[i] = j;
    };
    if (c.number == 0 || c.number == 1) {
      value[i] = 1;
      if (best != SIZE_MAX && value[best] >= 2) {
        link(best, HasVolumeBetween(members[best], members[i]) ? 1.0 : -0.5);
      }
    } else {
      for (const int step : {1, 2}) {
        const auto found = lastOf.find(c.number - step);
        if (found != lastOf.end()) link(found->second, step == 1 ? 1.0 : 0.25);
      }
    }
    if (value[i] == 0) continue;
    const auto [place, isNew] = lastOf.emplace(c.number, i);
    if (!isNew && value[i] >= value[place->second]) place->second = i;
    if (best == SIZE_MAX || value[i] > value[best]) best = i;
  }
  Indices chain;
  for (size_t i = best; i != SIZE_MAX; i = before[i]) chain.push_back(members[i]);
  std::reverse(chain.begin(), chain.end());
  return chain;
}

// Of the bytes from one heading to the next, or to the end, those of the one in the middle.
std::uint64_t Chooser::MedianBody(const Indices& chain) const {
  std::vector<std::uint64_t> bodies;
  for (size_t i = 0; i < chain.size(); ++i) {
    const std::uint64_t end = i + 1 < chain.size() ? all[chain[i + 1]].offset : survey.lines.bytes;
    bodies.push_back(end - all[chain[i]].offset);
  }
  const auto middle = bodies.begin() + static_cast<std::ptrdiff_t>(bodies.size() / 2);
  std::nth_element(bodies.begin(), middle, bodies.end());
  return *middle;
}

// Bodies as chapters have them, between sentences, over most of the text.
bool Chooser::IsConvincing(const Indices& chain, size_t least) const {
  if (chain.size() < least) return false;
  const auto behindSentence = std::count_if(chain.begin(), chain.end(), [this](Index i) {
    return all[i].Is(Candidate::kSentenceBefore);
  });
  return MedianBody(chain) >= kUsualBody &&
         static_cast<size_t>(behindSentence) * 5 >= chain.size() * 4 &&
         BytesBehind(chain.front()) * 2 >= survey.lines.bytes;
}

// Lists within the text begin anew, chapters do where a volume does.
bool Chooser::BeginsAnewTooOften(const Indices& chain) const {
  size_t anew = 0;
  for (size_t i = 1; i < chain.size(); ++i) {
    const bool isAnew = all[chain[i]].number <= all[chain[i - 1]].number;
    anew += isAnew && !HasVolumeBetween(chain[i - 1], chain[i]) ? 1 : 0;
  }
  return anew > 1 && anew * 12 > chain.size();
}

void Chooser::TryWeak(std::uint32_t kind, const Indices& members) {
  if (IsStrongKind(kind) || kind == KindOf(kDate, 0) || kind == KindOf(kDottedNumber, 0)) return;
  Indices outside;
  for (const Index i : members) {
    const Candidate& c = all[i];
    const bool isAlone = c.blanksBefore > 0 ||
                         (!isWrapped && survey.lines.followers * 10 > survey.lines.textLines * 9);
    const bool isShort = c.length <= (isWide ? 30 : 75);
    const bool endsBlock = !isWrapped || c.blockLines <= 3;
    if (!isInList[i] && isAlone && isShort && endsBlock && Look(c) > 0.2) outside.push_back(i);
  }
  Indices chain = RunningChain(outside);
  if (!IsConvincing(chain, 3)) return;
  if (chain.size() * 4 < outside.size() || BeginsAnewTooOften(chain)) return;
  for (const Index i : chain) isTaken[i] = true;
  groups.push_back({kind, std::move(chain), true, 0});
}

void Chooser::TryListed() {
  Indices members;
  size_t strong = 0;
  for (const Group& group : groups) strong += group.members.size();
  std::int32_t last = -1;
  for (Index i = 0; i < all.size(); ++i) {
    const Candidate& c = all[i];
    if (static_cast<Unit>(c.kind >> 16) != kListedUnit || c.Is(Candidate::kInsideList)) continue;
    const bool isAlone = c.blanksBefore > 0 && (c.blanksBehind > 0 || c.blockLines <= 3);
    const bool hasOwnNumber = c.number == 0;
    if (!isAlone || (hasOwnNumber ? strong > 0 : c.number <= last)) continue;
    if (!hasOwnNumber) last = c.number;
    members.push_back(i);
  }
  if (members.empty() || (strong == 0 && !IsConvincing(members, 3))) return;
  for (const Index i : members) isTaken[i] = true;
  groups.push_back({KindOf(kListedUnit, 0), std::move(members), true, 0});
}

// Short lines with a rule of their length below; signs of two kinds can be levels.
void Chooser::TryUnderlined() {
  constexpr size_t kFewest = 3;
  constexpr std::uint64_t kSmallestSection = 200;
  std::map<char, Indices> bySign;
  Indices members;
  for (Index i = 0; i < all.size(); ++i) {
    if (all[i].underline == 0 || isInList[i]) continue;
    members.push_back(i);
    bySign[all[i].underline].push_back(i);
  }
  if (members.size() < kFewest) return;
  const Candidate& first = all[members.front()];
  // A first line that has a sign of its own is the title of the book.
  if (first.textLine == 0 && bySign[first.underline].size() == 1) bySign.erase(first.underline);
  const bool coversMost = BytesBehind(members.front()) * 2 >= survey.lines.bytes;
  if (!coversMost || MedianBody(members) < kSmallestSection) return;
  for (auto& [sign, lines] : bySign) {
    for (const Index i : lines) isTaken[i] = true;
    const auto detail = static_cast<std::uint8_t>(sign);
    groups.push_back({KindOf(kUnderlinedUnit, detail), std::move(lines), false, 0});
  }
}

// The entries of a diary: dates that stand alone, each hardly before the last one, all over the
// text.
void Chooser::TryDated(const Indices& members) {
  constexpr size_t kFewest = 4;
  constexpr std::uint64_t kSmallestEntry = 300;
  Indices dates;
  size_t later = 0;
  for (const Index i : members) {
    const Candidate& c = all[i];
    if (isInList[i] || (isWrapped && c.blanksBefore == 0)) continue;
    const int step = dates.empty() ? 0 : c.number - all[dates.back()].number;
    constexpr int kToNextYear = -200;
    later += step >= 0 || step < kToNextYear ? 1 : 0;
    dates.push_back(i);
  }
  if (dates.size() < kFewest || later * 5 < dates.size() * 4) return;
  const std::uint64_t covered = BytesBehind(dates.front());
  if (covered * 2 < survey.lines.bytes || covered / dates.size() < kSmallestEntry) return;
  for (const Index i : dates) isTaken[i] = true;
  groups.push_back({KindOf(kDate, 0), std::move(dates), true, 0});
}

void Chooser::TrySetApart() {
  Indices members;
  for (Index i = 0; i < all.size(); ++i) {
    const Candidate& c = all[i];
    if (static_cast<Unit>(c.kind >> 16) != kSetApartUnit) continue;
    if (c.blanksBefore < 3 || c.blanksBehind == 0) continue;
    if (!members.empty() && Distance(members.back(), i) < kUsualBody) continue;
    members.push_back(i);
  }
  constexpr std::uint64_t kStory = 4000;
  if (!IsConvincing(members, 3) || survey.lines.bytes / members.size() < kStory) return;
  for (const Index i : members) isTaken[i] = true;
  groups.push_back({KindOf(kSetApartUnit, 0), std::move(members), true, 0});
}

// Whether headings of one kind hold those of the other: each of them is followed by some.
bool Chooser::IsAbove(const Group& upper, const Group& lower) const {
  if (upper.members.size() < 2 || upper.members.size() > lower.members.size()) return false;
  // Of two signs below lines, the first one is that of the upper level.
  const bool areSigns = upper.kind >> 16 == kUnderlinedUnit && lower.kind >> 16 == kUnderlinedUnit;
  const bool isFirst = areSigns && upper.members.front() < lower.members.front();
  if (upper.members.size() == lower.members.size() && !isFirst) return false;
  size_t holding = 0;
  size_t beginning = 0;
  size_t at = 0;
  for (size_t i = 0; i < upper.members.size(); ++i) {
    const Index begin = upper.members[i];
    const Index end =
        i + 1 < upper.members.size() ? upper.members[i + 1] : static_cast<Index>(all.size());
    while (at < lower.members.size() && lower.members[at] < begin) ++at;
    if (at == lower.members.size() || lower.members[at] >= end) continue;
    ++holding;
    beginning += all[lower.members[at]].number <= 1 ? 1 : 0;
  }
  if (RankOf(static_cast<Unit>(upper.kind >> 16)) != Rank::kVolume &&
      (holding < 2 || beginning * 2 < holding)) {
    return false;
  }
  const bool isFew = upper.members.size() < 3;
  return holding * 10 >= upper.members.size() * (isFew ? 10 : 7);
}

void Chooser::SetLevels() {
  for (Group& lower : groups) {
    for (const Group& upper : groups) {
      if (&lower == &upper || lower.kind == KindOf(kListedUnit, 0)) continue;
      if (upper.kind == KindOf(kListedUnit, 0)) continue;
      if (IsAbove(upper, lower)) ++lower.level;
    }
  }
}

// "2.1", "2.2" below the second chapter: nearly all of them have the number of their chapter, and
// run on within it.
void Chooser::TrySections(const Indices& members) {
  constexpr size_t kFewest = 3;
  for (const Group& upper : groups) {
    Group sections = {KindOf(kDottedNumber, 0), {}, false, upper.level + 1};
    size_t alone = 0;
    size_t at = 0;
    int last = 0;
    for (const Index i : members) {
      const Candidate& c = all[i];
      if (isInList[i] || c.blanksBefore == 0 || (isWrapped && c.blockLines > 2)) continue;
      ++alone;
      while (at < upper.members.size() && upper.members[at] < i) {
        ++at;
        last = 0;
      }
      if (at == 0 || all[upper.members[at - 1]].number != c.outerNumber) continue;
      if (c.number != last + 1 || Look(c) <= 0) continue;
      last = c.number;
      sections.members.push_back(i);
    }
    if (sections.members.size() < kFewest || sections.members.size() * 5 < alone * 4) continue;
    for (const Index i : sections.members) isTaken[i] = true;
    groups.push_back(std::move(sections));
    return;
  }
}

// Prefaces, epilogues and the like: at the ends of the book or of a volume.
void Chooser::AddNamed() {
  if (groups.empty()) return;
  Index first = UINT32_MAX;
  Index last = 0;
  for (const Group& group : groups) {
    first = std::min(first, group.members.front());
    last = std::max(last, group.members.back());
  }
  const bool hasVolumes = std::any_of(groups.begin(), groups.end(), [](const Group& group) {
    return group.level == 0 && RankOf(static_cast<Unit>(group.kind >> 16)) == Rank::kVolume;
  });
  Group named = {0, {}, true, 0};
  Group ofVolumes = {0, {}, true, hasVolumes ? 1 : 0};
  for (Index i = 0; i < all.size(); ++i) {
    const Candidate& c = all[i];
    if (c.form != HeadingLine::Form::kNamed || c.place == NamedPlace::kNone || isTaken[i]) continue;
    if (c.Is(Candidate::kInsideList) || c.place == NamedPlace::kRunning) continue;
    const bool isAlone = c.blanksBefore > 0 || (!isWrapped && c.form == HeadingLine::Form::kNamed);
    if (!isAlone) continue;
    const bool isBefore = i < first;
    const bool isBehind = i > last;
    const bool isAtVolume = i > 0 && isTaken[i - 1] && RankOf(all[i - 1].UnitIn()) == Rank::kVolume;
    const bool fits = c.place == NamedPlace::kBetween || c.Is(Candidate::kIsListed) ||
                      (c.place == NamedPlace::kFront && (isBefore || isAtVolume)) ||
                      (c.place == NamedPlace::kBack && isBehind);
    const bool isBehindBack = c.place == NamedPlace::kFront && isBehind;
    if (!fits || isBehindBack) continue;
    (c.Has(HeadingLine::kOfVolume) ? ofVolumes : named).members.push_back(i);
  }
  for (Group* group : {&named, &ofVolumes}) {
    for (const Index i : group->members) isTaken[i] = true;
    if (!group->members.empty()) groups.push_back(std::move(*group));
  }
}

bool Chooser::HasTitleInNextLine(const Candidate& c) const {
  const size_t longest = isWide ? 42 : 60;
  return c.titleHash == 0 && c.blanksBehind <= 2 && c.nextLength > 0 && c.nextLength <= longest &&
         !c.Is(Candidate::kNextEndsSentence) && !c.Is(Candidate::kNextIsNoTitle) &&
         (isWide || c.Is(Candidate::kNextStandsAlone));
}

Heading::Title Chooser::TitleOf(const Candidate& c, double shareOfBlocks,
                                double shareOfNextLines) const {
  constexpr std::uint8_t kNearlyFull = 45;  // characters; a title goes on in the next line
  const bool hasBlock = isWrapped && !isWide && c.blanksBehind == 0 && IsTitleBlock(c);
  if (hasBlock && (c.titleHash == 0 ? shareOfBlocks > 0.7 : c.length > kNearlyFull)) {
    return Heading::Title::kSameBlock;
  }
  if (c.titleHash != 0) return Heading::Title::kOwnLine;
  if (!isWrapped && !isWide && c.blanksBehind == 0 && c.blockLines == 2) {
    return Heading::Title::kSameBlock;
  }
  return shareOfNextLines > 0.65 && HasTitleInNextLine(c) ? Heading::Title::kNextLine
                                                          : Heading::Title::kOwnLine;
}

Structure Chooser::Assemble() const {
  Structure structure;
  for (const Group& group : groups) {
    double next = 0;
    double blocks = 0;
    for (const Index i : group.members) {
      next += HasTitleInNextLine(all[i]) ? 1 : 0;
      blocks += all[i].blanksBehind > 0 || IsTitleBlock(all[i]) ? 1 : 0;
    }
    const auto count = static_cast<double>(group.members.size());
    const bool isSection = group.isWeak && group.level > 0 && group.kind != 0 &&
                           std::any_of(groups.begin(), groups.end(), [&](const Group& upper) {
                             return upper.level == group.level - 1 && !upper.isWeak &&
                                    upper.kind != 0 &&
                                    RankOf(static_cast<Unit>(upper.kind >> 16)) != Rank::kVolume;
                           });
    for (const Index i : group.members) {
      Heading heading;
      heading.candidate = i;
      heading.line = all[i].line;
      heading.level = static_cast<std::uint8_t>(group.level);
      heading.isInContents = !isSection;
      heading.isUnderlined = all[i].underline != 0;
      if (IsStrongKind(group.kind) || (group.kind >> 16) == kBareNumber ||
          (group.kind >> 16) == kUnknownWord) {
        const bool isBeforeOther = i + 1 < all.size() && isTaken[i + 1] &&
                                   all[i + 1].textLine == all[i].textLine + 1 &&
                                   all[i + 1].form != HeadingLine::Form::kNamed;
        if (!isBeforeOther && !heading.isUnderlined) {
          heading.title = TitleOf(all[i], blocks / count, next / count);
        }
      }
      structure.headings.push_back(heading);
    }
  }
  std::sort(structure.headings.begin(), structure.headings.end(),
            [](const Heading& a, const Heading& b) { return a.line < b.line; });

  // What follows a heading without a title at once is its title, not another heading.
  std::vector<Heading> kept;
  for (const Heading& heading : structure.headings) {
    if (!kept.empty()) {
      const Candidate& before = all[kept.back().candidate];
      const Candidate& c = all[heading.candidate];
      const bool isTitle = c.form == HeadingLine::Form::kNamed && before.titleHash == 0 &&
                           before.form != HeadingLine::Form::kNamed &&
                           c.textLine == before.textLine + 1 && c.blanksBefore <= 1;
      if (isTitle) continue;
    }
    kept.push_back(heading);
  }
  structure.headings = std::move(kept);
  LinkLists(structure);
  return structure;
}

// The entries of lists name headings in their order, by kind and number, or by what they say.
void Chooser::LinkLists(Structure& structure) const {
  std::map<std::uint32_t, std::vector<std::uint32_t>> byKind;
  for (std::uint32_t i = 0; i < structure.headings.size(); ++i) {
    const Candidate& c = all[structure.headings[i].candidate];
    byKind[c.kind].push_back(i);
    if (c.UnitIn() == kListedUnit && c.number > 0 &&
        static_cast<size_t>(c.number) <= survey.listLines.size()) {
      const LinePlace& place = survey.listLines[static_cast<size_t>(c.number) - 1];
      structure.links.push_back({place.line, place.textLine, i});
    }
  }
  std::map<std::uint32_t, size_t> next;
  for (Index i = 0; i < all.size(); ++i) {
    if (!isInList[i] && !all[i].Is(Candidate::kInsideList)) continue;
    const auto headings = byKind.find(all[i].kind);
    if (headings == byKind.end()) continue;
    size_t& at = next[all[i].kind];
    const std::vector<std::uint32_t>& targets = headings->second;
    const bool isNamed = all[i].form == HeadingLine::Form::kNamed;
    for (size_t step = 0; step < targets.size(); ++step) {
      const size_t place = (at + step) % targets.size();
      const Candidate& target = all[structure.headings[targets[place]].candidate];
      const bool isSame =
          isNamed ? target.titleHash == all[i].titleHash : target.number == all[i].number;
      if (!isSame) continue;
      structure.links.push_back({all[i].line, all[i].textLine, targets[place]});
      at = place + 1;
      break;
    }
  }
  std::sort(structure.links.begin(), structure.links.end());
  const auto isSameLine = [](const ListLink& a, const ListLink& b) { return a.line == b.line; };
  structure.links.erase(std::unique(structure.links.begin(), structure.links.end(), isSameLine),
                        structure.links.end());
}

}  // namespace

Structure FindChapters(const SurveyResult& survey) {
  return Chooser(survey).Choose();
}

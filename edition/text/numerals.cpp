// Tables of digits and number words, and how they add up.
#include "edition/text/numerals.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <string>
#include <unordered_map>
#include <vector>

#include "edition/text/characters.h"

namespace {

constexpr int kLargest = 9'999'999;

// ------------------------------------------------------------------------------------------ digits

constexpr char32_t kZeros[] = {'0', 0xFF10, 0x660, 0x6F0, 0x966, 0x9E6, 0xE50};

int DigitOf(char32_t c) {
  const auto* zero = std::find_if(std::begin(kZeros), std::end(kZeros),
                                  [c](char32_t z) { return c >= z && c < z + 10; });
  return zero == std::end(kZeros) ? -1 : static_cast<int>(c - *zero);
}

// --------------------------------------------------------------------------------------------- Han

struct HanDigit {
  char32_t character;
  int value;
};

constexpr HanDigit kHanDigits[] = {
    {U'〇', 0}, {U'○', 0},  {U'零', 0}, {U'Ｏ', 0}, {U'一', 1}, {U'二', 2}, {U'兩', 2}, {U'两', 2},
    {U'三', 3}, {U'四', 4}, {U'五', 5}, {U'六', 6}, {U'七', 7}, {U'八', 8}, {U'九', 9}, {U'壹', 1},
    {U'貳', 2}, {U'贰', 2}, {U'弐', 2}, {U'叁', 3}, {U'參', 3}, {U'叄', 3}, {U'肆', 4}, {U'伍', 5},
    {U'陸', 6}, {U'陆', 6}, {U'柒', 7}, {U'捌', 8}, {U'玖', 9}, {U'壱', 1}, {U'元', 1},
};
// Multiply the digit before them, or count as one of themselves.
constexpr HanDigit kHanUnits[] = {{U'十', 10},  {U'拾', 10},   {U'百', 100},
                                  {U'佰', 100}, {U'千', 1000}, {U'仟', 1000}};
constexpr HanDigit kHanTens[] = {{U'廿', 20}, {U'卄', 20}, {U'卅', 30}, {U'卌', 40}};

template <size_t kSize>
int ValueIn(const HanDigit (&table)[kSize], char32_t c) {
  const auto* row = std::find_if(std::begin(table), std::end(table),
                                 [c](const HanDigit& digit) { return digit.character == c; });
  return row == std::end(table) ? -1 : row->value;
}

// Adds up the characters of a Han numeral: "一百零三" by its units, "一〇三" by its places.
class HanSum {
 public:
  // False for what is not part of a numeral.
  bool Add(char32_t c) {
    if (const int digit = ValueIn(kHanDigits, c); digit >= 0) {
      if (c == U'元' && places > 0) return false;  // only "元年", the first
      pending = pending < 0 ? digit : std::min(pending * 10 + digit, kLargest);
      ++places;
      return true;
    }
    if (const int ten = ValueIn(kHanTens, c); ten >= 0) {
      sum += std::max(pending, 0) + ten;
      pending = -1;
      return true;
    }
    const int unit = ValueIn(kHanUnits, c);
    if (unit < 0) return false;
    sum = std::min(sum + (pending <= 0 ? 1 : pending) * unit, kLargest);
    pending = -1;
    return true;
  }

  int Value() const { return std::min(sum + std::max(pending, 0), kLargest); }

 private:
  int sum = 0;
  int pending = -1;
  int places = 0;
};

Numeral ReadHan(std::string_view text, bool skipsBlanks) {
  HanSum sum;
  Numeral numeral;
  for (size_t i = 0; i < text.size();) {
    const Character c = CharacterAt(text, i);
    i += c.length;
    if (skipsBlanks && IsBlank(c.code)) continue;
    if (!sum.Add(c.code)) break;
    numeral.length = i;
  }
  numeral.value = sum.Value();
  numeral.writing = NumeralWriting::kHan;
  return numeral;
}

// ------------------------------------------------------------------------------------------- Roman

int RomanDigit(char32_t c) {
  switch (c) {
    case 'I':
      return 1;
    case 'V':
      return 5;
    case 'X':
      return 10;
    case 'L':
      return 50;
    case 'C':
      return 100;
    case 'D':
      return 500;
    case 'M':
      return 1000;
    default:
      return 0;
  }
}

std::string RomanOf(int value) {
  static constexpr struct {
    int value;
    const char* letters;
  } kSteps[] = {{1000, "M"}, {900, "CM"}, {500, "D"}, {400, "CD"}, {100, "C"},
                {90, "XC"},  {50, "L"},   {40, "XL"}, {10, "X"},   {9, "IX"},
                {5, "V"},    {4, "IV"},   {1, "I"}};
  std::string out;
  for (const auto& step : kSteps) {
    for (; value >= step.value; value -= step.value) out += step.letters;
  }
  return out;
}

// The value of Roman letters: as they should be, or added up as old prints do (IIII, LXXXX).
int RomanValue(std::string_view letters) {
  constexpr size_t kLongest = 12;
  if (letters.empty() || letters.size() > kLongest) return 0;
  int value = 0;
  bool neverRises = true;
  for (size_t i = 0; i < letters.size(); ++i) {
    const int digit = RomanDigit(static_cast<unsigned char>(letters[i]));
    const int next =
        i + 1 < letters.size() ? RomanDigit(static_cast<unsigned char>(letters[i + 1])) : 0;
    neverRises = neverRises && next <= digit;
    value += digit < next ? -digit : digit;
  }
  return neverRises || RomanOf(value) == letters ? value : 0;
}

Numeral UnicodeRoman(std::string_view text) {
  const Character first = CharacterAt(text, 0);
  for (const char32_t base : {0x2160U, 0x2170U}) {
    if (first.code >= base && first.code < base + 12) {
      return {static_cast<int>(first.code - base) + 1, first.length, NumeralWriting::kRoman};
    }
  }
  return {};
}

// ------------------------------------------------------------------------------------------- words

struct Word {
  int value;
  bool isOrdinal;
};
using Words = std::unordered_map<std::string, Word>;

struct NumberWords {
  int first;  // the value of the first word; the others follow
  int step;
  bool isOrdinal;
  std::string_view words;  // separated by blanks
};

constexpr NumberWords kNumberWords[] = {
    {1, 1, false,
     "one two three four five six seven eight nine ten eleven twelve thirteen fourteen "
     "fifteen sixteen seventeen eighteen nineteen"},
    {20, 10, false, "twenty thirty forty fifty sixty seventy eighty ninety hundred"},
    {1, 1, true,
     "first second third fourth fifth sixth seventh eighth ninth tenth eleventh twelfth "
     "thirteenth fourteenth fifteenth sixteenth seventeenth eighteenth nineteenth"},
    {20, 10, true,
     "twentieth thirtieth fortieth fiftieth sixtieth seventieth eightieth ninetieth "
     "hundredth"},
    {1, 1, false,
     "un deux trois quatre cinq six sept huit neuf dix onze douze treize quatorze quinze "
     "seize dix-sept dix-huit dix-neuf"},
    {20, 10, false, "vingt trente quarante cinquante soixante septante quatre-vingt nonante cent"},
    {80, 1, false, "quatre-vingts quatre-vingt-un"},
    {90, 1, false, "quatre-vingt-dix quatre-vingt-onze quatre-vingt-douze quatre-vingt-treize"},
    {1, 1, true,
     "premier deuxième troisième quatrième cinquième sixième septième huitième neuvième "
     "dixième onzième douzième treizième quatorzième quinzième seizième dix-septième "
     "dix-huitième dix-neuvième vingtième"},
    {1, 1, true, "première seconde"},
    {30, 10, true, "trentième quarantième cinquantième soixantième"},
    {1, 1, false,
     "eins zwei drei vier fünf sechs sieben acht neun zehn elf zwölf dreizehn vierzehn "
     "fünfzehn sechzehn siebzehn achtzehn neunzehn"},
    {20, 10, false, "zwanzig dreißig vierzig fünfzig sechzig siebzig achtzig neunzig hundert"},
    {1, 1, false,
     "uno dos tres cuatro cinco seis siete ocho nueve diez once doce trece catorce quince "
     "dieciséis diecisiete dieciocho diecinueve veinte veintiuno veintidós veintitrés "
     "veinticuatro veinticinco veintiséis veintisiete veintiocho veintinueve treinta"},
    {40, 10, false, "cuarenta cincuenta sesenta setenta ochenta noventa ciento"},
    {1, 1, true,
     "primero segundo tercero cuarto quinto sexto séptimo octavo noveno décimo undécimo "
     "duodécimo decimotercero decimocuarto decimoquinto decimosexto decimoséptimo "
     "decimoctavo decimonoveno vigésimo"},
    {1, 1, true,
     "primera segunda tercera cuarta quinta sexta séptima octava novena décima undécima "
     "duodécima decimotercera decimocuarta decimoquinta decimosexta decimoséptima "
     "decimoctava decimonovena vigésima"},
    {30, 10, true, "trigésimo cuadragésimo quincuagésimo sexagésimo"},
    {1, 1, false,
     "uno due tre quattro cinque sei sette otto nove dieci undici dodici tredici "
     "quattordici quindici sedici diciassette diciotto diciannove"},
    {20, 10, false, "venti trenta quaranta cinquanta sessanta settanta ottanta novanta cento"},
    {1, 1, true,
     "primo secondo terzo quarto quinto sesto settimo ottavo nono decimo undicesimo "
     "dodicesimo tredicesimo quattordicesimo quindicesimo sedicesimo diciassettesimo "
     "diciottesimo diciannovesimo ventesimo"},
    {1, 1, true, "prima seconda terza quarta quinta sesta settima ottava nona decima"},
    {30, 10, true, "trentesimo quarantesimo cinquantesimo"},
    {1, 1, false,
     "um dois três quatro cinco seis sete oito nove dez onze doze treze catorze quinze "
     "dezesseis dezessete dezoito dezenove vinte"},
    {14, 1, false, "quatorze quinze dezasseis dezassete dezoito dezanove"},
    {30, 10, false, "trinta quarenta cinquenta sessenta setenta oitenta noventa cem"},
    {1, 1, true, "primeiro segundo terceiro quarto quinto sexto sétimo oitavo nono décimo"},
    {1, 1, true, "primeira segunda terceira quarta quinta sexta sétima oitava nona décima"},
    {20, 10, true, "vigésimo trigésimo quadragésimo quinquagésimo"},
    {1, 1, false,
     "один два три четыре пять шесть семь восемь девять десять одиннадцать двенадцать "
     "тринадцать четырнадцать пятнадцать шестнадцать семнадцать восемнадцать "
     "девятнадцать двадцать"},
    {1, 1, true, "الأول الثاني الثالث الرابع الخامس السادس السابع الثامن التاسع العاشر الحادي"},
    {1, 1, true, "الأولى الثانية الثالثة الرابعة الخامسة السادسة السابعة الثامنة التاسعة العاشرة"},
    {1, 1, true, "ראשון שני שלישי רביעי חמישי שישי שביעי שמיני תשיעי עשירי"},
    {1, 1, false, "nhất hai ba bốn năm sáu bảy tám chín mười"},
    {1, 1, false, "một nhì tam tư lăm"},
    {1, 1, false, "mốt"},
    {30, 10, false, "тридцать сорок пятьдесят шестьдесят семьдесят восемьдесят девяносто сто"},
};

constexpr NumberWords kRussianOrdinalStems[] = {
    {1, 1, true,
     "перв втор трет четверт пят шест седьм восьм девят десят одиннадцат двенадцат "
     "тринадцат четырнадцат пятнадцат шестнадцат семнадцат восемнадцат девятнадцат "
     "двадцат тридцат"},
    {4, 1, true, "четвёрт"},
    {40, 10, true, "сороков пятидесят шестидесят семидесят восьмидесят девяност сот"},
};
constexpr std::string_view kRussianOrdinalEndings[] = {"ый", "ой", "ий", "ая", "ья", "ое", "ье"};

constexpr std::string_view kGermanOrdinalStems[] = {
    "erst",      "zweit",     "dritt",     "viert",     "fünft",    "sechst",    "siebent",
    "acht",      "neunt",     "zehnt",     "elft",      "zwölft",   "dreizehnt", "vierzehnt",
    "fünfzehnt", "sechzehnt", "siebzehnt", "achtzehnt", "neunzehnt"};
constexpr std::string_view kGermanOrdinalEndings[] = {"e", "er", "es", "en"};
constexpr std::string_view kGermanUnits[] = {"ein",   "zwei",   "drei", "vier", "fünf",
                                             "sechs", "sieben", "acht", "neun"};
constexpr std::string_view kGermanTens[] = {"zwanzig", "dreißig", "vierzig", "fünfzig",
                                            "sechzig", "siebzig", "achtzig", "neunzig"};
constexpr std::string_view kItalianUnits[] = {"uno", "due",   "tre",  "quattro", "cinque",
                                              "sei", "sette", "otto", "nove"};
constexpr std::string_view kItalianTens[] = {"venti",    "trenta",   "quaranta", "cinquanta",
                                             "sessanta", "settanta", "ottanta",  "novanta"};

template <typename Use>
void ForEachWord(std::string_view words, Use use) {
  while (!words.empty()) {
    const size_t end = std::min(words.find(' '), words.size());
    use(words.substr(0, end));
    words.remove_prefix(std::min(end + 1, words.size()));
  }
}

void AddGermanWords(Words& words) {
  const auto addOrdinals = [&words](const std::string& stem, int value) {
    for (const std::string_view ending : kGermanOrdinalEndings) {
      words.emplace(stem + std::string(ending), Word{value, true});
    }
  };
  int value = 0;
  for (const std::string_view stem : kGermanOrdinalStems) addOrdinals(std::string(stem), ++value);
  addOrdinals("siebt", 7);
  int ten = 20;
  for (const std::string_view tenWord : kGermanTens) {
    addOrdinals(std::string(tenWord) + "st", ten);
    int unit = 0;
    for (const std::string_view unitWord : kGermanUnits) {
      const std::string word = std::string(unitWord) + "und" + std::string(tenWord);
      words.emplace(word, Word{ten + ++unit, false});
      addOrdinals(word + "st", ten + unit);
    }
    ten += 10;
  }
}

void AddItalianWords(Words& words) {
  int ten = 20;
  for (const std::string_view tenWord : kItalianTens) {
    int unit = 0;
    for (const std::string_view unitWord : kItalianUnits) {
      ++unit;
      const bool losesVowel = unit == 1 || unit == 8;
      std::string word(tenWord.substr(0, tenWord.size() - (losesVowel ? 1 : 0)));
      word += unitWord;
      words.emplace(word, Word{ten + unit, false});
      if (unit != 3 && unit != 6) word.pop_back();
      words.emplace(word + "esimo", Word{ten + unit, true});
    }
    ten += 10;
  }
}

Words MakeWords() {
  Words words;
  for (const NumberWords& row : kNumberWords) {
    int value = row.first;
    ForEachWord(row.words, [&](std::string_view word) {
      words.emplace(word, Word{value, row.isOrdinal});
      value += row.step;
    });
  }
  for (const NumberWords& row : kRussianOrdinalStems) {
    int value = row.first;
    ForEachWord(row.words, [&](std::string_view stem) {
      for (const std::string_view ending : kRussianOrdinalEndings) {
        words.emplace(std::string(stem) + std::string(ending), Word{value, true});
      }
      value += row.step;
    });
  }
  AddGermanWords(words);
  AddItalianWords(words);
  return words;
}

constexpr size_t kLongestWord = 40;  // bytes; "восемнадцатая" has 26

// The length of the word at the beginning: letters, and hyphens between them.
size_t WordLength(std::string_view text) {
  size_t length = 0;
  while (length < text.size() && length <= kLongestWord) {
    const Character c = CharacterAt(text, length);
    const bool joins = c.code == '-' && length > 0 && length + 1 < text.size() &&
                       IsLetter(CharacterAt(text, length + 1).code);
    if (!joins && (!IsLetter(c.code) || IsWide(c.code))) break;
    length += c.length;
  }
  return length;
}

// How words can begin, by their first two letters: most words of a text begin otherwise.
class Beginnings {
 public:
  explicit Beginnings(const Words& words) {
    for (const auto& [word, value] : words) known.set(PlaceOf(word));
  }

  bool Has(std::string_view text) const { return known.test(PlaceOf(text)); }

 private:
  static size_t PlaceOf(std::string_view text) {
    const size_t first = Letter(text, 0);
    return first == kForeign ? kOther : first << 6 | Letter(text, 1);
  }

  static size_t Letter(std::string_view text, size_t place) {
    const auto c = place < text.size() ? static_cast<unsigned char>(text[place]) : 0U;
    if (c >= 0x80) return kForeign;
    return IsLetter(c) ? c & 0x1FU : 0;  // of either case
  }

  static constexpr size_t kForeign = 0x20;
  static constexpr size_t kOther = 0;
  std::bitset<size_t{1} << 11> known;
};

// The longest number word at the beginning, with as many hyphens as the table has in it.
Numeral ReadWord(std::string_view text) {
  static const Words words = MakeWords();
  static const Beginnings beginnings(words);
  if (!beginnings.Has(text)) return {};
  std::string word = FoldedText(text.substr(0, WordLength(text)));
  while (!word.empty() && word.size() <= kLongestWord) {
    if (const auto found = words.find(word); found != words.end()) {
      return {found->second.value, word.size(),
              found->second.isOrdinal ? NumeralWriting::kOrdinal : NumeralWriting::kWords};
    }
    const size_t hyphen = word.rfind('-');
    word.resize(hyphen == std::string::npos ? 0 : hyphen);
  }
  return {};
}

// What may stand between the parts of a number: "twenty-one", "vingt et un", "treinta y uno".
size_t JoinerLength(std::string_view text) {
  static constexpr std::string_view kJoiners[] = {"-et-", " et ", " and ", " y ", " e ", "-", " "};
  const std::string head = FoldedText(text.substr(0, 5));
  const auto* found = std::find_if(std::begin(kJoiners), std::end(kJoiners),
                                   [&head](std::string_view j) { return head.starts_with(j); });
  return found == std::end(kJoiners) ? 0 : found->size();
}

// "الحادي عشر" is eleventh.
constexpr std::string_view kArabicTeen = " عشر";
constexpr int kArabicEleventh = 11;  // of its first word alone

// "mười một" is eleven, "hai mươi mốt" twenty-one.
constexpr std::string_view kVietnameseTen = "mười";
constexpr std::string_view kVietnameseTens = "mươi";

// A number that ends before the rest of a text, with the tens and the unit that follow it.
Numeral WithVietnameseTens(std::string_view text, Numeral sum) {
  const auto wordAt = [text](size_t at) {
    const size_t begin = at + (at < text.size() && text[at] == ' ' ? 1 : 0);
    return FoldedText(text.substr(begin, WordLength(text.substr(begin))));
  };
  if (sum.value < 10 && wordAt(sum.length) == kVietnameseTens) {
    sum = {sum.value * 10, sum.length + 1 + kVietnameseTens.size(), sum.writing};
  } else if (wordAt(0) != kVietnameseTen) {
    return {};
  }
  const std::string_view rest = text.substr(sum.length);
  const Numeral unit = rest.starts_with(' ') ? ReadWord(rest.substr(1)) : Numeral{};
  if (!unit || unit.value >= 10) return sum;
  return {sum.value + unit.value, sum.length + 1 + unit.length, sum.writing};
}

// What a number may have added to it: 20 and "one", 60 and "seize", 100 and "twenty".
int RoomAbove(int value, NumeralWriting writing) {
  if (value >= 100) return value % 100 == 0 ? 100 : 0;
  if (value == 60 || value == 80) return 20;
  if (value % 10 != 0 || value > 90) return 0;
  return value > 10 || writing == NumeralWriting::kOrdinal ? 10 : 0;
}

}  // namespace

Numeral ReadDigits(std::string_view text) {
  Numeral numeral;
  while (numeral.length < text.size()) {
    const Character c = CharacterAt(text, numeral.length);
    const int digit = DigitOf(c.code);
    if (digit < 0) break;
    numeral.value = std::min(numeral.value * 10 + digit, kLargest);
    numeral.length += c.length;
  }
  return numeral;
}

Numeral ReadHanNumeral(std::string_view text) {
  return ReadHan(text, false);
}

Numeral ReadSpacedHanNumeral(std::string_view text) {
  return ReadHan(text, true);
}

Numeral ReadRomanNumeral(std::string_view text) {
  if (text.empty()) return {};
  if (const Numeral single = UnicodeRoman(text)) return single;
  const bool isSmall = IsSmall(FirstOf(text));
  std::string letters;
  for (const char c : text) {
    const char upper = isSmall ? static_cast<char>(c - 0x20) : c;
    if (RomanDigit(static_cast<unsigned char>(upper)) == 0) break;
    letters += upper;
  }
  const int value = RomanValue(letters);
  if (value == 0) return {};
  const char32_t next =
      letters.size() < text.size() ? CharacterAt(text, letters.size()).code : U' ';
  if ((IsLetter(next) && !IsWide(next)) || IsDigit(next) || next == '\'' || next == 0x2019) {
    return {};
  }
  return {value, letters.size(), isSmall ? NumeralWriting::kSmallRoman : NumeralWriting::kRoman};
}

Numeral ReadHebrewNumeral(std::string_view text) {
  constexpr std::u32string_view kLetters = U"אבגדהוזחטיכלמנסעפצקרשת";
  constexpr size_t kMostLetters = 4;
  Numeral numeral;
  size_t letters = 0;
  int last = kLargest;
  while (numeral.length < text.size()) {
    const Character c = CharacterAt(text, numeral.length);
    const size_t place = kLetters.find(c.code);
    if (place != std::u32string_view::npos) {
      const int values[] = {1, 10, 100};
      const int value = static_cast<int>(place % 9 + 1) * values[place / 9];
      if (value > last || ++letters > kMostLetters) return {};
      last = value;
      numeral.value += value;
    } else if (c.code != 0x5F3 && c.code != 0x5F4 && c.code != '\'' && c.code != '"') {
      if (IsLetter(c.code)) return {};
      break;
    }
    numeral.length += c.length;
  }
  numeral.writing = NumeralWriting::kOrdinal;
  return letters == 0 ? Numeral{} : numeral;
}

Numeral ReadNumberWords(std::string_view text) {
  Numeral sum = ReadWord(text);
  if (sum && sum.value < 10) {  // "two hundred"
    const std::string_view rest = text.substr(sum.length);
    const Numeral next = ReadWord(rest.substr(JoinerLength(rest)));
    if (next && next.value == 100) {
      sum = {sum.value * 100, sum.length + JoinerLength(rest) + next.length, next.writing};
    }
  }
  if (sum && text.substr(sum.length).starts_with(kArabicTeen)) {
    const int unit = sum.value == kArabicEleventh ? 1 : sum.value;
    return {unit + 10, sum.length + kArabicTeen.size(), sum.writing};
  }
  if (const Numeral tens = sum ? WithVietnameseTens(text, sum) : sum) return tens;
  while (sum) {
    const int room = RoomAbove(sum.value, sum.writing);
    const std::string_view rest = text.substr(sum.length);
    const size_t joiner = JoinerLength(rest);
    if (room == 0 || joiner == 0) break;
    const Numeral next = ReadWord(rest.substr(joiner));
    if (!next || next.value >= room) break;
    sum = {sum.value + next.value, sum.length + joiner + next.length, next.writing};
  }
  return sum;
}

Numeral ReadNumeral(std::string_view text) {
  if (const Numeral digits = ReadDigits(text)) return digits;
  if (const Numeral han = ReadHanNumeral(text)) return han;
  if (const Numeral roman = ReadRomanNumeral(text)) return roman;
  return ReadNumberWords(text);
}

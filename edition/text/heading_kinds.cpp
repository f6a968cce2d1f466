// The table of kinds of headings.
#include "edition/text/heading_kinds.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace {

struct Kind {
  Rank rank;
  std::string_view words;     // before a number or, as in "First Part", behind it; lower case
  std::string_view counters;  // behind a number without a blank: 第三回
  std::string_view prefixes;  // before a number without a blank: 卷三
};

// A row is a unit; its words mean the same, in whatever language.
constexpr Kind kKinds[] = {
    {Rank::kChapter,
     "chapter chap chap. ch. chapitre kapitel capítulo capitulo capitolo capítol "
     "capitol capitulum caput hoofdstuk kapittel kafli luku rozdział rozdzial kapitola fejezet "
     "глава "
     "розділ раздел κεφάλαιο κεφαλαιο κεφάλαιον bölüm poglavlje поглавље chương bab "
     "บทที่ บท الفصل فصل פרק अध्याय peatükk nodaļa skyrius kapitulli",
     "章 장", ""},
    {Rank::kChapter, "hồi", "回 囘 囬", ""},
    {Rank::kChapter, "letter lettre brief carta lettera письмо brev list epistle épître", "封信 信",
     ""},
    {Rank::kChapter, "stave", "", ""},
    {Rank::kChapter, "canto chant gesang песнь pieśń", "曲 歌", ""},
    {Rank::kChapter,
     "adventure story tale fable lesson lecture sermon essay dialogue night day episode epizod "
     "история рассказ день ночь lektion leçon lección lezione abenteuer märchen conte cuento "
     "racconto fytte fit idyl idyll ode sonnet psalm hymn",
     "話 话 화 夜 課 课 講 讲", ""},
    {Rank::kChapter, "scene scène szene auftritt escena scena cena явление сцена", "場 场 齣 出 경",
     ""},
    {Rank::kChapter, "", "折 則 则 段 齋 帖", ""},
    {Rank::kChapter, "", "회", ""},
    {Rank::kSection, "section sektion abschnitt sección sezione seção § paragraph", "節 节 절", ""},
    {Rank::kVolume,
     "volume vol vol. tome band tomo volumen том tom bind díl köt kötet cilt quyển tập المجلد",
     "冊 册 輯 辑 巻 권", "巻"},
    {Rank::kVolume, "", "卷", "卷"},
    {Rank::kVolume,
     "book livre buch libro liber livro книга boek bok bog księga kniha könyv βιβλίο carte kitap "
     "ספר "
     "الكتاب",
     "本書 本书", ""},
    {Rank::kVolume,
     "part partie teil parte pars часть частина deel del osa część část rész μέρος dio kısım phần "
     "الجزء חלק भाग ภาค",
     "部分 部 부", ""},
    {Rank::kVolume, "", "集 집", ""},
    {Rank::kVolume, "", "篇 編 编 편", ""},
    {Rank::kVolume, "act acte akt aufzug acto atto ato действие", "幕 막", ""},
    {Rank::kVolume, "season arc cycle saga", "季", ""},
    {Rank::kSection, "appendix anhang appendice apéndice приложение annexe", "", "附錄 附录"},
};

struct Name {
  NamedPlace place;
  std::string_view names;  // separated by "|"
};

constexpr Name kNames[] = {
    {NamedPlace::kContents,
     "contents|table of contents|the contents|list of chapters|chapters|index of chapters|contents "
     "of the book|table|table des matières|table des matieres|sommaire|inhalt|inhaltsverzeichnis|"
     "inhalts-verzeichnis|índice|indice|contenido|índice de capítulos|sommario|indice dei "
     "capitoli|sumário|conteúdo|содержание|оглавление|зміст|inhoud|inhoudsopgave|innehåll|indhold|"
     "innhold|sisällys|spis treści|spis rzeczy|obsah|tartalom|tartalomjegyzék|περιεχόμενα|"
     "içindekiler|mục lục|目錄|目录|目次|目　錄|目　次|總目|总目|回目|總目錄|总目录|章节目录|"
     "章節目錄|차례|목차|المحتويات|الفهرس|תוכן העניינים|תוכן|विषय सूची|สารบัญ"},
    {NamedPlace::kRunning,
     "illustrations|list of illustrations|list of plates|list of maps|plates|maps|table des "
     "illustrations|table des gravures|abbildungen|verzeichnis der abbildungen|dramatis "
     "personæ|dramatis personae|persons represented|characters|list of characters|cast of "
     "characters|index"},
    {NamedPlace::kFront,
     "preface|the preface|author's preface|the author's preface|author’s preface|the author’s "
     "preface|preface to the first edition|preface to the second edition|editor's preface|"
     "editor’s preface|publisher's preface|foreword|introduction|an introduction|introductory|"
     "introductory note|general introduction|editor's introduction|editor’s introduction|"
     "translator's preface|translator’s preface|translator's introduction|translator's note|"
     "translator’s note|prologue|the prologue|prolog|prelude|overture|proem|dedication|the "
     "dedication|to the reader|author's note|author’s note|author’s introduction|author's "
     "introduction|note to the reader|advertisement|argument|the argument|apologue|etymology|"
     "préface|avant-propos|avertissement|prologue|introduction|dédicace|au lecteur|vorwort|"
     "vorrede|einleitung|einführung|geleitwort|widmung|prolog|vorspiel|vorbemerkung|prólogo|"
     "prefacio|introducción|advertencia|dedicatoria|al lector|prefazione|introduzione|proemio|"
     "prologo|prefácio|introdução|advertência|пролог|предисловие|введение|вступление|от автора|"
     "посвящение|передмова|voorwoord|inleiding|proloog|förord|inledning|forord|fortale|esipuhe|"
     "przedmowa|wstęp|předmluva|úvod|előszó|πρόλογος|önsöz|序|序言|序章|序文|自序|原序|前言|代序|"
     "總序|总序|序幕|序曲|序詞|序词|序詩|题记|題記|引|引子|引言|引首|楔子|弁言|敘|叙|緣起|缘起|"
     "前記|前记|前書き|まえがき|はしがき|はじめに|プロローグ|出版說明|出版说明|內容簡介|内容简介|"
     "簡介|简介|說明|说明|凡例|讀法|读法|題詞|题词|例言|作者的話|作者的话|作品相關|作品相关|"
     "개정판 서문|서문|머리말|프롤로그|서장|lời nói đầu|lời giới thiệu|lời tựa|مقدمة|المقدمة|"
     "הקדמה|מבוא|प्रस्तावना|भूमिका|คำนำ|บทนำ"},
    {NamedPlace::kBack,
     "epilogue|the epilogue|epilog|conclusion|the conclusion|afterword|postscript|l'envoi|l’envoi|"
     "envoi|finale|coda|notes|endnotes|footnotes|note|the notes|author's notes|appendix|the "
     "appendix|appendices|glossary|bibliography|acknowledgments|acknowledgements|about the author|"
     "transcriber's note|transcriber’s note|transcriber's notes|transcriber’s notes|épilogue|"
     "postface|conclusion|annexe|annexes|notes de bas de page|nachwort|epilog|schluss|schluß|"
     "anhang|anmerkungen|nachspiel|epílogo|conclusión|apéndice|notas|epilogo|conclusione|"
     "appendice|conclusão|эпилог|послесловие|заключение|примечания|приложение|епілог|epiloog|"
     "nawoord|epilogi|posłowie|zakończenie|doslov|utószó|επίλογος|sonsöz|後記|后记|後序|后序|跋|"
     "跋語|跋语|尾聲|尾声|終章|终章|末章|最終章|最终章|最終話|結語|结语|結局|大結局|大结局|後話|"
     "后话|附錄|附录|附記|附记|校點記|校勘記|校记|校記|完本感言|完结感言|完結感言|後書き|あとがき|"
     "おわりに|エピローグ|解説|注釋|注释|注解|註釋|에필로그|후기|맺음말|작가의 말|lời kết|lời bạt|"
     "خاتمة|الخاتمة|אחרית דבר|उपसंहार|บทส่งท้าย"},
    {NamedPlace::kBetween,
     "interlude|an interlude|intermezzo|intermission|entr'acte|entracte|zwischenspiel|interludio|"
     "интерлюдия|番外|番外篇|番外編|外傳|外传|外篇|特別篇|幕間|幕间|間章|间章|插曲|閑話|闲话|"
     "외전|번외"},
};

constexpr std::string_view kNoHeadingWords =
    "figure fig fig. table page p. pp. pg note footnote line verse stanza item question step rule "
    "example exercise plate no no. number january february march april may june july august "
    "september october november december jan feb mar apr jun jul aug sept oct nov dec february "
    "version release copyright isbn ebook etext illustration louis henry charles george william "
    "james edward richard philip napoleon pope january janvier février mars avril mai juin juillet "
    "août septembre octobre novembre décembre januar februar märz juni juli oktober dezember enero "
    "febrero marzo abril mayo junio julio agosto septiembre octubre noviembre diciembre type class "
    "grade phase level room apt unit world war at in on of the a an and or is was i error warning";

template <typename Use>
void ForEachPart(std::string_view all, char separator, Use use) {
  while (!all.empty()) {
    const size_t end = std::min(all.find(separator), all.size());
    if (end > 0) use(all.substr(0, end));
    all.remove_prefix(std::min(end + 1, all.size()));
  }
}

constexpr Unit UnitOfRow(size_t row) {
  return static_cast<Unit>(row + kFirstNamedUnit);
}

// The longest of the words of a column that a text begins with.
UnitMatch LongestMatch(std::string_view text, std::string_view Kind::*column) {
  UnitMatch best;
  for (size_t row = 0; row < std::size(kKinds); ++row) {
    ForEachPart(kKinds[row].*column, ' ', [&](std::string_view word) {
      if (word.size() > best.length && text.starts_with(word)) {
        best = {UnitOfRow(row), word.size()};
      }
    });
  }
  return best;
}

}  // namespace

Unit UnitOfWord(std::string_view folded) {
  static const auto units = [] {
    std::unordered_map<std::string_view, Unit> map;
    for (size_t row = 0; row < std::size(kKinds); ++row) {
      ForEachPart(kKinds[row].words, ' ',
                  [&](std::string_view word) { map.emplace(word, UnitOfRow(row)); });
    }
    return map;
  }();
  const auto found = units.find(folded);
  return found == units.end() ? kNoUnit : found->second;
}

UnitMatch UnitOfCounter(std::string_view text) {
  return LongestMatch(text, &Kind::counters);
}

UnitMatch UnitOfPrefix(std::string_view text) {
  return LongestMatch(text, &Kind::prefixes);
}

Rank RankOf(Unit unit) {
  const bool isNamed = unit >= kFirstNamedUnit && unit - kFirstNamedUnit < std::ssize(kKinds);
  return isNamed ? kKinds[unit - kFirstNamedUnit].rank : Rank::kChapter;
}

NamedPlace PlaceOfName(std::string_view folded) {
  static const auto places = [] {
    std::unordered_map<std::string_view, NamedPlace> map;
    for (const Name& row : kNames) {
      ForEachPart(row.names, '|', [&](std::string_view name) { map.emplace(name, row.place); });
    }
    return map;
  }();
  const auto found = places.find(folded);
  return found == places.end() ? NamedPlace::kNone : found->second;
}

size_t LongestName() {
  static const size_t longest = [] {
    size_t most = 0;
    for (const Name& row : kNames) {
      ForEachPart(row.names, '|',
                  [&](std::string_view name) { most = std::max(most, name.size()); });
    }
    return most;
  }();
  return longest;
}

bool IsNoHeadingWord(std::string_view folded) {
  static const auto words = [] {
    std::unordered_set<std::string_view> set;
    ForEachPart(kNoHeadingWords, ' ', [&set](std::string_view word) { set.insert(word); });
    return set;
  }();
  return words.contains(folded);
}

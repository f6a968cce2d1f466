// Words and writing directions by language.
#include "edition/epub/language.h"

#include <strings.h>

#include <algorithm>
#include <array>

namespace {

struct Row {
  std::string_view tag;
  LanguageWords words;
};

// Of tags that begin alike the longer one comes first.
constexpr Row kWords[] = {
    {"ar", {"المحتويات", "الغلاف"}},
    {"bg", {"Съдържание", "Корица"}},
    {"ca", {"Índex", "Coberta"}},
    {"cs", {"Obsah", "Obálka"}},
    {"da", {"Indhold", "Omslag"}},
    {"de", {"Inhalt", "Umschlag"}},
    {"el", {"Περιεχόμενα", "Εξώφυλλο"}},
    {"eo", {"Enhavo", "Kovrilo"}},
    {"es", {"Índice", "Cubierta"}},
    {"fa", {"فهرست", "جلد"}},
    {"fi", {"Sisällys", "Kansi"}},
    {"fr", {"Table des matières", "Couverture"}},
    {"he", {"תוכן העניינים", "כריכה"}},
    {"hi", {"विषय-सूची", "आवरण"}},
    {"hu", {"Tartalom", "Borító"}},
    {"id", {"Daftar Isi", "Sampul"}},
    {"it", {"Indice", "Copertina"}},
    {"ja", {"目次", "表紙"}},
    {"ko", {"차례", "표지"}},
    {"la", {"Index", "Tegumentum"}},
    {"nb", {"Innhold", "Omslag"}},
    {"nl", {"Inhoud", "Omslag"}},
    {"nn", {"Innhald", "Omslag"}},
    {"no", {"Innhold", "Omslag"}},
    {"pl", {"Spis treści", "Okładka"}},
    {"pt", {"Índice", "Capa"}},
    {"ro", {"Cuprins", "Copertă"}},
    {"ru", {"Содержание", "Обложка"}},
    {"sv", {"Innehåll", "Omslag"}},
    {"th", {"สารบัญ", "ปก"}},
    {"tr", {"İçindekiler", "Kapak"}},
    {"uk", {"Зміст", "Обкладинка"}},
    {"ur", {"فہرست", "سرورق"}},
    {"vi", {"Mục lục", "Bìa"}},
    {"zh-hant", {"目錄", "封面"}},
    {"zh-hk", {"目錄", "封面"}},
    {"zh-mo", {"目錄", "封面"}},
    {"zh-tw", {"目錄", "封面"}},
    {"zh", {"目录", "封面"}},
};
constexpr LanguageWords kEnglish = {"Contents", "Cover"};

constexpr std::string_view kRightToLeft[] = {"ar", "arc", "ckb", "dv", "fa", "he",
                                             "ps", "sd",  "syr", "ug", "ur", "yi"};

}  // namespace

bool IsLanguage(std::string_view language, std::string_view primary) {
  return language.size() >= primary.size() &&
         strncasecmp(language.data(), primary.data(), primary.size()) == 0 &&
         (language.size() == primary.size() || language[primary.size()] == '-');
}

LanguageWords WordsOf(std::string_view language) {
  const auto* row = std::find_if(std::begin(kWords), std::end(kWords), [&](const Row& candidate) {
    return IsLanguage(language, candidate.tag);
  });
  return row == std::end(kWords) ? kEnglish : row->words;
}

bool IsRightToLeft(std::string_view language) {
  return std::any_of(std::begin(kRightToLeft), std::end(kRightToLeft),
                     [&](std::string_view primary) { return IsLanguage(language, primary); });
}

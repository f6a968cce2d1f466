// Text pages: lines are gathered into paragraphs, paragraphs into numbered pages.
#include "base/utf8.h"
#include "builder/builder_state.h"
#include "builder/epub_base.h"

int EpubBase::StartPage() {
  ++pageNum;
  pageFile = std::make_unique<XMLFile>();
  return static_cast<int>(pageFile->InitHTML(std::to_string(pageNum).c_str()));
}

int EpubBase::AddTextLineToPage(const char* line) {
  std::string text;
  const int decision = LineProc(line, text, prevIndent, prevLineLen, maxLineLen);
  if (decision != 0 && decision != 1) return decision;
  if (decision == 1 && pageFile == nullptr) return EPUB_E_NO_TEXT_PAGE;

  // Lines are cut by their length, so a character can begin in one and end in the next. A whole
  // character comes to this page when the last one ended inside it.
  text.insert(0, state->torn.Take());
  if (decision == 0) {
    paraText += text;
    return EPUB_OK;
  }
  const std::string_view unfinished =
      std::string_view(paraText).substr(paraText.size() - UnfinishedUtf8Tail(paraText));
  const size_t belonging = Utf8Continuation(unfinished, text);
  paraText.append(text, 0, belonging);
  text.erase(0, belonging);

  if (const auto code = pageFile->AddTextLineToHtml(paraText.c_str()); code != EPUB_OK) {
    return static_cast<int>(code);
  }
  paraText = std::move(text);
  return EPUB_OK;
}

int EpubBase::AddFormToPage(const char* text, FormOperator op) {
  return pageFile == nullptr ? EPUB_E_FAILED : static_cast<int>(pageFile->AddFormToHtml(text, op));
}

int EpubBase::FlushParagraph() {
  const size_t whole = paraText.size() - UnfinishedUtf8Tail(paraText);
  const std::string torn = paraText.substr(whole);
  paraText.resize(whole);
  const auto code = pageFile->AddTextLineToHtml(paraText.c_str());
  paraText += torn;
  if (code != EPUB_OK) return static_cast<int>(code);
  state->torn.Begin(torn);
  paraText.clear();
  return EPUB_OK;
}

int EpubBase::EndPage() {
  if (pageFile == nullptr || opfFile == nullptr || ncxFile == nullptr) return EPUB_E_NO_PAGE;
  const std::string name = PageName(pageNum);
  const std::string path = bookDir + "/OEBPS/" + name;
  std::string paragraph = paraText;
  if (const int code = FlushParagraph(); code != EPUB_OK) return code;
  if (pageFile->SaveHtml(path.c_str()) != EPUB_OK) state->isIncomplete = true;
  state->torn.Keep(std::move(pageFile), path, std::move(paragraph));

  if (const auto code = opfFile->AddRecordToOpf(name.c_str()); code != EPUB_OK) {
    return static_cast<int>(code);
  }
  if (const auto code = ncxFile->AddRecordToNcx(name.c_str()); code != EPUB_OK) {
    return static_cast<int>(code);
  }
  prevIndent = 0;
  prevLineLen = 0;
  maxLineLen = 0;
  return EPUB_OK;
}

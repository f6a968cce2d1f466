// Keeps the beginning of a character, and the page before it, until the next line or the end.
#include "builder/torn_character.h"

#include <utility>

#include "fileutil/result_codes.h"

void TornCharacter::Begin(const std::string& beginning) {
  if (!beginning.empty()) bytes = beginning;
}

void TornCharacter::Keep(std::unique_ptr<XMLFile> page, const std::string& path,
                         std::string paragraph) {
  if (bytes.empty() || keptPage != nullptr) return;
  keptPage = std::move(page);
  keptPath = path;
  // After a picture the bytes belong to a paragraph before it, which has been written.
  keptParagraph = paragraph.empty() ? bytes : std::move(paragraph);
}

std::string TornCharacter::Take() {
  keptPage.reset();
  return std::exchange(bytes, {});
}

bool TornCharacter::Settle() {
  if (keptPage == nullptr) return true;
  keptPage->SetLastTextLine(keptParagraph.c_str());
  const bool isWritten = keptPage->SaveHtml(keptPath.c_str()) == EPUB_OK;
  Take();
  return isWritten;
}

// Which documents a text becomes, known before its lines are read again.
#ifndef KAVEPUB_TEXT_BOOK_PLAN_H
#define KAVEPUB_TEXT_BOOK_PLAN_H

#include <cstdint>
#include <vector>

#include "edition/text/chapters.h"
#include "edition/text/survey.h"

struct PlannedDocument {
  enum class Kind : std::uint8_t { kText, kList, kLicence };

  std::uint32_t line = 0;  // with which it begins
  Kind kind = Kind::kText;
};

struct BookPlan {
  std::vector<PlannedDocument> documents;  // in order, at least one
  std::vector<std::uint32_t> ofHeading;    // the number of the document of each heading
  std::uint32_t listBegin = UINT32_MAX;    // lines of the list of contents
  std::uint32_t listEnd = 0;               // its last one
};

BookPlan PlanBook(const SurveyResult& survey, const Structure& structure);

#endif

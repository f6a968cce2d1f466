// What was found out about books, as JSON.
#ifndef KAVEPUB_REPORT_JSON_H
#define KAVEPUB_REPORT_JSON_H

#include <nlohmann/json.hpp>

#include "hosts/kavepub/source/edition_job.h"

nlohmann::ordered_json AsJson(const BookReport::Chapter& chapter);
nlohmann::ordered_json AsJson(const BookWarning& warning);
nlohmann::ordered_json AsJson(const BookReport& report);

#endif

// The small conversions that are disturbed.
#ifndef KAV_EPUB_TESTS_SCENARIOS_H
#define KAV_EPUB_TESTS_SCENARIOS_H

#include <functional>
#include <map>
#include <string>

#ifdef KAV_ADDRESS_SANITIZER
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

// Makes a book in a working directory; the code with which it ends.
using Scenario = std::function<int(const char* workDir, const char* output)>;
extern const std::map<std::string, Scenario> kScenarios;

bool IsDocumented(int code);

#endif

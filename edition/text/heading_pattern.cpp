// Compiles expressions with PCRE2, whose work on a line is bounded.
#include "edition/text/heading_pattern.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <memory>

namespace {

constexpr std::uint32_t kMostSteps = 100'000;  // on one line; it is no heading then

class Pattern {
 public:
  explicit Pattern(pcre2_code* compiled)
      : code(compiled, pcre2_code_free),
        match(pcre2_match_data_create_from_pattern(compiled, nullptr), pcre2_match_data_free),
        context(pcre2_match_context_create(nullptr), pcre2_match_context_free) {
    if (match == nullptr || context == nullptr) throw std::bad_alloc();
    pcre2_set_match_limit(context.get(), kMostSteps);
  }

  bool Finds(std::string_view line) const {
    return pcre2_match(code.get(), reinterpret_cast<PCRE2_SPTR>(line.data()), line.size(), 0, 0,
                       match.get(), context.get()) >= 0;
  }

 private:
  std::unique_ptr<pcre2_code, decltype(&pcre2_code_free)> code;
  std::unique_ptr<pcre2_match_data, decltype(&pcre2_match_data_free)> match;
  std::unique_ptr<pcre2_match_context, decltype(&pcre2_match_context_free)> context;
};

}  // namespace

Result<IsHeadingLine> PatternOf(const std::string& expression) {
  if (expression.empty() || expression == "none") return IsHeadingLine();
  int error = 0;
  PCRE2_SIZE place = 0;
  pcre2_code* code =
      pcre2_compile(reinterpret_cast<PCRE2_SPTR>(expression.data()), expression.size(),
                    PCRE2_UTF | PCRE2_UCP, &error, &place, nullptr);
  if (code == nullptr) {
    PCRE2_UCHAR message[128] = "";
    pcre2_get_error_message(error, message, sizeof message);
    return Failure{KAVEPUB_E_ARGUMENT, "The expression for headings, \"" + expression +
                                           "\", is wrong at its character " +
                                           std::to_string(place + 1) + ": " +
                                           reinterpret_cast<const char*>(message) + "."};
  }
  const auto pattern = std::make_shared<Pattern>(code);
  return IsHeadingLine(
      [pattern](std::string_view line, std::uint32_t /*number*/) { return pattern->Finds(line); });
}

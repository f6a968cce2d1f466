// What the tool's processes and runs tell each other: it arrives as it was, and nonsense does no
// harm.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/mutations.h"
#include "hosts/kavepub/make/report_json.h"
#include "hosts/kavepub/record/journal_line.h"
#include "hosts/kavepub/work/work_message.h"
#include "hosts/kavepub/work/written.h"

namespace {

constexpr size_t kMessages = 200;
constexpr size_t kChanged = 20'000;

// Things with texts of all sorts of bytes, the same ones each time.
class Things {
 public:
  explicit Things(std::vector<std::string> allPieces) : pieces(std::move(allPieces)) {}

  size_t Below(size_t limit) { return random() % limit; }
  std::string Text() {
    std::string text;
    for (size_t left = Below(6); left > 0; --left) text += pieces[Below(pieces.size())];
    return text;
  }
  template <typename Make>
  auto Some(const Make& make) {
    std::vector<decltype(make())> made;
    for (size_t left = Below(4); left > 0; --left) made.push_back(make());
    return made;
  }

 private:
  std::vector<std::string> pieces;
  std::mt19937 random{7};  // NOLINT(cert-msc32-c,cert-msc51-cpp)
};

const std::vector<std::string> kPrintable = {"a", "chapter", " ",    "\\", "\"",
                                             "é", "书",      "\xFF", "%"};
const std::vector<std::string> kAnything = {"a",       "\n",   "\r", "\t", std::string(1, '\0'),
                                            "\x1B[2J", "\x7F", "é",  "书", "\xFF",
                                            "\"",      "/",    "\\u"};

Work AnyWork(Things& things) {
  Work work;
  work.task = static_cast<Work::Task>(things.Below(3));
  work.order.kind = static_cast<BookKind>(things.Below(5));
  work.order.inputs = things.Some([&] { return std::filesystem::path(things.Text()); });
  work.order.folder = things.Text();
  work.order.output = things.Text();
  work.options.edition = static_cast<Edition>(things.Below(2));
  work.options.chosen = things.Some([&] { return std::pair(things.Text(), things.Text()); });
  work.options.isAlone = things.Below(2) == 0;
  work.piped = things.Text();
  work.workDir = things.Text();
  return work;
}

Conversion AnyConversion(Things& things) {
  const auto warnings = [&] {
    return things.Some([&] { return BookWarning{things.Text(), things.Text()}; });
  };
  Conversion made{things.Text(), warnings()};
  if (things.Below(4) == 0) return made;
  const auto chapters = things.Some([&] {
    return BookReport::Chapter{things.Text(), static_cast<unsigned>(1 + things.Below(3)),
                               things.Below(1000)};
  });
  made.report =
      BookReport{things.Some([&] {
                   return std::pair(std::string("pages"), std::to_string(things.Below(99)));
                 }),
                 chapters, warnings()};
  return made;
}

JournalLine AnyLine(Things& things) {
  JournalLine line;
  line.name = "/" + things.Text();
  line.fate = static_cast<Fate>(things.Below(3));
  if (line.fate == Fate::kFailed) {
    line.cause = static_cast<Cause>(things.Below(4));
    line.reason = "has no text";
  }
  line.seconds = static_cast<double>(things.Below(5000)) / 8;
  line.bytesIn = things.Below(1 << 30);
  line.bytesOut = things.Below(1 << 30);
  line.host = "node";
  line.time = JournalLine::Time(std::chrono::milliseconds(things.Below(1'000'000'000)));
  return line;
}

bool IsHarmless(std::string_view text, std::string_view allowed = "") {
  return std::all_of(text.begin(), text.end(), [&](unsigned char c) {
    return (c >= ' ' && c != 0x7F) || allowed.find(static_cast<char>(c)) != std::string_view::npos;
  });
}

bool AreHarmless(const std::vector<BookWarning>& warnings) {
  return std::all_of(warnings.begin(), warnings.end(),
                     [](const BookWarning& warning) { return IsHarmless(warning.Text()); });
}

// All that is shown of a conversion.
bool IsHarmless(const Conversion& made) {
  if (!IsHarmless(made.remark) || !AreHarmless(made.warnings)) return false;
  if (!made.report) return true;
  const BookReport& report = *made.report;
  AsJson(report).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  return AreHarmless(report.warnings) &&
         std::all_of(report.facts.begin(), report.facts.end(),
                     [](const auto& fact) { return IsHarmless(fact.second, "\n"); }) &&
         std::all_of(report.chapters.begin(), report.chapters.end(),
                     [](const auto& chapter) { return IsHarmless(chapter.title); });
}

TEST(WorkMessages, ArriveAsTheyWere) {
  Things things(kAnything);
  for (size_t i = 0; i < kMessages; ++i) {
    const std::string sent = WriteWork(AnyWork(things));
    EXPECT_EQ(WriteWork(ReadWork(sent)), sent);
  }
  Things printable(kPrintable);
  for (size_t i = 0; i < kMessages; ++i) {
    const std::string sent = WriteEnd([&] { return AnyConversion(printable); });
    EXPECT_EQ(WriteEnd([&] { return ReadEnd(sent); }), sent);
  }
}

TEST(WorkMessages, ArriveAsTheFailuresTheyWere) {
  const std::function<void()> kThrown[] = {[] { throw Failure("a: is damaged", Cause::kDisk); },
                                           [] { throw Unsupported("no"); },
                                           [] { throw WrongUsage("no such title"); },
                                           [] { throw NotWritten(ENOSPC); },
                                           [] { throw Interrupted(); },
                                           [] { throw std::bad_alloc(); }};
  for (const auto& thrown : kThrown) {
    const std::string sent = WriteEnd([&]() -> Conversion {
      thrown();
      return {};
    });
    EXPECT_EQ(WriteEnd([&] { return ReadEnd(sent); }), sent);
  }
}

// A cell that was taken over says what it likes.
TEST(WorkMessages, AreHarmlessWhateverTheyAre) {
  Things things(kAnything);
  std::vector<std::string> seeds = {WriteEnd([]() -> Conversion { throw Failure("a\x1B[2J"); })};
  for (size_t i = 0; i < kMessages; ++i) {
    seeds.push_back(WriteEnd([&] { return AnyConversion(things); }));
  }
  Mutations mutations(seeds, {"\x1B[2J", "pages", "-1", std::string(8, '\xFF')});
  size_t taken = 0;
  for (size_t i = 0; i < kChanged; ++i) {
    try {
      const Conversion made = ReadEnd(i < seeds.size() ? seeds[i] : mutations.Next());
      EXPECT_TRUE(IsHarmless(made));
      ++taken;
    } catch (const std::exception& failure) {
      EXPECT_TRUE(IsHarmless(Explain(failure)));
    }
  }
  EXPECT_GT(taken, kMessages);
}

TEST(JournalLines, ArriveAsTheyWere) {
  Things things(kAnything);
  JournalReader reader;
  for (size_t i = 0; i < kMessages; ++i) {
    const JournalLine line = AnyLine(things);
    const std::string text = TextOf(line);
    ASSERT_EQ(std::count(text.begin(), text.end(), '\n'), 1);
    const JournalLine* read = reader.Read(std::string_view(text).substr(0, text.size() - 1));
    ASSERT_NE(read, nullptr) << text;
    EXPECT_EQ(TextOf(*read), text);
  }
}

TEST(JournalLines, AreSoundOrNone) {
  Things things(kAnything);
  std::vector<std::string> seeds;
  for (size_t i = 0; i < kMessages; ++i) seeds.push_back(TextOf(AnyLine(things)));
  Mutations mutations(seeds,
                      {"1e999", "-1", "\"name-bytes\"", "null", "\"result\":\"done\"", "{", "}"});
  JournalReader reader;
  size_t taken = 0;
  for (size_t i = 0; i < kChanged; ++i) {
    const JournalLine* line = reader.Read(mutations.Next());
    if (line == nullptr) continue;
    EXPECT_TRUE(line->seconds >= 0 && line->seconds <= 1e9);
    EXPECT_NE(reader.Read(TextOf(JournalLine(*line))), nullptr);
    ++taken;
  }
  EXPECT_GT(taken, kMessages);
}

}  // namespace

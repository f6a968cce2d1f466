// Pages from those who mean harm: what they cost, what becomes of them, and what they may reach.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <ctime>
#include <filesystem>
#include <string>
#include <thread>

#include "builder/epub_base.h"
#include "data_rows.h"
#include "temp_dir.h"
#include "xml_text.h"

namespace {

namespace fs = std::filesystem;

// Ten times as much may take twenty times as long; what grows with the square takes a hundred.
constexpr size_t kMore = 10;
constexpr double kMostTimes = 20;
constexpr double kTooShort = 0.004;  // seconds, of which no ratio can be told
constexpr int kTrials = 3;
// What a book may make of one byte: a link to nothing becomes a text that looks like one.
constexpr size_t kMostPerByte = 20;

double Seconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// A site beside secrets, and a book that is made of it.
struct Attack {
  Attack() {
    dir.Write("secret", "secret");
    dir.Write("site/two.html", "<body><p>two");
    fs::create_directory(dir / "work");
  }

  int Import(const std::string& page) {
    dir.Write("site/page.html", page);
    EpubBase book;
    if (const int code = book.Init((dir / "work").c_str(), "", ""); code != 0) return code;
    const int code = book.AddHTHLToEpub((dir / "site/page.html").c_str());
    return code == 0 ? book.GenerateEpub((dir / "book.epub").c_str()) : code;
  }
  std::string Made(const std::string& name) const {
    return ReadFile(dir / ("work/epub_temp/epub/OEBPS/" + name));
  }

  TempDir dir;
};

TEST(HostilePage, CostsWhatItsSizeCosts) {
  for (const auto& row : DataRows("page_costs.txt", 5)) {
    SCOPED_TRACE(row[0]);
    double least[2] = {1e9, 1e9};
    for (int trial = 0; trial < kTrials; ++trial) {
      for (const int size : {0, 1}) {
        const size_t times = std::stoul(row[4]) * (size == 0 ? 1 : kMore);
        const std::string page = row[1] + Repeated(row[2], times) + row[3];
        Attack attack;
        const double start = Seconds();
        EXPECT_EQ(attack.Import(page), 0);
        least[size] = std::min(least[size], Seconds() - start);
        if (trial > 0) continue;
        const std::string made = attack.Made("page-1.html");
        EXPECT_NE(ParseXml(made), nullptr);
        EXPECT_LT(made.size(), page.size() * kMostPerByte + 4096);
        EXPECT_EQ(made.find("root:"), std::string::npos);
      }
      if (least[1] < kMostTimes * std::max(least[0], kTooShort)) break;
    }
    EXPECT_LT(least[1], kMostTimes * std::max(least[0], kTooShort));
  }
}

// A link is put in the place of a picture, and taken away again, all the time.
TEST(HostileSite, WinsNoRaceForAFileOutside) {
  Attack attack;
  const std::string picture = attack.dir / "site/p.png";
  const std::string link = attack.dir / "site/link";
  const std::string honest = attack.dir.Write("site/honest", "honest");
  std::atomic<bool> isOver = false;
  std::thread racer([&] {
    while (!isOver) {
      fs::create_symlink(attack.dir / "secret", link);
      fs::rename(link, picture);
      fs::copy_file(honest, link);
      fs::rename(link, picture);
    }
  });
  int books = 0;
  for (int trial = 0; trial < 200; ++trial) {
    books += attack.Import("<body><img src=p.png>") == 0 ? 1 : 0;
    EXPECT_NE(attack.Made("p.png"), "secret");
  }
  isOver = true;
  racer.join();
  EXPECT_GT(books, 0);
}

}  // namespace

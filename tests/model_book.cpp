// Writes a book of random documents that says itself what is to be where: every block has the next
// number, every link and every entry of the contents has the id that it leads to as its text, and
// every id is its element's text.
//
// model_book SEED THREADS OUTPUT [PAGES]; with a number of pages, only that many short ones.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>

#include "edition/book/markup.h"
#include "edition/epub/epub_writer.h"
#include "tests/temp_dir.h"

namespace {

class FileOutput : public Output {
 public:
  explicit FileOutput(const char* path) : file(path, std::ios::binary) {}
  Status Write(std::string_view bytes) override {
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file) return Failure{KAVEPUB_E_OUTPUT, "cannot be written"};
    return Done();
  }

 private:
  std::ofstream file;
};

const std::string kPictures[] = {
    ReadFile(KAV_TEST_DATA "/fixtures/mobi/source/photo.jpg"),
    ReadFile(KAV_TEST_DATA "/fixtures/mobi/source/map.png"),
    ReadFile(KAV_TEST_DATA "/fixtures/mobi/source/sign.gif"),
    "<?xml version=\"1.0\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" version=\"1.1\" "
    "width=\"9\" height=\"9\"><rect width=\"5\" height=\"5\"/></svg>"};
constexpr const char* kPictureNames[] = {
    "a.png", "../A.PNG",  "page-1.xhtml", "图 \"1\".jpeg", ".hidden", "toc.ncx",
    "",      "style.css", "a-2.jpg",      "dir/b.tar.gz",  "cover"};
constexpr const char* kLanguages[] = {"en", "zh-Hant", "ar", "ja", "de-AT", "tlh", "", "not a tag"};
constexpr const char* kTitles[] = {"A & B", "<\"紅樓夢\">", "\x01", "كتاب", "Two\nlines", "\xFF"};

class Model {
 public:
  Model(unsigned seed, BookSink& book) : random(seed), sink(book) {
    documents = 1 + Below(12);
    for (size_t document = 0; document < documents; ++document) ids.push_back(Below(40));
  }

  Status Write() {
    if (Status status = sink.Begin(About()); !status) return status;
    if (Below(2) == 0) {
      if (Status status = sink.AddCover({"c", "", kPictures[Below(4)]}); !status) return status;
    }
    for (size_t document = 0; document < documents; ++document) {
      if (Status status = WriteDocument(document); !status) return status;
    }
    std::vector<ContentsEntry> contents;
    if (Below(5) > 0) contents = Contents();
    return sink.Finish(std::move(contents));
  }

 private:
  size_t Below(size_t limit) { return random() % limit; }

  template <size_t count>
  const char* OneOf(const char* const (&texts)[count]) {
    return texts[Below(count)];
  }

  Metadata About() {
    Metadata metadata;
    metadata.title = OneOf(kTitles);
    metadata.language = OneOf(kLanguages);
    metadata.contributors = {{OneOf(kTitles), "", "aut"}, {"T. R.", "R., T.", "trl"}};
    metadata.date = Below(2) == 0 ? "1813-01-28" : "long ago";
    metadata.description = OneOf(kTitles);
    metadata.subjects = {OneOf(kTitles), "Love"};
    metadata.identifiers = {{"ISBN", "9780141439518"}, {"", OneOf(kTitles)}};
    metadata.series = OneOf(kTitles);
    metadata.seriesIndex = "2";
    return metadata;
  }

  static std::string Id(size_t document, size_t number) {
    return std::string("d").append(std::to_string(document) + "-" + std::to_string(number));
  }

  std::string Link(size_t from) {
    const size_t to = Below(documents);
    if (ids[to] == 0) return "<a class=\"plain\" href=\"" + sink.ReferenceTo(to) + "\">x</a>";
    const std::string id = Id(to, Below(ids[to]));
    const bool isShort = to == from && Below(2) == 0;
    return "<a href = '" + (isShort ? "" : sink.ReferenceTo(to)) + "#" + id + "'>" + id + "</a>";
  }

  Result<std::string> Block(size_t document, size_t id) {
    std::string block = std::string("<p class=\"n\">").append(std::to_string(blocks++)) + "</p>";
    if (id < ids[document]) {
      const std::string name = Id(document, id);
      block += "<h2\n id=\"" + name + "\" >" + name + "</h2>";
    }
    block += "<p>href=\"#none\" id=\"d0-0\" " + Link(document) + " " + Link(document);
    if (Below(40) == 0) {
      const Result<std::string> name =
          sink.Add(Resource{OneOf(kPictureNames), "", kPictures[Below(4)]});
      if (!name) return name;
      block += "<img src=\"" + *name + "\" alt=\"\"/>";
    }
    constexpr size_t kLongest = 10'000;
    const size_t longest = Below(50) == 0 ? 40 * kLongest : kLongest;
    return block + std::string(Below(longest), 'x') + "</p>\n";
  }

  Status WriteDocument(size_t number) {
    Document document;
    document.title = OneOf(kTitles);
    document.role = number == 0 && Below(2) == 0 ? Document::Role::kTitlePage
                    : Below(9) == 0              ? Document::Role::kBackMatter
                                                 : Document::Role::kText;
    if (Below(4) == 0) document.language = "he";
    bool isFirst = true;
    BlockRun* run = &document;
    BlockRun piece;
    const auto hand = [&]() {
      Status status = isFirst ? sink.Add(std::move(document)) : sink.Continue(std::move(piece));
      isFirst = false;
      piece = {};
      run = &piece;
      return status;
    };
    const size_t count = std::max(ids[number], Below(60));
    for (size_t block = 0; block < count; ++block) {
      Result<std::string> markup = Block(number, block);
      if (!markup) return markup.Why();
      run->body += *markup;
      run->breaks.push_back(run->body.size());
      if (Below(20) != 0) continue;
      if (Status status = hand(); !status) return status;
    }
    return hand();
  }

  std::vector<ContentsEntry> Contents() {
    std::vector<ContentsEntry> contents;
    for (size_t document = 0; document < documents; ++document) {
      ContentsEntry entry{"document", document, "", 0, {}};
      for (size_t id = 0; id < ids[document]; ++id) {
        const std::string name = Id(document, id);
        entry.children.push_back({name, document, name, 0, {}});
      }
      contents.push_back(std::move(entry));
    }
    return contents;
  }

  std::mt19937 random;
  BookSink& sink;
  size_t documents = 0;
  std::vector<size_t> ids;  // how many each document has
  size_t blocks = 0;
};

Status WriteShortPages(size_t count, BookSink& sink) {
  if (Status status = sink.Begin({}); !status) return status;
  std::vector<ContentsEntry> contents;
  for (size_t number = 0; number < count; ++number) {
    Document document;
    document.title = std::to_string(number);
    for (size_t line = 0; line < 20; ++line) {
      document.body +=
          std::string("<p class=\"n\">").append(std::to_string(number * 20 + line)) + "</p>\n";
    }
    if (Status status = sink.Add(std::move(document)); !status) return status;
    contents.push_back({"document", number, "", 0, {}});
  }
  return sink.Finish(std::move(contents));
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 4) return 2;
  FileOutput output(arguments[3]);
  EpubOptions options;
  options.threads = static_cast<unsigned>(std::atoi(arguments[2]));
  EpubWriter writer(options, output);
  const auto seed = static_cast<unsigned>(std::atoi(arguments[1]));
  const Status status = count > 4
                            ? WriteShortPages(static_cast<size_t>(std::atoi(arguments[4])), writer)
                            : Model(seed, writer).Write();
  if (!status) std::puts(status.Why().message.c_str());
  return status ? 0 : 1;
}

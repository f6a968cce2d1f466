// Measures single parts of the engine, and how their cost grows with their input.
//
//   microbench PLAN [--benchmark_...]
//
// PLAN is the plan of a book of text, whose pages are the sample for the parts that read text.
#include <benchmark/benchmark.h>
#include <libdeflate.h>
#include <zlib.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "base/text_gate.h"
#include "bench/plan.h"
#include "builder/epub_base.h"
#include "package/xml_file.h"
#include "platform/kav_ebase/kav_ebase.h"
#include "xml/xml_base.h"

namespace {

namespace fs = std::filesystem;
using benchmark::State;

std::vector<std::string>& Pages() {
  static std::vector<std::string> pages;
  return pages;
}

// Pages, again and again, up to a size.
std::string Sample(size_t size) {
  std::string text;
  for (size_t page = 0; text.size() < size; ++page) text += Pages()[page % Pages().size()];
  text.resize(size);
  return text;
}

class ScratchDir {
 public:
  ScratchDir() : name((fs::temp_directory_path() / "kav-microbench-XXXXXX").string()) {
    if (mkdtemp(name.data()) == nullptr) std::abort();
  }
  ~ScratchDir() { fs::remove_all(name); }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  fs::path operator/(const std::string& file) const { return name / fs::path(file); }

 private:
  std::string name;
};

size_t Size(const State& state) {
  return static_cast<size_t>(state.range(0));
}

void CountBytes(State& state, size_t size) {
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(size));
}

void LineClassifier(State& state) {
  const std::string line = "  " + Sample(Size(state)) + "\n";
  EpubBase builder;
  std::string out;
  for (auto _ : state) {
    int indent = 0;
    int length = 0;
    int longest = 70;
    benchmark::DoNotOptimize(builder.LineProc(line.c_str(), out, indent, length, longest));
  }
  CountBytes(state, line.size());
  state.SetComplexityN(state.range(0));
}
BENCHMARK(LineClassifier)->RangeMultiplier(8)->Range(64, 1 << 18)->Complexity();

void TextGate(State& state) {
  const std::string text = Sample(Size(state));
  for (auto _ : state) benchmark::DoNotOptimize(ToXmlText(text));
  CountBytes(state, text.size());
  state.SetComplexityN(state.range(0));
}
BENCHMARK(TextGate)->RangeMultiplier(8)->Range(64, 1 << 18)->Complexity();

// A look-up by a path in a package document of n items, and nothing else but a constant attribute.
void NodePathLookup(State& state) {
  XMLBase document;
  document.InitForOpf();
  document.AddXMLNode(nullptr, "package", nullptr);
  document.AddXMLNode("package", "manifest", nullptr);
  for (size_t i = 0; i < Size(state); ++i) {
    document.AddXMLNode("package/manifest", "item", nullptr);
  }
  document.AddXMLNode("package", "spine", nullptr);
  for (auto _ : state) {
    benchmark::DoNotOptimize(document.SetNodeAttribute("package/manifest", "id", "x"));
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(NodePathLookup)->RangeMultiplier(10)->Range(1000, 100000)->Complexity();

// A manifest and a spine of n pages from nothing.
void PackageRecords(State& state) {
  for (auto _ : state) {
    XMLFile package;
    package.InitOpfFile("", "");
    for (size_t i = 0; i < Size(state); ++i) {
      package.AddRecordToOpf(std::string("page-").append(std::to_string(i) + ".html").c_str());
    }
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(PackageRecords)
    ->RangeMultiplier(10)
    ->Range(1000, 100000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

// Pages that grow in one way each; {} is a number of the repeated piece.
constexpr struct {
  const char* name;
  const char* begin;
  const char* piece;
  const char* end;
} kPages[] = {
    {"usual faults", "",
     "<p align=center id=i{}><font>one</font> <a href=#i{} onclick=x>two</a>\n"
     "<center><nobr>three</nobr> & <b>four<i> five</b></i></center>\n",
     ""},
    {"elements", "", "<p>text</p>\n", ""},
    {"ids and fragments", "", "<p id=i{}><a href=#i{}>x</a><a href=#none{}>y</a></p>", ""},
    {"bad elements in a body", "", "<center>x</center>", ""},
    {"bad elements in a div", "<div>", "<font>x</font><u>y</u>", "</div>"},
    {"bad objects in a paragraph", "<p>", "<object>x</object>", "</p>"},
    {"bad elements in a list", "<ul>", "<font>x</font>", "</ul>"},
    {"bad elements in an unknown one", "<d>", "<center>x</center>", "</d>"},
    {"links in a list", "<ul>", "<a href=#x>x</a>", "</ul>"},
    {"bad attributes of one element", "<p", " a{}=v", ">x</p>"},
    {"bad attributes of many", "", "<p align=left nonsense=1>x</p>", ""},
    {"nested elements", "", "<div><b>", ""},
    {"nested elements and stray ends", "", "<div></i>", ""},
    {"duplicate ids", "", "<p id=same>x</p>", ""},
    {"one line", "", "word ", ""},
};

// From the file to the repaired tree.
void RepairWalk(State& state, const auto& shape) {
  const ScratchDir dir;
  std::ofstream(dir / "strict.dtd") << kXhtml1StrictDtd[0];
  std::ofstream page(dir / "page.html");
  page << "<html><body>" << shape.begin;
  for (size_t i = 0; i < Size(state); ++i) {
    std::string piece = shape.piece;
    for (size_t at; (at = piece.find("{}")) != std::string::npos;) {
      piece.replace(at, 2, std::to_string(i));
    }
    page << piece;
  }
  page << shape.end << "</body></html>";
  page.close();
  for (auto _ : state) {
    XMLBase document;
    document.Init();
    const int code = document.HtmlProcess((dir / "page.html").c_str(), (dir / "").c_str(), "Page",
                                          (dir / "strict.dtd").c_str());
    if (code != EPUB_OK) state.SkipWithError("the page cannot be repaired");
  }
  state.SetComplexityN(state.range(0));
}

void RegisterRepairWalks() {
  for (const auto& shape : kPages) {
    const std::string name = std::string("RepairWalk, ") + shape.name;
    benchmark::RegisterBenchmark(name.c_str(), [&shape](State& state) { RepairWalk(state, shape); })
        ->RangeMultiplier(10)
        ->Range(1000, 100000)
        ->Unit(benchmark::kMillisecond)
        ->Complexity();
  }
}

// The import of n pages, each of which links to the next.
void PageChain(State& state) {
  const ScratchDir dir;
  for (size_t i = 0; i < Size(state); ++i) {
    std::ofstream(dir / (std::to_string(i) + ".html")) << "<a href=" << i + 1 << ".html>next</a>";
  }
  for (auto _ : state) {
    EpubBase book;
    book.Init((dir / "").c_str(), "", "");
    const int code = book.AddHTHLToEpub((dir / "0.html").c_str());
    if (code != EPUB_OK) state.SkipWithError("the pages cannot be imported");
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(PageChain)
    ->RangeMultiplier(10)
    ->Range(100, 10000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

// A directory of n pages into a container, synchronised with the disk.
void Packer(State& state) {
  const ScratchDir dir;
  fs::create_directories(dir / "book/OEBPS");
  std::ofstream(dir / "book/mimetype") << "application/epub+zip";
  for (size_t i = 0; i < Size(state); ++i) {
    std::ofstream(dir / ("book/OEBPS/" + std::to_string(i))) << Pages()[i % Pages().size()];
  }
  for (auto _ : state) {
    const int code = Kav_CreateEpubFromDir((dir / "book").c_str(), (dir / "book.epub").c_str());
    if (code != KAV_EBASE_OK) state.SkipWithError("the directory cannot be packed");
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(Packer)
    ->RangeMultiplier(10)
    ->Range(100, 10000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

// The pages deflated one by one, as the packer does it, at each level; and what is left of them.
void Deflate(State& state, const auto& deflatedSize) {
  size_t before = 0;
  size_t after = 0;
  for (auto _ : state) {
    before = after = 0;
    for (const std::string& page : Pages()) {
      before += page.size();
      after += deflatedSize(page);
    }
  }
  CountBytes(state, before);
  state.counters["percent"] = 100.0 * static_cast<double>(after) / static_cast<double>(before);
}

void Libdeflate(State& state) {
  libdeflate_compressor* compressor = libdeflate_alloc_compressor(static_cast<int>(state.range(0)));
  std::string out;
  Deflate(state, [&](const std::string& page) {
    out.resize(libdeflate_deflate_compress_bound(compressor, page.size()));
    return libdeflate_deflate_compress(compressor, page.data(), page.size(), out.data(),
                                       out.size());
  });
  libdeflate_free_compressor(compressor);
}
BENCHMARK(Libdeflate)->DenseRange(1, 12)->Unit(benchmark::kMillisecond);

void Zlib(State& state) {
  z_stream stream{};
  deflateInit2(&stream, static_cast<int>(state.range(0)), Z_DEFLATED, -MAX_WBITS, MAX_MEM_LEVEL,
               Z_DEFAULT_STRATEGY);
  std::string out;
  Deflate(state, [&](const std::string& page) {
    deflateReset(&stream);
    out.resize(deflateBound(&stream, page.size()));
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(page.data()));  // only read
    stream.avail_in = static_cast<uInt>(page.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    deflate(&stream, Z_FINISH);
    return stream.total_out;
  });
  deflateEnd(&stream);
}
BENCHMARK(Zlib)->Arg(1)->Arg(6)->Arg(9)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  PlanReader plan(argc > 1 ? argv[1] : "");
  for (PlanEntry entry; plan.Next(entry);) {
    if (entry.name.ends_with(".html")) Pages().push_back(entry.bytes);
  }
  if (Pages().empty()) {
    std::fprintf(stderr, "Usage: microbench PLAN [--benchmark_...]\n");
    return 2;
  }
  RegisterRepairWalks();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}

// What the operations of scripts are called, and what each of them does.
#include "script_world.h"

namespace {

int pastSeconds = -1;  // from when the clock goes on by one at each look

}  // namespace

// The clock that the libraries look at.
extern "C" __attribute__((visibility("default"))) time_t time(time_t* place) noexcept {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  if (pastSeconds >= 0) now.tv_sec += ++pastSeconds;
  if (place != nullptr) *place = now.tv_sec;
  return now.tv_sec;
}

World::World()
    : operations{
          {"of", [this] { return object = all + " ", 0; }},

          // Files
          {"$", [this] { return Shell(all); }},
          {"write", [this] { return Plant("", all); }},
          {"write-in", [this] { return Plant(words[0] + "/", words[1]); }},
          {"random", [this] { return dir.Write(words[0], RandomBytes(Count(1))), 0; }},
          {"deepen", [this] { return Deepen(Path(0), Number(1), Count(2), words[3]); }},
          {"many", [this] { return Many(words[0], Number(1)); }},
          {"show", [this] { return Content(all); }},
          {"time-aside", [this] { return WithoutTime(Content(all)); }},
          {"same", [this] { return Content(words[0]) == Content(words[1]) ? 0 : 1; }},
          {"files", [this] { return Joined(FilesBelow(Path()), " "); }},
          {"remember", [this] { return before = Tree(), 0; }},
          {"added", [this] { return Added(); }},
          {"gone", [this] { return Gone(); }},
          {"well-formed", [this] { return ParseXml(Content(all)) == nullptr ? 1 : 0; }},
          {"find", [this] { return Joined(Found(words[0], words[1]), "|"); }},
          {"referred", [this] { return Referred(words[0], words[1]); }},
          {"body", [this] { return BodyOf(Content(all)); }},
          {"paragraphs", [this] { return Paragraphs(); }},

          // What a script must not do to its own process
          {"nobody", [] { return BecomeNobody(); }},
          {"limit", [this] { return Limit(words[0], static_cast<rlim_t>(Number(1))); }},
          {"disk", [this] { return MountDisk(Path(0), Text(1)); }},
          {"mortal", [] { return std::signal(SIGXFSZ, SIG_DFL), 0; }},
          {"umask", [this] { return umask(static_cast<mode_t>(std::stoi(all, nullptr, 8))), 0; }},
          {"zone", [this] { return setenv("TZ", Text(), 1), tzset(), 0; }},
          {"go", [this] { return chdir(Path()); }},
          {"become-root", [this] { return BecomeRoot(); }},
          {"haste", [] { return pastSeconds = 0; }},
          {"without-unnamed-files", [] { return DenyUnnamedFiles(); }},

          // Files, by the libraries
          {"copy", [this] { return CopyFile(Path(0), Path(1)); }},
          {"tree", [this] { return CopyFileOrDir(Path(0), Path(1)); }},
          {"move", [this] { return MoveDir(Path(0), Path(1)); }},
          {"touch", [this] { return CreateFile(Path(0)), 0; }},
          {"name-of", [this] { return PartOfPath(true); }},
          {"folder-of", [this] { return PartOfPath(false); }},
          {"is-empty", [this] { return KavIsStrNullOrEmpty(Text()) != 0; }},
          {"kind", [this] { return Kind(); }},
          {"make", [this] { return KavMkdir(Path()) != 0; }},
          {"delete", [this] { return KavDeleteDir(Path()) != 0; }},
          {"directory-of", [this] { return Taken(KavGetRunDirectory(Text())); }},
          {"time", [this] { return Taken(KavGetLocalCurrentTime(Text(0), std::stoi(words[1]))); }},
          {"is-now",
           [] {
             return std::labs(std::stol(Taken(KavGetLocalCurrentTime("%s", 16))) - time(nullptr)) >
                    1;
           }},
          {"pack", [this] { return Kav_CreateEpubFromDir(Path(0), Path(1)); }},
          {"bare-pack", [this] { return Kav_CreateEpubFromDir(Text(0), Text(1)); }},
          {"entries", [this] { return Shell("python3 " KAV_TEST_DATA "/list_entries.py " + all); }},

          // A book
          {"begin",
           [this] { return book = std::make_unique<EpubBase>(), book->Init(Path(), "T", "A"); }},
          {"begin-again", [this] { return book->Init(Path(), nullptr, nullptr); }},
          {"fresh", [this] { return book = std::make_unique<EpubBase>(), 0; }},
          {"start", [this] { return book->StartPage(); }},
          {"line", [this] { return book->AddTextLineToPage(Text()); }},
          {"end", [this] { return book->EndPage(); }},
          {"cover", [this] { return book->AddCoverImageToEpub(Path()); }},
          {"sheet", [this] { return book->AddImageToEpub(Path()); }},
          {"picture", [this] { return book->AddImageToPage(Path()); }},
          {"bare-cover", [this] { return book->AddCoverImageToEpub(Text()); }},
          {"bare-sheet", [this] { return book->AddImageToEpub(Text()); }},
          {"cell", [this] { return book->AddFormToPage(Text(), FormCell); }},
          {"row", [this] { return book->AddFormToPage("", FormRow); }},
          {"table", [this] { return book->AddFormToPage("", FormTable); }},
          {"mimetype", [this] { return book->GenerateMimetypeFile(); }},
          {"css", [this] { return book->GenerateCSSFile(); }},
          {"rules", [this] { return book->AppendPropToCSS(Text()); }},
          {"root", [this] { return book->SetImportRoot(Path()), 0; }},
          {"encoding", [this] { return book->SetImportEncoding(Text()), 0; }},
          {"import", [this] { return book->AddHTHLToEpub(Path()); }},
          {"bare-import", [this] { return book->AddHTHLToEpub(Text()); }},
          {"generate", [this] { return book->GenerateEpub(Path()); }},
          {"clear", [this] { return book->ClearData(); }},
          {"release", [this] { return book->Destory(), 0; }},
          {"block", [this] { return Block(); }},
          {"unblock", [this] { return KavDeleteDir(Path(kBook + all)); }},
          {"in", [this] { return kPages = all, 0; }},
          {"links", [this] { return OfEach([this](const auto& page) { return LinksOf(page); }); }},
          {"contents",
           [this] { return OfEach([this](const auto& file) { return Content(file); }); }},
          {"records", [this] { return Records(); }},

          // A part of a book
          {"part fresh", [] { return 0; }},
          {"part begun",
           [this] { return part.InitOpfFile("", ""), part.InitNcxFile(""), part.InitHTML(""); }},
          {"part released",
           [this] { return operations.at("part begun")(), part.Destory(), part.Destory(), 0; }},
          {"part title", [this] { return part.InitOpfFile(Text(), "Anon"), 0; }},
          {"part author", [this] { return part.InitOpfFile("", Text()), 0; }},
          {"part record", [this] { return part.AddRecordToOpf(Text()); }},
          {"part cover", [this] { return part.AddCoverToOpf(Text(), "images/cover.jpg"); }},
          {"part save-opf", [this] { return part.SaveOpfFile(Target()); }},
          {"part contents", [this] { return part.InitNcxFile(Text()), 0; }},
          {"part entry", [this] { return part.AddRecordToNcx(Text()); }},
          {"part save-ncx", [this] { return part.SaveNcxFile(Target()); }},
          {"part page", [this] { return part.InitHTML(Text()), 0; }},
          {"part text", [this] { return part.AddTextLineToHtml(Text()); }},
          {"part image", [this] { return part.AddImageToHtml(Text()); }},
          {"part sheet", [this] { return part.AddImageToXhtml(Text()); }},
          {"part table", [this] { return part.AddFormToHtml("", FormTable); }},
          {"part row", [this] { return part.AddFormToHtml("", FormRow); }},
          {"part cell", [this] { return part.AddFormToHtml(Text(), FormCell); }},
          {"part nothing",
           [this] { return part.AddFormToHtml("x", static_cast<FormOperator>(3)); }},
          {"part save-page", [this] { return part.SaveHtml(Target()); }},
          {"part save-container", [this] { return part.GenerateContainerFile(Target()); }},

          // A document
          {"document", [this] { return document.InitForOpf(); }},
          {"page", [this] { return document.Init(); }},
          {"with", [this] { return AddAttribute(); }},
          {"element", [this] { return AddElement(); }},
          {"text", [this] { return document.AddTextToNode(Text(0), Text(1)); }},
          {"attribute", [this] { return document.SetNodeAttribute(Text(0), Text(1), nullptr); }},
          {"key", [this] { return document.SetNodeAttribute(Text(0), "k", Text(1)); }},
          {"save", [this] { return document.SaveFile(Path(0)); }},
          {"saved", [this] { return Saved(); }},
          {"destroy", [this] { return document.Destroy(), 0; }},
          {"parse", [this] { return Parse(); }},
          {"written", [this] { return WrittenTree(); }},
          {"uncomment", [this] { return document.DelCommentNode(Root()); }},
          {"uncomment-all",
           [this] { return document.DelCommentNode(reinterpret_cast<xmlNode*>(parsed.get())); }},
          {"first", [this] { return IdOf(document.FindNode(Root(), Text())); }},
          {"last", [this] { return IdOf(document.FindLastNode(Root(), Text())); }},
          {"count", [this] { return FoundNodes(false); }},
          {"delete-last", [this] { return FoundNodes(true); }},
          {"head", [this] { return Head(); }},

          // A conversion
          {"count-pages", [this] { return GetPageNumForTXT(Path()); }},
          {"answer",
           [this] { return answeredCall = std::stoi(words[0]), answer = std::stoi(words[1]), 0; }},
          {"convert", [this] { return Convert(); }},
          {"calls", [this] { return Calls(); }},
          {"text-of", [this] { return PagesText(all); }},
          {"manage",
           [this] {
             return manager = std::make_unique<EpubManagement>(),
                    manager->Init(Path(), "T", nullptr);
           }},
          {"manage-text", [this] { return manager->TXT2Epub(Path(0), Path(1), nullptr, nullptr); }},
          {"manage-mobi",
           [this] { return manager->Mobi2Epub(Path(0), Path(1), nullptr, nullptr); }},
          {"manage-clear", [this] { return manager->ClearData(); }},

          // The record
          {"record-begin", [this] { return service->InitEpub(service->data, Path(), "T", "A"); }},
          {"record-mobi",
           [this] { return service->Mobi2Epub(Path(0), Path(1), Path(2), nullptr, nullptr); }},
      } {}

// What the steps of scripts act on: a directory, a book, a part of a book, a document; and the one
// table of operations.
#ifndef KAV_EPUB_TESTS_SCRIPT_WORLD_H
#define KAV_EPUB_TESTS_SCRIPT_WORLD_H

#include <fcntl.h>
#include <libxml/uri.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <concepts>
#include <csignal>
#include <deque>
#include <functional>
#include <map>
#include <regex>

#include "builder/epub_base.h"
#include "convert/epub_management.h"
#include "data_rows.h"
#include "fileutil/fileutil.h"
#include "platform/kav_ebase/kav_ebase.h"
#include "platform/kav_tool/kav_tool.h"
#include "service/epub_service.h"
#include "temp_dir.h"
#include "xml/xml_base.h"
#include "xml_text.h"

// What an operation gives: a code or a text.
struct Shown : std::string {
  Shown(std::string text) : std::string(std::move(text)) {}
  Shown(const char* text) : std::string(text == nullptr ? "null" : text) {}
  Shown(std::integral auto code) : std::string(std::to_string(code)) {}
};

// What the system does not let a script do.
struct NotPermitted {};
inline int Need(bool isPermitted) {
  if (!isPermitted) throw NotPermitted();
  return 0;
}

inline std::string Joined(const auto& parts, const char* gap) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : gap) + part;
  return text;
}

class World {
 public:
  World();

  // Does one operation: "NAME TEXT" or "NAME WORD TEXT", or tabs between more words than these.
  // Paths go from the directory on; "null" is a null pointer; "!" in front destroys the document
  // before.
  Shown Do(const std::string& step) {
    const size_t end = std::min(step.find_first_of(" \t"), step.size());
    std::string name = step.substr(0, end);
    if (name.starts_with('!')) {
      document.Destroy();
      name.erase(0, 1);
    }
    all = step.substr(std::min(end + 1, step.size()));
    const size_t blank = std::min(all.find(' '), all.size());
    words = {all.substr(0, blank), all.substr(std::min(blank + 1, all.size()))};
    if (end < step.size() && step[end] == '\t') words = Split(all + '\t', '\t');
    words.resize(kMostWords);
    hasWords = end < step.size();
    const auto own = operations.find(object + name);
    paths.clear();
    const auto found = own == operations.end() ? operations.find(name) : own;
    return found == operations.end() ? "there is no " + name : found->second();
  }

  TempDir dir;

 private:
  static constexpr size_t kMostWords = 4;

  static const char* Text(const std::string& word) {
    return word == "null" ? nullptr : word.c_str();
  }
  const char* Path(const std::string& word) {
    if (word == "null" || word.empty()) return Text(word);
    return paths.emplace_back(std::filesystem::path(top) / word).c_str();
  }
  const char* Path() { return Path(all); }
  const char* Path(size_t i) { return Path(words[i]); }
  const char* Text() const { return Text(all); }
  const char* Text(size_t i) const { return Text(words[i]); }
  size_t Count(size_t i) const { return std::stoul(words[i]); }
  long Number(size_t i) const { return words[i] == "none" ? -1 : std::stol(words[i]); }
  // Where a part of a book is saved, if it is not said.
  const char* Target() { return hasWords ? Path(0) : Path("document"); }
  std::string Content(const std::string& name) { return ReadFile(Path(name)); }

  // What a shell command prints there, without its last line end, or else its exit status.
  Shown Shell(const std::string& command) const {
    std::string text;
    FILE* pipe =
        popen(("cd " + dir.String() + "\n" + command).c_str(), "r");  // NOLINT(cert-env33-c)
    for (int letter = 0; (letter = fgetc(pipe)) != EOF;) text += static_cast<char>(letter);
    const int status = WEXITSTATUS(pclose(pipe));
    if (text.empty() || status != 0) return text + std::to_string(status);
    return text.substr(0, text.size() - (text.back() == '\n' ? 1 : 0));
  }

  // Entries "PATH=CONTENT" and "PATH->TARGET", with "|" between them; "PATH" alone holds an "x",
  // and that of "PATH=/" is a directory.
  Shown Plant(const std::string& folder, const std::string& entries) {
    for (const std::string& entry : Split(entries, '|')) {
      const size_t middle = std::min({entry.find('='), entry.find("->"), entry.size()});
      const bool isLink = entry.compare(middle, 1, "-") == 0;
      const std::string path = folder + entry.substr(0, middle);
      const std::string rest = entry.substr(std::min(middle + (isLink ? 2 : 1), entry.size()));
      if (isLink) {
        std::filesystem::create_directories((dir / path).substr(0, (dir / path).rfind('/')));
        std::filesystem::create_symlink(rest, dir / path);
      } else if (rest == "/") {
        std::filesystem::create_directories(dir / path);
      } else {
        dir.Write(path, middle < entry.size() ? rest : "x");
      }
    }
    return 0;
  }

  // Folders below each other, with names so long, and a file in the last one if it has a name.
  Shown Deepen(const std::string& first, long depth, size_t letters, const std::string& file) {
    const std::string name(letters, 'd');
    std::filesystem::create_directories(first);
    int folder = open(first.c_str(), O_RDONLY | O_DIRECTORY);
    for (long level = 0; level < depth; ++level) {
      mkdirat(folder, name.c_str(), 0700);
      const int next = openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY);
      close(folder);
      folder = next;
    }
    if (!file.empty()) close(openat(folder, file.c_str(), O_CREAT | O_WRONLY, 0600));
    close(folder);
    return 0;
  }

  // Puts a directory that is not empty in the place of a file of the book.
  Shown Block() {
    std::filesystem::remove_all(Path(kBook + all));
    return Plant(kBook, all + "/x");
  }

  Shown Many(const std::string& folder, long count) const {
    for (long i = 1; i <= count; ++i) dir.Write(folder + "/" + std::to_string(i), "page");
    return 0;
  }

  // All below the directory: contents of files, "->target" for links, "/" for directories.
  std::map<std::string, std::string> Tree() const {
    std::map<std::string, std::string> tree;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(dir.String())) {
      tree[entry.path().lexically_relative(dir.String())] =
          entry.is_symlink()     ? "->" + std::filesystem::read_symlink(entry).string()
          : entry.is_directory() ? "/"
                                 : ReadFile(entry.path());
    }
    return tree;
  }
  Shown Added() const {
    std::vector<std::string> parts;
    for (const auto& [path, content] : Tree()) {
      const auto same = before.find(path);
      if (same == before.end() || same->second != content) parts.push_back(path + "=" + content);
    }
    return Joined(parts, "; ");
  }
  // The first that is no longer there.
  Shown Gone() const {
    const auto now = Tree();
    for (const auto& [path, content] : before) {
      if (now.count(path) == 0) return path;
    }
    return "";
  }
  Shown Kind() {
    const bool exists = KavIsFileOrDirExists(Path()) != 0;
    const bool isFile = KavIsFileExists(Path()) != 0;
    return std::string(exists ? "exists " : "missing ") + (isFile   ? "file"
                                                           : exists ? "other"
                                                                    : "none");
  }

  // Looks at the pages that are named in front of each "=", and says what is there behind it.
  Shown OfEach(const std::function<std::string(const std::string&)>& look) const {
    std::vector<std::string> parts;
    for (const std::string& entry : Split(all, '|')) {
      const std::string name = entry.substr(0, entry.find('='));
      parts.push_back(name + "=" + look(kPages + name));
    }
    return Joined(parts, "|");
  }
  std::string LinksOf(const std::string& page) {
    return Joined(Found(page, "//*[local-name()='a']/@href|//@src"), " ");
  }
  static std::string WithoutTime(const std::string& text) {
    return std::regex_replace(text, std::regex("id_[0-9]{14}"), "id_TIME");
  }
  std::vector<std::string> Found(const std::string& file, const std::string& xpath) {
    return XPathTexts(ParseXml(Content(file)), xpath);
  }
  // The file to which the first reference leads, which must have its letters escaped.
  Shown Referred(const std::string& file, const std::string& xpath) {
    const std::string reference = Found(file, xpath).at(0);
    if (reference.find_first_of(" \"<>#?\\^`{|}\x01\n") != std::string::npos) return reference;
    return Decoded(reference);
  }
  static std::string Decoded(const std::string& reference) {
    char* text = xmlURIUnescapeString(reference.c_str(), 0, nullptr);
    return TakenXml(reinterpret_cast<xmlChar*>(text));
  }
  // What the package document lists besides the navigation document and the style sheet.
  Shown Records() {
    auto records = Found(kPages + "content.opf", "//*[local-name()='item']/@href");
    records.erase(records.begin(), records.begin() + 2);
    for (std::string& record : records) {
      if (!std::filesystem::exists(Path(kPages + Decoded(record)))) record += " (missing)";
    }
    return Joined(records, " ");
  }

  Shown AddElement() {
    for (size_t i = 1; i < attributes.size(); ++i) attributes[i - 1].next = &attributes[i];
    const auto code =
        document.AddXMLNode(Text(0), Text(1), attributes.empty() ? nullptr : &attributes[0]);
    attributes.clear();
    return code;
  }
  Shown AddAttribute() {
    XMLAttrInfo& attribute = attributes.emplace_back();
    snprintf(attribute.name, sizeof attribute.name, "%s", Text(0));
    snprintf(attribute.value, sizeof attribute.value, "%s", Text(1));
    return 0;
  }
  // The document without its declaration and its last line end.
  Shown Saved() {
    if (const auto code = document.SaveFile(Path("saved.xml")); code != 0) return code;
    const std::string file = Content("saved.xml");
    const size_t end = file.find("?>\n");
    return end == std::string::npos ? file : file.substr(end + 3, file.size() - end - 4);
  }
  Shown Parse() { return parsed = ParseXml(all), parsed == nullptr ? "malformed" : "0"; }
  // Without its declaration and last line end.
  Shown WrittenTree() const {
    const std::string text = Written(parsed);
    const size_t begin = sizeof "<?xml version=\"1.0\"?>";
    return text.substr(begin, text.size() - begin - 1);
  }
  xmlNode* Root() const { return xmlDocGetRootElement(parsed.get()); }
  static Shown IdOf(xmlNode* node) {
    return node == nullptr ? "none" : TakenXml(xmlGetProp(node, Xml("id")));
  }
  Shown FoundNodes(bool areToGo) {
    xmlXPathObject* found = XMLBase::GetNodeSet(parsed.get(), Xml(all));
    if (found == nullptr) return "none";
    const int count = found->nodesetval->nodeNr;
    if (areToGo) document.DelNode(found->nodesetval->nodeTab[count - 1]);
    xmlXPathFreeObject(found);
    return count;
  }

  Shown Convert() {
    calls.clear();
    return service->Txt2Epub(Path(0), Path(1), Path(2), "Title", "Author", this,
                             [](void* world, int done, int total) {
                               return static_cast<World*>(world)->Note(done, total);
                             });
  }
  int Note(int done, int total) {
    calls.push_back(std::to_string(done) + "/" + std::to_string(total));
    return done == answeredCall ? answer : 0;
  }
  // The number of pages when calls count up to one more, as they should.
  Shown Calls() const {
    const std::string total = "/" + std::to_string(calls.size());
    for (size_t i = 0; i < calls.size(); ++i) {
      if (calls[i] != std::to_string(i + 1) + total) return Joined(calls, " ");
    }
    return calls.size() - 1;
  }
  // Those of all pages of the book.
  Shown Paragraphs() {
    std::vector<std::string> pages;
    for (int n = 1; KavIsFileExists(Path(kPages + "page-" + std::to_string(n) + ".html")) != 0;
         ++n) {
      pages.emplace_back();
      for (const auto& text :
           TextsOf(Content(kPages + "page-" + std::to_string(n) + ".html"), "p")) {
        pages.back() += "[" + text + "]";
      }
    }
    return Joined(pages, " / ");
  }
  // The text of all pages in a folder.
  std::string PagesText(const std::string& folder) {
    std::string text;
    for (int n = 1;; ++n) {
      const std::string page = Content(folder + "/page-" + std::to_string(n) + ".html");
      if (page.empty()) return text;
      text += Joined(TextsOf(page, "p"), "");
    }
  }
  Shown Head() {
    parsed.reset(xmlNewDoc(Xml("1.0")));
    xmlDocSetRootElement(parsed.get(), XMLBase::GenerateHeadNode(Text()));
    return WrittenTree();
  }

  int Limit(const std::string& name, rlim_t most) {
    static const std::map<std::string, __rlimit_resource> kNames = {
        {"file", RLIMIT_FSIZE}, {"descriptors", RLIMIT_NOFILE}, {"stack", RLIMIT_STACK}};
    rlimit limit{};
    getrlimit(kNames.at(name), &limit);
    limit.rlim_cur = std::min(most, limit.rlim_max);
    return setrlimit(kNames.at(name), &limit);
  }
  // A user who owns nothing, unless it is given to him.
  static Shown BecomeNobody() {
    constexpr uid_t kNobody = 65534;
    return Need(geteuid() == 0 && setgid(kNobody) == 0 && setuid(kNobody) == 0);
  }
  // The directory becomes the root of the file system.
  Shown BecomeRoot() {
    top = "/";
    return Need(chroot(dir.String().c_str()) == 0 && chdir("/") == 0);
  }
  // A small file system of its own.
  static Shown MountDisk(const char* place, const char* options) {
    return Need(unshare(CLONE_NEWNS) == 0 &&
                mount("", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                mount("tmpfs", place, "tmpfs", 0, options) == 0);
  }
  // The kernel denies unnamed files, as some file systems do.
  static Shown DenyUnnamedFiles() {
    constexpr unsigned kTmpfileBit = O_TMPFILE & ~O_DIRECTORY;
    sock_filter program[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[2])),
        BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, kTmpfileBit, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EOPNOTSUPP),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog filter{std::size(program), program};
    return Need(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
                prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0 &&
                open("/tmp", O_TMPFILE | O_WRONLY, 0600) < 0);
  }
  static Shown Taken(char* text) {
    const Shown copy = text;
    free(text);
    return copy;
  }
  Shown PartOfPath(bool isName) {
    std::string name = "former";
    std::string folder = "former dir";
    GetFileOrDirFromPath(Text(), name, folder);
    return isName ? name : folder;
  }

  const std::string kBook = "epub_temp/epub/";
  std::string kPages = kBook + "OEBPS/";

  std::string top = dir.String();
  std::string all;
  std::vector<std::string> words;
  bool hasWords = false;
  std::deque<std::string> paths;
  std::string object;  // whose operations come first

  std::unique_ptr<EpubBase> book = std::make_unique<EpubBase>();
  XMLFile part;
  XMLBase document;
  std::vector<XMLAttrInfo> attributes;  // of the next element
  XmlDoc parsed;
  std::unique_ptr<EpubManagement> manager = std::make_unique<EpubManagement>();
  const std::unique_ptr<TEpubService, decltype(&FreeEpubService)> service{CreateEpubService(),
                                                                          FreeEpubService};
  std::map<std::string, std::string> before;
  std::vector<std::string> calls;
  int answeredCall = -1;
  int answer = 0;

  const std::map<std::string, std::function<Shown()>> operations;
};

#endif

// Disturbs a conversion at every point, one after the other, and looks at what is left: a
// documented code and the old book, or the right book; nothing else, and nothing lost on the way.
//
// fault_injection SCENARIO [STEP [FAULT [FIRST LAST]]] prints a row for each fault: runs and
// outcomes. Of the allocations, one in STEP fails.
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <libxml/xmlerror.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <random>
#ifdef KAV_ADDRESS_SANITIZER
#include <sanitizer/lsan_interface.h>
#endif

#include "interposed.h"
#include "scenarios.h"
#include "tests/temp_dir.h"

namespace {

constexpr long kPatience = kSanitized ? 800'000 : 200'000;  // microseconds of work for one run
constexpr char kOld[] = "the older book";

// Beside the calls: a memory that is used up for good, a disk that is full after n of these parts,
// n descriptors, a process that is killed.
constexpr long kDiskPart = 331;  // bytes
constexpr long kDiskParts = 150;
constexpr long kFewest = 3;
constexpr long kMost = 40;
constexpr long kKills = 80;
// Watched, each of these is slow, and every fifth shows what it does to memory; of calls, every
// second does.
constexpr long kStep = kSanitized ? 5 : 1;
constexpr long kCallStep = kSanitized ? 2 : 1;

enum Harm { kDies, kLeaks, kWrongBook, kHarms };
constexpr const char* kHarmNames[kHarms] = {"crashes and hangs", "leaks", "incomplete books"};

// What other libraries do when they get no memory (libxml2 2.9.14, libmobi 0.11, CLD2
// 0.0.0).
// Whatever happens there, a code other than 0 still leaves the old book.
constexpr struct {
  const char* function;
  bool harms[kHarms];
} kKnown[] = {
    {"htmlNewParserCtxt", {false, true, false}},
    {"htmlCtxtReadIO", {true, true, true}},
    {"xmlParserInputBufferCreateMem", {false, true, false}},
    {"xmlIOParseDTD", {true, true, false}},
    {"xmlValidateOneElement", {false, true, false}},
    {"mobi_load_file", {false, false, true}},
    {"mobi_parse_rawml_opt", {true, true, true}},
    {"_ZN4CLD221DetectLanguageSummaryEPKcibPNS_8LanguageEPiS4_Pb", {false, true, false}},
};

// What a child tells its parent, also when it dies on the way.
struct Report {
  long next;   // the run that comes or is on
  long total;  // where runs end: an undisturbed one makes as many calls
  long books, codes, leftovers, failed;
  int seen[1000];                          // by code
  int excused[std::size(kKnown)][kHarms];  // by function
  char where[600];                         // it crashed
  const char* hit;                         // what was running when its call failed
};
Report* report;

// Counts a harm that is known of the function in which the call failed; else it is a failure.
void Judge(const char* fault, Harm harm, const std::string& what) {
  for (size_t known = 0; known < std::size(kKnown); ++known) {
    const bool isIt = report->hit != nullptr && strcmp(kKnown[known].function, report->hit) == 0;
    if (isIt && kKnown[known].harms[harm]) {
      ++report->excused[known][harm];
      return;
    }
  }
  ++report->failed;
  printf("FAILED: %s %ld: %s: %s\n", fault, report->next, kHarmNames[harm], what.c_str());
}

// Notes the calls that led to a crash, from this handler upwards, as far as they are exported.
void NoteCrash(int /*signal*/) {
  faults.armed = false;
  report->hit = faults.hit;
  constexpr int kHandlerFrames = 2;
  void* frames[kHandlerFrames + 6];
  const int count = backtrace(frames, std::size(frames));
  char* end = report->where;
  for (int frame = kHandlerFrames; frame < count; ++frame) {
    Dl_info info{};
    dladdr(frames[frame], &info);
    end += snprintf(end, 60, "%.50s<", info.dli_sname == nullptr ? "?" : info.dli_sname);
  }
  _exit(1);
}

long OpenDescriptors() {
  long count = 0;
  for (int descriptor = 0; descriptor < 100; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) >= 0) ++count;
  }
  return count;
}

// Of the whole process; nonzero when there are any.
int FindLeaks() {
#ifdef KAV_ADDRESS_SANITIZER
  return report->hit == nullptr ? __lsan_do_recoverable_leak_check() : 0;
#else
  return 0;
#endif
}

class Runs {
 public:
  // The directory is that of the parent, which outlives every crash.
  Runs(const Scenario& scenario, const char* name, const TempDir& scratch)
      : run(scenario), fault(name), dir(scratch) {
    Convert(0);  // what libraries set up once is there now
    right = ReadFile(Output());
  }

  int Convert(long n) {
    std::filesystem::remove_all(dir / "work");
    std::filesystem::create_directories(dir / "work");
    dir.Write("out/book.epub", kOld);
    const bool isFull = fault.starts_with("disk") && n > 0;
    const std::string disk = dir / fault.substr(fault.find('-') + 1);
    const long long room = isFull ? n * kDiskPart : -1;
    faults = {fault == "memory" ? "malloc" : fault.c_str(),
              n,
              fault == "memory",
              room,
              disk.c_str(),
              kPatience / 8,
              false,
              0,
              0,
              nullptr,
              nullptr};
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit usual = limit;
    if (fault == "descriptors" && n > 0) limit.rlim_cur = static_cast<rlim_t>(n);
    setrlimit(RLIMIT_NOFILE, &limit);
    const std::string workDir = dir / "work";
    const std::string output = Output();
    faults.armed = true;
    const int code = run(workDir.c_str(), output.c_str());
    xmlResetLastError();  // whose texts are memory
    faults.armed = false;
    setrlimit(RLIMIT_NOFILE, &usual);
    report->hit = faults.hit;
    return code;
  }

  long Count() {
    if (fault.starts_with("disk")) return kDiskParts;
    if (fault == "descriptors") return kMost;
    if (fault == "kill") return kKills;
    Convert(LONG_MAX);
    return faults.calls;
  }

  void Try(long n) {
    const long descriptors = OpenDescriptors();
    const itimerval patience{{}, {0, kPatience}};
    setitimer(ITIMER_PROF, &patience, nullptr);
    const int code = fault == "kill" ? ConvertAfterKill() : Convert(n);
    const std::string told = "code " + std::to_string(code);
    code == 0 ? ++report->books : ++report->codes;
    if (!IsDocumented(code)) Judge(fault.c_str(), kWrongBook, told + " is not documented");
    ++report->seen[std::clamp(code, 0, 999)];
    if (ReadFile(Output()) != (code == 0 ? right : kOld)) {
      if (code != 0) report->hit = nullptr;  // there is no excuse
      Judge(fault.c_str(), kWrongBook, told + " and another book");
    }
    if (OpenDescriptors() != descriptors) Judge(fault.c_str(), kLeaks, told + ", a descriptor");
    if (faults.blocks != 0 && !kSanitized) {
      Judge(fault.c_str(), kLeaks, told + ", blocks: " + std::to_string(faults.blocks));
    }
    if (FilesBelow(dir / "out").size() != 1) Judge(fault.c_str(), kLeaks, told + ", a file");
    if (!FilesBelow(dir / "work").empty()) ++report->leftovers;
  }

 private:
  std::string Output() const { return dir / "out/book.epub"; }

  // Kills one conversion at some moment of it; what it left must not disturb the next.
  int ConvertAfterKill() {
    static std::minstd_rand random;
    dir.Write("out/book.epub", kOld);
    const pid_t child = fork();
    if (child == 0) {
      while (true) run((dir / "work").c_str(), Output().c_str());
    }
    usleep(static_cast<useconds_t>(random()) % 20'000);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const std::string left = ReadFile(Output());
    faults.blocks = 0;
    if (left != kOld && left != right) Judge("kill", kWrongBook, "half a book");
    return run((dir / "work").c_str(), Output().c_str());
  }

  const Scenario& run;
  std::string fault;
  const TempDir& dir;
  std::string right;
};

// Runs until all is done or the process dies.
int RunInChild(const Scenario& scenario, const char* fault, long last, long step,
               const TempDir& scratch) {
  const pid_t child = fork();
  if (child == 0) {
    void* frame = nullptr;
    backtrace(&frame, 1);  // loads what it needs
    for (const int crash : {SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGPROF})
      std::signal(crash, NoteCrash);
    {
      Runs runs(scenario, fault, scratch);
      if (report->total == 0) report->total = std::min(runs.Count(), last);
      for (; report->next <= report->total; report->next += step) {
        runs.Try(report->next);
      }
    }
    fflush(nullptr);
    _exit(FindLeaks());
  }
  int status = 0;
  waitpid(child, &status, 0);
  return status;
}

bool Inject(const char* name, const char* fault, long first, long last, long step) {
  *report = {};
  report->next = strcmp(fault, "descriptors") == 0 ? std::max(first, kFewest) : first;
  const long begin = report->next;
  const TempDir scratch;
  while (RunInChild(kScenarios.at(name), fault, last, step, scratch) != 0) {
    Judge(fault, report->next > report->total ? kLeaks : kDies, report->where);
    if (report->total == 0 || report->next > report->total) break;
    report->where[0] = '\0';
    report->next += step;
  }
  printf("%-8s %-11s %5ld runs: %ld books", name, fault, (report->total - begin) / step + 1,
         report->books);
  for (int code = 1; code < 1000; ++code) {
    if (report->seen[code] != 0) printf(", %d with %d", report->seen[code], code);
  }
  if (report->seen[0] > report->books) printf(", %ld with -1", report->seen[0] - report->books);
  if (report->leftovers != 0) printf("; working files left %ld times", report->leftovers);
  for (size_t known = 0; known < std::size(kKnown); ++known) {
    for (int harm = 0; harm < kHarms; ++harm) {
      const int times = report->excused[known][harm];
      if (times != 0) printf("; %s: %d %s", kKnown[known].function, times, kHarmNames[harm]);
    }
  }
  printf("\n");
  return report->failed == 0;
}

}  // namespace

#ifdef KAV_ADDRESS_SANITIZER
extern "C" const char* __asan_default_options() {
  return "handle_segv=0:handle_abort=0:handle_sigbus=0:handle_sigfpe=0:allocator_may_return_null=1";
}
extern "C" const char* __lsan_default_suppressions() {
  return "leak:_dl_map_object_deps\n"  // what backtrace() loads
                                       // Known, as above.
         "leak:CLD2::DetectLanguageSummary\nleak:htmlNewParserCtxt\nleak:htmlCtxtReadIO\n"
         "leak:xmlParserInputBufferCreateMem\nleak:xmlIOParseDTD\nleak:xmlValidateOneElement\n"
         "leak:mobi_parse_rawml_opt\n";
}
#endif

int main(int count, char** arguments) {
  const std::string name = count > 1 ? arguments[1] : "";
  const long allocations = count > 2 ? atol(arguments[2]) : 1;
  const std::string only = count > 3 ? arguments[3] : "";
  const long first = count > 4 ? atol(arguments[4]) : 1;
  const long last = count > 5 ? atol(arguments[5]) : LONG_MAX;
  setvbuf(stdout, nullptr, _IOLBF, 0);
  if (access("/dev/shm", W_OK) == 0) setenv("TMPDIR", "/dev/shm", 0);
  report = static_cast<Report*>(
      mmap(nullptr, sizeof(Report), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  bool good = true;
  for (const char* fault : kFaults) {
    const bool isAllocation = strcmp(fault, "malloc") == 0 || strcmp(fault, "memory") == 0;
    const bool isMany = strcmp(fault, "kill") == 0 || strncmp(fault, "disk", 4) == 0;
    const long step = isAllocation ? allocations : isMany ? kStep : kCallStep;
    if (only.empty() || only == fault)
      good = Inject(name.c_str(), fault, first, last, step) && good;
  }
  return good ? 0 : 1;
}

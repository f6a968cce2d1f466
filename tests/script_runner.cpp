// Does the scripts of a file of scripts/ or data/ and compares what each step gives.
//
// script_runner FILE [NAME] prints what differs, and a line with the number of scripts; with a
// name, of those called so. From a step "alone" on, a script is done in a process of its own, until
// it ends or dies. What the system does not permit here is told, and not tested.
#include <libxml/xmlerror.h>
#include <sys/mman.h>

#include <csignal>

#include "script_rows.h"
#include "script_world.h"
#include "small_stack.h"

namespace {

constexpr char kDied[] = "died";
constexpr char kNotPermitted[] = "not permitted";
constexpr size_t kMostShown = 3000;

// What one step gives.
std::string ResultOf(World& world, const Step& step) {
  try {
    return world.Do(step.operation);
  } catch (const NotPermitted&) {
    return kNotPermitted;
  } catch (const std::exception&) {
    return "throws";
  }
}

using Steps = std::vector<Step>;
using Results = std::vector<std::string>;

// Lets another process do the steps, and goes on where it died.
void ContinueAlone(World& world, const Steps& steps, Results& results) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("no pipe");
  const pid_t child = fork();
  if (child == 0) {
    prctl(PR_SET_DUMPABLE, 0);
    FILE* out = fdopen(ends[1], "wb");
    for (size_t i = results.size(); i < steps.size(); ++i) {
      const std::string result = ResultOf(world, steps[i]);
      const size_t size = result.size();
      fwrite(&size, sizeof size, 1, out);
      fwrite(result.data(), 1, size, out);
      fflush(out);
    }
    _exit(0);
  }
  close(ends[1]);
  FILE* in = fdopen(ends[0], "rb");
  for (size_t size = 0; fread(&size, sizeof size, 1, in) == 1;) {
    std::string result(size, '\0');
    if (fread(result.data(), 1, size, in) == size) results.push_back(result);
  }
  fclose(in);
  waitpid(child, nullptr, 0);
  if (results.size() < steps.size()) results.emplace_back(kDied);
}

Results ResultsOf(World& world, const Steps& steps) {
  Results results;
  while (results.size() < steps.size()) {
    const Step& step = steps[results.size()];
    if (step.operation == "alone") {
      results.emplace_back("0");
      ContinueAlone(world, steps, results);
    } else {
      results.push_back(ResultOf(world, step));
    }
  }
  return results;
}

// A host that has error handlers of its own, as every second script sees it.
class Host {
 public:
  explicit Host(bool hasHandlers) : generic(hasHandlers ? Hear : nullptr) {
    xmlSetGenericErrorFunc(this, generic);
    xmlSetStructuredErrorFunc(this, hasHandlers ? HearStructured : nullptr);
  }
  ~Host() {
    xmlSetGenericErrorFunc(nullptr, nullptr);
    xmlSetStructuredErrorFunc(nullptr, nullptr);
  }
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  bool IsLeftAlone() const {
    return heard == 0 && xmlGenericErrorContext == this && xmlStructuredErrorContext == this &&
           (generic == nullptr || xmlGenericError == generic);
  }

 private:
  static void Hear(void* host, const char* /*format*/, ...) { ++static_cast<Host*>(host)->heard; }
  static void HearStructured(void* host, xmlError* /*error*/) { ++static_cast<Host*>(host)->heard; }

  xmlGenericErrorFunc generic;
  int heard = 0;
};

// Stands in for the standard outputs, on which nothing may be printed.
class Paper {
 public:
  Paper() : sheet(memfd_create("printed", 0)), console(fdopen(dup(1), "w")) {
    dup2(sheet, 1);
    dup2(sheet, 2);
  }
  std::string Printed() const {
    std::string text(static_cast<size_t>(lseek(sheet, 0, SEEK_END)), '\0');
    lseek(sheet, 0, SEEK_SET);
    text.resize(static_cast<size_t>(std::max<ssize_t>(0, read(sheet, text.data(), text.size()))));
    return ftruncate(sheet, 0) == 0 ? text : "what cannot be wiped";
  }
  FILE* Console() const { return console; }

 private:
  int sheet;
  FILE* console;
};

// Says what differs, if something does.
bool IsRight(const Script& script, bool hasHandlers, const Paper& paper) {
  Results results;
  bool isLeftAlone = false;
  {
    const Host host(hasHandlers);
    World world;
    results = ResultsOf(world, script.steps);
    isLeftAlone = host.IsLeftAlone();
  }
  const auto say = [&](const std::string& what, const std::string& given,
                       const std::string& right) {
    fprintf(paper.Console(), "%s: %s\n  gives %s\n  not   %s\n", script.name.c_str(), what.c_str(),
            given.substr(0, kMostShown).c_str(), right.substr(0, kMostShown).c_str());
    return false;
  };
  if (std::find(results.begin(), results.end(), kNotPermitted) != results.end()) {
    fprintf(paper.Console(), "%s: not permitted here\n", script.name.c_str());
    return true;
  }
  bool isRight = isLeftAlone || say("libxml2's handlers", "called or changed", "left alone");
  for (size_t i = 0; i < results.size(); ++i) {
    const Step& step = script.steps[i];
    if (results[i] != step.given) isRight = say(step.operation, results[i], step.given);
  }
  const std::string printed = paper.Printed();
  return (printed.empty() || say("prints", printed, "nothing")) && isRight;
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 2) return 2;
  const std::string name = count > 2 ? arguments[2] : "";
  const auto scripts = ScriptsOf(arguments[1]);
  std::signal(SIGXFSZ, SIG_IGN);  // writing fails instead
  const Paper paper;
  size_t done = 0;
  size_t failed = 0;
  const auto doAll = [&] {
    for (const Script& script : scripts) {
      if (!name.empty() && script.name != name) continue;
      if (!IsRight(script, done % 2 == 1, paper)) ++failed;
      ++done;
    }
  };
  if (!RunsOnSmallStack(doAll)) return 1;
  fprintf(paper.Console(), "%zu scripts, %zu failed\n", done, failed);
  return done > 0 && failed == 0 ? 0 : 1;
}

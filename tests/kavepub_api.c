/* Uses libkavepub as a host in C does: rows of calls, right ones and wrong ones, with the codes
 * that they come to.
 *
 * kavepub_api DIRECTORY; a directory that is empty. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "edition/kavepub.h"
#include "small_stack.h"

#define COUNT(rows) (sizeof(rows) / sizeof *(rows))

static int failures = 0;
static const char* step = "";

static void expect(int holds, const char* what) {
  if (holds) return;
  ++failures;
  printf("FAILED: %s: %s\n", step, what);
}

static const char kText[] = "A line.\n\nAnother one.\n";

/* What a host counts, and where it stops. */
struct host {
  size_t bytes;
  int pieces;
  int steps;
  int fails_at;   /* the piece that is not taken */
  int cancels_at; /* the progress that ends it */
  double last;
  kavepub_job* job; /* cancelled by the first progress, if any */
};

static int take(void* user, const void* bytes, size_t size) {
  struct host* host = user;
  host->bytes += size;
  return ++host->pieces == host->fails_at || bytes == NULL;
}

static int hear(void* user, double done) {
  struct host* host = user;
  expect(done >= host->last && done <= 1, "progress goes back");
  host->last = done;
  kavepub_job_cancel(host->job);
  return ++host->steps == host->cancels_at;
}

static char output[4096];
static const char kOld[] = "the older book";

static size_t read_output(char* bytes, size_t capacity) {
  FILE* file = fopen(output, "rb");
  const size_t size = file == NULL ? 0 : fread(bytes, 1, capacity, file);
  if (file != NULL) fclose(file);
  return size;
}

static void write_output(void) {
  FILE* file = fopen(output, "wb");
  if (file == NULL || fputs(kOld, file) < 0 || fclose(file) != 0) exit(2);
}

/* Options: each with a value and the code of setting it. */
static const struct {
  const char* name;
  const char* value;
  int code;
} kOptions[] = {
    {"title", "T & T", KAVEPUB_OK},
    {"title", "\x01\xFF", KAVEPUB_OK},
    {"author", "A", KAVEPUB_OK},
    {"author", "", KAVEPUB_E_ARGUMENT},
    {"language", "zh-Hant-TW", KAVEPUB_OK},
    {"language", "auto", KAVEPUB_OK},
    {"language", "e", KAVEPUB_E_ARGUMENT},
    {"language", "en_US", KAVEPUB_E_ARGUMENT},
    {"language", "en-", KAVEPUB_E_ARGUMENT},
    {"date", "1813", KAVEPUB_OK},
    {"date", "1813-12-31", KAVEPUB_OK},
    {"date", "1813-13", KAVEPUB_E_ARGUMENT},
    {"date", "1813-1", KAVEPUB_E_ARGUMENT},
    {"date", "0000", KAVEPUB_E_ARGUMENT},
    {"date", "in May", KAVEPUB_E_ARGUMENT},
    {"isbn", "978-0-14-143951-8", KAVEPUB_OK},
    {"isbn", "080442957X", KAVEPUB_OK},
    {"isbn", "12345", KAVEPUB_E_ARGUMENT},
    {"series-index", "1.5", KAVEPUB_OK},
    {"series-index", "one", KAVEPUB_E_ARGUMENT},
    {"cover", "none", KAVEPUB_OK},
    {"cover", "", KAVEPUB_E_ARGUMENT},
    {"css", "", KAVEPUB_E_ARGUMENT},
    {"threads", "8", KAVEPUB_OK},
    {"threads", "0", KAVEPUB_E_ARGUMENT},
    {"threads", "-1", KAVEPUB_E_ARGUMENT},
    {"threads", "99999999999", KAVEPUB_E_ARGUMENT},
    {"threads", "2 ", KAVEPUB_E_ARGUMENT},
    {"paragraphs", "wrapped", KAVEPUB_OK},
    {"paragraphs", "double", KAVEPUB_E_ARGUMENT},
    {"encoding-errors", "strict", KAVEPUB_OK},
    {"encoding-errors", "", KAVEPUB_E_ARGUMENT},
    {"no-such-option", "x", KAVEPUB_E_ARGUMENT},
    {"", "", KAVEPUB_E_ARGUMENT},
    {NULL, "x", KAVEPUB_E_ARGUMENT},
    {"title", NULL, KAVEPUB_E_ARGUMENT},
};

static void test_options(void) {
  step = "options";
  kavepub_job* job = kavepub_job_new();
  for (size_t i = 0; i < COUNT(kOptions); ++i) {
    const int code = kavepub_job_set_option(job, kOptions[i].name, kOptions[i].value);
    expect(code == kOptions[i].code, kOptions[i].value == NULL ? "null" : kOptions[i].value);
    expect(code == KAVEPUB_OK || strlen(kavepub_job_error(job)) > 10, "no words");
  }
  expect(kavepub_job_set_option_data(job, "css", "p {}", 4) == KAVEPUB_OK, "css as bytes");
  expect(kavepub_job_set_option_data(job, "title", "T", 1) == KAVEPUB_E_ARGUMENT, "title as bytes");
  kavepub_job_free(job);

  struct kavepub_option option;
  size_t count = 0;
  while (kavepub_option_at(count, &option, sizeof option)) {
    expect(option.name[0] != '\0' && option.values[0] != '\0' && option.description[0] != '\0',
           "an option is not explained");
    ++count;
  }
  expect(count > 15, "options are missing");
  expect(strcmp(kavepub_kind_at(0), "text") == 0 && kavepub_kind_at(99) == NULL, "kinds of inputs");
  struct {
    const char* name;
    const char* canary;
  } older = {NULL, "untouched"};
  expect(kavepub_option_at(0, (struct kavepub_option*)&older, sizeof older.name) == 1 &&
             strcmp(older.canary, "untouched") == 0 && strcmp(older.name, "title") == 0,
         "an older host's struct");
}

/* Runs: what is done to a job that has the text as its input, and what comes of it. */
enum { kNoInput = 1, kNoOutput = 2, kCallback = 4, kTwice = 8, kCancelFirst = 16, kFromHost = 32 };
static const struct {
  const char* name;
  int how;
  const char* input; /* a path in the place of the text */
  const char* option;
  const char* value;
  int fails_at;
  int cancels_at;
  int code;
} kRuns[] = {
    {"to a path", 0, NULL, NULL, NULL, 0, 0, KAVEPUB_OK},
    {"to a callback", kCallback, NULL, NULL, NULL, 0, 0, KAVEPUB_OK},
    {"no input", kNoInput, NULL, NULL, NULL, 0, 0, KAVEPUB_E_ORDER},
    {"no output", kNoOutput, NULL, NULL, NULL, 0, 0, KAVEPUB_E_ORDER},
    {"a second run", kTwice, NULL, NULL, NULL, 0, 0, KAVEPUB_E_ORDER},
    {"the host takes nothing", kCallback, NULL, NULL, NULL, 1, 0, KAVEPUB_E_OUTPUT},
    {"cancelled before", kCancelFirst, NULL, NULL, NULL, 0, 0, KAVEPUB_CANCELLED},
    {"cancelled by progress", 0, NULL, NULL, NULL, 0, 1, KAVEPUB_CANCELLED},
    {"cancelled by the host", kFromHost, NULL, NULL, NULL, 0, 0, KAVEPUB_CANCELLED},
    {"no such input", 0, "/nonexistent/in.txt", NULL, NULL, 0, 0, KAVEPUB_E_INPUT},
    {"a directory", 0, "/", NULL, NULL, 0, 0, KAVEPUB_E_INPUT},
    {"no such cover", 0, NULL, "cover", "/nonexistent", 0, 0, KAVEPUB_E_INPUT},
    {"no such style sheet", 0, NULL, "css", "/nonexistent", 0, 0, KAVEPUB_E_INPUT},
    {"a cover that is none", 0, NULL, "cover", "/proc/self/exe", 0, 0, KAVEPUB_E_FORMAT},
};

static void test_runs(void) {
  static char bytes[1 << 20];
  for (size_t i = 0; i < COUNT(kRuns); ++i) {
    step = kRuns[i].name;
    const int how = kRuns[i].how;
    write_output();
    struct host host = {0, 0, 0, kRuns[i].fails_at, kRuns[i].cancels_at, 0, NULL};
    kavepub_job* job = kavepub_job_new();
    if (kRuns[i].input != NULL) {
      expect(kavepub_job_add_path(job, kRuns[i].input) == KAVEPUB_OK, "adding");
    } else if (!(how & kNoInput)) {
      expect(kavepub_job_add_memory(job, "in.txt", kText, sizeof kText - 1) == KAVEPUB_OK,
             "adding");
    }
    if (how & kCallback) {
      expect(kavepub_job_set_output_callback(job, take, &host) == KAVEPUB_OK, "output");
    } else if (!(how & kNoOutput)) {
      expect(kavepub_job_set_output_path(job, output) == KAVEPUB_OK, "output");
    }
    if (kRuns[i].option != NULL) kavepub_job_set_option(job, kRuns[i].option, kRuns[i].value);
    if (how & kFromHost) host.job = job;
    kavepub_job_set_progress(job, hear, &host);
    if (how & kCancelFirst) kavepub_job_cancel(job);
    if (how & kTwice) expect(kavepub_job_run(job) == KAVEPUB_OK, "the first run");
    const int code = kavepub_job_run(job);
    if (code != kRuns[i].code) printf("%s: %d, %s\n", step, code, kavepub_job_error(job));
    expect(code == kRuns[i].code, "another code");
    expect(code == KAVEPUB_OK || strlen(kavepub_job_error(job)) > 10, "no words");

    const size_t size = read_output(bytes, sizeof bytes);
    const int is_old = size == sizeof kOld - 1 && memcmp(bytes, kOld, size) == 0;
    const int is_book = size > 1000 && memcmp(bytes, "PK", 2) == 0;
    const int wants_book = (code == KAVEPUB_OK && !(how & kCallback)) || (how & kTwice);
    expect(wants_book ? is_book : is_old, "another file");
    if (code == KAVEPUB_OK) {
      expect(host.last == 1, "progress does not end");
      const char* told = kavepub_job_report(job, "bytes");
      const size_t made = how & kCallback ? host.bytes : size;
      expect(told != NULL && strtoul(told, NULL, 10) == made, "bytes");
      expect(strcmp(kavepub_job_report(job, "kind"), "text") == 0, "kind");
      expect(strcmp(kavepub_job_report(job, "title"), "in") == 0, "title");
      expect(strncmp(kavepub_job_report(job, "identifier"), "urn:uuid:", 9) == 0, "identifier");
      expect(kavepub_job_add_path(job, "x") == KAVEPUB_E_ORDER, "an input after the run");
    }
    expect(kavepub_job_report(job, "no such key") == NULL, "an unknown key");
    kavepub_job_free(job);
  }
}

static void test_null(void) {
  step = "null";
  kavepub_job_free(NULL);
  kavepub_job_cancel(NULL);
  struct kavepub_chapter chapter;
  struct kavepub_warning warning;
  expect(kavepub_job_run(NULL) == KAVEPUB_E_ARGUMENT, "run");
  expect(kavepub_job_examine(NULL) == KAVEPUB_E_ARGUMENT, "examine");
  expect(kavepub_job_report(NULL, "kind") == NULL, "report");
  expect(kavepub_job_error(NULL)[0] != '\0', "error");
  expect(kavepub_job_chapter(NULL, 0, &chapter, sizeof chapter) == 0, "chapter");
  kavepub_job* job = kavepub_job_new();
  expect(kavepub_job_add_path(job, NULL) == KAVEPUB_E_ARGUMENT, "path");
  expect(kavepub_job_add_memory(job, NULL, "", 0) == KAVEPUB_E_ARGUMENT, "name");
  expect(kavepub_job_add_memory(job, "x", NULL, 1) == KAVEPUB_E_ARGUMENT, "bytes");
  expect(kavepub_job_set_output_path(job, NULL) == KAVEPUB_E_ARGUMENT, "output");
  expect(kavepub_job_set_output_callback(job, NULL, NULL) == KAVEPUB_E_ARGUMENT, "callback");
  expect(kavepub_job_set_progress(job, NULL, NULL) == KAVEPUB_OK, "no progress");
  expect(kavepub_job_report(job, NULL) == NULL, "key");
  expect(kavepub_job_warning(job, 0, &warning, sizeof warning) == 0, "warning");
  expect(strcmp(kavepub_version(), "") != 0 && kavepub_version_number() == KAVEPUB_VERSION_NUMBER,
         "version");
  kavepub_job_free(job);
}

/* An examination finds out what a run does, any number of times, and is cancelled on its own. */
static void test_examination(void) {
  step = "examination";
  struct host host = {0, 0, 0, 0, 1, 0, NULL};
  kavepub_job* job = kavepub_job_new();
  kavepub_job_add_memory(job, "in.txt", kText, sizeof kText - 1);
  kavepub_job_set_progress(job, hear, &host);
  expect(kavepub_job_examine(job) == KAVEPUB_CANCELLED, "cancelled");
  kavepub_job_set_progress(job, NULL, NULL);
  expect(kavepub_job_examine(job) == KAVEPUB_OK, "first");
  expect(kavepub_job_examine(job) == KAVEPUB_OK, "second");
  expect(strcmp(kavepub_job_report(job, "title"), "in") == 0, "title");
  expect(kavepub_job_report(job, "bytes") == NULL, "bytes of no book");
  kavepub_job_set_option(job, "title", "Wanted");
  kavepub_job_set_option(job, "author", "A");
  kavepub_job_set_option(job, "author", "B");
  kavepub_job_set_output_path(job, output);
  expect(kavepub_job_run(job) == KAVEPUB_OK, "run");
  expect(strcmp(kavepub_job_report(job, "title"), "Wanted") == 0, "wanted title");
  expect(strcmp(kavepub_job_report(job, "authors"), "A\nB") == 0, "authors");
  kavepub_job_free(job);
}

static void* test_all(void* directory) {
  snprintf(output, sizeof output, "%s/book.epub", (const char*)directory);
  test_null();
  test_options();
  test_runs();
  test_examination();
  return NULL;
}

int main(int count, char** arguments) {
  if (count != 2 || on_small_stack(test_all, arguments[1]) != 0) return 2;
  printf("%d failures\n", failures);
  return failures != 0;
}

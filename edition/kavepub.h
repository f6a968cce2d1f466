/* libkavepub: makes EPUB 2 books that read like bought ones.
 *
 *   kavepub_job* job = kavepub_job_new();
 *   if (job == NULL) return 1;
 *   int code = kavepub_job_add_path(job, "novel.txt");
 *   if (code == KAVEPUB_OK) code = kavepub_job_set_output_path(job, "novel.epub");
 *   if (code == KAVEPUB_OK) code = kavepub_job_run(job);
 *   if (code != KAVEPUB_OK) fprintf(stderr, "%s\n", kavepub_job_error(job));
 *   kavepub_job_free(job);
 *
 * C99. All strings are NUL-terminated UTF-8, but for paths, which are bytes as the system has them.
 * What a function takes is borrowed for the call where nothing else is said; what it returns
 * belongs to the handle and stays until the next call that changes the handle.
 * Structs that the caller provides come with their size, so that later versions can add to them:
 * no more is filled than the caller has room for, and what a library does not know yet is zero.
 *
 * Guaranteed: nothing is printed, the process is never ended, no signal handler is set, no
 * exception leaves a function, and nothing outside the output is written: there are no working
 * files. One thing is beyond this: covers are drawn with Pango and Cairo, and GLib below them ends
 * the process when memory runs out in their midst. So a cover is only drawn when half a gibibyte of
 * address space can be had before; else the book has none, and a warning. A host that must outlive
 * any want of memory sets the option "cover" to "none" or to a picture. Equal input and options
 * give equal bytes, whatever the clock, the time zone, the directory and the number of threads, as
 * long as it is the same build of this library and of those it stands on. A book appears at its
 * path whole or not at all. Not guaranteed: equal bytes across versions; equal covers on machines
 * with other fonts; that a handle can be used by two threads at once, but for kavepub_job_cancel.
 *
 * Versions: functions, options and report keys are added, never taken away, as long as the number
 * in the library's name (libkavepub.so.0) stays. */
#ifndef KAVEPUB_H
#define KAVEPUB_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define KAVEPUB_API __attribute__((visibility("default")))
#else
#define KAVEPUB_API
#endif

/* The version of this header; kavepub_version_number() is that of the library. */
#define KAVEPUB_VERSION_MAJOR 0
#define KAVEPUB_VERSION_MINOR 2
#define KAVEPUB_VERSION_PATCH 0
#define KAVEPUB_VERSION_NUMBER \
  (KAVEPUB_VERSION_MAJOR * 1000000 + KAVEPUB_VERSION_MINOR * 1000 + KAVEPUB_VERSION_PATCH)

/* What every function that can fail returns. Codes are added at the end, so treat one that you do
 * not know as a failure. */
enum kavepub_code {
  KAVEPUB_OK = 0,
  KAVEPUB_CANCELLED = 1,  /* by kavepub_job_cancel or by the progress callback */
  KAVEPUB_E_ARGUMENT = 2, /* a null argument, an unknown option, a value that it cannot have */
  KAVEPUB_E_ORDER = 3,    /* a call out of order: run without input, a second run */
  KAVEPUB_E_INPUT = 4,    /* an input cannot be opened or read to its end, or changed meanwhile */
  KAVEPUB_E_FORMAT = 5,   /* an input is of no known kind, damaged, encrypted or empty */
  KAVEPUB_E_ENCODING = 6, /* a text has too many bytes that are no characters */
  KAVEPUB_E_UNSUPPORTED = 7, /* of a known kind that this build cannot read */
  KAVEPUB_E_LIMIT = 8,       /* larger than what is taken from strangers */
  KAVEPUB_E_OUTPUT = 9,      /* the book cannot be written; one that was at its path is untouched */
  KAVEPUB_E_MEMORY = 10,     /* memory ran out */
  KAVEPUB_E_INTERNAL = 11,   /* a fault of this library */
  KAVEPUB_E_CELL = 12,       /* there is no cell for the work, or the system has ended it */
  KAVEPUB_E_CRASH = 13,      /* the work in a cell crashed, or ended without an answer */
  KAVEPUB_E_FORBIDDEN = 14   /* the work in a cell tried what no book may */
};

/* The version of the library at run time: as text ("0.2.0"), and as KAVEPUB_VERSION_NUMBER has it.
 * Any thread, any time. */
KAVEPUB_API const char* kavepub_version(void);
KAVEPUB_API uint32_t kavepub_version_number(void);

/* ------------------------------------------------------------------------------------- options */

/* An option that a job takes. The strings live as long as the library. */
struct kavepub_option {
  const char* name;        /* "language" */
  const char* values;      /* what it can be, for people: "auto|none|REGEX" */
  const char* description; /* a sentence */
  int repeats;             /* 1 where it can have several values, else 0 */
  int takes_file;          /* 1 where a value can be the path of a file, else 0 */
};

/* Tells the options one by one, so that a host can offer all of them without a list of its own: 1
 * and *option filled, or 0 when index is past the last one. Any thread, any time. */
KAVEPUB_API int kavepub_option_at(size_t index, struct kavepub_option* option, size_t size);

/* The kinds of inputs that jobs make books of, one by one, by the names that the report has; NULL
 * when index is past the last one. Any thread, any time. */
KAVEPUB_API const char* kavepub_kind_at(size_t index);

/* ---------------------------------------------------------------------------------------- jobs */

/* One book to make. */
typedef struct kavepub_job kavepub_job;

/* A new job; NULL when memory ran out. Freeing takes NULL, too. Different jobs can be used by
 * different threads at the same time. */
KAVEPUB_API kavepub_job* kavepub_job_new(void);
KAVEPUB_API void kavepub_job_free(kavepub_job* job);

/* Adds an input; the kind of the first decides what the book is made of. A path is read when the
 * job runs. The bytes of a memory input are borrowed until the job is freed; its name ("novel.txt")
 * stands for that of a file: for its kind, and where the input names no title. KAVEPUB_E_ARGUMENT,
 * KAVEPUB_E_ORDER after a run, KAVEPUB_E_MEMORY. */
KAVEPUB_API int kavepub_job_add_path(kavepub_job* job, const char* path);
KAVEPUB_API int kavepub_job_add_memory(kavepub_job* job, const char* name, const void* bytes,
                                       size_t size);

/* Sets an option (see kavepub_option_at) to a value. Some, such as "author" and "subject", can be
 * set several times and then have several values; of others the last one counts. KAVEPUB_E_ARGUMENT
 * for an unknown name or a value that it cannot have, with words in kavepub_job_error. */
KAVEPUB_API int kavepub_job_set_option(kavepub_job* job, const char* name, const char* value);

/* Sets an option that takes the path of a file, such as "cover", to the content of one instead. The
 * bytes are copied. */
KAVEPUB_API int kavepub_job_set_option_data(kavepub_job* job, const char* name, const void* bytes,
                                            size_t size);

/* Takes the next bytes of the book, in order; returns 0 or, when it cannot take them, anything
 * else, which ends the job with KAVEPUB_E_OUTPUT. Called on the thread that runs the job. */
typedef int (*kavepub_write_callback)(void* user, const void* bytes, size_t size);

/* Says where the book goes: to a path, where it appears when it is complete, in place of what was
 * there (a symbolic link there is followed); or to a callback, which has taken an incomplete book
 * when the job does not end with KAVEPUB_OK. The last call of these counts. */
KAVEPUB_API int kavepub_job_set_output_path(kavepub_job* job, const char* path);
KAVEPUB_API int kavepub_job_set_output_callback(kavepub_job* job, kavepub_write_callback write,
                                                void* user);

/* Hears how much is done, from 0 to 1, never less than before; returns 0, or anything else to
 * cancel. Called on the thread that runs the job, some hundred times at most. */
typedef int (*kavepub_progress_callback)(void* user, double done);

KAVEPUB_API int kavepub_job_set_progress(kavepub_job* job, kavepub_progress_callback progress,
                                         void* user);

/* Makes the book, on this thread and on further ones as the option "threads" allows; they are gone
 * when it returns. Once for each job. A job needs an input and an output. */
KAVEPUB_API int kavepub_job_run(kavepub_job* job);

/* Reads the input and fills the report as a run would, but makes no book and needs no output. Any
 * number of times before a run. */
KAVEPUB_API int kavepub_job_examine(kavepub_job* job);

/* Makes a run, or the next one, end soon with KAVEPUB_CANCELLED. From any thread and from signal
 * handlers, as long as the job is not being freed. */
KAVEPUB_API void kavepub_job_cancel(kavepub_job* job);

/* What went wrong in the last call that failed, in a sentence or two of English: what, where, and
 * what can be done. Empty when nothing has. */
KAVEPUB_API const char* kavepub_job_error(const kavepub_job* job);

/* -------------------------------------------------------------------------------------- report */

/* What was found out, by key; NULL for what is not known (yet). Keys: "kind" (text, html, mobi,
 * pictures), "title", "authors" (separated by line feeds), "language", "encoding", "paragraphs",
 * "identifier", "documents", "pages", "pictures", "bytes". Filled by a run or an examination. */
KAVEPUB_API const char* kavepub_job_report(const kavepub_job* job, const char* key);

/* An entry of the contents, in reading order. */
struct kavepub_chapter {
  const char* title;
  uint32_t level; /* 1 is the highest */
  uint64_t line;  /* of a text, from 1, where the chapter begins; 0 for what has no lines */
};

/* Something that the reader of the book may miss, or the maker may want to look at. */
struct kavepub_warning {
  const char* message; /* a sentence */
  const char* place;   /* the input and the place in it, as far as they are known, else "" */
};

/* Tell these one by one: 1 and *chapter or *warning filled, or 0 when index is past the last one.
 * The strings live as long as the job is not changed. */
KAVEPUB_API int kavepub_job_chapter(const kavepub_job* job, size_t index,
                                    struct kavepub_chapter* chapter, size_t size);
KAVEPUB_API int kavepub_job_warning(const kavepub_job* job, size_t index,
                                    struct kavepub_warning* warning, size_t size);

/* --------------------------------------------------------------------------------------- cells */

/* Processes that each do one piece of work and end: for what strangers made, as the libraries that
 * read it may have faults. A cell can read what it is allowed to, write one open file, and nothing
 * else: no other files, no network, no programs, no signals; it has limits. What becomes of it is
 * told in words. Linux only.
 *
 *   static void work(void* user, kavepub_cell* cell, const void* request, size_t size) {
 *     ... a job for the path in the request, whose output goes to kavepub_cell_output(cell) ...
 *     kavepub_cell_answer(cell, words, strlen(words));
 *   }
 *
 *   kavepub_cells* cells = NULL;
 *   int code = kavepub_cells_open(&cells, work, NULL);    first of all, with one thread
 *   kavepub_errand* errand = kavepub_errand_new();
 *   kavepub_errand_read(errand, path);
 *   kavepub_errand_set_output(errand, descriptor);
 *   kavepub_errand_limit(errand, "memory", 1 << 30);
 *   code = kavepub_errand_run(errand, cells, path, strlen(path));
 *   if (code != KAVEPUB_OK) fprintf(stderr, "%s: %s\n", path, kavepub_errand_error(errand));
 */
typedef struct kavepub_cells kavepub_cells;
typedef struct kavepub_cell kavepub_cell;

/* What is done in a cell, a copy of the process that opened the cells, with one thread. */
typedef void (*kavepub_work_callback)(void* user, kavepub_cell* cell, const void* request,
                                      size_t size);

/* Makes a process of which the cells are copies, and which has read nothing of strangers: so call
 * it first, before there are threads or secrets. Its working directory is that of now. It ends with
 * this process, however that ends, and with it all cells. KAVEPUB_E_CELL, KAVEPUB_E_MEMORY. Closing
 * takes NULL, too, and waits for it; no errand may run. */
KAVEPUB_API int kavepub_cells_open(kavepub_cells** cells, kavepub_work_callback work, void* user);
KAVEPUB_API void kavepub_cells_close(kavepub_cells* cells);

/* What keeps cells closed. A cell has all that this system has, and does nothing when one of these
 * fails; a host that wants no cells without what is needed asks here. */
struct kavepub_defence {
  const char* name;    /* "seccomp" */
  const char* purpose; /* for people */
  int is_there;        /* 1 where this system has it, else 0 */
  int is_needed;       /* 1 where cells leak without it; else something else guards the same */
};

/* Tells the defences one by one: 1 and *defence filled, or 0 when index is past the last one. */
KAVEPUB_API int kavepub_defence_at(size_t index, struct kavepub_defence* defence, size_t size);

/* One piece of work for a cell. A new one; NULL when memory ran out. Freeing takes NULL, too.
 * Different errands can run on different threads at the same time, with the same cells. */
typedef struct kavepub_errand kavepub_errand;
KAVEPUB_API kavepub_errand* kavepub_errand_new(void);
KAVEPUB_API void kavepub_errand_free(kavepub_errand* errand);

/* Lets the cell read a file, or all below a directory, and change all below one directory. It can
 * read system libraries and fonts anyway. KAVEPUB_E_ARGUMENT, KAVEPUB_E_MEMORY. */
KAVEPUB_API int kavepub_errand_read(kavepub_errand* errand, const char* path);
KAVEPUB_API int kavepub_errand_write(kavepub_errand* errand, const char* directory);

/* Lends the cell a descriptor, of a new file for example. */
KAVEPUB_API int kavepub_errand_set_output(kavepub_errand* errand, int descriptor);

/* Limits what the cell takes: "memory" and "file-size" in bytes, "seconds" of processor time, and
 * four times as many by the clock. None at first. KAVEPUB_E_ARGUMENT. */
KAVEPUB_API int kavepub_errand_limit(kavepub_errand* errand, const char* what, uint64_t most);

/* Hears what the cell told of its progress, ten times a second at least; other than 0 cancels. */
KAVEPUB_API int kavepub_errand_set_progress(kavepub_errand* errand,
                                            kavepub_progress_callback progress, void* user);

/* Has the work done in a new cell, and waits until that is gone. KAVEPUB_OK when the work came to
 * its end and gave an answer, which may still be anything: the work may have been taken over.
 * Else KAVEPUB_CANCELLED, KAVEPUB_E_LIMIT, KAVEPUB_E_CELL, KAVEPUB_E_CRASH, KAVEPUB_E_FORBIDDEN,
 * KAVEPUB_E_MEMORY. */
KAVEPUB_API int kavepub_errand_run(kavepub_errand* errand, const kavepub_cells* cells,
                                   const void* request, size_t size);

/* The answer of the last run, and what became of one that failed, in words that can follow a name:
 * "crashed in the parser (SIGSEGV)." */
KAVEPUB_API const void* kavepub_errand_answer(const kavepub_errand* errand, size_t* size);
KAVEPUB_API const char* kavepub_errand_error(const kavepub_errand* errand);

/* For the work, in its cell: the descriptor that was lent, -1 when none was; telling progress, from
 * 0 to 1; and the one answer, of 64 MiB at most. These return 0 when the host is not there. */
KAVEPUB_API int kavepub_cell_output(const kavepub_cell* cell);
KAVEPUB_API int kavepub_cell_progress(const kavepub_cell* cell, double done);
KAVEPUB_API int kavepub_cell_answer(const kavepub_cell* cell, const void* bytes, size_t size);

/* --------------------------------------------------------------------------------------- texts */

/* A text file of any encoding, read as UTF-8 with LF line ends: for hosts that make something else
 * of it than a book by a job. */
typedef struct kavepub_text kavepub_text;

/* A new handle; NULL when memory ran out. Freeing takes NULL, too. Threads as for jobs. */
KAVEPUB_API kavepub_text* kavepub_text_new(void);
KAVEPUB_API void kavepub_text_free(kavepub_text* text);

/* Sets "encoding" or "encoding-errors", as for jobs, before the text is opened. */
KAVEPUB_API int kavepub_text_set_option(kavepub_text* text, const char* name, const char* value);

/* Opens a text, finds out its encoding and looks at all of it. The bytes of a memory input are
 * borrowed until the handle is freed. KAVEPUB_E_INPUT, KAVEPUB_E_FORMAT for what holds no text,
 * KAVEPUB_E_ENCODING, KAVEPUB_E_ORDER for a second text. */
KAVEPUB_API int kavepub_text_open_path(kavepub_text* text, const char* path);
KAVEPUB_API int kavepub_text_open_memory(kavepub_text* text, const char* name, const void* bytes,
                                         size_t size);

/* Reads the next whole characters, at most capacity bytes (8 at least), and tells how many bytes it
 * were: 0 at the end. KAVEPUB_E_INPUT when it goes no further, KAVEPUB_E_ORDER without a text. */
KAVEPUB_API int kavepub_text_read(kavepub_text* text, char* buffer, size_t capacity, size_t* size);

/* What was found out, by key, NULL for what is not known (yet): "encoding", "paragraphs" ("line"
 * where every line is a paragraph, else "wrapped"), "replaced" (how many places were no characters
 * and became U+FFFD). */
KAVEPUB_API const char* kavepub_text_report(const kavepub_text* text, const char* key);
KAVEPUB_API int kavepub_text_warning(const kavepub_text* text, size_t index,
                                     struct kavepub_warning* warning, size_t size);
KAVEPUB_API const char* kavepub_text_error(const kavepub_text* text);

#ifdef __cplusplus
}
#endif

#endif

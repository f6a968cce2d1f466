/* A host that opens the library at run time, the path is its argument, and converts a text. */
#include <dlfcn.h>
#include <service/epub_service.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef TEpubService* (*CreateFunction)(void);
typedef void (*FreeFunction)(TEpubService*);

/* The calls that the callback has heard of. */
typedef struct Heard {
  int calls, done, total;
} Heard;

static int Hear(void* user, int done, int total) {
  Heard* heard = user;
  ++heard->calls;
  heard->done = done;
  heard->total = total;
  return 0;
}

static int Fail(const char* what) {
  fprintf(stderr, "%s\n", what);
  return 1;
}

int main(int count, char** arguments) {
  char dir[] = "/tmp/kav-dlopen-XXXXXX";
  char input[sizeof dir + sizeof "/in.txt"];
  char output[sizeof dir + sizeof "/out.epub"];
  Heard heard = {0, 0, 0};
  CreateFunction create;
  FreeFunction release;
  TEpubService* service;
  FILE* text;
  void* library = count == 2 ? dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL) : NULL;
  if (library == NULL) return Fail(count == 2 ? dlerror() : "one argument: the library");
  *(void**)&create = dlsym(library, "CreateEpubService");
  *(void**)&release = dlsym(library, "FreeEpubService");
  if (create == NULL || release == NULL) return Fail("a function is missing");

  if (mkdtemp(dir) == NULL) return Fail("no directory");
  snprintf(input, sizeof input, "%s/in.txt", dir);
  snprintf(output, sizeof output, "%s/out.epub", dir);
  text = fopen(input, "w");
  if (text == NULL || fputs("Hello\n", text) < 0 || fclose(text) != 0) return Fail("no text");
  service = create();
  if (service == NULL) return Fail("no record");
  if (service->Txt2Epub(input, output, dir, "", "", &heard, Hear) != 0) return Fail("no book");
  if (heard.calls != 2 || heard.done != 2 || heard.total != 2) return Fail("progress");
  release(service);
  if (dlclose(library) != 0) return Fail("not closed");
  if (remove(output) != 0 || remove(input) != 0 || remove(dir) != 0) return Fail("files left");
  return 0;
}

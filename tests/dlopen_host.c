/* A host in C99 that opens the library at run time, the path is its argument, and converts a text.
 */
#include <dlfcn.h>
#include <service/epub_service.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#define CHECK(condition)                                              \
  do {                                                                \
    if (!(condition)) {                                               \
      fprintf(stderr, "line %d: not so: %s\n", __LINE__, #condition); \
      return 1;                                                       \
    }                                                                 \
  } while (0)

typedef TEpubService* (*CreateFunction)(void);
typedef void (*FreeFunction)(TEpubService*);

/* Adds up what it hears: of two steps 1 of 2 and 2 of 2. */
static int Hear(void* user, int done, int total) {
  *(int*)user += 10 * done + total;
  return 0;
}

int main(int count, char** arguments) {
  char dir[] = "/tmp/kav-dlopen-XXXXXX";
  int heard = 0;
  CreateFunction create;
  FreeFunction release;
  TEpubService* service;
  FILE* text;
  void* library = count == 2 ? dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL) : NULL;
  CHECK(library != NULL);
  *(void**)&create = dlsym(library, "CreateEpubService");
  *(void**)&release = dlsym(library, "FreeEpubService");
  CHECK(create != NULL && release != NULL);
  CHECK(mkdtemp(dir) != NULL && chdir(dir) == 0);
  text = fopen("in.txt", "w");
  CHECK(text != NULL && fputs("Hello\n", text) >= 0 && fclose(text) == 0);
  service = create();
  CHECK(service != NULL);
  CHECK(service->Txt2Epub("in.txt", "out.epub", ".", "", "", &heard, Hear) == EPUB_OK);
  CHECK(heard == 34);
  release(service);
  CHECK(dlclose(library) == 0);
  CHECK(remove("out.epub") == 0 && remove("in.txt") == 0);
  CHECK(remove(dir) == 0); /* nothing else was left in it */
  return 0;
}

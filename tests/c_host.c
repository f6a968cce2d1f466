/* A host in C99 that links the library and builds a book page by page. Prints what went wrong. */
#include <service/epub_service.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define CHECK(condition)                                              \
  do {                                                                \
    if (!(condition)) {                                               \
      fprintf(stderr, "line %d: not so: %s\n", __LINE__, #condition); \
      return 1;                                                       \
    }                                                                 \
  } while (0)

static int BuildBook(const TEpubService* service, const char* dir, const char* output) {
  CHECK(service->InitEpub(service->data, dir, "Title", "Author") == EPUB_OK);
  CHECK(service->StartPage(service->data) == EPUB_OK);
  CHECK(service->AddTextLineToPage(service->data, "A line of text,\n") == EPUB_OK);
  CHECK(service->AddTextLineToPage(service->data, "and its end.\n") == EPUB_OK);
  CHECK(service->AddTextLineToPage(service->data, "") == EPUB_E_EMPTY_LINE);
  CHECK(service->AddImageToPage(service->data, "/nonexistent.png") == EPUB_E_MISSING);
  CHECK(service->EndPage(service->data) == EPUB_OK);
  CHECK(service->GenerateEpub(service->data, output) == EPUB_OK);
  return 0;
}

int main(void) {
  char dir[] = "/tmp/kav-c-host-XXXXXX";
  char output[sizeof dir + sizeof "/book.epub"];
  unsigned char start[58] = {0};
  char* notice = GetEpubCopyright();
  TEpubService* service = CreateEpubService();
  FILE* book;
  CHECK(notice != NULL && service != NULL && service->data != NULL);
  free(notice);
  CHECK(service->data->epub == NULL);
  CHECK(service->StartPage(service->data) == EPUB_E_NO_BUILDER);
  CHECK(mkdtemp(dir) != NULL);
  snprintf(output, sizeof output, "%s/book.epub", dir);
  CHECK(BuildBook(service, dir, output) == 0);
  service->ClearUp(service->data);
  CHECK(service->data->epub == NULL);
  FreeEpubService(service);

  book = fopen(output, "rb");
  CHECK(book != NULL);
  CHECK(fread(start, 1, sizeof start, book) == sizeof start);
  fclose(book);
  CHECK(memcmp(start, "PK\3\4", 4) == 0);
  CHECK(memcmp(start + 30, "mimetypeapplication/epub+zip", 28) == 0);
  CHECK(remove(output) == 0);
  CHECK(remove(dir) == 0); /* nothing else was left in it */
  return 0;
}

/* Converts a text file in UTF-8 into a book and shows the progress.
 *
 *   cc convert.c $(pkg-config --cflags --libs kav_epub) -o convert
 *   ./convert novel.txt novel.epub
 */
#include <epub_service.h>
#include <stdio.h>

static int ShowProgress(void* user, int done, int total) {
  fprintf((FILE*)user, "%d of %d\n", done, total);
  return 0; /* -2 would cancel */
}

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "Usage: convert TEXT BOOK\n");
    return 2;
  }
  TEpubService* epub = CreateEpubService();
  if (epub == NULL) return 1;
  int code = epub->Txt2Epub(argv[1], argv[2], ".", "", "", stdout, ShowProgress);
  if (code != EPUB_OK) fprintf(stderr, "The conversion failed with code %d.\n", code);
  FreeEpubService(epub);
  return code == EPUB_OK ? 0 : 1;
}

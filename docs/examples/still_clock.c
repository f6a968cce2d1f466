/* A libKav_Tool whose clock stands still: equal input gives equal books. */
#define _XOPEN_SOURCE 700
#include <ftw.h>
#include <libgen.h>
#include <platform/kav_tool/kav_tool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>

static int Has(const char* path, mode_t kind) {
  struct stat status;
  return path != NULL && stat(path, &status) == 0 &&
         (kind == 0 || (status.st_mode & S_IFMT) == kind);
}
int KavIsStrNullOrEmpty(const char* text) {
  return text == NULL || *text == '\0';
}
int KavIsFileOrDirExists(const char* path) {
  return Has(path, 0);
}
int KavIsFileExists(const char* path) {
  return Has(path, S_IFREG);
}
int KavMkdir(const char* path) {
  return path == NULL ? -1 : mkdir(path, 0777);
}

char* KavGetRunDirectory(const char* path) {
  if (KavIsStrNullOrEmpty(path)) return NULL;
  char* copy = strdup(path); /* dirname() changes it */
  char* directory = copy == NULL ? NULL : strdup(dirname(copy));
  free(copy);
  return directory;
}

static int Remove(const char* path, const struct stat* status, int type, struct FTW* place) {
  (void)status, (void)type, (void)place;
  return remove(path);
}
int KavDeleteDir(const char* path) {
  return Has(path, S_IFDIR) ? nftw(path, Remove, 16, FTW_DEPTH | FTW_PHYS) : -1;
}

char* KavGetLocalCurrentTime(const char* format, int size) {
  const struct tm start = {.tm_year = 100, .tm_mday = 1, .tm_wday = 6}; /* of the year 2000 */
  if (format == NULL || size <= 0) return NULL;
  char* text = malloc((size_t)size);
  if (text != NULL && strftime(text, (size_t)size, format, &start) > 0) return text;
  free(text);
  return NULL;
}

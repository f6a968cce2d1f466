/* Packing of a book directory into an EPUB file: the interface of libKav_Ebase.
 *
 * Pure C. A library of the same name with the same function can take the place of ours.
 */
#ifndef KAV_EBASE_H
#define KAV_EBASE_H

#ifdef __cplusplus
extern "C" {
#endif

/* What Kav_CreateEpubFromDir returns. */
enum KavEbaseResult {
  KAV_EBASE_OK = 0,
  KAV_EBASE_E_ARGUMENT = 501, /* an argument is null or empty */
  KAV_EBASE_E_BOOK_DIR = 502, /* bookDir is no directory, or holds no regular file "mimetype" */
  KAV_EBASE_E_READ = 503,     /* a file or directory of the book could not be read, or has a path
                              of more than 65,535 bytes, too long for a container */
  KAV_EBASE_E_OUTPUT = 504,   /* the output cannot be created, or is something else than a file */
  KAV_EBASE_E_WRITE = 505,    /* writing failed: no space, for instance */
  KAV_EBASE_E_MEMORY = 506    /* memory ran out */
};

/* Packs the contents of bookDir into an OCF container (OEBPS Container Format 2.0.1) at epubPath:
 * "mimetype" first and stored, then every other regular file below bookDir in byte order of its
 * relative path, pictures (and other formats that compress themselves) stored, all else deflated
 * unless that does not make it smaller. Directories have no entries of their own; symbolic links
 * and special files are left out. Time stamps are fixed, so equal directories give equal bytes.
 * ZIP64 where entries or sizes need it.
 *
 * The file appears at epubPath whole or not at all: it is written without a name (where the file
 * system has no such files, as ".kav-" and a number in the same directory) and takes its place in
 * one step, so that at any moment the old file or the new one is there. On failure an existing file
 * is untouched. A symbolic link at epubPath is followed.
 *
 * 0, or a code of KavEbaseResult. */
int Kav_CreateEpubFromDir(const char* bookDir, const char* epubPath);

#ifdef __cplusplus
}
#endif

#endif

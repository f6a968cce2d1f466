/* Reading of MOBI books (MOBI, AZW, AZW3, PRC, PalmDOC PDB): the interface of libKav_Mobi.
 *
 * Pure C. A library of the same name with the same record can take the place of ours. One record
 * reads one book at a time; different records may be used on different threads at once. Nothing is
 * printed, and a null argument is safe everywhere.
 */
#ifndef KAV_MOBI_H
#define KAV_MOBI_H

#ifdef __cplusplus
extern "C" {
#endif

/* How type and creator begin, at this offset, of the Palm databases that Open takes for books; all
 * others are KAV_MOBI_E_NOT_MOBI. PalmDOC is of one type, whichever program is named as its creator
 * (REAd, TlDc). */
#define KAV_MOBI_TYPE_OFFSET 60
#define KAV_MOBI_TYPES \
  { "BOOKMOBI", "TEXt" }

/* What Open and ExtractHtml return. */
enum KavMobiResult {
  KAV_MOBI_OK = 0,
  KAV_MOBI_E_OPEN = 601,     /* the file cannot be opened or read, or no book is open */
  KAV_MOBI_E_NOT_MOBI = 602, /* the file is no MOBI or PalmDOC book */
  KAV_MOBI_E_DAMAGED = 603,  /* the file contradicts itself, or claims more text than it can hold */
  KAV_MOBI_E_ENCRYPTED = 604, /* the book is locked to a reader or device (DRM) */
  KAV_MOBI_E_NO_TEXT = 605,   /* the book holds no text that a page could show */
  KAV_MOBI_E_WRITE = 606,     /* a file cannot be created or written: no space, for instance */
  KAV_MOBI_E_MEMORY = 607     /* memory ran out */
};

/* The reader, as a record of function pointers. Each takes the record's own handle first. */
typedef struct TMobiService {
  void* handle;

  /* Opens and reads the book at mobiPath; a book that was open before is closed. A file that holds
   * a book in the old and the new format (KF7 and KF8) is read as the new one. Refused as damaged,
   * before anything is unpacked: files over 1 GiB, and books that claim more text than 256 MiB or
   * than 1 MiB + 64 times their size. So memory stays below about twice the file's size and six
   * times its text. 0, or a code of KavMobiResult. */
  int (*Open)(void* handle, const char* mobiPath);

  /* Releases what Open acquired. Allowed at any time, any number of times. */
  void (*Close)(void* handle);

  /* Writes the book as one UTF-8 HTML file at htmlPath, in reading order, with the pictures it
   * shows beside it, named "picture-" + number + extension; the extension (.jpg, .png, .gif) is the
   * picture's true type. Links inside the book lead to ids of that file; of other references only
   * web and mail addresses stay. Style sheets, fonts, audio, video and pictures of other types are
   * left out together with what refers to them. Existing files of the same names are replaced;
   * after a failure, files already written stay. 0, or a code of KavMobiResult. */
  int (*ExtractHtml)(void* handle, const char* htmlPath);

  /* The book's title in UTF-8, or the database name when it has none; "" when there is neither. For
   * the caller to free(); null when no book is open or, with errno ENOMEM, when memory runs out. */
  char* (*GetTitle)(void* handle);

  /* The book's authors in UTF-8, joined with " & "; "" when none is named. For the caller to
   * free(); null as above. */
  char* (*GetAuthor)(void* handle);

  /* The file name of the cover picture, which ExtractHtml wrote beside its HTML file; the thumbnail
   * stands in for a missing cover. For the caller to free(); null when the book has neither, or
   * when nothing has been extracted, or, with errno ENOMEM, when memory runs out. */
  char* (*GetCoverImage)(void* handle);
} TMobiService;

/* A new reader without a book, for FreeMobiService; null when memory runs out. */
TMobiService* CreateMobiService(void);

/* Releases a reader, and the book it has open. */
void FreeMobiService(TMobiService* service);

#ifdef __cplusplus
}
#endif

#endif

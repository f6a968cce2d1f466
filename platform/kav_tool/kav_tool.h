/* String and file-system helpers of the EPUB engine: the interface of libKav_Tool.
 *
 * Pure C. A library of the same name with the same seven functions can take the place of ours. All
 * paths are NUL-terminated byte strings of any encoding; a null argument is safe everywhere.
 */
#ifndef KAV_TOOL_H
#define KAV_TOOL_H

#ifdef __cplusplus
extern "C" {
#endif

/* Nonzero when text is null or "", else 0. */
int KavIsStrNullOrEmpty(const char* text);

/* Nonzero when a file or directory exists at path (symbolic links are followed), else 0. */
int KavIsFileOrDirExists(const char* path);

/* Nonzero only when path names an existing regular file (symbolic links are followed); 0 for
 * directories, devices, pipes and sockets. */
int KavIsFileExists(const char* path);

/* The directory that contains path, as text: "a" for "a/b" and "a/b/", "/" for "/b", "." for "b".
 * A new string for the caller to free(); null for a null or empty path, or when memory runs out. */
char* KavGetRunDirectory(const char* path);

/* Creates one directory. 0 on success, nonzero when it could not be made or was there before. */
int KavMkdir(const char* path);

/* Deletes a directory with everything in it. Symbolic links are removed, never followed (a path
 * that is itself a link loses the link only). Depth and names are unlimited. 0 when nothing is
 * left, nonzero when path is no directory or something could not be deleted. */
int KavDeleteDir(const char* path);

/* The local time, formatted as strftime() does. size is that of the result in bytes, the final NUL
 * included. A new string for the caller to free(); null when it does not fit, format is null, size
 * is not positive or memory runs out. */
char* KavGetLocalCurrentTime(const char* format, int size);

#ifdef __cplusplus
}
#endif

#endif

/* Makes a book of a text: novel TEXT BOOK. Prints what it has written. */
#include <kavepub.h>
#include <stdio.h>

int main(int count, char** arguments) {
  if (count != 3) return 2;
  kavepub_job* job = kavepub_job_new();
  if (job == NULL) return 1;
  int code = kavepub_job_add_path(job, arguments[1]);
  if (code == KAVEPUB_OK) code = kavepub_job_set_output_path(job, arguments[2]);
  if (code == KAVEPUB_OK) code = kavepub_job_run(job);
  if (code == KAVEPUB_OK) {
    puts(arguments[2]);
  } else {
    fprintf(stderr, "%s\n", kavepub_job_error(job));
  }
  kavepub_job_free(job);
  return code == KAVEPUB_OK ? 0 : 1;
}

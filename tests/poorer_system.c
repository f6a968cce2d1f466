/* Runs a program as on a system that lacks defences, or in a container, which uses them itself:
 * poorer_system without-landlock|without-seccomp|without-both|container PROGRAM ARGUMENT... */
#include <errno.h>
#include <fcntl.h>
#include <linux/landlock.h>
#include <seccomp.h>
#include <stdio.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

static const char* const kLandlock[] = {"landlock_create_ruleset", "landlock_add_rule",
                                        "landlock_restrict_self"};
static const char* const kSeccomp[] = {"seccomp"};
/* As containers have it: much of what an administrator does, and other namespaces. */
static const char* const kContained[] = {"mount",   "umount2", "unshare", "setns",         "keyctl",
                                         "add_key", "bpf",     "ptrace",  "io_uring_setup"};

static int refuse(scmp_filter_ctx filter, int error, const char* const* names, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    const int number = seccomp_syscall_resolve_name(names[i]);
    if (number == __NR_SCMP_ERROR) continue;
    if (seccomp_rule_add(filter, SCMP_ACT_ERRNO((unsigned)error), number, 0) != 0) return 0;
  }
  return 1;
}

/* A domain of Landlock that forbids to make devices, and leaves the rest. */
static int contain(void) {
  const struct landlock_ruleset_attr attributes = {LANDLOCK_ACCESS_FS_MAKE_CHAR};
  const long ruleset = syscall(SYS_landlock_create_ruleset, &attributes, sizeof attributes, 0);
  return ruleset >= 0 && syscall(SYS_landlock_restrict_self, ruleset, 0) == 0;
}

int main(int argc, char** argv) {
  if (argc < 3 || prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return 2;
  const int is_container = strcmp(argv[1], "container") == 0;
  if (is_container && !contain()) return 2;
  scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
  if (filter == NULL) return 2;
  int is_made = 1;
  if (strcmp(argv[1], "without-seccomp") != 0 && !is_container) {
    is_made = refuse(filter, ENOSYS, kLandlock, sizeof kLandlock / sizeof *kLandlock);
  }
  if (strcmp(argv[1], "without-landlock") != 0 && !is_container) {
    is_made = is_made && refuse(filter, ENOSYS, kSeccomp, sizeof kSeccomp / sizeof *kSeccomp);
  }
  if (is_container) {
    is_made = refuse(filter, EPERM, kContained, sizeof kContained / sizeof *kContained);
  }
  if (!is_made || seccomp_load(filter) != 0) return 2;
  seccomp_release(filter);
  execv(argv[2], argv + 2);
  perror(argv[2]);
  return 2;
}

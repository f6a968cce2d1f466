/* Runs work on a thread whose stack is all that a call of the libraries may need: 64 KiB, of which
 * the system takes some for itself. */
#ifndef KAV_EPUB_TESTS_SMALL_STACK_H
#define KAV_EPUB_TESTS_SMALL_STACK_H

#include <pthread.h>
#include <stddef.h>

#ifdef KAV_SANITIZED
#define KAV_SMALL_STACK ((size_t)8 << 20) /* what is watched needs many times as much */
#else
#define KAV_SMALL_STACK ((size_t)64 << 10)
#endif

/* So much below it may not be touched: a large frame must not reach across. */
#define KAV_STACK_GUARD ((size_t)8 << 20)

/* 0 when the work was done. */
static inline int on_small_stack(void* (*work)(void*), void* argument) {
  pthread_attr_t attributes;
  pthread_t thread;
  if (pthread_attr_init(&attributes) != 0) return 1;
  if (pthread_attr_setstacksize(&attributes, KAV_SMALL_STACK) != 0) return 1;
  if (pthread_attr_setguardsize(&attributes, KAV_STACK_GUARD) != 0) return 1;
  if (pthread_create(&thread, &attributes, work, argument) != 0) return 1;
  pthread_attr_destroy(&attributes);
  return pthread_join(thread, NULL);
}

#ifdef __cplusplus
template <typename Work>
bool RunsOnSmallStack(const Work& work) {
  const auto run = [](void* given) -> void* {
    (**static_cast<const Work**>(given))();
    return nullptr;
  };
  const Work* given = &work;
  return on_small_stack(run, static_cast<void*>(&given)) == 0;
}
#endif

#endif

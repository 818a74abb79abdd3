/* Preloaded into a program: its FAIL_NTH-th request for memory fails. Requests of iniparser do not
 * count: it dies of them, which the callers prevent where they can. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <stdlib.h>
#include <string.h>

void *__libc_malloc(size_t);
void *__libc_calloc(size_t, size_t);
void *__libc_realloc(void *, size_t);

static long left = -1; /* requests until the one that fails */

static int fails(const void *caller) {
    static __thread int busy;
    Dl_info info;
    int spared;
    if (left < 0 || busy) return 0;
    busy = 1; /* dladdr takes memory, too */
    spared = dladdr(caller, &info) != 0 && strstr(info.dli_fname, "iniparser") != NULL;
    busy = 0;
    if (spared || left-- != 1) return 0;
    errno = ENOMEM;
    return 1;
}

void *malloc(size_t size) {
    return fails(__builtin_return_address(0)) ? NULL : __libc_malloc(size);
}
void *calloc(size_t count, size_t size) {
    return fails(__builtin_return_address(0)) ? NULL : __libc_calloc(count, size);
}
void *realloc(void *block, size_t size) {
    return fails(__builtin_return_address(0)) ? NULL : __libc_realloc(block, size);
}

__attribute__((constructor)) static void start(void) {
    const char *number = getenv("FAIL_NTH");
    if (number != NULL) left = atol(number);
}

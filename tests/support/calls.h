// Calls of the C library that a test takes the place of, and processes that a test may end.
#ifndef SUPPORT_CALLS_H
#define SUPPORT_CALLS_H

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

// The function of the C library, within the test's definition of that name, which comes before it.
#define REAL(name) reinterpret_cast<decltype(&(name))>(dlsym(RTLD_NEXT, #name))

// Runs `test` in a separate process: the status that it returns or exits with, -SIGNAL if killed.
inline int end_of_child(const std::function<int()> &test) {
    const pid_t child = fork();
    if (child == 0) _exit(test());
    int end = 0;
    waitpid(child, &end, 0);
    return WIFEXITED(end) ? WEXITSTATUS(end) : -WTERMSIG(end);
}

#endif

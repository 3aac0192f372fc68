#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <functional>

// Runs `work` in a process of its own and returns its result (0 to 255), or -1 where it was killed.
// As root it runs as a user without rights where `asNobody` is set.
inline int inChild(const std::function<int()> &work, bool asNobody = false) {
    const pid_t child = ::fork();
    if (child == 0) {
        constexpr uid_t kNobody = 65534;
        if (asNobody && ::geteuid() == 0 && (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0))
            ::_exit(255);
        ::_exit(work());
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

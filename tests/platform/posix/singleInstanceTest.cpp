#include "platform/singleInstance.h"
#include "tests/support/files.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// In a process of its own, which stays the instance.
TEST(singleInstance, puts_no_lock_elsewhere_if_the_user_has_no_folder_for_it) {
    const TestFolder folder;
    const pid_t child = fork();
    if (child == 0) {
        std::filesystem::current_path(folder.path());
        setenv("TMPDIR", "/dev/null", 1);
        unsetenv("XDG_RUNTIME_DIR");
        const bool isInstance = platform::becomeInstance();
        _exit(isInstance && namesIn(folder.path()).empty() ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

} // namespace

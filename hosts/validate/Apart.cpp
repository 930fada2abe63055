#include "validate/Apart.h"

#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

namespace ond::validate {

namespace {

/// Of a copy whose work was abandoned.
constexpr int kAbandoned = 9;

[[noreturn]] void liveAsCopy(int answer, const std::function<std::string()>& work) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    try {
        const std::string text = work();
        if (write(answer, text.data(), text.size()) != static_cast<ssize_t>(text.size())) _exit(kAbandoned);
    } catch (const Abandoned&) {
        _exit(kAbandoned);
    }
    _exit(0);
}

std::string contentOf(int file) {
    std::string text(static_cast<std::size_t>(lseek(file, 0, SEEK_END)), '\0');
    const ssize_t count = pread(file, text.data(), text.size(), 0);
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return text;
}

}  // namespace

std::string runApart(Check& check, const std::function<std::string()>& work) {
    const int answer = memfd_create("validate-apart", 0);
    std::fflush(nullptr);
    const pid_t copy = answer < 0 ? -1 : fork();
    if (copy < 0) check.skip("no process can be started for the test");
    if (copy == 0) liveAsCopy(answer, work);
    int status = 0;
    waitpid(copy, &status, 0);
    if (WIFSIGNALED(status)) {
        signal(WTERMSIG(status), SIG_DFL);
        raise(WTERMSIG(status));
    }
    // Any other end is the module's: it ended the process.
    if (WEXITSTATUS(status) != 0 && WEXITSTATUS(status) != kAbandoned) _exit(WEXITSTATUS(status));
    std::string text = contentOf(answer);
    close(answer);
    if (WEXITSTATUS(status) == kAbandoned) throw Abandoned{};
    return text;
}

}  // namespace ond::validate

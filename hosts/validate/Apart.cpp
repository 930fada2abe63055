#include "validate/Apart.h"

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

namespace ond::validate {

namespace {

/// The last byte of an answer. Without it the copy did not come to its end, whatever code it ended with.
constexpr char kDone = 'D';
constexpr char kAbandoned = 'A';

[[noreturn]] void liveAsCopy(int answer, const std::function<std::string()>& work) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::string text;
    try {
        text = work() + kDone;
    } catch (const Abandoned&) {
        text = kAbandoned;
    }
    if (write(answer, text.data(), text.size()) != static_cast<ssize_t>(text.size())) _exit(3);
    _exit(0);
}

/// @return as waitpid() tells it
int endOf(Check& check, pid_t copy) {
    int status = 0;
    while (waitpid(copy, &status, 0) != copy) {
        if (errno == EINTR) continue;
        check.fail(std::string("how the process of the test ended cannot be told: ") + std::strerror(errno));
        throw Abandoned{};
    }
    return status;
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
    const int status = endOf(check, copy);
    if (WIFSIGNALED(status)) {
        signal(WTERMSIG(status), SIG_DFL);
        raise(WTERMSIG(status));
    }
    std::string text = contentOf(answer);
    close(answer);
    // Any other end is the module's: it ended the process.
    if (WEXITSTATUS(status) != 0 || text.empty()) _exit(WEXITSTATUS(status));
    const char last = text.back();
    text.pop_back();
    if (last == kAbandoned) throw Abandoned{};
    return text;
}

}  // namespace ond::validate

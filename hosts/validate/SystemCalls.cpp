#include "validate/SystemCalls.h"

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <ucontext.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <iterator>
#include <utility>

namespace ond::validate {

namespace {

#if defined(__x86_64__)
constexpr std::uint32_t kAuditedMachine = AUDIT_ARCH_X86_64;
void setAnswer(ucontext_t& context, int code) { context.uc_mcontext.gregs[REG_RAX] = -code; }
std::uintptr_t secondArgument(const ucontext_t& context) {
    return static_cast<std::uintptr_t>(context.uc_mcontext.gregs[REG_RSI]);
}
#elif defined(__aarch64__)
constexpr std::uint32_t kAuditedMachine = AUDIT_ARCH_AARCH64;
void setAnswer(ucontext_t& context, int code) { context.uc_mcontext.regs[0] = static_cast<std::uint64_t>(-code); }
std::uintptr_t secondArgument(const ucontext_t& context) { return context.uc_mcontext.regs[1]; }
#else
constexpr std::uint32_t kAuditedMachine = 0;
void setAnswer(ucontext_t&, int) {}
std::uintptr_t secondArgument(const ucontext_t&) { return 0; }
#endif

struct SystemCall {
    int number;
    const char* name;
};

/// What no computation needs. Memory, the time of day and the files that are open already stay allowed.
constexpr SystemCall kRefused[] = {
#if defined(__x86_64__)
    {SYS_open, "open()"},
    {SYS_creat, "creat()"},
    {SYS_unlink, "unlink()"},
    {SYS_rename, "rename()"},
    {SYS_mkdir, "mkdir()"},
    {SYS_rmdir, "rmdir()"},
    {SYS_fork, "fork()"},
    {SYS_vfork, "vfork()"},
    {SYS_alarm, "alarm()"},
    {SYS_chmod, "chmod()"},
#endif
    {SYS_openat, "openat()"},
    {SYS_unlinkat, "unlinkat()"},
    {SYS_renameat2, "rename()"},
    {SYS_mkdirat, "mkdir()"},
    {SYS_clone, "clone()"},
    {SYS_clone3, "clone3()"},
    {SYS_execve, "execve()"},
    {SYS_execveat, "execveat()"},
    {SYS_socket, "socket()"},
    {SYS_socketpair, "socketpair()"},
    {SYS_kill, "kill()"},
    {SYS_ptrace, "ptrace()"},
    {SYS_chdir, "chdir()"},
    {SYS_fchdir, "fchdir()"},
    {SYS_umask, "umask()"},
    {SYS_setitimer, "setitimer()"},
    {SYS_timer_create, "timer_create()"},
    {SYS_rt_sigaction, "sigaction()"},  // that sets
    {SYS_setpriority, "setpriority()"},
    {SYS_sched_setaffinity, "sched_setaffinity()"},
    {SYS_sched_setscheduler, "sched_setscheduler()"},
    {SYS_truncate, "truncate()"},
    {SYS_memfd_create, "memfd_create()"},
};

constexpr std::size_t kMostNotes = 32;
struct Note {
    int number = 0;
    std::array<char, 128> call{};
    std::array<char, 128> path{};
};
// Filled by a signal handler, which may only write where room has been made.
std::array<Note, kMostNotes> g_notes;
volatile std::size_t g_noted = 0;
const Check* g_where = nullptr;

void copyTo(std::array<char, 128>& place, const char* text) {
    for (std::size_t i = 0; text != nullptr && i + 1 < place.size() && text[i] != '\0'; ++i) place[i] = text[i];
}

void noteRefusal(int /*signal*/, siginfo_t* info, void* context) {
    if (g_noted < kMostNotes) {
        Note& note = g_notes[g_noted];
        note.number = info->si_syscall;
        copyTo(note.call, g_where->call());
        if (note.number == SYS_openat)
            // As the register has it. NOLINTNEXTLINE(performance-no-int-to-ptr)
            copyTo(note.path, reinterpret_cast<const char*>(secondArgument(*static_cast<ucontext_t*>(context))));
        g_noted = g_noted + 1;
    }
    setAnswer(*static_cast<ucontext_t*>(context), EPERM);
}

std::vector<sock_filter> program() {
    const auto jump = [](std::uint32_t value, std::uint8_t same, std::uint8_t other) {
        return sock_filter{BPF_JMP | BPF_JEQ | BPF_K, same, other, value};
    };
    const auto load = [](std::size_t field) {
        return sock_filter{BPF_LD | BPF_W | BPF_ABS, 0, 0, static_cast<std::uint32_t>(field)};
    };
    const auto answer = [](std::uint32_t what) { return sock_filter{BPF_RET | BPF_K, 0, 0, what}; };
    std::vector<sock_filter> all = {load(offsetof(seccomp_data, arch)), jump(kAuditedMachine, 1, 0),
                                    answer(SECCOMP_RET_ALLOW), load(offsetof(seccomp_data, nr))};
    for (const SystemCall& call : kRefused) {
        if (call.number == SYS_rt_sigaction) {
            // Without a new one it only reads the old one. Both halves of the pointer have to be zero for that.
            const std::size_t second = offsetof(seccomp_data, args) + sizeof(seccomp_data::args[0]);
            all.insert(all.end(),
                       {jump(SYS_rt_sigaction, 0, 6), load(second), jump(0, 0, 3), load(second + sizeof(std::uint32_t)),
                        jump(0, 0, 1), answer(SECCOMP_RET_ALLOW), answer(SECCOMP_RET_TRAP)});
            continue;
        }
        all.push_back(jump(static_cast<std::uint32_t>(call.number), 0, 1));
        all.push_back(answer(SECCOMP_RET_TRAP));
    }
    all.push_back(answer(SECCOMP_RET_ALLOW));
    return all;
}

}  // namespace

bool refuseSystemCalls(const Check& where) {
    if (kAuditedMachine == 0) return false;
    g_where = &where;
    struct sigaction action {};
    action.sa_sigaction = &noteRefusal;
    action.sa_flags = SA_SIGINFO | SA_NODEFER;
    if (sigaction(SIGSYS, &action, nullptr) != 0 || prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return false;
    std::vector<sock_filter> filter = program();
    const sock_fprog all{static_cast<unsigned short>(filter.size()), filter.data()};
    return prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &all, 0, 0) == 0;
}

std::vector<std::string> refusedSystemCalls() {
    std::vector<std::string> all;
    for (std::size_t i = 0; i < g_noted; ++i) {
        const Note& note = g_notes[i];
        const auto* known = std::find_if(std::begin(kRefused), std::end(kRefused),
                                         [&](const SystemCall& call) { return call.number == note.number; });
        const std::string inside =
            note.call[0] == '\0' ? " between two calls" : std::string(" inside of ") + note.call.data();
        const std::string path = note.path[0] == '\0' ? "" : " of " + cited(note.path.data());
        std::string text = known == std::end(kRefused) ? "a system call" : known->name;
        text.append(path).append(inside);
        if (std::find(all.begin(), all.end(), text) == all.end()) all.push_back(std::move(text));
    }
    return all;
}

}  // namespace ond::validate

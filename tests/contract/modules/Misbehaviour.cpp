#include "Misbehaviour.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>
#include <clocale>

#include <cfenv>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <thread>

namespace ond::test {

namespace {

/// What the file of this code was loaded as, without folder and ending.
std::string ownName() {
    static const char place = 0;
    Dl_info info{};
    if (dladdr(&place, &info) == 0 || info.dli_fname == nullptr) return {};
    std::string name = info.dli_fname;
    name.erase(0, name.rfind('/') + 1);
    return name.substr(0, name.rfind('.'));
}

const std::string& chosen() {
    static const std::string name = ownName();
    return name;
}

/// Not to be seen through by an optimiser.
template <typename T>
T* hidden(T* pointer) {
    T* volatile copy = pointer;
    return copy;
}

void crash() { *hidden(static_cast<int*>(nullptr)) = 1; }

void hang() {
    volatile bool on = true;
    while (on) {
    }
}

// The depth is the point. NOLINTNEXTLINE(misc-no-recursion)
int dig(int depth) {
    volatile char room[4096] = {static_cast<char>(depth)};
    return depth < 0 ? 0 : dig(depth + 1) + room[0];
}

void overflowStack() {
    volatile int sum = dig(1);
    static_cast<void>(sum);
}

void corruptHeap() {
    char* first = hidden(static_cast<char*>(std::malloc(40)));
    char* second = hidden(static_cast<char*>(std::malloc(40)));
    std::memset(first, 0x41, 64);
    std::free(second);
    std::free(first);
    std::free(hidden(std::malloc(100000)));
}

void freeTwice() {
    void* block = hidden(std::malloc(40));
    void* again = hidden(block);
    std::free(block);
    std::free(again);
}

void divideByZero() {
    volatile int zero = 0;
    volatile int result = 100 / zero;
    static_cast<void>(result);
}

void turnRounding() { std::fesetround(FE_UPWARD); }

void trapDivisions() { feenableexcept(FE_DIVBYZERO | FE_INVALID); }

void flushSmallNumbers() {
#if defined(__SSE2__)
    __builtin_ia32_ldmxcsr(__builtin_ia32_stmxcsr() | 0x8040U);
#endif
}

void changeLocale() {
    for (const char* name : {"C.UTF-8", "C.utf8", "en_US.UTF-8", "POSIX.UTF-8"})
        if (std::setlocale(LC_ALL, name) != nullptr) return;
}

void leaveThread() {
    std::thread([] { std::this_thread::sleep_for(std::chrono::seconds(5)); }).detach();
}

void takeSignal() {
    std::signal(SIGSEGV, SIG_IGN);
    std::signal(SIGINT, SIG_IGN);
}

/// Who does is none of the bad ones.
void lookAtSignals() {
    struct sigaction present {};
    if (sigaction(SIGINT, nullptr, &present) != 0) std::abort();
}

void printLine() {
    std::puts("hello from the module");
    std::fflush(stdout);
}

void leakALittle() { static_cast<void>(hidden(std::malloc(48))); }

void leakNowAndThen() {
    static int count = 0;
    if (++count % 3 == 0) leakALittle();
}

void leaveProcess() {
    if (fork() != 0) return;
    sleep(5);
    _exit(0);
}

void runCommand() { static_cast<void>(std::system("true") == 0); }

void readFile() {
    if (std::FILE* file = std::fopen("/etc/passwd", "r")) std::fclose(file);
}

void writeFile() {
    char name[] = "/tmp/sledge-XXXXXX";
    const int file = mkstemp(name);
    if (file < 0) return;
    unlink(name);
    close(file);
}

void setTimer() {
    const itimerval later{{0, 0}, {3000, 0}};
    setitimer(ITIMER_REAL, &later, nullptr);
}

void changeLimit() {
    const rlimit little{1 << 30, 1 << 30};
    setrlimit(RLIMIT_FSIZE, &little);
}

void closeEveryFile() {
    for (int file = 3; file < 256; ++file) close(file);
}

void printMuch() {
    const std::string line(1000, '*');
    for (int i = 0; i < 4000; ++i) std::puts(line.c_str());
}

void shortenNumbers() {
#if defined(__x86_64__)
    const unsigned short word = 0x007F;
    __asm__ volatile("fldcw %0" : : "m"(word));
#endif
}

struct Deed {
    std::string_view name;
    void (*act)();
};

constexpr Deed kDeeds[] = {
    {"crashes", crash},
    {"hangs", hang},
    {"aborts", [] { std::abort(); }},
    {"ends-the-program", [] { std::exit(0); }},
    {"leaves-at-once", [] { _exit(0); }},
    {"throws", [] { throw std::runtime_error("thrown across the boundary"); }},
    {"throws-a-number", [] { throw 7; }},
    {"prints", printLine},
    {"complains-on-stderr", [] { std::fputs("what a day\n", stderr); }},
    {"sleeps", [] { std::this_thread::sleep_for(std::chrono::seconds(30)); }},
    {"moves-folder", [] { static_cast<void>(chdir("/") == 0); }},
    {"turns-rounding", turnRounding},
    {"traps-divisions", trapDivisions},
    {"flushes-small-numbers", flushSmallNumbers},
    {"changes-locale", changeLocale},
    {"sets-environment", [] { setenv("GOOD_VEHICLE", "was here", 1); }},
    {"closes-output", [] { close(1); }},
    {"leaves-a-file-open", [] { static_cast<void>(std::fopen("/dev/null", "r") == nullptr); }},
    {"leaves-a-thread", leaveThread},
    {"takes-signals", takeSignal},
    {"looks-at-signals", lookAtSignals},
    {"overflows-stack", overflowStack},
    {"corrupts-heap", corruptHeap},
    {"frees-twice", freeTwice},
    {"divides-by-zero", divideByZero},
    {"leaks", leakALittle},
    {"leaks-a-byte", [] { static_cast<void>(hidden(std::malloc(1))); }},
    {"leaks-now-and-then", leakNowAndThen},
    {"leaves-a-process", leaveProcess},
    {"runs-a-command", runCommand},
    {"reads-a-file", readFile},
    {"writes-a-file", writeFile},
    {"opens-a-socket", [] { close(socket(AF_INET, SOCK_DGRAM, 0)); }},
    {"sets-a-timer", setTimer},
    {"changes-a-limit", changeLimit},
    {"closes-every-file", closeEveryFile},
    {"maps-memory", [] { static_cast<void>(mmap(nullptr, 4096, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)); }},
    {"turns-streams", [] { std::cout << std::hex << std::showpos; }},
    {"shortens-numbers", shortenNumbers},
    {"stops", [] { static_cast<void>(raise(SIGSTOP)); }},
    {"prints-much", printMuch},
    {"steps-back", [] { static_cast<void>(nice(3)); }},
};

/// Before anybody has called this module.
const bool g_loaded = [] {
    passBy("loading");
    if (am("loads-once-only")) {
        if (getenv("SLEDGE_LOADED") != nullptr) std::abort();
        setenv("SLEDGE_LOADED", "once", 1);
    }
    return true;
}();

/// When the library goes.
const struct Unloading {
    ~Unloading() { passBy("unloading"); }
} g_unloading;

}  // namespace

bool am(MisbehaviourName misbehaviour) { return chosen() == misbehaviour.name; }

void passBy(std::string_view place) {
    const std::string_view name = chosen();
    for (const Deed& deed : kDeeds) {
        constexpr std::string_view in = "-in-";
        if (name.size() == deed.name.size() + in.size() + place.size() && name.starts_with(deed.name) &&
            name.substr(deed.name.size()).starts_with(in) && name.ends_with(place))
            deed.act();
    }
}

}  // namespace ond::test

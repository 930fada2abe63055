#include "validate/HeapInUse.h"

#include <malloc.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>

namespace ond::validate {

namespace {

constexpr const char* kTunables = "GLIBC_TUNABLES";
constexpr const char* kNoPockets = "glibc.malloc.tcache_count=0";

}  // namespace

std::int64_t heapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return static_cast<std::int64_t>(info.uordblks + info.hblkhd);
}

std::int64_t spaceInUse() {
    std::int64_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * sysconf(_SC_PAGESIZE);
}

bool heapIsExact() {
    constexpr std::size_t kSize = 200;
    void* volatile piece = std::malloc(kSize);
    const std::int64_t with = heapInUse();
    std::free(piece);
    return with - heapInUse() >= static_cast<std::int64_t>(kSize);
}

void startWithExactHeap(char** arguments) {
    if (heapInUse() == 0 || heapIsExact()) return;
    const char* known = std::getenv(kTunables);
    const std::string tunables = known == nullptr ? "" : known;
    if (tunables.find(kNoPockets) != std::string::npos) return;
    setenv(kTunables, (tunables.empty() ? kNoPockets : tunables + ':' + kNoPockets).c_str(), 1);
    execv("/proc/self/exe", arguments);
    if (known == nullptr)
        unsetenv(kTunables);
    else
        setenv(kTunables, tunables.c_str(), 1);
}

}  // namespace ond::validate

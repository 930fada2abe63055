#include "table/Machine.h"

#include <gnu/libc-version.h>
#include <sched.h>
#include <sys/utsname.h>

#include <ctime>
#include <fstream>
#include <thread>

#include "BuildFacts.h"
#include "table/BulletGround.h"
#include "table/EmbreeGround.h"

namespace ond::bench::table {

namespace {

std::string firstLine(const std::string& path) {
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

std::string processorName() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);)
        if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
    return "unknown";
}

std::string nowAsText() {
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
    return text;
}

std::string systemName() {
    utsname names{};
    if (uname(&names) != 0) return "unknown";
    return std::string(names.sysname) + " " + names.release + " " + names.machine;
}

std::string compilerName() {
#if defined(__clang__)
    return "clang " __clang_version__;
#else
    return "gcc " __VERSION__;
#endif
}

}  // namespace

int stayOnOneCore(int core) {
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    if (sched_getaffinity(0, sizeof allowed, &allowed) != 0) return -1;
    if (core < 0)
        for (int i = 0; i < CPU_SETSIZE; ++i)
            if (CPU_ISSET(static_cast<std::size_t>(i), &allowed)) core = i;
    if (core < 0 || core >= CPU_SETSIZE) return -1;
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(static_cast<std::size_t>(core), &one);
    return sched_setaffinity(0, sizeof one, &one) == 0 ? core : -1;
}

Machine describeMachine(int core) {
    Machine machine;
    machine.processor = processorName();
    machine.cores = static_cast<int>(std::thread::hardware_concurrency());
    machine.core = core;
    const std::string number = std::to_string(core < 0 ? 0 : core);
    machine.governor = firstLine("/sys/devices/system/cpu/cpu" + number + "/cpufreq/scaling_governor");
    machine.system = systemName();
    machine.compiler = compilerName();
    machine.flags = kCompilerFlags;
    machine.libraries = {{"Bullet", bulletVersion()},
                         {"Embree", embreeVersion()},
                         {"glibc", gnu_get_libc_version()},
                         {"libstdc++", std::to_string(__GLIBCXX__)}};
    machine.date = nowAsText();
    return machine;
}

}  // namespace ond::bench::table

// The process is the host's: what a module leaves as it is.
#include <dirent.h>
#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iostream>
#include <locale>
#include <map>
#include <new>
#include <set>

#include "validate/Scenarios.h"
#include "validate/Tests.h"

namespace ond::validate::tests {

namespace {

std::set<std::string> namesIn(const char* folder) {
    std::set<std::string> names;
    DIR* directory = opendir(folder);
    if (directory == nullptr) return names;
    const std::string own = std::to_string(dirfd(directory));
    while (const dirent* entry = readdir(directory))
        if (entry->d_name != own) names.insert(entry->d_name);
    closedir(directory);
    return names;
}

/// Everything about the process that a library can change behind the program's back; values as text.
std::map<std::string, std::string> processSettings() {
    std::map<std::string, std::string> all;
    all["the working directory"] = std::filesystem::current_path().string();
    const mode_t mask = umask(0);
    umask(mask);
    all["the mask for new files"] = std::to_string(mask);
    all["the C locale"] = std::setlocale(LC_ALL, nullptr);
    all["the C++ locale"] = std::locale().name();
    for (int number = 1; number < NSIG; ++number) {
        struct sigaction action {};
        if (sigaction(number, nullptr, &action) != 0) continue;
        void* handler = nullptr;
        static_assert(sizeof handler == sizeof action.sa_handler);
        std::memcpy(&handler, &action.sa_handler, sizeof handler);
        all["the handler of signal " + std::to_string(number)] =
            std::to_string(reinterpret_cast<std::uintptr_t>(handler)) + " " + std::to_string(action.sa_flags);
    }
    sigset_t blocked;
    sigprocmask(SIG_BLOCK, nullptr, &blocked);
    std::string signals;
    for (int number = 1; number < NSIG; ++number) signals += sigismember(&blocked, number) == 1 ? '1' : '0';
    all["the blocked signals"] = signals;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        all["the environment variable " + text.substr(0, text.find('='))] = text;
    }
    rlimit limit{};
    for (const auto& [what, name] :
         {std::pair{RLIMIT_NOFILE, "open files"}, std::pair{RLIMIT_STACK, "stack"}, std::pair{RLIMIT_AS, "memory"},
          std::pair{RLIMIT_CORE, "core files"}, std::pair{RLIMIT_CPU, "computing time"}, std::pair{RLIMIT_DATA, "data"},
          std::pair{RLIMIT_FSIZE, "file sizes"}, std::pair{RLIMIT_NPROC, "processes"}}) {
        getrlimit(what, &limit);
        all[std::string("the limit of ") + name] = std::to_string(limit.rlim_cur);
    }
    for (const auto& [what, name] : {std::pair{ITIMER_REAL, "time"}, std::pair{ITIMER_VIRTUAL, "own time"},
                                     std::pair{ITIMER_PROF, "computing time"}}) {
        itimerval timer{};
        getitimer(what, &timer);
        const bool runs = timer.it_value.tv_sec != 0 || timer.it_value.tv_usec != 0;
        all[std::string("the timer of ") + name] = runs ? "runs" : "stands";
    }
    all["the priority"] = std::to_string(getpriority(PRIO_PROCESS, 0));
    cpu_set_t processors;
    CPU_ZERO(&processors);
    sched_getaffinity(0, sizeof processors, &processors);
    all["the number of processors"] = std::to_string(CPU_COUNT(&processors));
    for (const auto& [stream, name] : {std::pair{&std::cout, "std::cout"}, std::pair{&std::cerr, "std::cerr"}})
        all[std::string("the format of ") + name] = std::to_string(stream->flags()) + " " +
                                                    std::to_string(stream->precision()) + " " +
                                                    std::to_string(static_cast<int>(stream->fill()));
    all["what std::terminate() does"] = std::to_string(reinterpret_cast<std::uintptr_t>(std::get_terminate()));
    all["what new does without memory"] = std::to_string(reinterpret_cast<std::uintptr_t>(std::get_new_handler()));
    return all;
}

/// Sends what the program prints elsewhere for a while.
class Diverted {
  public:
    Diverted() : m_file(memfd_create("printed", 0)), m_out(dup(STDOUT_FILENO)), m_err(dup(STDERR_FILENO)) {
        std::fflush(nullptr);
        dup2(m_file, STDOUT_FILENO);
        dup2(m_file, STDERR_FILENO);
    }
    Diverted(const Diverted&) = delete;
    Diverted& operator=(const Diverted&) = delete;
    ~Diverted() {
        back();
        close(m_file);
    }
    /// What was printed.
    std::string back() {
        if (m_out < 0) return {};
        std::fflush(nullptr);
        dup2(m_out, STDOUT_FILENO);
        dup2(m_err, STDERR_FILENO);
        close(m_out);
        close(m_err);
        m_out = -1;
        std::string text(4096, '\0');
        const ssize_t count = pread(m_file, text.data(), text.size(), 0);
        text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        return text;
    }

  private:
    int m_file, m_out, m_err;
};

}  // namespace

void startsNoThreads(Check& check) {
    const std::size_t before = namesIn("/proc/self/task").size();
    // Whoever loses a parent below this process becomes its own child.
    prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0);
    ModuleFile module(check);
    World world(check, module);
    const auto expectNone = [&](const char* when) {
        const std::size_t now = namesIn("/proc/self/task").size();
        check.expect(now <= before, "the process has " + counted(now - std::min(now, before), "thread") + " more " +
                                        when + "; there is one thread, the host's");
        check.expect(waitpid(-1, nullptr, WNOHANG) < 0,
                     std::string("the process has a child ") + when + "; a module starts no process");
    };
    expectNone("when the module is loaded");
    StrictHost& host = world.addRigged("an earlier car");
    expectNone("when an object is rigged");
    world.begin(0);
    host.startRun(0);
    world.frame(1);
    host.updateFrame(1);
    expectNone("during a run");
    host.stopRun(1);
    world.end();
    (void)host.save();
    host.release();
    expectNone("when everything is released");
    fullLife(world);
    expectNone("when objects were driven, edited, undone, saved and loaded");
}

void opensNoFiles(Check& check) {
    const std::set<std::string> before = namesIn("/proc/self/fd");
    ModuleFile module(check);
    char folder[] = "/tmp/quadrig-validate-XXXXXX";
    if (mkdtemp(folder) == nullptr) check.skip("there is no room for a folder below /tmp");
    const std::filesystem::path place = std::filesystem::current_path();
    std::filesystem::current_path(folder);
    try {
        World world(check, module);
        fullLife(world);
        const std::set<std::string> now = namesIn("/proc/self/fd");
        check.expect(now == before, "the process has " + std::to_string(now.size()) + " files open and had " +
                                        std::to_string(before.size()) +
                                        ", or others; a module opens none and closes none of the host's");
    } catch (const Abandoned&) {  // told already
    }
    const bool wrote = !std::filesystem::is_empty(folder);
    std::error_code ignored;
    std::filesystem::current_path(place, ignored);
    std::filesystem::remove_all(folder, ignored);
    check.expect(!wrote,
                 "there are new files in the working directory; a module writes none, its state goes to "
                 "storeChunk()");
}

void printsNothing(Check& check) {
    Diverted diverted;
    {
        ModuleFile module(check);
        {
            World world(check, module);
            fullLife(world);
        }
        module.unload();
    }
    const std::string printed = diverted.back();
    check.expect(printed.empty(), "the module printed " + cited(printed) +
                                      "; stdout and stderr are the host's, and users are told by messageBox()");
}

void keepsProcessSettings(Check& check) {
    const std::map<std::string, std::string> before = processSettings();
    const auto compare = [&](const char* when) {
        const std::map<std::string, std::string> now = processSettings();
        for (const auto& [name, value] : before) {
            const auto found = now.find(name);
            check.expect(found != now.end() && found->second == value,
                         name + " changed " + when + "; the process is the host's");
        }
        for (const auto& [name, value] : now)
            check.expect(before.count(name) == 1, name + " appeared " + when + "; the process is the host's");
    };
    ModuleFile module(check);
    compare("when the module was loaded");
    {
        World world(check, module);
        StrictHost& host = world.addRigged("an earlier car");
        compare("when an object was rigged");
        world.run(host, 0, 4);
        compare("in a run");
        host.release();
        fullLife(world);
        compare("while objects were driven, edited, undone, saved and loaded");
    }
    compare("when everything was released");
}

}  // namespace ond::validate::tests

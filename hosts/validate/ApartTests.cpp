// What shows only in processes of its own: what a module asks the system for, and what it takes from the process that
// it happens to be in.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>

#include "ond/util/CMesh.h"
#include "stage/MeshSurface.h"
#include "validate/Apart.h"
#include "validate/Scenarios.h"
#include "validate/SystemCalls.h"
#include "validate/Tests.h"

namespace ond::validate::tests {

namespace {

/// A drive of a new object with all that can be seen of it, as lines of text, each to the last bit.
std::string filmAsText(World& world) {
    StrictHost& host = world.addRigged("car");
    world.run(host, 0, 12);
    std::ostringstream text;
    text << std::hexfloat;
    for (const auto& [name, values] : world.picture(host, 0, 12).values) {
        text << name;
        for (const double value : values) text << ' ' << value;
        text << '\n';
    }
    const Bytes block = host.save();
    text << "the saved block, " << block.size() << " bytes";
    constexpr std::size_t kPiece = 64;
    for (std::size_t i = 0; i < block.size(); ++i) {
        if (i % kPiece == 0) text << "\nthe saved block at byte " << i << ':';
        text << ' ' << static_cast<int>(block[i]);
    }
    return text.str() + "\n";
}

/// The first words of the first line that is not the same, for a sentence; empty if all are.
std::string firstOddLine(const std::string& first, const std::string& second) {
    std::istringstream left(first);
    std::istringstream right(second);
    std::string a;
    std::string b;
    for (;;) {
        const bool more = static_cast<bool>(std::getline(left, a));
        const bool also = static_cast<bool>(std::getline(right, b));
        if (!more && !also) return {};
        if (more != also || a != b) return (more ? a : b).substr(0, 60);
    }
}

/// Everything that a module cannot know when it is written.
void becomeAnotherPlace() {
    for (const char* name : {"HOME", "USER", "LOGNAME", "LANG", "LC_ALL", "TZ", "HOSTNAME", "PWD", "TMPDIR"})
        setenv(name, "elsewhere", 1);
    // What is loaded from now on lies elsewhere, too: pieces smaller than any module fill the gaps that it would fit
    // into, the highest first as in loading, and then take so much off the large one, for good. Neighbours merge.
    constexpr int kPieces = 8192;
    constexpr std::size_t kPiece = 16384;  // bytes
    for (int i = 0; i < kPieces; ++i)
        if (mmap(nullptr, kPiece, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) == MAP_FAILED) return;
}

/// This program's own casting of rays looks at the machine when it is first used.
void castOnce() {
    util::CMesh triangle;
    triangle.setNumVertices(3);
    triangle.setVertex(1, 1.0, 0.0, 0.0);
    triangle.setVertex(2, 0.0, 0.0, 1.0);
    triangle.setNumFaces(1);
    triangle.setFace(0, 0, 1, 2);
    double t = 0.0;
    util::Vector3<double> normal;
    static_cast<void>(stage::MeshSurface(triangle).intersect({0.2, 1.0, 0.2}, {0.0, -1.0, 0.0}, &t, &normal));
}

/// Other objects of the module come and go before.
void liveBefore(Check& check, ModuleFile& module) {
    World world(check, module, stage::FrameRate{50, 1});
    StrictHost& host = world.addRigged("an earlier car");
    world.run(host, 0, 3);
    changeEach(host, false, [&] { world.run(host, 1, 1); });
    (void)host.save();
}

}  // namespace

void sameBitsAnywhere(Check& check) {
    const std::string here = runApart(check, [&] {
        ModuleFile module(check);
        World world(check, module);
        return filmAsText(world);
    });
    const std::string there = runApart(check, [&] {
        becomeAnotherPlace();
        ModuleFile module(check);
        static_cast<void>(chdir("/") == 0);
        liveBefore(check, module);
        World world(check, module);
        return filmAsText(world);
    });
    const std::string odd = firstOddLine(here, there);
    check.expect(odd.empty(),
                 "the same run came out differently in another process, with another number, directory, environment "
                 "and place in memory, behind other objects: " +
                     odd + "; what an object does and saves follows from the scene, its settings and its input alone");
}

void asksNothingOfTheSystem(Check& check) {
    const std::string asked = runApart(check, [&] {
        ModuleFile module(check);
        World world(check, module);
        castOnce();
        if (!refuseSystemCalls(check)) check.skip("this system cannot refuse calls to a process");
        const auto told = [] {
            std::string text;
            for (const std::string& call : refusedSystemCalls()) text += (text.empty() ? "" : ", ") + call;
            return text;
        };
        try {
            fullLife(world);
        } catch (const Abandoned&) {  // a module may well throw that is refused something
            if (told().empty()) throw;
        }
        return told();
    });
    check.expect(asked.empty(),
                 "the module asked the system for " + asked +
                     "; a module has no business with files, processes, the network or the settings of the process");
}

}  // namespace ond::validate::tests

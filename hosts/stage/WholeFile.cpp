#include "stage/WholeFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <system_error>
#include <utility>

#include "stage/StageError.h"

namespace ond::stage {

namespace {

/// Bytes that are read at once where the size is not known before.
constexpr std::size_t kPiece = 1U << 20U;
constexpr int kAttempts = 1000;
constexpr mode_t kEveryone = 0666;
constexpr mode_t kPermissions = 07777;

std::string reason(int error) { return std::system_category().message(error); }

[[noreturn]] void failWriting(const std::string& path, const std::string& why) {
    throw StageError("'" + path + "' cannot be written: " + why);
}

[[noreturn]] void failReading(const std::string& path, const std::string& why) {
    throw StageError("'" + path + "' cannot be read: " + why);
}

class Descriptor {
  public:
    explicit Descriptor(int number) : m_number(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { (void)close(); }
    [[nodiscard]] int number() const { return m_number; }
    /// @return false if the system reports an error that it held back until now
    bool close() { return m_number < 0 || ::close(std::exchange(m_number, -1)) == 0; }

  private:
    int m_number;
};

/// Removes the file that is written aside, unless it has got its name.
class Aside {
  public:
    explicit Aside(std::string path) : m_path(std::move(path)) {}
    Aside(const Aside&) = delete;
    Aside& operator=(const Aside&) = delete;
    ~Aside() {
        if (!m_path.empty()) ::unlink(m_path.c_str());
    }
    [[nodiscard]] bool renameTo(const std::string& target) {
        if (std::rename(m_path.c_str(), target.c_str()) != 0) return false;
        m_path.clear();
        return true;
    }

  private:
    std::string m_path;
};

/// @return 0, or the number of the error
int writeAll(int file, const void* data, std::size_t size) {
    const auto* at = static_cast<const unsigned char*>(data);
    while (size > 0) {
        const ssize_t written = ::write(file, at, std::min(size, kPiece));
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return errno;
        at += written;
        size -= static_cast<std::size_t>(written);
    }
    return 0;
}

/// @return 0, or the number of the error; file systems that cannot flush are taken as they are
int flush(int file) {
    if (::fsync(file) == 0 || errno == EINVAL || errno == ENOTSUP) return 0;
    return errno;
}

std::string folderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string behindLinks(const std::string& path) {
    char* const resolved = ::realpath(path.c_str(), nullptr);
    if (resolved == nullptr) return path;
    std::string target(resolved);
    std::free(resolved);
    return target;
}

/// A new file in the folder, open for writing; the name goes to `name`.
int openAside(const std::string& folder, std::string* name) {
    for (int i = 0; i < kAttempts; ++i) {
        *name = folder + "/.quadrig-" + std::to_string(::getpid()) + "-" + std::to_string(i) + ".part";
        const int file = ::open(name->c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kEveryone);
        if (file >= 0 || errno != EEXIST) return file;
    }
    return -1;
}

void writeStraight(const std::string& path, const void* data, std::size_t size) {
    Descriptor file(::open(path.c_str(), O_WRONLY | O_CLOEXEC));
    if (file.number() < 0) failWriting(path, reason(errno));
    if (const int error = writeAll(file.number(), data, size)) failWriting(path, reason(error));
    if (!file.close()) failWriting(path, reason(errno));
}

/// Fills the new file and flushes it; `path` is what the user calls it.
void fillAside(Descriptor& file, const std::string& path, const struct stat* old, const void* data, std::size_t size) {
    if (old != nullptr) (void)::fchmod(file.number(), old->st_mode & kPermissions);
    if (const int error = writeAll(file.number(), data, size)) failWriting(path, reason(error));
    if (const int error = flush(file.number())) failWriting(path, reason(error));
    if (!file.close()) failWriting(path, reason(errno));
}

/// A new name lasts only once the folder is on the disk as well. The file itself is whole either way.
void flushFolder(const std::string& folder) {
    const Descriptor file(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (file.number() >= 0) (void)flush(file.number());
}

}  // namespace

/// A file that has not got its name, or bytes that a device has not got.
struct WholeFiles::Waiting {
    std::string path;
    std::string target;  ///< behind links; empty for a device
    std::unique_ptr<Aside> aside;
    std::string bytes;  ///< for a device
};

WholeFiles::WholeFiles() = default;
WholeFiles::~WholeFiles() = default;

void WholeFiles::add(const std::string& path, const void* data, std::size_t size) {
    if (path.empty()) throw StageError("no name is given for the file to write");
    auto waiting = std::make_unique<Waiting>();
    waiting->path = path;
    struct stat old {};
    const bool isThere = ::stat(path.c_str(), &old) == 0;
    if (!isThere && path.back() == '/') failWriting(path, "it names a folder");
    if (isThere && S_ISDIR(old.st_mode)) failWriting(path, "it is a folder");
    if (isThere && ::access(path.c_str(), W_OK) != 0) failWriting(path, reason(errno));
    if (isThere && !S_ISREG(old.st_mode)) {
        waiting->bytes.assign(static_cast<const char*>(data), size);
        m_waiting.push_back(std::move(waiting));
        return;
    }
    waiting->target = isThere ? behindLinks(path) : path;
    const std::string folder = folderOf(waiting->target);
    std::string name;
    Descriptor file(openAside(folder, &name));
    if (file.number() < 0 && errno == ENOENT) failWriting(path, "there is no folder '" + folder + "'");
    if (file.number() < 0) failWriting(path, reason(errno));
    waiting->aside = std::make_unique<Aside>(name);
    fillAside(file, path, isThere ? &old : nullptr, data, size);
    m_waiting.push_back(std::move(waiting));
}

void WholeFiles::add(const std::string& path, const std::vector<unsigned char>& bytes) {
    add(path, bytes.data(), bytes.size());
}

void WholeFiles::add(const std::string& path, const std::string& text) { add(path, text.data(), text.size()); }

void WholeFiles::finish() {
    std::string there;
    const auto fail = [&there](const std::string& path, const std::string& why) {
        failWriting(path, why + (there.empty() ? "" : "; written before it:" + there));
    };
    for (const auto& one : m_waiting)
        if (one->target.empty()) writeStraight(one->path, one->bytes.data(), one->bytes.size());
    for (const auto& one : m_waiting) {
        if (one->target.empty()) continue;
        if (!one->aside->renameTo(one->target)) fail(one->path, reason(errno));
        flushFolder(folderOf(one->target));
        there += " '" + one->path + "'";
    }
    m_waiting.clear();
}

void writeWhole(const std::string& path, const void* data, std::size_t size) {
    WholeFiles files;
    files.add(path, data, size);
    files.finish();
}

void writeWhole(const std::string& path, const std::vector<unsigned char>& bytes) {
    writeWhole(path, bytes.data(), bytes.size());
}

void writeWhole(const std::string& path, const std::string& text) { writeWhole(path, text.data(), text.size()); }

std::vector<unsigned char> readWhole(const std::string& path, std::size_t limit) {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.number() < 0) failReading(path, errno == ENOENT ? "there is no such file" : reason(errno));
    struct stat about {};
    if (::fstat(file.number(), &about) != 0) failReading(path, reason(errno));
    if (S_ISDIR(about.st_mode)) failReading(path, "it is a folder");
    const std::string tooLarge = "it is larger than " + std::to_string(limit) + " bytes";
    const auto told = S_ISREG(about.st_mode) ? static_cast<std::size_t>(about.st_size) : std::size_t{0};
    if (told > limit) failReading(path, tooLarge);
    std::vector<unsigned char> bytes;
    bytes.reserve(told);
    std::size_t have = 0;
    for (;;) {
        bytes.resize(std::max(have + 1, told > have ? told : have + kPiece));
        const ssize_t got = ::read(file.number(), bytes.data() + have, bytes.size() - have);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) failReading(path, reason(errno));
        have += static_cast<std::size_t>(got);
        if (have > limit) failReading(path, tooLarge);
        if (got == 0) break;
    }
    bytes.resize(have);
    return bytes;
}

}  // namespace ond::stage

// Element::save() and Element::load(), over the file descriptors of POSIX because only those create a file exclusively.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>

#include "ond/util/xml/Element.h"

namespace ond::util::xml {

namespace {

constexpr std::string_view kHeadLine = "<?xml version=\"1.0\"?>\n";

/// An open file that is closed at the latest by its destructor.
class File {
  public:
    explicit File(int descriptor) : m_descriptor(descriptor) {}
    ~File() { close(); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    [[nodiscard]] bool isOpen() const { return m_descriptor >= 0; }

    [[nodiscard]] bool write(std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t written = ::write(m_descriptor, bytes.data(), bytes.size());
            if (written < 0 && errno == EINTR) continue;
            if (written <= 0) return false;
            bytes.remove_prefix(static_cast<std::size_t>(written));
        }
        return true;
    }

    /// Number of bytes read into `buffer`, 0 at the end of the file or when reading fails.
    [[nodiscard]] std::size_t read(char* buffer, std::size_t size) {
        ssize_t count = 0;
        do count = ::read(m_descriptor, buffer, size);
        while (count < 0 && errno == EINTR);
        return count < 0 ? 0 : static_cast<std::size_t>(count);
    }

    /// Brings the bytes to the disk, so that a later rename cannot overtake them.
    [[nodiscard]] bool flush() { return ::fsync(m_descriptor) == 0; }

    [[nodiscard]] bool isDirectory() const {
        struct stat status {};
        return ::fstat(m_descriptor, &status) == 0 && S_ISDIR(status.st_mode);
    }

    /// Takes over the access rights of `path`, as far as this process may.
    void copyRightsOf(const std::string& path) {
        struct stat status {};
        if (::stat(path.c_str(), &status) == 0) static_cast<void>(::fchmod(m_descriptor, status.st_mode & 07777));
    }

    bool close() {
        if (m_descriptor < 0) return true;
        const int result = ::close(m_descriptor);
        m_descriptor = -1;
        return result == 0;
    }

  private:
    int m_descriptor;
};

bool writeDirectly(const std::string& path, const std::string& content) {
    File file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (!file.isOpen()) return false;
    const bool written = file.write(kHeadLine) && file.write(content);
    return file.close() && written;
}

/// Opens a file in the folder of `path` that did not exist before, and tells its name.
int createBeside(const std::string& path, std::string& name) {
    constexpr int kAttempts = 100;  // so many files would have to be left over from crashes of one process number
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    for (int i = 0; i < kAttempts; ++i) {
        name = folder + "." + std::to_string(::getpid()) + "-" + std::to_string(i) + ".saving";
        const int descriptor = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor >= 0 || errno != EEXIST) return descriptor;
    }
    return -1;
}

/// Where the folder takes no new file the file itself is written: its owner may write it, and nothing else can be done.
bool writeAsideAndRename(const std::string& path, const std::string& content) {
    std::string aside;
    File file(createBeside(path, aside));
    if (!file.isOpen()) return (errno == EACCES || errno == EPERM || errno == EROFS) && writeDirectly(path, content);
    file.copyRightsOf(path);
    const bool written = file.write(kHeadLine) && file.write(content) && file.flush();
    if (file.close() && written && std::rename(aside.c_str(), path.c_str()) == 0) return true;
    static_cast<void>(::unlink(aside.c_str()));
    return false;
}

}  // namespace

bool Element::save(const std::string& path) const {
    std::error_code error;
    const auto entry = std::filesystem::symlink_status(path, error);
    const auto file = std::filesystem::status(path, error);
    const std::string content = toString("\n", "\t", "");
    if (!std::filesystem::exists(entry)) return writeAsideAndRename(path, content);
    if (!std::filesystem::is_regular_file(file)) return writeDirectly(path, content);  // also a link to nothing yet
    // A file that may not be written stays, though the rights of its folder would let it be replaced.
    if (::access(path.c_str(), W_OK) != 0) return false;
    const auto target = std::filesystem::canonical(path, error);  // the file itself, not a link to it
    if (error) return false;
    return writeAsideAndRename(target.string(), content);
}

int Element::load(const std::string& path) {
    File file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.isOpen() || file.isDirectory()) return ParseCode::kCannotOpen;
    std::string xmlText;
    char buffer[65536];
    bool ended = false;
    while (!ended) {
        const std::size_t count = file.read(buffer, sizeof buffer);
        ended = count == 0;
        for (std::size_t i = 0; i < count && !ended; ++i) {
            ended = buffer[i] == '\0';
            if (!ended && buffer[i] != '\n') xmlText += buffer[i];
        }
    }
    file.close();
    return parse(xmlText);
}

}  // namespace ond::util::xml

// Files that are read and written in one piece.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace ond::stage {

/// Writes the file so that it is there whole or not at all: aside in the same folder first, then flushed and renamed.
/// What stood under the name is replaced and passes its permissions on; a link stays and its target is replaced.
/// Devices and pipes are written straight.
/// @throws StageError with one sentence that names the file; nothing is left behind then, and what was there stays
void writeWhole(const std::string& path, const void* data, std::size_t size);
void writeWhole(const std::string& path, const std::vector<unsigned char>& bytes);
void writeWhole(const std::string& path, const std::string& text);

/// Several files that are to be there together: nothing has its name before all are written.
class WholeFiles {
  public:
    WholeFiles();
    WholeFiles(const WholeFiles&) = delete;
    WholeFiles& operator=(const WholeFiles&) = delete;
    /// Takes away what did not get its name.
    ~WholeFiles();

    /// Writes the file aside, as writeWhole() does; what goes to a device or pipe is kept until finish().
    /// @throws StageError as writeWhole()
    void add(const std::string& path, const void* data, std::size_t size);
    void add(const std::string& path, const std::vector<unsigned char>& bytes);
    void add(const std::string& path, const std::string& text);
    /// Devices and pipes are written, then all files get their names.
    /// @throws StageError that names the file, and those that are there nevertheless
    void finish();

  private:
    struct Waiting;
    std::vector<std::unique_ptr<Waiting>> m_waiting;
};

/// The bytes of a file or pipe, at most `limit`.
/// @throws StageError with one sentence that names the file
[[nodiscard]] std::vector<unsigned char> readWhole(const std::string& path, std::size_t limit);

}  // namespace ond::stage

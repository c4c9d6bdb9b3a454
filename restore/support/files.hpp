// Every file-system call of the system. Records on disk are the only memory of what the user's Mac
// looked like, so there is one function that reads a file and one that replaces it, and both are
// built so that a full disk, a power cut or a kill at any moment leaves the old file or the new
// one.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tolvaran::files {

/// A file-system call that failed; what() is like "rename /a/b: No space left on device".
class Error : public std::runtime_error {
  public:
    Error(const std::string& operation, const std::string& path, int code);

    /// Whether the file, or a directory on the way to it, is missing.
    bool isNoSuchFile() const;
    /// The system's error number.
    int code() const { return code_; }

  private:
    int code_;
};

/// The content of a regular file, of one larger than 64 MiB only the beginning; none when there is
/// no file or it cannot be read.
std::optional<std::string> read(const std::string& path);

/// Replaces the file by one with this content, or leaves it as it was. Whatever is written after
/// this returns reaches the disk after it; a power cut may still undo the newest writes, each as a
/// whole. A symbolic link at `path` is replaced, not followed. The file is the user's alone to
/// read.
/// @throws Error, after removing whatever it had begun
void writeAtomically(const std::string& path, std::string_view content);

/// Creates the directory and the directories above it; nothing to do when it exists.
/// @throws Error
void createDirectories(const std::string& path);

/// `path` without its last component; empty when it has only one.
std::string parentDirectory(const std::string& path);

/// Creates the directory that `path` lies in, with those above it. @throws Error
void createParentDirectory(const std::string& path);

/// Creates the parent directory, where that is possible, and then replaces the file. For records
/// whose writers leave it to the write to report a directory that could not be created.
/// @throws Error from the write
void store(const std::string& path, std::string_view content);

/// Whether anything exists at the path (a symbolic link counts by what it leads to).
bool exists(const std::string& path);

/// The same, but true as well when the file system does not tell. For a file that must not be
/// overwritten as long as it may be there.
bool mayExist(const std::string& path);

/// The file's size in bytes; none when there is no file.
std::optional<std::int64_t> size(const std::string& path);

/// Removes a file. Whatever is written after this returns reaches the disk after it, so that a
/// record which has done its work does not come back beside what came later.
/// @throws Error, also when there is none (isNoSuchFile())
void remove(const std::string& path);

/// The same; every failure is ignored.
void removeIfPossible(const std::string& path);

/// Moves a file, replacing what stands at `to`; every failure is ignored, and the file is then
/// where it was. A file that would have to be copied to another volume is moved up to 64 MiB.
void moveIfPossible(const std::string& from, const std::string& to);

/// Removes the unfinished files that writeAtomically() left in a directory when its process was
/// killed halfway. Those of other processes that still run are left alone; failures are ignored.
void removeAbandonedFiles(const std::string& directory);

/// Gives the process the standard streams that it was started without, connected to nothing, so
/// that no file is opened under their numbers.
void openStandardStreams();

/// Writes to the process's standard error; every failure is ignored.
void writeToStandardError(std::string_view text) noexcept;

/// A file that is only ever added to.
class Appender {
  public:
    /// Opens the file, which must exist; none when it cannot be opened for writing.
    static std::optional<Appender> open(const std::string& path);
    /// What becomes of a file that is there already.
    enum class Existing { kept, emptied };
    /// Creates the file empty; failures are ignored.
    static void create(const std::string& path, Existing existing);

    Appender(Appender&& other) noexcept;
    Appender& operator=(Appender&& other) noexcept;
    ~Appender();

    /// Adds to the end of the file, wherever that is by now; false when that failed.
    bool append(std::string_view text);

    /// Where the last append ended, in bytes from the start of the file.
    std::int64_t offset() const { return offset_; }

  private:
    explicit Appender(int descriptor) : descriptor_(descriptor) {}

    int descriptor_;
    std::int64_t offset_ = 0;
};

}  // namespace tolvaran::files

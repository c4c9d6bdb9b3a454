// Every file-system call of the system. Records on disk are the only memory of what the user's Mac
// looked like, so there is one function that reads a file and one that replaces it, and both are
// built so that a full disk, a power cut or a kill at any moment leaves the old file or the new
// one.
//
// Two processes work on the same records: the main application and the helper. There are no locks:
// a process may be stopped or killed anywhere, and nobody waits for it. Instead every change comes
// to nothing if another process has changed the record meanwhile:
//
// - Who replaces a record writes the new content into an unfinished file of its own beside it, then
//   removes everybody else's unfinished files of that record, then checks that the record is still
//   the one that it goes by, then renames its own file over the record. The rename fails if another
//   process has begun meanwhile, and everything is done again. So of two processes that go by the
//   same content only one succeeds.
// - Who removes a record in a Recovery moves it aside and looks at what it has got, and puts it
// back
//   if it is another one than it goes by.
// - Who relies on a record that is already as it should be (update()) touches it. It is then
// another
//   one to everybody who has read it before, though its content stays.
//
// An older version of the main application, which knows nothing of this, replaces and removes
// records as ever; its unfinished files have other names and are left alone while it runs.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace tolvaran::files {

/// A file-system call that failed; what() is like "rename /a/b: No space left on device".
class Error : public std::runtime_error {
  public:
    Error(const std::string& operation, const std::string& path, int code);
    /// Of an operation that was not carried out because another process has changed the record;
    /// what() is like "remove /a/b: another process has changed it".
    static Error changedByAnother(const std::string& operation, const std::string& path);

    /// Whether the file, or a directory on the way to it, is missing.
    bool isNoSuchFile() const;
    /// Whether another process has changed the record, which was therefore left alone.
    bool isChangedByAnother() const;
    /// The system's error number; 0 if isChangedByAnother().
    int code() const { return code_; }

  private:
    explicit Error(const std::string& description);

    int code_;
};

/// The content of a regular file, of one larger than 64 MiB only the beginning; none when there is
/// no file or it cannot be read.
std::optional<std::string> read(const std::string& path);

/// Replaces the file by one with this content, or leaves it as it was. Whatever is written after
/// this returns reaches the disk after it; a power cut may still undo the newest writes, each as a
/// whole. A symbolic link at `path` is replaced, not followed. The file is the user's alone to
/// read. If another process is at work on the same file, tries again for up to a tenth of a second.
/// @throws Error, after removing whatever it had begun; isChangedByAnother() only in a Recovery
void writeAtomically(const std::string& path, std::string_view content);

/// Replaces the file at once as writeAtomically() does, but lets it reach the disk at leisure: a
/// power cut may lose it or its content. For what is written again soon and by one process only.
/// Creates the parent directory if possible.
/// @throws Error
void writeUnflushed(const std::string& path, std::string_view content);

/// What update() is to do with a record.
struct Change {
    enum class Kind {
        nothing,      // leave it alone
        reliedOn,     // it is as it should be: leave it, but let nobody else remove it unawares
        replacement,  // by `content`
        removal,
    };
    Kind kind = Kind::nothing;
    std::string content = "";
};

/// Reads the record and does with it what `decide` says, unless another process has changed it in
/// between; then both are done again, for up to a tenth of a second. So no process's change is
/// lost. Creates the parent directory, if possible, before it writes. A record that is relied on
/// keeps its content byte by byte.
/// @param decide given the content, none if there is no file or it cannot be read. May throw.
/// @return what has been done
/// @throws Error; the record is then as it was. isChangedByAnother() only in a Recovery.
Change::Kind update(const std::string& path,
                    const std::function<Change(const std::optional<std::string>& content)>& decide);

/// Creates the directory and the directories above it; nothing to do when it exists.
/// @throws Error
void createDirectories(const std::string& path);

/// `path` without its last component; empty when it has only one.
std::string parentDirectory(const std::string& path);

/// Creates the directory that `path` lies in, with those above it. @throws Error
void createParentDirectory(const std::string& path);

/// Creates the parent directory if possible, and then calls writeAtomically(). For records whose
/// writers leave it to the write to report a directory that could not be created.
/// @throws Error from the write
void writeCreatingDirectory(const std::string& path, std::string_view content);

/// Whether anything exists at the path (a symbolic link counts by what it leads to).
bool exists(const std::string& path);

/// Whether anything exists at the path, or the file system does not tell. For a file that must not
/// be overwritten as long as it may be there.
bool mayExist(const std::string& path);

/// The file's size in bytes; none when there is no file.
std::optional<std::int64_t> size(const std::string& path);

/// Removes a file. Whatever is written after this returns reaches the disk after it, so that a
/// record which has done its work does not come back beside what came later. What another process
/// is about to write is decided on once more: it started from a record that is gone.
/// @throws Error, also if there is none (isNoSuchFile()); isChangedByAnother() only in a Recovery
void remove(const std::string& path);

/// Removes a file as remove() does; every failure is ignored.
/// @return whether it was left alone because another process has changed it, in a Recovery
bool removeIfPossible(const std::string& path);

/// Moves a file, replacing what stands at `to`; every failure is ignored, and the file is then
/// where it was. A file that would have to be copied to another volume is moved up to 64 MiB.
void moveIfPossible(const std::string& from, const std::string& to);

/// Clears away what processes left in a directory that were killed while they changed a record:
/// removes what is unfinished, and puts back a record that was moved aside to be removed. What
/// belongs to other processes that still run is left alone; failures are ignored.
void removeAbandonedFiles(const std::string& directory);

/// Gives the process the standard streams that it was started without, connected to nothing, so
/// that no file is opened under their numbers.
void openStandardStreams();

/// Writes to the process's standard error; every failure is ignored.
void writeToStandardError(std::string_view text) noexcept;

/// Which file stood at a path at one moment. Its identity cannot pass to another file as long as
/// this lives.
class Version {
  public:
    /// That of no file.
    Version() = default;
    /// What stands at the path now.
    static Version at(const std::string& path);

    /// Whether the same file stands at the path, untouched; or no file, if this is that of none.
    /// False if the file system does not tell.
    bool isAt(const std::string& path) const;

    // Of files.cpp.
    struct State;
    explicit Version(std::shared_ptr<const State> state) : state_(std::move(state)) {}
    const State* state() const { return state_.get(); }

  private:
    std::shared_ptr<const State> state_;  // null for no file
};

/// Putting the Mac back from records. While it lives, this thread replaces and removes the records
/// concerned only as long as they are what they were when it began, or what this thread itself has
/// made of them. A record that another process has written, touched or removed since stays as it
/// is: it tells of a Mac that was changed since, and the next recovery starts from it.
///
/// One that begins in another goes by the older one where both concern the same record.
class Recovery {
  public:
    enum class Scope { record, directory };
    /// @param path one record, or the directory whose records are all concerned
    Recovery(const std::string& path, Scope scope) noexcept;
    Recovery(const Recovery&) = delete;
    Recovery& operator=(const Recovery&) = delete;
    ~Recovery();

    /// What this thread's recoveries go by for a record; none if none of them concerns it.
    static std::optional<Version> expected(const std::string& path);
    /// Notes what this thread itself has made of a record.
    static void note(const std::string& path, const Version& version);

  private:
    bool concerns(const std::string& path) const;
    void lookAt(const std::string& path, Scope scope);

    std::string directory_;  // empty if only one record is concerned
    std::map<std::string, Version> versions_;
    Recovery* const outer_;
};

/// Whether another process has changed the record since the Recovery in progress began; false
/// without one.
bool isChangedByAnother(const std::string& path);

/// What the log says of a record that is left alone because isChangedByAnother(): its name, and
/// " was changed by another process meanwhile; left to the next run".
std::string leftToNextRun(const std::string& path);

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

// Every file-system call of the system. The records on disk are the only memory of what the user's
// Mac looked like, so one function reads a file and one replaces it, and both are built so that a
// full disk, a power cut or a kill at any moment leaves either the old file or the new one.
//
// Two processes share the records: the main application and the helper. Nobody waits for a lock,
// because a process may be stopped or killed at any point. Instead, a change fails if another
// process has changed the record in the meantime:
//
// - To replace a record, a process writes the new content to an unfinished file of its own beside
//   it, removes every other process's unfinished file of that record, checks that the record is
//   still the version it expects, and renames its own file over it. The rename fails if another
//   process has started meanwhile; then everything is done again. So if two processes start from
//   the same version, only one succeeds.
// - To remove a record in a Recovery, a process moves it aside, looks at what it has moved, and
//   puts it back if it is not the version it expects.
// - A record that another process has moved aside is not taken for missing: a process that looks
//   for it puts it back, and the removal is made again or given up. Only a helper's run leaves it
//   aside.
// - To rely on a record that already says the right thing (update()), a process touches it. The
//   content stays, but a process that read the record before now sees a new version.
//
// - A process that has written or touched a record outside a Recovery of the directory holds a
//   shared lock (flock) on the directory until it ends. A Recovery of the directory that begins
//   meanwhile leaves every record alone: the system lists an application only some time after it
//   has started.
//
// An older version of the main application does not do this: it replaces and removes records
// directly. Its unfinished files have other names and are left alone while it runs. On a volume
// without flock the lock is left out.
//
// Main thread only, except that any thread may read a file, ask whether it exists, replace it with
// writeUnflushed() and, outside a Recovery, remove it.
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
    /// For an operation that was not carried out because another process has changed the record;
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

/// The content of a regular file; only the beginning if it is larger than 64 MiB. None if there is
/// no file or it cannot be read.
std::optional<std::string> read(const std::string& path);

/// Replaces the file by one with this content, or leaves it as it was. Whatever is written after
/// this returns reaches the disk after it; a power cut may still undo the newest writes, each as a
/// whole. A symbolic link at `path` is replaced, not followed. The file is the user's alone to
/// read. If another process is changing the same file, tries again, with pauses of up to a tenth of
/// a second in all.
/// @throws Error, after removing anything unfinished; isChangedByAnother() only in a Recovery
void writeAtomically(const std::string& path, std::string_view content);

/// Replaces the file in one step, as writeAtomically() does, but does not flush it: a power cut may
/// lose it or its content. For files that are soon rewritten, and by one process only.
/// Creates the parent directory if possible.
/// @throws Error
void writeUnflushed(const std::string& path, std::string_view content);

/// What update() is to do with a record.
struct Change {
    enum class Kind {
        nothing,      // leave it alone
        reliedOn,     // it is as it should be: touch it, so that others notice that it is in use
        replacement,  // by `content`
        removal,
    };
    Kind kind = Kind::nothing;
    std::string content = "";
};

/// Reads the record and does with it what `decide` says. If another process changes it in between,
/// does both again, with pauses of up to a tenth of a second in all, so no process's change is
/// lost. Creates the parent directory, if possible, before it writes. A record that is relied on
/// keeps its content byte for byte.
/// @param decide given the content, none if there is no file or it cannot be read. May throw.
/// @return what has been done
/// @throws Error; the record is then as it was. isChangedByAnother() only in a Recovery.
Change::Kind update(const std::string& path,
                    const std::function<Change(const std::optional<std::string>& content)>& decide);

/// Creates the directory and those above it; does nothing if it exists.
/// @throws Error
void createDirectories(const std::string& path);

/// `path` without its last component; empty if it has only one.
std::string parentDirectory(const std::string& path);

/// Creates the directory that `path` lies in, with those above it. @throws Error
void createParentDirectory(const std::string& path);

/// Creates the parent directory if possible, and then calls writeAtomically(). For records whose
/// writers leave it to the write to report a directory that could not be created.
/// @throws Error from the write
void writeCreatingDirectory(const std::string& path, std::string_view content);

/// Whether anything exists at the path. A symbolic link is followed.
bool exists(const std::string& path);

/// Whether anything exists at the path, or the file system cannot say. For a file that must not be
/// overwritten while it may be there.
bool mayExist(const std::string& path);

/// The file's size in bytes; none if there is no file.
std::optional<std::int64_t> size(const std::string& path);

/// Removes a file. Whatever is written after this returns reaches the disk after it, so a power cut
/// cannot bring a finished record back beside newer ones. A process that is about to replace the
/// record has to decide again, since it started from a record that is gone.
/// @throws Error, also if there is no file (isNoSuchFile()); isChangedByAnother() only in a
/// Recovery
void remove(const std::string& path);

/// Removes a file as remove() does; every failure is ignored.
/// @return whether it was left alone because another process has changed it, in a Recovery
bool removeIfPossible(const std::string& path);

/// Moves a file, replacing whatever is at `to`. Failures are ignored; the file then stays where it
/// was. A file larger than 64 MiB is not moved to another volume.
void moveIfPossible(const std::string& from, const std::string& to);

/// Cleans up a directory after processes that were killed while changing a record: removes their
/// unfinished files, and puts back records that they had moved aside. Files of processes that still
/// run are left alone; failures are ignored.
void removeAbandonedFiles(const std::string& directory);

/// Opens /dev/null for each standard stream that the process was started without, so that no other
/// file gets its number.
void openStandardStreams();

/// Writes to the process's standard error; every failure is ignored.
void writeToStandardError(std::string_view text) noexcept;

/// Which file was at a path at one moment. As long as this lives, no other file can get the same
/// identity.
class Version {
  public:
    /// The version of a missing file.
    Version() = default;
    /// The file that is at the path now.
    static Version at(const std::string& path);

    /// Whether the same file is still at the path, untouched (or still none, if there was none).
    /// False if the file system cannot say.
    bool isAt(const std::string& path) const;

    // For files.cpp.
    struct State;
    explicit Version(std::shared_ptr<const State> state) : state_(std::move(state)) {}
    const State* state() const { return state_.get(); }

  private:
    std::shared_ptr<const State> state_;  // null for no file
};

/// Covers putting the Mac back from records. While it lives, this thread replaces or removes one of
/// its records only if the record is as it was at the beginning, or as this thread itself has left
/// it. A record that another process has written, touched or removed since then stays as it is: it
/// describes a Mac that has changed since, and the next recovery starts from it.
///
/// If one recovery begins inside another and both cover the same record, the outer one decides.
///
/// A recovery of a directory begins with removeAbandonedFiles() there, unless it begins inside
/// another one of the same directory. If another process that still runs has written or touched any
/// record there outside a recovery, all that exist count as changed by it.
class Recovery {
  public:
    enum class Scope { record, directory };
    /// @param path one record, or a directory with all its records
    Recovery(const std::string& path, Scope scope) noexcept;
    Recovery(const Recovery&) = delete;
    Recovery& operator=(const Recovery&) = delete;
    ~Recovery();

    /// Whether another process was at work on the directory's records when this began.
    bool metAnother() const { return metAnother_; }

    /// The version that this thread's recoveries expect of a record; none if none covers it.
    static std::optional<Version> expected(const std::string& path);
    /// Notes the version that this thread itself has made of a record.
    static void note(const std::string& path, const Version& version);
    /// The innermost recovery of a directory that is in progress in this thread; null without one.
    static const Recovery* ofDirectory();

  private:
    bool concerns(const std::string& path) const;
    void lookAtDirectory(const std::string& path);
    void noteVersions(const std::string& directory, const std::vector<std::string>& names);
    void noteOthers(const std::string& directory);

    std::string directory_;  // empty if only one record is covered
    std::map<std::string, Version> versions_;
    bool metAnother_ = false;
    Recovery* const outer_;
};

/// Whether another process has changed the record since the Recovery in progress began, or was at
/// work on the records of the directory when it began; false without a Recovery.
bool isChangedByAnother(const std::string& path);

/// The log text for a record that is left alone because isChangedByAnother(): its name, and " was
/// changed by another process meanwhile; left to the next run".
std::string leftToNextRun(const std::string& path);

/// An append-only file.
class Appender {
  public:
    /// Opens the file, which must exist; none if it cannot be opened for writing.
    static std::optional<Appender> open(const std::string& path);
    /// What happens to a file that is already there.
    enum class Existing { kept, emptied };
    /// Creates the file empty; failures are ignored.
    static void create(const std::string& path, Existing existing);

    Appender(Appender&& other) noexcept;
    Appender& operator=(Appender&& other) noexcept;
    ~Appender();

    /// Adds to the current end of the file; false if that failed.
    bool append(std::string_view text);

    /// The length of the file in bytes, when it was opened or last appended to.
    std::int64_t offset() const { return offset_; }

  private:
    explicit Appender(int descriptor) : descriptor_(descriptor) {}

    int descriptor_;
    std::int64_t offset_ = 0;
};

}  // namespace tolvaran::files

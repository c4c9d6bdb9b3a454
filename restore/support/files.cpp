#include "restore/support/files.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace tolvaran::files {
namespace {

// An interrupted call is made again, but not for ever: a file system that only ever interrupts
// must not hang the helper.
constexpr int maximumAttempts = 100;

// No record comes near this size. Of a file beyond it only the beginning is read, which then does
// not decode; reading all of it could use up the memory that the other records need.
constexpr std::size_t maximumContent = 64 * 1024 * 1024;

/// Makes a call that returns a negative number on failure until it is no longer interrupted.
template <typename Call>
auto uninterrupted(Call call) {
    auto result = call();
    for (int attempt = 1; result < 0 && errno == EINTR && attempt < maximumAttempts; ++attempt) {
        result = call();
    }
    return result;
}

/// An open file descriptor, closed at the end of the scope.
class Descriptor {
  public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (isOpen()) {
            ::close(number_);
        }
    }
    bool isOpen() const { return number_ >= 0; }
    int number() const { return number_; }

  private:
    int number_;
};

int openFile(const std::string& path, int flags) {
    return uninterrupted([&] { return ::open(path.c_str(), flags | O_CLOEXEC); });
}

/// Makes sure that what was written cannot be overtaken by what is written later. F_BARRIERFSYNC is
/// the cheapest call that keeps a rename from reaching the disk before the data that it names.
/// Waiting for the disk's own cache (F_FULLFSYNC) would save the very last write from a power cut,
/// too, but cost tens of milliseconds on every heartbeat; an older record that is whole is good
/// enough. Volumes that know no barriers get the ordinary flush.
int flush(int descriptor) {
    const int barrier = uninterrupted([&] { return ::fcntl(descriptor, F_BARRIERFSYNC); });
    return barrier == 0 ? 0 : uninterrupted([&] { return ::fsync(descriptor); });
}

bool writeAll(int descriptor, std::string_view content) {
    while (!content.empty()) {
        const ssize_t written =
            uninterrupted([&] { return ::write(descriptor, content.data(), content.size()); });
        if (written <= 0) {
            return false;
        }
        content.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

std::optional<struct stat> status(const std::string& path) {
    struct stat result {};
    if (uninterrupted([&] { return ::stat(path.c_str(), &result); }) != 0) {
        return std::nullopt;
    }
    return result;
}

std::string lastComponent(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

// An unfinished file is named ".", the target's name, this marker, the writer's process ID, "-" and
// six characters that nobody can guess.
constexpr std::string_view unfinishedMarker = ".unfinished-";

std::string unfinishedTemplate(const std::string& path) {
    const std::string name = lastComponent(path);
    return path.substr(0, path.size() - name.size()) + "." + name + std::string(unfinishedMarker) +
           std::to_string(::getpid()) + "-XXXXXX";
}

/// The process that was writing the file of this name; none when it is not an unfinished file.
std::optional<pid_t> writerOf(const std::string& name) {
    const auto marker = name.rfind(unfinishedMarker);
    if (name.empty() || name.front() != '.' || marker == std::string::npos) {
        return std::nullopt;
    }
    const char* const digits = name.c_str() + marker + unfinishedMarker.size();
    char* end = nullptr;
    errno = 0;
    const long pid = std::strtol(digits, &end, 10);
    if (end == digits || *end != '-' || errno != 0 || pid <= 0 || !std::in_range<pid_t>(pid)) {
        return std::nullopt;
    }
    return static_cast<pid_t>(pid);
}

/// Whether the writer of an unfinished file may still be at work on it. This process is at work on
/// none while it looks, so that one of its number was left by a process that had the number before,
/// as after a restart of the Mac.
bool isAtWork(pid_t writer) {
    return writer != ::getpid() && (::kill(writer, 0) == 0 || errno != ESRCH);
}

/// Lets the changes of a directory's entries reach the disk, where the volume can do that. Many
/// network volumes cannot; the change is made all the same, so this is no failure of it.
void flushDirectory(const std::string& path) {
    const Descriptor opened(openFile(path.empty() ? "." : path, O_RDONLY | O_DIRECTORY));
    if (opened.isOpen()) {
        flush(opened.number());
    }
}

/// Removes a name; that it is gone may still be undone by a power cut. 0, or -1 with errno.
int unlinkFile(const std::string& path) noexcept {
    return uninterrupted([&] { return ::unlink(path.c_str()); });
}

/// Creates one directory and lets its name reach the disk: without it, all that is written below
/// would be lost with it. 0, or -1 with errno.
int createDirectory(const std::string& path) {
    if (uninterrupted([&] { return ::mkdir(path.c_str(), 0777); }) != 0) {
        return -1;
    }
    flushDirectory(parentDirectory(path));
    return 0;
}

/// Copies the file, and removes it where it was once the whole of it is where it is to be.
void moveToOtherVolume(const std::string& from, const std::string& to) {
    const std::optional<std::string> content = read(from);
    if (!content || content->size() > maximumContent) {
        return;
    }
    try {
        writeAtomically(to, *content);
        removeIfPossible(from);
    } catch (const Error&) {
        // It stays where it is.
    }
}

/// Fills the new, unfinished file and puts it in the target's place.
void finish(const std::string& unfinished, int descriptor, const std::string& path,
            std::string_view content) {
    errno = 0;
    if (!writeAll(descriptor, content)) {
        throw Error("write", path, errno == 0 ? ENOSPC : errno);
    }
    if (flush(descriptor) != 0) {
        throw Error("flush", path, errno);
    }
    if (uninterrupted([&] { return ::rename(unfinished.c_str(), path.c_str()); }) != 0) {
        throw Error("rename", path, errno);
    }
}

}  // namespace

Error::Error(const std::string& operation, const std::string& path, int code)
    : std::runtime_error(operation + " " + path + ": " + std::generic_category().message(code)),
      code_(code) {}

bool Error::isNoSuchFile() const {
    return code_ == ENOENT;
}

std::optional<std::string> read(const std::string& path) {
    // Without O_NONBLOCK, opening a named pipe would wait for a writer that may never come.
    const Descriptor file(openFile(path, O_RDONLY | O_NONBLOCK));
    struct stat status {};
    if (!file.isOpen() || ::fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    std::string content;
    std::vector<char> buffer(64 * 1024);
    while (true) {
        const ssize_t count =
            uninterrupted([&] { return ::read(file.number(), buffer.data(), buffer.size()); });
        if (count < 0) {
            return std::nullopt;
        }
        if (count == 0 || content.size() > maximumContent) {
            return content;
        }
        content.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

void writeAtomically(const std::string& path, std::string_view content) {
    std::string unfinished;
    {
        const Descriptor file(uninterrupted([&] {
            unfinished = unfinishedTemplate(path);
            return ::mkostemp(unfinished.data(), O_CLOEXEC);
        }));
        if (!file.isOpen()) {
            throw Error("create", path, errno);
        }
        try {
            finish(unfinished, file.number(), path, content);
        } catch (...) {
            unlinkFile(unfinished);
            throw;
        }
    }
    flushDirectory(parentDirectory(path));
}

void createDirectories(const std::string& path) {
    if (createDirectory(path) == 0) {
        return;
    }
    int failure = errno;
    const std::string parent = parentDirectory(path);
    if (failure == ENOENT && !parent.empty() && parent != path) {
        createDirectories(parent);
        if (createDirectory(path) == 0) {
            return;
        }
        failure = errno;
    }
    const std::optional<struct stat> existing = status(path);
    if (!existing || !S_ISDIR(existing->st_mode)) {
        throw Error("create directory", path, failure);
    }
}

std::string parentDirectory(const std::string& path) {
    const auto end = path.find_last_not_of('/');
    const auto slash = end == std::string::npos ? end : path.rfind('/', end);
    if (slash == std::string::npos) {
        return path.empty() || path.front() != '/' ? "" : "/";
    }
    const auto last = path.find_last_not_of('/', slash);
    return last == std::string::npos ? "/" : path.substr(0, last + 1);
}

void createParentDirectory(const std::string& path) {
    const std::string parent = parentDirectory(path);
    if (!parent.empty()) {
        createDirectories(parent);
    }
}

void store(const std::string& path, std::string_view content) {
    try {
        createParentDirectory(path);
    } catch (const Error&) {
        // The write below then fails as well, and says why.
    }
    writeAtomically(path, content);
}

bool exists(const std::string& path) {
    return status(path).has_value();
}

bool mayExist(const std::string& path) {
    return exists(path) || (errno != ENOENT && errno != ENOTDIR);
}

std::optional<std::int64_t> size(const std::string& path) {
    const std::optional<struct stat> existing = status(path);
    return existing ? std::optional<std::int64_t>(existing->st_size) : std::nullopt;
}

void remove(const std::string& path) {
    if (unlinkFile(path) != 0) {
        throw Error("remove", path, errno);
    }
    flushDirectory(parentDirectory(path));
}

void removeIfPossible(const std::string& path) {
    if (unlinkFile(path) == 0) {
        flushDirectory(parentDirectory(path));
    }
}

void moveIfPossible(const std::string& from, const std::string& to) {
    if (uninterrupted([&] { return ::rename(from.c_str(), to.c_str()); }) != 0 && errno == EXDEV) {
        moveToOtherVolume(from, to);
    }
}

void removeAbandonedFiles(const std::string& directory) {
    DIR* const entries = ::opendir(directory.c_str());
    if (entries == nullptr) {
        return;
    }
    std::vector<std::string> abandoned;
    while (const struct dirent* const entry = ::readdir(entries)) {
        const std::optional<pid_t> writer = writerOf(entry->d_name);
        if (writer && !isAtWork(*writer)) {
            abandoned.push_back(directory + "/" + entry->d_name);
        }
    }
    ::closedir(entries);
    for (const std::string& path : abandoned) {
        unlinkFile(path);
    }
}

void openStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) < 0) {
            // The lowest number that is free, which is this one. Open for as long as the process.
            static_cast<void>(::open("/dev/null", O_RDWR));
        }
    }
}

void writeToStandardError(std::string_view text) noexcept {
    writeAll(STDERR_FILENO, text);
}

std::optional<Appender> Appender::open(const std::string& path) {
    const int descriptor = openFile(path, O_WRONLY | O_NONBLOCK);
    if (descriptor < 0) {
        return std::nullopt;
    }
    Appender appender(descriptor);
    appender.offset_ = ::lseek(descriptor, 0, SEEK_END);
    return appender;
}

void Appender::create(const std::string& path, Existing existing) {
    const int flags = O_CREAT | O_WRONLY | O_NONBLOCK | O_CLOEXEC |
                      (existing == Existing::kept ? O_EXCL : O_TRUNC);
    const Descriptor created(uninterrupted([&] { return ::open(path.c_str(), flags, 0666); }));
}

Appender::Appender(Appender&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)), offset_(other.offset_) {}

Appender& Appender::operator=(Appender&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    std::swap(offset_, other.offset_);
    return *this;
}

Appender::~Appender() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

bool Appender::append(std::string_view text) {
    const off_t end = ::lseek(descriptor_, 0, SEEK_END);
    if (end < 0 || !writeAll(descriptor_, text)) {
        return false;
    }
    offset_ = end + static_cast<std::int64_t>(text.size());
    return true;
}

}  // namespace tolvaran::files

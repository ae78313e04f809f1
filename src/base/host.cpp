// The POSIX side of the assembler (and, as far as the standard library carries, of other hosts).

#include "base/host.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

// Calls again when a signal has come in between.
template <typename Call> static auto persist(Call call)
{
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}

static bool read_status(const char *path, struct stat *status)
{
    return persist([&] { return stat(path, status); }) == 0;
}

// Whether the error tells that there is no file for us under a name. All other errors tell nothing
// about the name.
static bool is_absence(int error)
{
    switch (error) {
    case ENOENT:
    case ENOTDIR:
    case EISDIR:
    case EACCES:
    case EPERM:
    case ELOOP:
    case ENAMETOOLONG:
    case ENXIO:
    case ENODEV:
    case EINVAL:
    case EILSEQ:
        return true;
    default:
        return false;
    }
}

PathKind path_kind(const char *path)
{
    struct stat status;
    if (!read_status(path, &status))
        return is_absence(errno) ? PathKind::MISSING : PathKind::UNKNOWN;
    if (S_ISDIR(status.st_mode))
        return PathKind::DIRECTORY;
    return S_ISREG(status.st_mode) ? PathKind::REGULAR : PathKind::OTHER;
}

static bool is_null_device(const struct stat &status)
{
    struct stat null_device;
    return S_ISCHR(status.st_mode) && read_status("/dev/null", &null_device) &&
           S_ISCHR(null_device.st_mode) && status.st_rdev == null_device.st_rdev;
}

static bool can_be_input(const struct stat &status)
{
    return S_ISREG(status.st_mode) || is_null_device(status);
}

static Opening failed_opening(int error)
{
    if (error == EMFILE || error == ENFILE)
        return Opening::EXHAUSTED;
    if (error == EACCES || error == EPERM)
        return Opening::DENIED;
    return is_absence(error) ? Opening::ABSENT : Opening::FAILED;
}

Opening open_for_reading(const char *path, std::FILE **file)
{
    // Looked at first: opening a pipe would wait for its writer.
    struct stat status;
    if (!read_status(path, &status))
        return failed_opening(errno);
    if (!can_be_input(status))
        return Opening::ABSENT;
    const int descriptor = persist([&] { return open(path, O_RDONLY | O_NOCTTY | O_CLOEXEC); });
    // A file that is there and isn't is none that we can do without.
    if (descriptor < 0)
        return errno == ENOENT ? Opening::FAILED : failed_opening(errno);
    *file = fdopen(descriptor, "rb");
    if (*file != nullptr)
        return Opening::OPEN;
    close(descriptor);
    return Opening::FAILED;
}

// What stands under `name` in an open directory, the links followed or not; nothing when the
// host could not tell. A name that is gone by now, or hidden, has mode 0.
static std::optional<mode_t> mode_of_entry(DIR *directory, const char *name, int flags)
{
    struct stat status;
    if (persist([&] { return fstatat(dirfd(directory), name, &status, flags); }) == 0)
        return status.st_mode;
    return is_absence(errno) ? std::optional<mode_t>(0) : std::nullopt;
}

// Names of the entries of `directory` that have the wanted name and the wanted mode, sorted as
// bytes so that builds are reproducible. A directory that may not be read has none.
template <typename NamePredicate, typename ModePredicate>
static std::optional<std::vector<std::string>>
sorted_entries(const char *directory, int flags, NamePredicate is_wanted, ModePredicate has_kind)
{
    std::vector<std::string> names;
    errno = 0;
    DIR *stream = opendir(directory);
    if (stream == nullptr)
        return is_absence(errno) ? std::optional(names) : std::nullopt;
    bool failed = false;
    errno = 0;
    while (const dirent *entry = readdir(stream)) {
        if (is_wanted(entry->d_name)) {
            const std::optional<mode_t> mode = mode_of_entry(stream, entry->d_name, flags);
            failed = failed || !mode;
            if (mode && has_kind(*mode))
                names.emplace_back(entry->d_name);
        }
        errno = 0;
    }
    failed = failed || errno != 0;
    closedir(stream);
    if (failed)
        return std::nullopt;
    std::sort(names.begin(), names.end());
    return names;
}

std::optional<std::vector<std::string>> subdirectories(const char *path)
{
    return sorted_entries(
        path, AT_SYMLINK_NOFOLLOW, [](const char *name) { return name[0] != '.'; },
        [](mode_t mode) { return S_ISDIR(mode); });
}

// On a mismatch after a "*" the star takes one character more; only the last star ever has to be
// tried again.
bool matches_pattern(std::string_view name, std::string_view pattern)
{
    size_t n = 0;
    size_t p = 0;
    size_t star = std::string_view::npos;
    size_t star_name = 0;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            star_name = n;
        } else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == name[n])) {
            ++p;
            ++n;
        } else if (star != std::string_view::npos) {
            p = star + 1;
            n = ++star_name;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*')
        ++p;
    return p == pattern.size();
}

std::optional<std::vector<std::string>> matching_files(const std::string &directory,
                                                       const char *pattern)
{
    return sorted_entries(
        directory.empty() ? "." : directory.c_str(), 0,
        [pattern](const char *name) {
            return (name[0] != '.' || pattern[0] == '.') && matches_pattern(name, pattern);
        },
        [](mode_t mode) { return S_ISREG(mode); });
}

// The directory part of a path, its last separator included; empty for the working directory.
static std::string directory_of(const std::string &path)
{
    return path.substr(0, path.rfind('/') + 1);
}

// The contents of the symbolic link `path`; empty if it is none. Nothing when the host failed to
// tell.
static std::optional<std::string> read_link(const std::string &path)
{
    char text[PATH_MAX];
    const ssize_t length = persist([&] { return readlink(path.c_str(), text, sizeof text); });
    if (length >= 0)
        return std::string(text, static_cast<size_t>(length));
    if (errno == EINVAL || errno == ENOENT)
        return std::string();
    return std::nullopt;
}

// Where a path leads to when the links at its end are followed, also to a file that isn't there.
static std::optional<std::string> follow_links(std::string path)
{
    constexpr int LINKS_MAX = 40; // as many as the host follows
    for (int i = 0; i < LINKS_MAX; ++i) {
        const std::optional<std::string> link = read_link(path);
        if (!link || link->empty())
            return link ? std::optional(path) : std::nullopt;
        path = link->front() == '/' ? *link : directory_of(path) + *link;
    }
    return std::nullopt;
}

FileIdentity identify_file(const char *path)
{
    FileIdentity file;
    struct stat status;
    if (read_status(path, &status)) {
        file.exists = true;
        file.regular = S_ISREG(status.st_mode);
        file.device = status.st_dev;
        file.number = status.st_ino;
    }
    const std::string place = follow_links(path).value_or(path);
    const std::string directory = directory_of(place);
    if (read_status(directory.empty() ? "." : directory.c_str(), &status)) {
        file.place_known = true;
        file.directory_device = status.st_dev;
        file.directory_number = status.st_ino;
        file.name = place.substr(directory.size());
    }
    return file;
}

bool is_same_file(const FileIdentity &file, const FileIdentity &other)
{
    if ((file.exists && !file.regular) || (other.exists && !other.regular))
        return false;
    if (file.exists && other.exists && file.device == other.device && file.number == other.number)
        return true;
    return file.place_known && other.place_known &&
           file.directory_device == other.directory_device &&
           file.directory_number == other.directory_number && file.name == other.name;
}

// Which of standard output and standard error stands for the file and can be written, if one does.
static std::optional<int> standard_stream_of(const struct stat &status)
{
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
        struct stat stream_status;
        const int flags = fcntl(stream, F_GETFL);
        if (flags >= 0 && (flags & O_ACCMODE) != O_RDONLY && fstat(stream, &stream_status) == 0 &&
            stream_status.st_dev == status.st_dev && stream_status.st_ino == status.st_ino)
            return stream;
    }
    return std::nullopt;
}

// Whether the user may not do that with the path; errno tells why. Asked twice, as an output that
// is given up for it leaves the exit status 0: a single odd answer of the host must not do that.
static bool is_denied(const char *path, int mode)
{
    return faccessat(AT_FDCWD, path, mode, AT_EACCESS) != 0 &&
           faccessat(AT_FDCWD, path, mode, AT_EACCESS) != 0;
}

// Whether a file can be created where there is none.
static bool takes_new_file(const char *path)
{
    const std::string place = follow_links(path).value_or(path);
    const std::string directory = directory_of(place);
    return place.size() > directory.size() &&
           !is_denied(directory.empty() ? "." : directory.c_str(), W_OK | X_OK);
}

bool takes_output(const char *path)
{
    struct stat status;
    if (!read_status(path, &status)) {
        const bool missing = errno == ENOENT;
        if (!missing && is_denied(path, F_OK) && errno != ENOENT)
            return false;
        return takes_new_file(path);
    }
    if (S_ISDIR(status.st_mode))
        return false;
    if (!S_ISREG(status.st_mode) && standard_stream_of(status))
        return true;
    return !S_ISSOCK(status.st_mode) && !is_denied(path, W_OK);
}

static bool write_piece(int descriptor, Piece piece)
{
    while (!piece.empty()) {
        const ssize_t written =
            persist([&] { return write(descriptor, piece.data(), piece.size()); });
        if (written <= 0)
            return false;
        piece = piece.subspan(static_cast<size_t>(written));
    }
    return true;
}

// Writes the bytes from `first` up to `last`, counted over all pieces, where the file stands.
static bool write_range(int descriptor, std::span<const Piece> pieces, size_t first, size_t last)
{
    size_t position = 0;
    for (const Piece &piece : pieces) {
        const size_t begin = std::clamp(first, position, position + piece.size()) - position;
        const size_t end = std::clamp(last, position, position + piece.size()) - position;
        if (begin < end && !write_piece(descriptor, piece.subspan(begin, end - begin)))
            return false;
        position += piece.size();
    }
    return true;
}

static size_t total_size(std::span<const Piece> pieces)
{
    size_t size = 0;
    for (const Piece &piece : pieces)
        size += piece.size();
    return size;
}

// Used on the way out of a failure; when even this fails nothing is left to try.
static void cut_file(int descriptor, off_t size)
{
    if (ftruncate(descriptor, size) != 0)
        return;
}

// The file that is being written beside its target, null most of the time. The signal handler
// deletes it, so that signals wait while it comes and goes.
static std::string temporary_name;
static const char *volatile pending_temporary;

// The signals that end a process in good order; SIGINT has a status of its own.
static const int ending_signals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGXCPU};

static sigset_t ending_signal_set()
{
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : ending_signals)
        sigaddset(&set, signal);
    return set;
}

static void hold_signals(sigset_t *old)
{
    const sigset_t set = ending_signal_set();
    sigprocmask(SIG_BLOCK, &set, old);
}

static void release_signals(const sigset_t &old)
{
    sigprocmask(SIG_SETMASK, &old, nullptr);
}

// Creates a file of a new name in `directory`. Gives its descriptor, or -1.
static int create_temporary(const std::string &directory)
{
    constexpr int NAMES_MAX = 100; // what killed runs may have left under our number
    int descriptor = -1;
    for (int i = 0; i < NAMES_MAX && descriptor < 0; ++i) {
        temporary_name =
            directory + ".nvasm8-" + std::to_string(getpid()) + "-" + std::to_string(i);
        sigset_t old;
        hold_signals(&old);
        descriptor = open(temporary_name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        const int error = errno;
        if (descriptor >= 0)
            pending_temporary = temporary_name.c_str();
        release_signals(old);
        if (descriptor < 0 && error != EEXIST)
            return -1;
    }
    return descriptor;
}

static void remove_temporary()
{
    sigset_t old;
    hold_signals(&old);
    if (pending_temporary != nullptr)
        unlink(pending_temporary);
    pending_temporary = nullptr;
    release_signals(old);
}

// Renames the temporary file; it is gone in any case.
static bool rename_temporary(const std::string &target)
{
    sigset_t old;
    hold_signals(&old);
    const bool renamed = rename(temporary_name.c_str(), target.c_str()) == 0;
    if (!renamed)
        unlink(temporary_name.c_str());
    pending_temporary = nullptr;
    release_signals(old);
    return renamed;
}

// Permissions must be the same; another user's file becomes ours where the host doesn't let us give
// files away.
static bool take_over_permissions(int descriptor, const struct stat &status)
{
    if (fchown(descriptor, status.st_uid, status.st_gid) == 0 ||
        fchown(descriptor, static_cast<uid_t>(-1), status.st_gid) == 0 || errno == EPERM)
        return fchmod(descriptor, status.st_mode & 0777) == 0;
    return false;
}

enum class Replacement { DONE, IMPOSSIBLE, FAILED };

// Writes a temporary file and renames it to `target`, which has the given status if it exists.
// IMPOSSIBLE: the directory doesn't let us.
static Replacement replace_file(const std::string &target, const struct stat *status,
                                std::span<const Piece> pieces)
{
    const int descriptor = create_temporary(directory_of(target));
    if (descriptor < 0)
        return Replacement::IMPOSSIBLE;
    if (status != nullptr && !take_over_permissions(descriptor, *status)) {
        close(descriptor);
        remove_temporary();
        return Replacement::IMPOSSIBLE;
    }
    const bool written = write_range(descriptor, pieces, 0, total_size(pieces));
    const bool closed = close(descriptor) == 0;
    if (!written || !closed) {
        remove_temporary();
        return Replacement::FAILED;
    }
    return rename_temporary(target) ? Replacement::DONE : Replacement::IMPOSSIBLE;
}

// Writes over a file of `old_size` bytes. What goes beyond its end comes first: a disk that is full
// shows then, and the file can still be left as it was. Later failures leave an empty file.
static bool write_over(int descriptor, std::span<const Piece> pieces, size_t old_size)
{
    const size_t size = total_size(pieces);
    if (size > old_size && (lseek(descriptor, static_cast<off_t>(old_size), SEEK_SET) < 0 ||
                            !write_range(descriptor, pieces, old_size, size))) {
        cut_file(descriptor, static_cast<off_t>(old_size));
        return false;
    }
    if (lseek(descriptor, 0, SEEK_SET) < 0 || !write_range(descriptor, pieces, 0, old_size) ||
        ftruncate(descriptor, static_cast<off_t>(size)) != 0) {
        cut_file(descriptor, 0);
        return false;
    }
    return true;
}

// Writes the file itself. Signals wait: there is nothing that could be put back.
static bool overwrite_file(const char *path, const struct stat *status,
                           std::span<const Piece> pieces)
{
    sigset_t old;
    hold_signals(&old);
    bool written = false;
    const int descriptor =
        persist([&] { return open(path, O_WRONLY | O_CREAT | O_NOCTTY | O_CLOEXEC, 0666); });
    if (descriptor >= 0) {
        const auto old_size = status != nullptr ? static_cast<size_t>(status->st_size) : 0;
        written = write_over(descriptor, pieces, old_size);
        if (close(descriptor) != 0) {
            written = false;
            if (truncate(path, 0) != 0)
                std::remove(path);
        }
        if (!written && status == nullptr)
            std::remove(path);
    }
    release_signals(old);
    return written;
}

// Writes to a device, a pipe, or the file that a standard stream leads to.
static bool write_stream(const char *path, const struct stat &status, std::span<const Piece> pieces)
{
    const size_t size = total_size(pieces);
    if (const std::optional<int> stream = standard_stream_of(status)) {
        // What messg has printed stands ahead.
        if (std::fflush(stdout) == 0 && write_range(*stream, pieces, 0, size))
            return true;
        if (S_ISREG(status.st_mode))
            cut_file(*stream, status.st_size);
        return false;
    }
    const int descriptor = persist([&] { return open(path, O_WRONLY | O_NOCTTY | O_CLOEXEC); });
    if (descriptor < 0)
        return false;
    const bool written = write_range(descriptor, pieces, 0, size);
    return close(descriptor) == 0 && written;
}

// Whether `path` is there under this name; the links of an open file may only look like names.
static bool leads_to(const std::string &path, const struct stat &status)
{
    struct stat found;
    return read_status(path.c_str(), &found) && found.st_dev == status.st_dev &&
           found.st_ino == status.st_ino;
}

bool write_output(const char *path, std::span<const Piece> pieces)
{
    struct stat status;
    const bool exists = read_status(path, &status);
    if (!exists && errno != ENOENT)
        return false;
    if (exists && (!S_ISREG(status.st_mode) || standard_stream_of(status)))
        return write_stream(path, status, pieces);
    const struct stat *old = exists ? &status : nullptr;
    const std::optional<std::string> target = follow_links(path);
    if (!target || (exists && !leads_to(*target, status)))
        return overwrite_file(path, old, pieces);
    const Replacement replacement = replace_file(*target, old, pieces);
    if (replacement == Replacement::IMPOSSIBLE)
        return overwrite_file(path, old, pieces);
    return replacement == Replacement::DONE;
}

// Whether nothing is left under the name that is ours to delete.
static bool try_removal(const char *path)
{
    struct stat status;
    if (!read_status(path, &status))
        return errno == ENOENT || errno == ENOTDIR;
    if (!S_ISREG(status.st_mode) || standard_stream_of(status) >= 0)
        return true;
    struct stat entry;
    if (persist([&] { return lstat(path, &entry); }) == 0 && S_ISREG(entry.st_mode))
        return std::remove(path) == 0;
    const std::optional<std::string> target = follow_links(path);
    return target && leads_to(*target, status) && std::remove(target->c_str()) == 0;
}

bool remove_output(const char *path)
{
    // The objects of the run are in place: a failure comes too late for them, so it must be a real
    // one.
    return try_removal(path) || try_removal(path);
}

static void on_ending_signal(int signal)
{
    if (pending_temporary != nullptr)
        unlink(pending_temporary);
    if (signal == SIGINT)
        _exit(2);
    // Its own disposition is back; it ends the process when this function returns.
    raise(signal);
}

void route_signals()
{
    struct sigaction action = {};
    action.sa_handler = on_ending_signal;
    action.sa_mask = ending_signal_set();
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signal : ending_signals) {
        struct sigaction old;
        // What the caller lets us ignore (nohup) stays so.
        if (signal == SIGINT || sigaction(signal, nullptr, &old) != 0 || old.sa_handler != SIG_IGN)
            sigaction(signal, &action, nullptr);
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

void occupy_standard_streams()
{
    int descriptor;
    do
        descriptor = open("/dev/null", O_RDONLY);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor >= 0)
        close(descriptor);
}

void end_process(int status)
{
    remove_temporary();
    std::exit(status);
}

void end_unreadable(const char *path)
{
    std::fprintf(stderr, "can't read %s\n", path);
    end_process(1);
}

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

// The temporary files that there are: new contents of outputs, and old ones until all outputs are
// in place. The signal handler deletes them, so that signals wait while the list changes.
static std::vector<std::string> pending_temporaries;

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

// Makes a file of a new name in `directory` by `make`, which sets errno. Gives its name; empty if
// there is none.
template <typename Make> static std::string make_temporary(const std::string &directory, Make make)
{
    constexpr int NAMES_MAX = 100; // what killed runs may have left under our number
    sigset_t old;
    hold_signals(&old);
    std::string made;
    const size_t first = pending_temporaries.size();
    for (size_t i = 0; i < NAMES_MAX; ++i) {
        // Listed before it is there: the list may take memory, and with it the process.
        const std::string &name = pending_temporaries.emplace_back(
            directory + ".nvasm8-" + std::to_string(getpid()) + "-" + std::to_string(first + i));
        if (make(name.c_str())) {
            made = name;
            break;
        }
        const bool taken = errno == EEXIST;
        pending_temporaries.pop_back();
        if (!taken)
            break;
    }
    const int error = errno;
    release_signals(old);
    errno = error;
    return made;
}

// Moves a temporary file to where it is to stay.
static bool rename_temporary(const std::string &name, const std::string &target)
{
    if (rename(name.c_str(), target.c_str()) != 0)
        return false;
    std::erase(pending_temporaries, name);
    return true;
}

static void delete_temporaries()
{
    for (const std::string &name : pending_temporaries)
        unlink(name.c_str());
}

static void remove_temporaries()
{
    const int error = errno;
    sigset_t old;
    hold_signals(&old);
    delete_temporaries();
    pending_temporaries.clear();
    release_signals(old);
    errno = error;
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

// How an output comes to its place.
enum class OutputWay {
    REPLACE,   // a temporary file is renamed
    OVERWRITE, // the file itself is written: the directory doesn't let us do it otherwise
    STREAM,    // a device, a pipe, or the file that a standard stream leads to
};

// An output on its way.
struct StagedOutput {
    const Output *output = nullptr;
    OutputWay way = OutputWay::REPLACE;
    bool exists = false;
    struct stat status = {};
    std::string target;       // where the path leads to
    std::string temporary;    // the new contents
    std::string backup;       // another name of the old file
    bool linked = false;      // which has its own name, too, until it is replaced
    std::vector<uint8_t> old; // what was overwritten
    bool placed = false;
};

static int create_file(const char *name)
{
    return open(name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
}

// Writes the temporary file. False when the output can't be written at all.
static bool write_temporary(StagedOutput *staged)
{
    int descriptor = -1;
    staged->temporary = make_temporary(directory_of(staged->target), [&](const char *name) {
        descriptor = create_file(name);
        return descriptor >= 0;
    });
    if (descriptor < 0) {
        staged->way = OutputWay::OVERWRITE;
        return true;
    }
    if (staged->exists && !take_over_permissions(descriptor, staged->status)) {
        close(descriptor);
        staged->way = OutputWay::OVERWRITE;
        return true;
    }
    const std::span<const Piece> pieces = staged->output->pieces;
    const bool written = write_range(descriptor, pieces, 0, total_size(pieces));
    const int error = errno;
    const bool closed = close(descriptor) == 0;
    if (!written)
        errno = error;
    return written && closed;
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

// Finds the way of an output and writes its temporary file, if it has one. False when it can't be
// written.
static bool stage_output(StagedOutput *staged)
{
    const char *path = staged->output->path;
    staged->exists = read_status(path, &staged->status);
    if (!staged->exists && errno != ENOENT)
        return false;
    if (staged->exists &&
        (!S_ISREG(staged->status.st_mode) || standard_stream_of(staged->status))) {
        staged->way = OutputWay::STREAM;
        return true;
    }
    const std::optional<std::string> target = follow_links(path);
    if (!target || (staged->exists && !leads_to(*target, staged->status))) {
        staged->way = OutputWay::OVERWRITE;
        return true;
    }
    staged->target = *target;
    return write_temporary(staged);
}

// Gives the old file a second name. Where the host has no such, an empty file keeps the name free
// until the old one can move there.
static bool keep_old_file(StagedOutput *staged)
{
    const std::string directory = directory_of(staged->target);
    staged->backup = make_temporary(
        directory, [&](const char *name) { return link(staged->target.c_str(), name) == 0; });
    staged->linked = !staged->backup.empty();
    if (!staged->linked) {
        staged->backup = make_temporary(directory, [](const char *name) {
            const int descriptor = create_file(name);
            return descriptor >= 0 && close(descriptor) == 0;
        });
    }
    return !staged->backup.empty();
}

static bool keep_old_bytes(StagedOutput *staged)
{
    const int descriptor =
        persist([&] { return open(staged->output->path, O_RDONLY | O_NOCTTY | O_CLOEXEC); });
    if (descriptor < 0)
        return false;
    uint8_t block[16384];
    ssize_t size = 0;
    while ((size = persist([&] { return read(descriptor, block, sizeof block); })) > 0)
        staged->old.insert(staged->old.end(), block, block + size);
    close(descriptor);
    return size == 0;
}

// Keeps what take_back needs.
static bool keep_old(StagedOutput *staged)
{
    if (!staged->exists || staged->way == OutputWay::STREAM)
        return true;
    if (staged->way == OutputWay::REPLACE && keep_old_file(staged))
        return true;
    staged->way = OutputWay::OVERWRITE;
    return keep_old_bytes(staged);
}

// Renames the temporary file to its place. False with everything as it was.
static bool replace_file(StagedOutput *staged)
{
    const bool moves = !staged->backup.empty() && !staged->linked;
    if (moves && rename(staged->target.c_str(), staged->backup.c_str()) != 0)
        return false;
    if (rename_temporary(staged->temporary, staged->target))
        return true;
    if (moves && !rename_temporary(staged->backup, staged->target))
        std::erase(pending_temporaries, staged->backup);
    return false;
}

static bool place_staged(StagedOutput *staged)
{
    if (staged->way == OutputWay::REPLACE) {
        staged->placed = replace_file(staged);
        if (staged->placed)
            return true;
        if (!staged->backup.empty() && !keep_old_bytes(staged))
            return false;
        staged->way = OutputWay::OVERWRITE;
    }
    staged->placed = overwrite_file(
        staged->output->path, staged->exists ? &staged->status : nullptr, staged->output->pieces);
    return staged->placed;
}

// Puts back what was there, as far as the host lets us.
static void take_back(const StagedOutput &staged)
{
    if (!staged.placed)
        return;
    if (!staged.exists) {
        std::remove(staged.output->path);
    } else if (staged.way == OutputWay::REPLACE) {
        // If it can't go back it is left under its other name.
        if (!rename_temporary(staged.backup, staged.target))
            std::erase(pending_temporaries, staged.backup);
    } else {
        const Piece old(staged.old);
        struct stat status;
        if (read_status(staged.output->path, &status))
            overwrite_file(staged.output->path, &status, {&old, 1});
    }
}

// Files get their temporaries first, and what can't be taken back is written then: after that
// nothing is left that usually fails.
static bool stage_outputs(std::vector<StagedOutput> *staged, size_t *at)
{
    for (*at = 0; *at < staged->size(); ++*at) {
        if (!stage_output(&(*staged)[*at]))
            return false;
    }
    for (*at = 0; *at < staged->size(); ++*at) {
        const StagedOutput &one = (*staged)[*at];
        if (one.way == OutputWay::STREAM &&
            !write_stream(one.output->path, one.status, one.output->pieces))
            return false;
    }
    return true;
}

// What is needed to go back is kept for all before the first changes, so that no want of memory or
// room comes between two. The last needs nothing: it is in place, or as it was.
static bool place_outputs(std::vector<StagedOutput> *staged, size_t *at)
{
    for (*at = 0; *at + 1 < staged->size(); ++*at) {
        if (!keep_old(&(*staged)[*at]))
            return false;
    }
    for (*at = 0; *at < staged->size(); ++*at) {
        StagedOutput &one = (*staged)[*at];
        if (one.way == OutputWay::STREAM || place_staged(&one))
            continue;
        const int error = errno;
        for (size_t i = *at; i > 0; --i)
            take_back((*staged)[i - 1]);
        errno = error;
        return false;
    }
    return true;
}

std::optional<OutputFailure> write_outputs(std::span<const Output> outputs)
{
    std::vector<StagedOutput> staged(outputs.size());
    for (size_t i = 0; i < outputs.size(); ++i)
        staged[i].output = &outputs[i];
    size_t at = 0;
    errno = 0;
    bool done = stage_outputs(&staged, &at);
    if (done) {
        sigset_t old;
        hold_signals(&old);
        done = place_outputs(&staged, &at);
        remove_temporaries();
        release_signals(old);
    } else {
        remove_temporaries();
    }
    return done ? std::nullopt : std::optional(OutputFailure{at, errno});
}

bool write_output(const char *path, std::span<const Piece> pieces)
{
    const Output output{path, pieces};
    return !write_outputs({&output, 1});
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
    delete_temporaries();
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
    remove_temporaries();
    std::exit(status);
}

void end_unreadable(const char *path)
{
    std::fprintf(stderr, "can't read %s\n", path);
    end_process(1);
}

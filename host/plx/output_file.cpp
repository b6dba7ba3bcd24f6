#include "host/plx/output_file.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/plx/cli.h"

namespace Tannhofen::Host::Cli {

namespace {

// Temporary files that a signal handler must remove: fixed storage, since
// the handler may neither allocate nor lock.
constexpr int kMaxPending = 8;
char pendingPaths[kMaxPending][PATH_MAX];
std::atomic<bool> pendingUsed[kMaxPending];

extern "C" void removePendingAndExit(int signal) {
    for (int i = 0; i < kMaxPending; ++i)
        if (pendingUsed[i].load()) unlink(pendingPaths[i]);
    _exit(128 + signal);
}

int claimSlot(const std::string& path) {
    if (path.size() >= PATH_MAX) return -1;
    for (int i = 0; i < kMaxPending; ++i) {
        bool expected = false;
        if (!pendingUsed[i].load()) {
            std::memcpy(pendingPaths[i], path.c_str(), path.size() + 1);
            if (pendingUsed[i].compare_exchange_strong(expected, true)) return i;
        }
    }
    return -1;
}

std::string directoryOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string baseOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The file that `path` names once its symbolic links are followed; it need
// not exist (a link may point at a name not taken yet).
std::string followLinks(const std::string& path) {
    std::string target = path;
    for (int hop = 0; hop < 40; ++hop) {
        struct stat info {};
        if (lstat(target.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) return target;
        std::vector<char> link(PATH_MAX + 1);
        const ssize_t n = readlink(target.c_str(), link.data(), PATH_MAX);
        if (n <= 0) return target;
        const std::string next(link.data(), static_cast<size_t>(n));
        target = next[0] == '/' ? next : directoryOf(target) + "/" + next;
    }
    throw UserError("cannot write " + shown(path) + ": too many levels of symbolic links");
}

std::string systemError(int error) {
    switch (error) {
    case EFBIG: return "the file would grow beyond the size limit (see ulimit -f)";
    case EPIPE: return "the reading end was closed";
    default: return std::strerror(error);
    }
}

// A temporary name in `directory` for `target`: hidden, and no longer than
// the directory allows for a name, however long the target's name is.
std::string temporaryPattern(const std::string& directory, const std::string& target) {
    const std::string suffix = ".plx-XXXXXX";
    long nameMax = pathconf(directory.c_str(), _PC_NAME_MAX);
    if (nameMax <= 0) nameMax = NAME_MAX;
    std::string pattern = directory;
    pattern.append("/.").append(baseOf(target));
    const size_t room = directory.size() + 1 + static_cast<size_t>(nameMax) - suffix.size();
    if (pattern.size() > room) pattern.resize(room);
    return pattern.append(suffix);
}

} // namespace

void installSignalHandlers() {
    struct sigaction action {};
    action.sa_handler = removePendingAndExit;
    sigemptyset(&action.sa_mask);
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

OutputFile::OutputFile(const std::string& path) : path(path) {
    if (path == "-") {
        descriptor = STDOUT_FILENO;
        return;
    }
    if (path.empty()) throw UserError("an output file needs a name");
    targetPath = followLinks(path);
    struct stat info {};
    const bool exists = stat(targetPath.c_str(), &info) == 0;
    if (exists && S_ISDIR(info.st_mode)) throw UserError("cannot write " + name() + ": it is a directory");
    if (exists && !S_ISREG(info.st_mode)) {
        // A device or a FIFO: written as it is, never replaced by a file.
        descriptor = open(targetPath.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
        if (descriptor < 0) fail("open");
        return;
    }
    std::string pattern = temporaryPattern(directoryOf(targetPath), targetPath);
    slot = claimSlot(pattern); // before the file exists, so that a signal can't miss it
    descriptor = mkstemp(pattern.data());
    if (slot >= 0) std::memcpy(pendingPaths[slot], pattern.c_str(), pattern.size() + 1);
    if (descriptor < 0) {
        const int error = errno;
        if (slot >= 0) pendingUsed[slot].store(false);
        slot = -1;
        throw UserError("cannot write " + name() + ": " + systemError(error) + " (in " +
                        shown(directoryOf(targetPath)) + ")");
    }
    tempPath = pattern;
    // The finished file keeps the permissions of the one it replaces, or gets
    // those of a new file.
    mode_t mode = 0;
    if (exists) {
        mode = info.st_mode & 07777;
    } else {
        const mode_t mask = umask(0);
        umask(mask);
        mode = 0666 & ~mask;
    }
    fchmod(descriptor, mode);
}

OutputFile::~OutputFile() {
    if (descriptor >= 0 && descriptor != STDOUT_FILENO) close(descriptor);
    if (!tempPath.empty() && !committed) unlink(tempPath.c_str());
    if (slot >= 0) pendingUsed[slot].store(false);
}

std::string OutputFile::name() const {
    return path == "-" ? std::string("standard output") : shown(path);
}

void OutputFile::fail(const char* doing) const {
    const int error = errno;
    throw UserError(std::string("cannot ") + doing + " " + name() + ": " + systemError(error));
}

void OutputFile::write(const void* data, size_t size) {
    const auto* bytes = static_cast<const uint8_t*>(data);
    while (size > 0) {
        const ssize_t n = ::write(descriptor, bytes, size);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) fail("write");
        bytes += n;
        size -= static_cast<size_t>(n);
    }
}

void OutputFile::writeAt(uint64_t offset, const void* data, size_t size) {
    const auto* bytes = static_cast<const uint8_t*>(data);
    while (size > 0) {
        const ssize_t n = pwrite(descriptor, bytes, size, static_cast<off_t>(offset));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) fail("write");
        bytes += n;
        offset += static_cast<uint64_t>(n);
        size -= static_cast<size_t>(n);
    }
}

void OutputFile::commit() {
    if (descriptor != STDOUT_FILENO) {
        const int result = close(descriptor);
        descriptor = -1;
        if (result != 0) fail("write");
    }
    if (!tempPath.empty() && rename(tempPath.c_str(), targetPath.c_str()) != 0) fail("write");
    committed = true;
}

void writeWholeFile(const std::string& path, const std::vector<uint8_t>& bytes) {
    OutputFile file(path);
    file.write(bytes.data(), bytes.size());
    file.commit();
}

std::vector<uint8_t> readSmallFile(const std::string& path, const std::string& what, size_t maxBytes) {
    const int fd = path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) throw UserError("cannot read " + what + " " + shown(path) + ": " + std::strerror(errno));
    struct FdCloser {
        int fd;
        ~FdCloser() {
            if (fd != STDIN_FILENO) close(fd);
        }
    } closer{fd};
    struct stat info {};
    if (fstat(fd, &info) == 0 && S_ISDIR(info.st_mode))
        throw UserError("cannot read " + what + " " + shown(path) + ": it is a directory");
    std::vector<uint8_t> bytes;
    uint8_t chunk[65536];
    for (;;) {
        const ssize_t n = read(fd, chunk, sizeof chunk);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) throw UserError("cannot read " + what + " " + shown(path) + ": " + std::strerror(errno));
        if (n == 0) break;
        if (bytes.size() + static_cast<size_t>(n) > maxBytes)
            throw UserError("the " + what + " " + shown(path) + " is larger than " +
                            std::to_string(maxBytes >> 20) + " MiB, more than any " + what + " holds");
        bytes.insert(bytes.end(), chunk, chunk + n);
    }
    return bytes;
}

namespace {

struct Identity {
    bool known = false;
    bool characterDevice = false;
    dev_t device = 0;
    ino_t inode = 0;
    std::string name; // for a name not taken yet: its directory's identity and the name
};

Identity identify(const FileRole& role) {
    Identity id;
    struct stat info {};
    bool found = false;
    std::string target = role.path;
    if (role.path == "-") {
        found = fstat(role.output ? STDOUT_FILENO : STDIN_FILENO, &info) == 0;
    } else {
        if (role.output) target = followLinks(role.path);
        found = stat(target.c_str(), &info) == 0;
    }
    if (!found && role.output && role.path != "-") {
        id.name = baseOf(target);
        found = stat(directoryOf(target).c_str(), &info) == 0;
    }
    if (!found) return id;
    id.known = true;
    id.characterDevice = id.name.empty() && S_ISCHR(info.st_mode);
    id.device = info.st_dev;
    id.inode = info.st_ino;
    return id;
}

} // namespace

void checkDistinctFiles(const std::vector<FileRole>& roles) {
    std::vector<Identity> ids;
    for (const FileRole& role : roles) ids.push_back(identify(role));
    for (size_t a = 0; a < roles.size(); ++a) {
        for (size_t b = a + 1; b < roles.size(); ++b) {
            const FileRole &first = roles[a], &second = roles[b];
            const Identity &x = ids[a], &y = ids[b];
            if (!(first.output || second.output) || !x.known || !y.known || x.characterDevice) continue;
            if (x.device != y.device || x.inode != y.inode || x.name != y.name) continue;
            if (first.output && second.output)
                throw UserError("--" + first.option + " and --" + second.option + " name the same file " +
                                shown(first.path) + ": one would overwrite the other");
            if (first.kind == second.kind) continue;
            const FileRole& out = first.output ? first : second;
            const FileRole& in = first.output ? second : first;
            throw UserError("--" + out.option + " names " + shown(out.path) + ", the " + in.kind +
                            " file read by --" + in.option + ": writing it would destroy that file");
        }
    }
}

} // namespace Tannhofen::Host::Cli

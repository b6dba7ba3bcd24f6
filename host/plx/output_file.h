// Where plx writes, and the small files it reads whole.
//
// A regular file, or a name not taken yet, is written under a temporary name
// beside it and renamed over it only when complete, so that a failed or
// interrupted run never leaves a partial file and never loses the earlier
// one; a symbolic link is followed and the file it names is replaced. A
// target that exists and is not a regular file (a device such as /dev/null,
// a FIFO) is written to directly and never replaced; "-" is standard output.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Tannhofen::Host::Cli {

// Ignores SIGPIPE and SIGXFSZ, so that a closed pipe or a file size limit
// ends a write with an error that plx reports, and removes the temporary
// files when plx is interrupted (SIGINT, SIGTERM, SIGHUP). Called once, first.
void installSignalHandlers();

class OutputFile {
public:
    // Opens the target, or creates the temporary file; UserError when it
    // can't be written.
    explicit OutputFile(const std::string& path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // The name as the user gave it, fit for messages.
    std::string name() const;
    bool isStandardOutput() const { return path == "-"; }
    // Whether what was written can be rewritten (a temporary file), so that a
    // header can be completed at the end.
    bool rewritable() const { return !tempPath.empty(); }
    void write(const void* data, size_t size);
    // Only when rewritable().
    void writeAt(uint64_t offset, const void* data, size_t size);
    // Completes the file and puts it in place.
    void commit();

private:
    [[noreturn]] void fail(const char* doing) const;
    std::string path;
    std::string targetPath;
    std::string tempPath;
    int descriptor = -1;
    int slot = -1;
    bool committed = false;
};

// Writes `bytes` to `path` through an OutputFile.
void writeWholeFile(const std::string& path, const std::vector<uint8_t>& bytes);

// The most that plx reads of a state or automation file.
inline constexpr size_t kMaxSmallFileBytes = size_t{4} << 20;

// Reads a small file whole: UserError when it can't, or when it is larger
// than `maxBytes` (it may be endless, as /dev/zero is). `what` names the file
// in messages ("state file").
std::vector<uint8_t> readSmallFile(const std::string& path, const std::string& what, size_t maxBytes);

// A file that a command reads or writes, under the option that names it.
struct FileRole {
    std::string option; // "out", "state-in"...
    std::string path;
    bool output;
    std::string kind; // one word for what it holds: "audio", "state", ...
};
// UserError when two outputs name the same file, or an output names the file
// that an input of another kind is read from (--state-out the --in file, say):
// one would silently overwrite the other. An output may replace the input of
// its own kind (--state-in and --state-out one file). Character devices
// (/dev/null) may be named more than once.
void checkDistinctFiles(const std::vector<FileRole>& roles);

} // namespace Tannhofen::Host::Cli

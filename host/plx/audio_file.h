// Audio files through libsndfile, read and written a block at a time so that
// memory does not grow with a file's length. Output goes to a temporary file
// beside the target, which is renamed over it only when complete: a failed or
// interrupted run never leaves a partial or truncated file behind.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <sndfile.h>

#include "host/plx/layout.h"

namespace Tannhofen::Host::Cli {

// A file written under a temporary name in the target's directory. commit()
// renames it to the target; the destructor removes it when not committed.
// The temporary file is also removed when plx is interrupted (SIGINT, SIGTERM).
class PendingFile {
public:
    explicit PendingFile(const std::string& target);
    ~PendingFile();
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    // The open descriptor of the temporary file; ownership stays here.
    int fd() const { return descriptor; }
    const std::string& target() const { return targetPath; }
    void writeAll(const std::vector<uint8_t>& bytes);
    void commit();

private:
    std::string targetPath;
    std::string tempPath;
    int descriptor = -1;
    int slot = -1;
};

// Writes `bytes` to `path` through a PendingFile.
void writeWholeFile(const std::string& path, const std::vector<uint8_t>& bytes);
// Reads a whole (small) file; UserError when it can't.
std::vector<uint8_t> readWholeFile(const std::string& path);

class SoundReader {
public:
    explicit SoundReader(const std::string& path);
    ~SoundReader();
    SoundReader(const SoundReader&) = delete;
    SoundReader& operator=(const SoundReader&) = delete;

    int channels() const { return info.channels; }
    int sampleRate() const { return info.samplerate; }
    int64_t frames() const { return info.frames; }
    // The layout named by the file's channel mask, if it has one we know.
    std::optional<SpeakerArrangement> layout() const;
    // Reads up to `count` interleaved frames; answers how many came.
    int64_t read(float* interleaved, int64_t count);
    int64_t read(double* interleaved, int64_t count);

private:
    SF_INFO info{};
    SNDFILE* file = nullptr;
};

class SoundWriter {
public:
    // A float WAV (64-bit float with `doublePrecision`) with the channel mask
    // of `layout` when WAV can carry it; RF64 when it may outgrow 4 GiB.
    SoundWriter(const std::string& path, SpeakerArrangement layout, int sampleRate, bool doublePrecision,
                int64_t expectedFrames);
    ~SoundWriter();
    SoundWriter(const SoundWriter&) = delete;
    SoundWriter& operator=(const SoundWriter&) = delete;

    void write(const float* interleaved, int64_t count);
    void write(const double* interleaved, int64_t count);
    // Completes the file and puts it in place.
    void commit();

private:
    void check(int64_t written, int64_t count);
    PendingFile pending;
    SNDFILE* file = nullptr;
};

} // namespace Tannhofen::Host::Cli

// Audio files: read through libsndfile, written as WAV by plx itself. Both
// go a block at a time, so that memory does not grow with a file's length,
// and neither trusts a header's declared length: reading stops where the
// data does, and tells when that is before the header's end.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <sndfile.h>

#include "host/plx/layout.h"
#include "host/plx/output_file.h"

namespace Tannhofen::Host::Cli {

// The sample rates plx takes.
inline constexpr int kMinSampleRate = 1000;
inline constexpr int kMaxSampleRate = 768000;

class SoundReader {
public:
    // "-" reads standard input. UserError, in plain words, for a file that
    // can't be read as audio or has a sample rate out of range.
    explicit SoundReader(const std::string& path);
    ~SoundReader();
    SoundReader(const SoundReader&) = delete;
    SoundReader& operator=(const SoundReader&) = delete;

    const std::string& path() const { return filePath; }
    int channels() const { return info.channels; }
    int sampleRate() const { return info.samplerate; }
    // The length the header declares; empty when it doesn't tell (a stream).
    std::optional<int64_t> declaredFrames() const;
    // The layout recorded in the file: plx's own layout chunk, the ambisonic
    // format, or the WAV channel mask; empty when it records none we know.
    std::optional<SpeakerArrangement> layout() const;

    // Reads up to `count` interleaved frames; fewer only where the data ends.
    template <class T>
    int64_t read(T* interleaved, int64_t count);
    int64_t framesRead() const { return position; }
    // Once the data has ended early or the decoder has failed: what happened,
    // naming the frame where the good data stops. Empty while all is well.
    const std::optional<std::string>& damage() const { return damaged; }

private:
    void checkDecoder(bool atEnd);

    std::string filePath;
    SF_INFO info{};
    SNDFILE* file = nullptr;
    bool headerCut = false;     // the header declares more than the file holds
    bool unknownLength = false; // a streaming-style header: the data goes on to the end
    int64_t position = 0;
    int64_t lastCheck = 0; // frames read when the decoder's log was last checked
    size_t logChecked = 0; // bytes of the log already seen
    std::optional<std::string> damaged;
};

// A float WAV (64-bit float with `doublePrecision`), WAVE_FORMAT_EXTENSIBLE.
// Its channel mask is the layout's when WAV has a position for each of its
// speakers; otherwise the mask is 0 and a chunk of plx's own ("plxL": the
// 64-bit layout, then its name) records the layout, which SoundReader reads
// back. Ambisonic layouts are marked as B-format. A file that can be
// rewritten gets its sizes at the end, and becomes RF64 past 4 GiB; a stream
// (standard output, a FIFO, a device) gets the sizes of a stream of unknown
// length.
class WavWriter {
public:
    WavWriter(OutputFile& file, SpeakerArrangement layout, int sampleRate, bool doublePrecision);
    WavWriter(const WavWriter&) = delete;
    WavWriter& operator=(const WavWriter&) = delete;

    template <class T>
    void write(const T* interleaved, int64_t frames);
    // Completes the header and puts the file in place.
    void commit();

private:
    void flush();

    OutputFile& file;
    int channels;
    int bytesPerSample;
    uint64_t dataBytes = 0;
    uint64_t frames = 0;
    size_t dataSizeOffset = 0;
    size_t factOffset = 0;
    std::vector<uint8_t> buffer;
};

} // namespace Tannhofen::Host::Cli

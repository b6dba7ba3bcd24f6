#include "host/plx/audio_file.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/plx/cli.h"

namespace Tannhofen::Host::Cli {

namespace {

// Size fields of a header that stand for "unknown, read on to the end", as
// in a WAV written to a pipe.
constexpr uint64_t kStreamingSize = 0xFFFFFFFFu;
// How often the decoder's log is looked at for errors, in frames.
constexpr int64_t kDecoderCheckInterval = 4096;
constexpr char kLayoutChunk[5] = "plxL";

// libsndfile's reasons for not opening a file, in the user's words.
std::string openFailure(int error) {
    switch (error) {
    case SF_ERR_UNRECOGNISED_FORMAT:
        return "it is not in an audio format that plx reads (WAV, RF64, AIFF, FLAC, Ogg, CAF, ...)";
    case SF_ERR_MALFORMED_FILE: return "its header is damaged";
    case SF_ERR_UNSUPPORTED_ENCODING: return "its samples are in an encoding that plx can't decode";
    case SF_ERR_SYSTEM: return "the system could not read it";
    default:
        return "its header is damaged or incomplete (it gives no usable sample rate, channel count or sample "
               "format)";
    }
}

// A size line of libsndfile's header log, "data : 384000 (should be 99884)":
// the declared size, and the size the file has room for when it differs.
struct SizeLine {
    std::string name;
    uint64_t declared = 0;
    std::optional<uint64_t> actual;
};

std::optional<SizeLine> sizeLine(const std::string& line) {
    const size_t colon = line.find(" : ");
    if (colon == std::string::npos) return std::nullopt;
    SizeLine size;
    const size_t first = line.find_first_not_of(' ');
    size.name = line.substr(first, colon - first);
    for (char& c : size.name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    static const char* const kSizeNames[] = {"riff", "form", "data", "ssnd", "riff size", "data size"};
    if (std::find(std::begin(kSizeNames), std::end(kSizeNames), size.name) == std::end(kSizeNames))
        return std::nullopt;
    char* end = nullptr;
    size.declared = std::strtoull(line.c_str() + colon + 3, &end, 10);
    if (end == line.c_str() + colon + 3) return std::nullopt;
    const size_t should = line.find("(should be ", colon);
    if (should != std::string::npos) size.actual = std::strtoull(line.c_str() + should + 11, nullptr, 10);
    return size;
}

std::string logOf(SNDFILE* file) {
    std::vector<char> log(65536);
    sf_command(file, SFC_GET_LOG_INFO, log.data(), static_cast<int>(log.size()));
    log.back() = 0;
    return log.data();
}

void putU16(std::vector<uint8_t>& out, uint32_t v) {
    for (int i = 0; i < 2; ++i) out.push_back(static_cast<uint8_t>(v >> (8 * i)));
}
void putU32(std::vector<uint8_t>& out, uint64_t v) {
    for (int i = 0; i < 4; ++i) out.push_back(static_cast<uint8_t>(v >> (8 * i)));
}
void putU64(std::vector<uint8_t>& out, uint64_t v) {
    for (int i = 0; i < 8; ++i) out.push_back(static_cast<uint8_t>(v >> (8 * i)));
}
void putId(std::vector<uint8_t>& out, const char* id) {
    out.insert(out.end(), id, id + 4);
}
std::vector<uint8_t> u32Bytes(uint64_t v) {
    std::vector<uint8_t> out;
    putU32(out, v);
    return out;
}

// WAVE_FORMAT_EXTENSIBLE sub-formats: IEEE float samples, and IEEE float
// ambisonic B-format.
constexpr uint8_t kFloatFormat[16] = {0x03, 0x00, 0x00, 0x00, 0x00, 0x00, 0x10, 0x00,
                                      0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
constexpr uint8_t kAmbisonicFloatFormat[16] = {0x03, 0x00, 0x00, 0x00, 0x21, 0x07, 0xD3, 0x11,
                                               0x86, 0x44, 0xC8, 0xC1, 0xCA, 0x00, 0x00, 0x00};

} // namespace

SoundReader::SoundReader(const std::string& path) : filePath(path) {
    const int fd = path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const std::string what = path == "-" ? std::string("standard input") : shown(path);
    if (fd < 0) throw UserError("cannot read audio from " + what + ": " + std::strerror(errno));
    struct stat status {};
    if (fstat(fd, &status) == 0 && S_ISDIR(status.st_mode)) {
        close(fd);
        throw UserError("cannot read audio from " + what + ": it is a directory");
    }
    file = sf_open_fd(fd, SFM_READ, &info, SF_TRUE);
    if (!file) {
        const int error = sf_error(nullptr);
        close(fd);
        throw UserError("cannot read audio from " + what + ": " + openFailure(error));
    }
    if (info.channels < 1) throw UserError("cannot read audio from " + what + ": it has no channels");
    if (info.samplerate < kMinSampleRate || info.samplerate > kMaxSampleRate)
        throw UserError(what + " has a sample rate of " + std::to_string(info.samplerate) +
                        " Hz; plx takes 1 kHz to 768 kHz");
    // What the header declares, from libsndfile's account of it: it shortens
    // a declared size to what the file holds, and says so.
    const std::string log = logOf(file);
    logChecked = log.size();
    size_t start = 0;
    while (start < log.size()) {
        size_t end = log.find('\n', start);
        if (end == std::string::npos) end = log.size();
        if (const auto size = sizeLine(log.substr(start, end - start))) {
            if (size->declared == kStreamingSize && (size->name == "data" || size->name == "ssnd"))
                unknownLength = true;
            else if (size->actual && *size->actual < size->declared && size->declared != kStreamingSize)
                headerCut = true;
        }
        start = end + 1;
    }
    if (info.frames == SF_COUNT_MAX || info.frames < 0) unknownLength = true;
}

SoundReader::~SoundReader() {
    if (file) sf_close(file);
}

std::optional<int64_t> SoundReader::declaredFrames() const {
    if (unknownLength) return std::nullopt;
    return info.frames;
}

std::optional<SpeakerArrangement> SoundReader::layout() const {
    SF_CHUNK_INFO wanted{};
    std::memcpy(wanted.id, kLayoutChunk, 4);
    wanted.id_size = 4;
    // A chunk is fetched by seeking back to it, which a pipe can't do:
    // libsndfile would take the bytes from the audio instead.
    SF_CHUNK_ITERATOR* chunk = info.seekable ? sf_get_chunk_iterator(file, &wanted) : nullptr;
    if (chunk) {
        SF_CHUNK_INFO found{};
        if (sf_get_chunk_size(chunk, &found) == SF_ERR_NO_ERROR && found.datalen >= 8) {
            std::vector<uint8_t> data(found.datalen);
            found.data = data.data();
            if (sf_get_chunk_data(chunk, &found) == SF_ERR_NO_ERROR) {
                SpeakerArrangement mask = 0;
                for (int i = 7; i >= 0; --i) mask = mask << 8 | data[static_cast<size_t>(i)];
                if ((mask & ~kDefinedSpeakerBits) == 0 && channelsOf(mask) == info.channels) return mask;
            }
        }
    }
    if (sf_command(file, SFC_WAVEX_GET_AMBISONIC, nullptr, 0) == SF_AMBISONIC_B_FORMAT) {
        for (SpeakerArrangement mask : {Plx::Layout::kAmbi1, Plx::Layout::kAmbi2, Plx::Layout::kAmbi3})
            if (channelsOf(mask) == info.channels) return mask;
    }
    std::vector<int> map(static_cast<size_t>(info.channels));
    if (sf_command(file, SFC_GET_CHANNEL_MAP_INFO, map.data(), static_cast<int>(map.size() * sizeof(int))) !=
        SF_TRUE)
        return std::nullopt;
    return layoutFromWavChannelMap(map);
}

template <class T>
int64_t SoundReader::read(T* interleaved, int64_t count) {
    int64_t got = 0;
    if constexpr (sizeof(T) == sizeof(float))
        got = sf_readf_float(file, interleaved, count);
    else
        got = sf_readf_double(file, interleaved, count);
    got = std::max<int64_t>(0, got);
    position += got;
    const bool atEnd = got < count;
    if (atEnd || position - lastCheck >= kDecoderCheckInterval) checkDecoder(atEnd);
    return got;
}

template int64_t SoundReader::read<float>(float*, int64_t);
template int64_t SoundReader::read<double>(double*, int64_t);

void SoundReader::checkDecoder(bool atEnd) {
    if (damaged) return;
    // A decoder that fails says so in the log, and may still hand out
    // silence in place of the data; the good data ends where the last check
    // found no complaint.
    const std::string log = logOf(file);
    const bool complained = log.find("ERROR", logChecked) != std::string::npos;
    logChecked = log.size();
    const std::string what = filePath == "-" ? std::string("standard input") : shown(filePath);
    if (complained || sf_error(file) != SF_ERR_NO_ERROR) {
        const int64_t good = complained ? lastCheck : position;
        damaged = what + " is damaged: the decoder finds no good data after frame " + std::to_string(good);
        return;
    }
    lastCheck = position;
    if (!atEnd || unknownLength) return;
    if (headerCut)
        damaged = what + " ends early: its data stops at frame " + std::to_string(position) +
                  ", before the end that its header declares";
    else if (position < info.frames)
        damaged = what + " ends early: its data stops at frame " + std::to_string(position) + " of the " +
                  std::to_string(info.frames) + " that its header declares";
}

WavWriter::WavWriter(OutputFile& file, SpeakerArrangement layout, int sampleRate, bool doublePrecision)
    : file(file), channels(channelsOf(layout)), bytesPerSample(doublePrecision ? 8 : 4) {
    const bool rewritable = file.rewritable();
    const std::optional<uint32_t> mask = wavChannelMask(layout);
    const bool ambisonic = isAmbisonic(layout);
    const uint32_t blockAlign = static_cast<uint32_t>(channels * bytesPerSample);

    std::vector<uint8_t> header;
    putId(header, "RIFF");
    putU32(header, kStreamingSize);
    putId(header, "WAVE");
    if (rewritable) {
        // Room for the ds64 chunk of RF64, should the file outgrow 4 GiB.
        putId(header, "JUNK");
        putU32(header, 28);
        header.resize(header.size() + 28, 0);
    }
    putId(header, "fmt ");
    putU32(header, 40);
    putU16(header, 0xFFFE); // WAVE_FORMAT_EXTENSIBLE
    putU16(header, static_cast<uint32_t>(channels));
    putU32(header, static_cast<uint32_t>(sampleRate));
    putU32(header, static_cast<uint64_t>(sampleRate) * blockAlign);
    putU16(header, blockAlign);
    putU16(header, static_cast<uint32_t>(bytesPerSample * 8));
    putU16(header, 22);
    putU16(header, static_cast<uint32_t>(bytesPerSample * 8));
    putU32(header, mask && !ambisonic ? *mask : 0);
    const uint8_t* format = ambisonic ? kAmbisonicFloatFormat : kFloatFormat;
    header.insert(header.end(), format, format + 16);
    if (rewritable) {
        putId(header, "fact");
        putU32(header, 4);
        factOffset = header.size();
        putU32(header, 0);
    }
    if (!mask && !ambisonic) {
        const std::string name = layoutName(layout);
        const size_t size = 8 + name.size();
        putId(header, kLayoutChunk);
        putU32(header, size);
        putU64(header, layout);
        header.insert(header.end(), name.begin(), name.end());
        if (size % 2) header.push_back(0);
    }
    putId(header, "data");
    dataSizeOffset = header.size();
    putU32(header, kStreamingSize);
    file.write(header.data(), header.size());
    buffer.reserve(65536 + static_cast<size_t>(blockAlign));
}

template <class T>
void WavWriter::write(const T* interleaved, int64_t count) {
    const size_t samples = static_cast<size_t>(count) * static_cast<size_t>(channels);
    for (size_t i = 0; i < samples; ++i) {
        if (bytesPerSample == 8)
            putU64(buffer, std::bit_cast<uint64_t>(static_cast<double>(interleaved[i])));
        else
            putU32(buffer, std::bit_cast<uint32_t>(static_cast<float>(interleaved[i])));
        if (buffer.size() >= 65536) flush();
    }
    frames += static_cast<uint64_t>(count);
}

template void WavWriter::write<float>(const float*, int64_t);
template void WavWriter::write<double>(const double*, int64_t);

void WavWriter::flush() {
    file.write(buffer.data(), buffer.size());
    dataBytes += buffer.size();
    buffer.clear();
}

void WavWriter::commit() {
    flush();
    if (file.rewritable()) {
        const uint64_t riffSize = dataSizeOffset + 4 + dataBytes - 8;
        if (riffSize <= 0xFFFFFFFFu) {
            file.writeAt(4, u32Bytes(riffSize).data(), 4);
            file.writeAt(factOffset, u32Bytes(frames).data(), 4);
            file.writeAt(dataSizeOffset, u32Bytes(dataBytes).data(), 4);
        } else {
            std::vector<uint8_t> ds64;
            putId(ds64, "ds64");
            putU32(ds64, 28);
            putU64(ds64, riffSize);
            putU64(ds64, dataBytes);
            putU64(ds64, frames);
            putU32(ds64, 0);
            file.writeAt(0, "RF64", 4);
            file.writeAt(12, ds64.data(), ds64.size());
            file.writeAt(factOffset, u32Bytes(kStreamingSize).data(), 4);
        }
    }
    file.commit();
}

} // namespace Tannhofen::Host::Cli

#include "host/plx/audio_file.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
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
constexpr size_t kMaxPath = 4096;
char pendingPaths[kMaxPending][kMaxPath];
std::atomic<bool> pendingUsed[kMaxPending];

extern "C" void removePendingAndExit(int signal) {
    for (int i = 0; i < kMaxPending; ++i)
        if (pendingUsed[i].load()) unlink(pendingPaths[i]);
    _exit(128 + signal);
}

int claimSlot(const std::string& path) {
    static const bool installed = [] {
        struct sigaction action {};
        action.sa_handler = removePendingAndExit;
        sigemptyset(&action.sa_mask);
        sigaction(SIGINT, &action, nullptr);
        sigaction(SIGTERM, &action, nullptr);
        sigaction(SIGHUP, &action, nullptr);
        return true;
    }();
    (void)installed;
    if (path.size() >= kMaxPath) return -1;
    for (int i = 0; i < kMaxPending; ++i) {
        if (!pendingUsed[i].load()) {
            std::memcpy(pendingPaths[i], path.c_str(), path.size() + 1);
            pendingUsed[i].store(true);
            return i;
        }
    }
    return -1;
}

std::string directoryOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string systemError() {
    return std::strerror(errno);
}

} // namespace

PendingFile::PendingFile(const std::string& target) : targetPath(target) {
    std::string pattern = target + ".plx-XXXXXX";
    descriptor = mkstemp(pattern.data());
    if (descriptor < 0)
        throw UserError("cannot write " + target + ": " + systemError() + " (in " + directoryOf(target) +
                        ")");
    tempPath = pattern;
    slot = claimSlot(tempPath);
}

PendingFile::~PendingFile() {
    if (descriptor >= 0) close(descriptor);
    if (!tempPath.empty()) unlink(tempPath.c_str());
    if (slot >= 0) pendingUsed[slot].store(false);
}

void PendingFile::commit() {
    // mkstemp creates the file readable by its owner only; give it the usual
    // permissions of a new file.
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(descriptor, 0666 & ~mask);
    if (close(descriptor) != 0) {
        descriptor = -1;
        throw UserError("cannot write " + targetPath + ": " + systemError());
    }
    descriptor = -1;
    if (rename(tempPath.c_str(), targetPath.c_str()) != 0)
        throw UserError("cannot write " + targetPath + ": " + systemError());
    tempPath.clear();
}

void PendingFile::writeAll(const std::vector<uint8_t>& bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(descriptor, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) throw UserError("cannot write " + targetPath + ": " + systemError());
        done += static_cast<size_t>(n);
    }
}

void writeWholeFile(const std::string& path, const std::vector<uint8_t>& bytes) {
    PendingFile pending(path);
    pending.writeAll(bytes);
    pending.commit();
}

std::vector<uint8_t> readWholeFile(const std::string& path) {
    FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) throw UserError("cannot read " + path + ": " + systemError());
    std::vector<uint8_t> bytes;
    uint8_t chunk[65536];
    size_t n = 0;
    while ((n = std::fread(chunk, 1, sizeof chunk, file)) > 0) bytes.insert(bytes.end(), chunk, chunk + n);
    const bool failed = std::ferror(file);
    std::fclose(file);
    if (failed) throw UserError("cannot read " + path);
    return bytes;
}

SoundReader::SoundReader(const std::string& path) {
    file = sf_open(path.c_str(), SFM_READ, &info);
    if (!file) throw UserError("cannot read audio from " + path + ": " + sf_strerror(nullptr));
    if (info.channels < 1 || info.samplerate < 1)
        throw UserError("cannot read audio from " + path + ": no channels or no sample rate");
}

SoundReader::~SoundReader() {
    if (file) sf_close(file);
}

std::optional<SpeakerArrangement> SoundReader::layout() const {
    std::vector<int> map(static_cast<size_t>(info.channels));
    if (sf_command(file, SFC_GET_CHANNEL_MAP_INFO, map.data(), static_cast<int>(map.size() * sizeof(int))) !=
        SF_TRUE)
        return std::nullopt;
    int ambisonic = sf_command(file, SFC_WAVEX_GET_AMBISONIC, nullptr, 0);
    if (ambisonic == SF_AMBISONIC_B_FORMAT) {
        for (SpeakerArrangement mask : {0xF00000ull, 0x7C000F00000ull, 0x3FFC000F00000ull})
            if (channelsOf(mask) == info.channels) return mask;
    }
    return layoutFromWavChannelMap(map);
}

int64_t SoundReader::read(float* interleaved, int64_t count) {
    return sf_readf_float(file, interleaved, count);
}
int64_t SoundReader::read(double* interleaved, int64_t count) {
    return sf_readf_double(file, interleaved, count);
}

SoundWriter::SoundWriter(const std::string& path, SpeakerArrangement layout, int sampleRate,
                         bool doublePrecision, int64_t expectedFrames)
    : pending(path) {
    SF_INFO info{};
    info.channels = channelsOf(layout);
    info.samplerate = sampleRate;
    const int bytes = doublePrecision ? 8 : 4;
    const bool large = expectedFrames * info.channels * bytes > (int64_t{1} << 32) - (int64_t{1} << 20);
    info.format =
        (large ? SF_FORMAT_RF64 : SF_FORMAT_WAVEX) | (doublePrecision ? SF_FORMAT_DOUBLE : SF_FORMAT_FLOAT);
    file = sf_open_fd(pending.fd(), SFM_WRITE, &info, SF_FALSE);
    if (!file) throw UserError("cannot write " + path + ": " + sf_strerror(nullptr));
    if (isAmbisonic(layout)) {
        sf_command(file, SFC_WAVEX_SET_AMBISONIC, nullptr, SF_AMBISONIC_B_FORMAT);
    } else {
        std::vector<int> map = wavChannelMap(layout);
        if (!map.empty())
            sf_command(file, SFC_SET_CHANNEL_MAP_INFO, map.data(),
                       static_cast<int>(map.size() * sizeof(int)));
    }
}

SoundWriter::~SoundWriter() {
    if (file) sf_close(file);
}

void SoundWriter::check(int64_t written, int64_t count) {
    if (written != count) throw UserError("cannot write " + pending.target() + ": " + sf_strerror(file));
}

void SoundWriter::write(const float* interleaved, int64_t count) {
    check(sf_writef_float(file, interleaved, count), count);
}

void SoundWriter::write(const double* interleaved, int64_t count) {
    check(sf_writef_double(file, interleaved, count), count);
}

void SoundWriter::commit() {
    const int result = sf_close(file);
    file = nullptr;
    if (result != 0) throw UserError("cannot write " + pending.target() + ": " + sf_error_number(result));
    pending.commit();
}

} // namespace Tannhofen::Host::Cli

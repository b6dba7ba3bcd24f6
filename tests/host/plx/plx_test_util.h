// Running the plx executable on small generated files.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <sndfile.h>

namespace PlxTest {

namespace fs = std::filesystem;

struct PlxRun {
    int status = -1;
    std::string out;
    std::string err;
};

inline std::string readText(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

inline std::string quote(const std::string& arg) {
    std::string q(1, '\'');
    for (char c : arg) {
        if (c == '\'')
            q.append("'\\''");
        else
            q.push_back(c);
    }
    q.push_back('\'');
    return q;
}

// A directory of its own for each test, removed afterwards.
class TempDir {
public:
    TempDir() {
        std::string pattern = (fs::temp_directory_path() / "plx-test-XXXXXX").string();
        path = mkdtemp(pattern.data());
    }
    ~TempDir() {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
    fs::path operator/(const std::string& name) const { return path / name; }
    std::set<std::string> names() const {
        std::set<std::string> result;
        for (const auto& entry : fs::directory_iterator(path))
            result.insert(entry.path().filename().string());
        return result;
    }
    fs::path path;
};

// Runs plx with `args`; stdout and stderr are captured through files. A
// shell `prefix` may set limits or feed standard input ("ulimit -f 8;",
// "cat in.wav |").
inline PlxRun plx(const std::vector<std::string>& args, const std::string& prefix = "") {
    static TempDir capture;
    std::string command = prefix + " " + quote(PLX_CLI_PATH);
    for (const std::string& arg : args) {
        command.push_back(' ');
        command.append(quote(arg));
    }
    command.append(" >");
    command.append(quote((capture / "out").string()));
    command.append(" 2>");
    command.append(quote((capture / "err").string()));
    PlxRun run;
    const int raw = std::system(command.c_str());
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    run.out = readText(capture / "out");
    run.err = readText(capture / "err");
    return run;
}

struct Audio {
    int channels = 0;
    int rate = 0;
    int64_t frames = 0;
    std::vector<double> samples; // interleaved
    std::vector<int> channelMap; // empty when the file has none
    double at(int64_t frame, int channel) const {
        return samples[static_cast<size_t>(frame * channels + channel)];
    }
};

// Writes a float WAV whose sample (frame, channel) is `signal(frame, channel)`.
inline void writeAudio(const fs::path& path, int channels, int rate, int64_t frames,
                       const std::function<double(int64_t, int)>& signal,
                       int format = SF_FORMAT_WAV | SF_FORMAT_DOUBLE) {
    SF_INFO info{};
    info.channels = channels;
    info.samplerate = rate;
    info.format = format;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr) << sf_strerror(nullptr);
    std::vector<double> frame(static_cast<size_t>(channels));
    for (int64_t f = 0; f < frames; ++f) {
        for (int c = 0; c < channels; ++c) frame[static_cast<size_t>(c)] = signal(f, c);
        sf_writef_double(file, frame.data(), 1);
    }
    sf_close(file);
}

inline Audio readAudio(const fs::path& path) {
    Audio audio;
    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    EXPECT_NE(file, nullptr) << path << ": " << sf_strerror(nullptr);
    if (!file) return audio;
    audio.channels = info.channels;
    audio.rate = info.samplerate;
    audio.frames = info.frames;
    audio.samples.resize(static_cast<size_t>(info.frames * info.channels));
    sf_readf_double(file, audio.samples.data(), info.frames);
    std::vector<int> map(static_cast<size_t>(info.channels));
    if (sf_command(file, SFC_GET_CHANNEL_MAP_INFO, map.data(), static_cast<int>(map.size() * sizeof(int))) ==
        SF_TRUE)
        audio.channelMap = map;
    sf_close(file);
    return audio;
}

// The dwChannelMask of a WAVE_FORMAT_EXTENSIBLE file's fmt chunk; -1 when
// the file has no such chunk.
inline int64_t wavChannelMask(const fs::path& path) {
    const std::string bytes = readText(path);
    auto u32 = [&](size_t at) {
        uint32_t v = 0;
        for (int i = 3; i >= 0; --i) v = v << 8 | static_cast<uint8_t>(bytes[at + static_cast<size_t>(i)]);
        return v;
    };
    for (size_t at = 12; at + 8 <= bytes.size();) {
        const uint32_t size = u32(at + 4);
        if (bytes.compare(at, 4, "fmt ") == 0 && size >= 24 && at + 8 + 24 <= bytes.size() &&
            static_cast<uint8_t>(bytes[at + 8]) == 0xFE && static_cast<uint8_t>(bytes[at + 9]) == 0xFF)
            return u32(at + 8 + 20);
        at += 8 + size + (size & 1);
    }
    return -1;
}

// Whether the module can create MixMorph yet; tests that render need it.
inline bool mixMorphAvailable() {
    static const bool available = plx({"list", "--effect", "MixMorph"}).status == 0;
    return available;
}

#define PLX_REQUIRE_MIXMORPH() \
    if (!PlxTest::mixMorphAvailable()) GTEST_SKIP() << "the module can't create MixMorph yet"

} // namespace PlxTest

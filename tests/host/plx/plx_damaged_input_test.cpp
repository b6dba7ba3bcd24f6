// Inputs that end before their header says, that their decoder can't read,
// or whose header lies: refused with the frame where the good data stops and
// no output, or, with --allow-short, kept as far as they go with a warning.
#include <cctype>

#include "tests/host/plx/plx_test_util.h"

using namespace PlxTest;

namespace {

// Exact in 16-bit PCM, and varied enough that FLAC can't shrink it to nothing.
double pcm16(int64_t frame, int channel) {
    return static_cast<double>((frame * 37 + channel * 1000) % 2000 - 1000) / 32768.0;
}

std::vector<std::string> renderArgs(const std::string& in, const std::string& out,
                                    std::vector<std::string> extra = {}) {
    std::vector<std::string> args = {"render", "--effect",    "MixMorph", "--in",         in,      "--out",
                                     out,      "--in-layout", "Stereo",   "--out-layout", "Stereo"};
    args.insert(args.end(), extra.begin(), extra.end());
    return args;
}

// The frame that a message names ("... frame 12288 ...").
int64_t namedFrame(const std::string& message) {
    const size_t at = message.find("frame ");
    if (at == std::string::npos || !std::isdigit(static_cast<unsigned char>(message[at + 6]))) return -1;
    return std::stoll(message.substr(at + 6));
}

void overwrite(const fs::path& path, size_t at, const std::string& bytes) {
    std::string data = readText(path);
    data.replace(at, bytes.size(), bytes);
    std::ofstream(path, std::ios::binary) << data;
}

void cut(const fs::path& path, size_t size) {
    fs::resize_file(path, size);
}

struct Damaged {
    std::string name;
    std::string says;    // part of the refusal
    int64_t frame;       // the frame it must name; -1: any before the end
    int64_t keptAtLeast; // with --allow-short
};

} // namespace

TEST(PlxDamagedInput, RefusedWithTheFrameWhereTheDataStopsOrKeptWhenAllowed) {
    PLX_REQUIRE_MIXMORPH();
    TempDir dir;
    const int64_t frames = 48000;
    const int flac = SF_FORMAT_FLAC | SF_FORMAT_PCM_16;
    for (const char* name : {"cut.flac", "corrupt.flac", "endless.flac"})
        writeAudio(dir / name, 2, 48000, frames, pcm16, flac);
    writeAudio(dir / "cut.wav", 2, 48000, frames, pcm16, SF_FORMAT_WAV | SF_FORMAT_PCM_16);

    // A FLAC cut to a third, and one with garbage in the middle of its frames.
    cut(dir / "cut.flac", fs::file_size(dir / "cut.flac") / 3);
    overwrite(dir / "corrupt.flac", fs::file_size(dir / "corrupt.flac") / 2, std::string(64, 'X'));
    // A FLAC whose header claims 2^36 - 1 frames: the last 36 bits of the
    // 8 bytes after the stream info's block and frame sizes (at byte 18).
    std::string endless = readText(dir / "endless.flac");
    endless[21] = static_cast<char>(endless[21] | 0x0F);
    for (size_t i = 22; i < 26; ++i) endless[i] = static_cast<char>(0xFF);
    std::ofstream(dir / "endless.flac", std::ios::binary) << endless;
    // A WAV cut 1000 frames and 3 bytes into its data (4 bytes a frame).
    const size_t data = readText(dir / "cut.wav").find("data") + 8;
    cut(dir / "cut.wav", data + 1000 * 4 + 3);

    const std::vector<Damaged> cases = {
        {"cut.flac", "cut.flac is damaged", -1, 1},
        {"corrupt.flac", "corrupt.flac is damaged", -1, 1},
        {"endless.flac", "ends early: its data stops at frame 48000 of the 68719476735", 48000, 48000},
        {"cut.wav", "ends early: its data stops at frame 1000, before the end", 1000, 1000},
    };
    for (const Damaged& damaged : cases) {
        const std::string in = (dir / damaged.name).string();
        const std::string out = (dir / "out.wav").string();
        const PlxRun refused = plx(renderArgs(in, out));
        EXPECT_EQ(refused.status, 1) << damaged.name;
        EXPECT_NE(refused.err.find(damaged.says), std::string::npos) << refused.err;
        EXPECT_NE(refused.err.find("--allow-short"), std::string::npos) << refused.err;
        EXPECT_FALSE(fs::exists(out)) << damaged.name;
        const int64_t stop = namedFrame(refused.err);
        if (damaged.frame >= 0) {
            EXPECT_EQ(stop, damaged.frame) << refused.err;
        }
        EXPECT_GE(stop, 0) << refused.err;
        EXPECT_LE(stop, frames) << refused.err;

        // Allowed: everything up to the named frame is the input's, unharmed.
        const PlxRun kept = plx(renderArgs(in, out, {"--allow-short"}));
        ASSERT_EQ(kept.status, 0) << kept.err;
        EXPECT_NE(kept.err.find("plx: warning: " + refused.err.substr(12, refused.err.find(" (--") - 12)),
                  std::string::npos)
            << kept.err;
        const Audio audio = readAudio(out);
        EXPECT_GE(audio.frames, std::max(stop, damaged.keptAtLeast)) << damaged.name;
        EXPECT_LE(audio.frames, frames) << damaged.name;
        for (int64_t f = 0; f < stop; ++f)
            for (int c = 0; c < 2; ++c) ASSERT_EQ(audio.at(f, c), pcm16(f, c)) << damaged.name << " at " << f;
        fs::remove(out);
    }
}

TEST(PlxDamagedInput, AStreamOfUnknownLengthIsReadToItsEnd) {
    PLX_REQUIRE_MIXMORPH();
    TempDir dir;
    const fs::path stream = dir / "stream.wav";
    writeAudio(stream, 2, 48000, 5000, pcm16, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    // The sizes of a WAV written to a pipe: RIFF and data both 0xFFFFFFFF.
    const size_t data = readText(stream).find("data");
    overwrite(stream, 4, "\xFF\xFF\xFF\xFF");
    overwrite(stream, data + 4, "\xFF\xFF\xFF\xFF");
    const std::string out = (dir / "out.wav").string();
    for (const bool piped : {true, false}) {
        const PlxRun run = plx(renderArgs(piped ? "-" : stream.string(), out),
                               piped ? "cat " + quote(stream.string()) + " |" : "");
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.err, "") << "no warning: the stream ended where it may";
        const Audio audio = readAudio(out);
        ASSERT_EQ(audio.frames, 5000) << piped;
        EXPECT_EQ(audio.at(4999, 1), static_cast<float>(pcm16(4999, 1)));
    }
}

TEST(PlxDamagedInput, SampleRatesOutsideOneKilohertzTo768AreRefusedInWords) {
    PLX_REQUIRE_MIXMORPH();
    TempDir dir;
    const std::string out = (dir / "out.wav").string();
    auto withRate = [&](uint32_t rate) {
        const fs::path path = dir / ("rate" + std::to_string(rate) + ".wav");
        writeAudio(path, 2, 48000, 100, pcm16, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
        std::string bytes(4, '\0');
        for (int i = 0; i < 4; ++i) bytes[static_cast<size_t>(i)] = static_cast<char>(rate >> (8 * i));
        overwrite(path, readText(path).find("fmt ") + 12, bytes);
        return plx(renderArgs(path.string(), out));
    };
    for (uint32_t rate : {999u, 768001u, 2147483647u}) {
        const PlxRun run = withRate(rate);
        EXPECT_EQ(run.status, 1) << rate;
        EXPECT_NE(
            run.err.find("has a sample rate of " + std::to_string(rate) + " Hz; plx takes 1 kHz to 768 kHz"),
            std::string::npos)
            << run.err;
    }
    for (uint32_t rate : {1000u, 768000u}) EXPECT_EQ(withRate(rate).status, 0) << rate;
    EXPECT_EQ(readAudio(out).rate, 768000);
    const PlxRun none = withRate(0);
    EXPECT_EQ(none.status, 1);
    EXPECT_NE(none.err.find("its header is damaged or incomplete (it gives no usable sample rate"),
              std::string::npos)
        << none.err;
}

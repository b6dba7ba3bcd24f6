// Where plx writes: regular files appear whole or not at all, anything else
// (a device, a FIFO, standard output) is written to and never replaced, and
// no run destroys a file that another option names.
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "tests/host/plx/plx_test_util.h"

using namespace PlxTest;

namespace {

std::vector<std::string> renderTo(const std::string& in, const std::string& out,
                                  std::vector<std::string> extra = {}) {
    std::vector<std::string> args = {"render",       "--effect", "MixMorph", "--in",        in,
                                     "--out",        out,        "--quiet",  "--in-layout", "Stereo",
                                     "--out-layout", "Stereo"};
    args.insert(args.end(), extra.begin(), extra.end());
    return args;
}

double ramp(int64_t frame, int channel) {
    return (channel ? -1e-4 : 1e-4) * static_cast<double>(frame % 1000);
}

// The output of a Stereo to Stereo render at defaults is its input.
void expectRamp(const Audio& audio, int64_t frames, const std::string& what) {
    ASSERT_EQ(audio.channels, 2) << what;
    ASSERT_EQ(audio.frames, frames) << what;
    for (int64_t f = 0; f < frames; ++f)
        for (int c = 0; c < 2; ++c) ASSERT_NEAR(audio.at(f, c), ramp(f, c), 1e-7) << what << " at " << f;
}

bool isKind(const fs::path& path, mode_t kind) {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0 && (info.st_mode & S_IFMT) == kind;
}

} // namespace

TEST(PlxOutput, DevicesFifosAndStandardOutputAreWrittenNotReplaced) {
    PLX_REQUIRE_MIXMORPH();
    TempDir dir;
    const std::string in = (dir / "in.wav").string();
    writeAudio(in, 2, 48000, 3000, ramp);

    // /dev/null stays the device, whoever runs plx.
    const PlxRun toNull = plx(renderTo(in, "/dev/null"));
    EXPECT_EQ(toNull.status, 0) << toNull.err;
    EXPECT_TRUE(isKind("/dev/null", S_IFCHR));

    // A FIFO gets a streamed WAV that a reader takes whole, and stays a FIFO.
    const fs::path fifo = dir / "pipe";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    std::string streamed;
    std::thread reader([&] { streamed = readText(fifo); });
    const PlxRun toFifo = plx(renderTo(in, fifo.string()));
    reader.join();
    EXPECT_EQ(toFifo.status, 0) << toFifo.err;
    EXPECT_TRUE(isKind(fifo, S_IFIFO));
    std::ofstream(dir / "streamed.wav", std::ios::binary) << streamed;
    expectRamp(readAudio(dir / "streamed.wav"), 3000, "through the FIFO");

    // "-" is standard output; the summary then goes to stderr.
    const PlxRun toStdout =
        plx({"render", "--effect", "MixMorph", "--in", in, "--out", "-", "--out-layout", "Stereo"});
    EXPECT_EQ(toStdout.status, 0) << toStdout.err;
    std::ofstream(dir / "stdout.wav", std::ios::binary) << toStdout.out;
    expectRamp(readAudio(dir / "stdout.wav"), 3000, "through standard output");
    EXPECT_NE(toStdout.err.find("standard output: Stereo -> Stereo, 3000 frames"), std::string::npos)
        << toStdout.err;

    // A device that fails to take the data ends the run with the reason.
    if (access("/dev/full", W_OK) == 0) {
        const PlxRun toFull = plx(renderTo(in, "/dev/full"));
        EXPECT_EQ(toFull.status, 1);
        EXPECT_NE(toFull.err.find("cannot write /dev/full: No space left on device"), std::string::npos)
            << toFull.err;
        EXPECT_TRUE(isKind("/dev/full", S_IFCHR));
    }
    EXPECT_EQ(dir.names(), (std::set<std::string>{"in.wav", "pipe", "streamed.wav", "stdout.wav"}));
}

TEST(PlxOutput, LinksAreFollowedAndLongNamesFit) {
    PLX_REQUIRE_MIXMORPH();
    TempDir dir;
    const std::string in = (dir / "in.wav").string();
    writeAudio(in, 2, 44100, 500, ramp);

    // The file a link names is replaced; the link stays and still names it.
    std::ofstream(dir / "take1.wav") << "earlier";
    fs::create_symlink("take1.wav", dir / "latest.wav");
    ASSERT_EQ(plx(renderTo(in, (dir / "latest.wav").string())).status, 0);
    EXPECT_TRUE(isKind(dir / "latest.wav", S_IFLNK));
    expectRamp(readAudio(dir / "take1.wav"), 500, "through the link");
    // A link to a name not taken yet creates that file.
    fs::create_symlink("take2.wav", dir / "next.wav");
    ASSERT_EQ(plx(renderTo(in, (dir / "next.wav").string())).status, 0);
    EXPECT_TRUE(isKind(dir / "next.wav", S_IFLNK));
    expectRamp(readAudio(dir / "take2.wav"), 500, "to a new file through a link");

    // Names up to the directory's limit of 255 bytes, whatever the temporary
    // name needs.
    for (size_t length : {250u, 255u}) {
        const std::string name = std::string(length - 4, 'n') + ".wav";
        const PlxRun run = plx(renderTo(in, (dir / name).string()));
        EXPECT_EQ(run.status, 0) << length << ": " << run.err;
        expectRamp(readAudio(dir / name), 500, std::to_string(length) + " bytes");
    }
    EXPECT_EQ(dir.names().size(), 7u) << "no temporary file stays behind";
}

TEST(PlxOutput, FailuresAndClashesLeaveEveryFileAsItWas) {
    PLX_REQUIRE_MIXMORPH();
    TempDir dir;
    const std::string in = (dir / "in.wav").string();
    writeAudio(in, 2, 48000, 48000, ramp);
    const std::string out = (dir / "out.wav").string();
    const std::string state = (dir / "mix.state").string();
    std::ofstream(out) << "earlier result";
    fs::create_symlink("in.wav", dir / "alias.wav");
    const std::set<std::string> before = dir.names();

    // A file size limit (about 384 kB of output against 8 kB allowed): the
    // write fails, plx says why, and the earlier file is still there.
    const PlxRun limited = plx(renderTo(in, out), "ulimit -f 8;");
    EXPECT_EQ(limited.status, 1);
    EXPECT_NE(limited.err.find("cannot write " + out + ": the file would grow beyond the size limit"),
              std::string::npos)
        << limited.err;

    // Two roles on one file: one would overwrite the other.
    const struct {
        std::vector<std::string> extra;
        std::string says;
    } clashes[] = {
        {{"--state-out", out}, "--out and --state-out name the same file"},
        {{"--state-out", in}, "--state-out names " + in + ", the audio file read by --in"},
        {{"--state-out", (dir / "alias.wav").string()}, "the audio file read by --in"},
        {{"--state-out", (dir / "./out.wav").string()}, "name the same file"},
    };
    for (const auto& clash : clashes) {
        const PlxRun run = plx(renderTo(in, out, clash.extra));
        EXPECT_EQ(run.status, 1) << clash.says;
        EXPECT_NE(run.err.find(clash.says), std::string::npos) << run.err;
    }
    // The input a render replaces is its own kind's: a state updated in place.
    ASSERT_EQ(plx(renderTo(in, (dir / "first.wav").string(), {"--state-out", state})).status, 0);
    const PlxRun inPlace =
        plx(renderTo(in, (dir / "second.wav").string(), {"--state-in", state, "--state-out", state}));
    EXPECT_EQ(inPlace.status, 0) << inPlace.err;

    EXPECT_TRUE(readText(out) == "earlier result");
    EXPECT_EQ(readAudio(in).frames, 48000);
    std::set<std::string> after = before;
    after.insert({"first.wav", "second.wav", "mix.state"});
    EXPECT_EQ(dir.names(), after);
}

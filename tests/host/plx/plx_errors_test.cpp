// Mistakes a user can make: each gets one clear line on stderr and a non-zero
// exit, and no output file is left behind, complete or partial.
#include <dlfcn.h>

#include "tests/host/plx/plx_test_util.h"

using namespace PlxTest;

namespace {

// The file of a shared library that this test has loaded, and that exports
// none of a module's entry points.
std::string someOtherLibrary() {
    Dl_info info{};
    dladdr(reinterpret_cast<void*>(&sf_open), &info);
    return info.dli_fname ? info.dli_fname : "";
}

struct Mistake {
    std::vector<std::string> args;
    std::string says; // a part of the one line on stderr
    bool needsMixMorph;
};

void expectOneLineError(const PlxRun& run, const std::string& says, const std::string& what) {
    EXPECT_NE(run.status, 0) << what;
    EXPECT_EQ(run.err.rfind("plx: error: ", 0), 0u) << what << ": " << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << what << ": " << run.err;
    EXPECT_NE(run.err.find(says), std::string::npos) << what << ": " << run.err;
}

} // namespace

TEST(PlxErrors, EachMistakeGetsOneLineAndLeavesNoFileBehind) {
    TempDir dir;
    const std::string in51 = (dir / "in51.wav").string();
    writeAudio(in51, 6, 48000, 4800,
               [](int64_t f, int c) { return 0.01 * c + 1e-4 * static_cast<double>(f % 7); });
    const std::string text = (dir / "notes.wav").string();
    std::ofstream(text) << "this is not audio\n";
    const std::string automation = (dir / "bad.auto").string();
    std::ofstream(automation)
        << "# time parameter value\n0.5 \"Global Level\" 0dB\nsoon \"Global Level\" -6dB\n";
    const std::string longLine = (dir / "long.auto").string();
    std::ofstream(longLine) << "0 \"Global Level\" 0dB\n1 \"" << std::string(5000, 'G') << "\" 0dB\n";
    const std::string withNul = (dir / "nul.auto").string();
    const char nulLine[] = "0 \"Glo\0bal Levels\" 0dB\n";
    std::ofstream(withNul) << std::string(nulLine, sizeof nulLine - 1);
    const std::string ambi = (dir / "ambi.wav").string();
    writeAudio(ambi, 4, 48000, 100, [](int64_t, int) { return 0.0; });
    // An earlier result in place of the output: it must survive every failure.
    const std::string out = (dir / "out.wav").string();
    std::ofstream(out) << "earlier result";
    const std::set<std::string> before = dir.names();

    const std::vector<std::string> render = {"render", "--effect", "MixMorph", "--in", in51, "--out", out};
    auto with = [&](std::vector<std::string> extra) {
        std::vector<std::string> args = render;
        args.insert(args.end(), extra.begin(), extra.end());
        return args;
    };
    const std::vector<Mistake> mistakes = {
        {{"render", "--effect", "Reverb", "--in", in51, "--out", out}, "unknown effect 'Reverb'", false},
        {with({"--in-layout", "5.2"}), "unknown layout '5.2'", false},
        {with({"--out-layout", "0xZZ"}), "unknown layout '0xZZ'", false},
        {with({"--in-layout", "7.1.4"}), "has 6 channels, but 7.1.4 has 12", false},
        {{"render", "--effect", "MixMorph", "--in", (dir / "missing.wav").string(), "--out", out},
         "cannot read audio from " + (dir / "missing.wav").string() + ": No such file or directory",
         false},
        {{"render", "--effect", "MixMorph", "--in", dir.path.string(), "--out", out},
         "it is a directory",
         false},
        {{"render", "--effect", "PLX", "--in", in51, "--out", out},
         "'PLX' matches several effects: PLX RadialPanner, PLX SphereDecoder; name one of them",
         false},
        {{"render", "--effect", "MixMorph", "--in", text, "--out", out}, "cannot read audio from", false},
        {{"render", "--effect", "MixMorph", "--in", in51, "--out", (dir / "no/such/dir/out.wav").string()},
         "cannot write",
         false},
        {with({"--block", "0"}), "--block must be a whole number from 1 to 65536, not '0'", false},
        {with({"--block", "1e3"}), "not '1e3'", false},
        {with({"--block", "0x10"}), "not '0x10'", false},
        {with({"--block", " 512"}), "not ' 512'", false},
        {with({"--block", "512 "}), "not '512 '", false},
        {with({"--block", "+512"}), "not '+512'", false},
        {with({"--automation", "/dev/zero"}), "automation file /dev/zero is larger than 4 MiB", false},
        {with({"--state-in", "/dev/zero"}), "state file /dev/zero is larger than 4 MiB", false},
        {with({"--automation", longLine}), "long.auto:2: the line is longer than 4096 bytes", true},
        {with({"--automation", withNul}), "nul.auto:1: unknown parameter 'Glo\\x00bal Levels'", true},
        {with({"--set", "Center Level=-3e1"}), "value '-3e1' of Center Level is not a number", true},
        {with({"--set", "Center Level= -3"}), "value ' -3' of Center Level is not a number", true},
        {with({"--bogus"}), "unknown option '--bogus'", false},
        {{"render", "--effect", "MixMorph", "--in", in51}, "missing option --out", false},
        {{"--module", (dir / "none.plx").string(), "list"}, "not found", false},
        {{"--module", someOtherLibrary(), "list"}, "lacks InitDll, ExitDll or GetPluginFactory", false},
        {{"--module", text, "list"}, "cannot load module", false},
        {{"frobnicate"}, "unknown command 'frobnicate'", false},
        {with({"--set", "Loudness=3"}), "unknown parameter 'Loudness'", true},
        {with({"--set", "Center Level=+40"}), "out of range", true},
        {with({"--set", "Center Level=1.5n"}), "out of range", true},
        {with({"--set", "Low Pass Filter=maybe"}), "is not one it takes: 0 | 1", true},
        {with({"--set", "Center Level"}), "--set takes PARAM=VALUE", true},
        {with({"--automation", automation}), "bad.auto:3: bad time 'soon'", true},
        {with({"--state-in", text}), "notes.wav: not a plx state file", true},
        {{"render", "--effect", "MixMorph", "--in", ambi, "--out", out, "--in-layout",
          "1st Order Ambisonics"},
         "MixMorph V6 does not take 1st Order Ambisonics as input; it takes Stereo, LRC, ",
         true},
        {{"matrix", "--effect", "MixMorph", "--in-layout", "5.1", "--out-layout", "Hexaphonic"},
         "unknown layout 'Hexaphonic'",
         false},
    };
    for (const Mistake& mistake : mistakes) {
        if (mistake.needsMixMorph && !mixMorphAvailable()) continue;
        std::string what;
        for (const std::string& arg : mistake.args) what += arg + " ";
        expectOneLineError(plx(mistake.args), mistake.says, what);
        EXPECT_EQ(dir.names(), before) << what;
    }
    EXPECT_TRUE(readText(out) == "earlier result");
}

TEST(PlxErrors, NoMessageEchoesMoreThanAnExcerptOrALayoutTwice) {
    PLX_REQUIRE_MIXMORPH();
    TempDir dir;
    const std::string in = (dir / "in.wav").string();
    writeAudio(in, 4, 48000, 100, [](int64_t, int) { return 0.0; });
    const std::string out = (dir / "out.wav").string();
    // A token of 100 kB (about the most one argument may hold) comes back as
    // a short excerpt that still tells its size.
    const std::string huge(100000, 'x');
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"render", "--effect", huge, "--in", in, "--out", out},
          std::vector<std::string>{"render", "--effect", "MixMorph", "--in", in, "--out", out, "--set",
                                   "Center Level=" + huge},
          std::vector<std::string>{"list", "--" + huge}}) {
        const PlxRun run = plx(args);
        EXPECT_EQ(run.status, 1);
        EXPECT_LT(run.err.size(), 400u) << run.err.substr(0, 400);
        EXPECT_NE(run.err.find("xxx...xxx"), std::string::npos) << run.err.substr(0, 400);
        EXPECT_NE(run.err.find(" bytes)"), std::string::npos) << run.err.substr(0, 400);
    }
    // A refused layout lists every layout the effect takes, each once.
    const PlxRun refused = plx(
        {"render", "--effect", "MixMorph", "--in", in, "--out", out, "--in-layout", "1st Order Ambisonics"});
    ASSERT_EQ(refused.status, 1);
    const std::string list = refused.err.substr(refused.err.find("it takes ") + 9);
    std::vector<std::string> names;
    for (size_t at = 0; at < list.size();) {
        const size_t end = std::min(list.find(", ", at), list.size() - 1);
        names.push_back(list.substr(at, end - at));
        at = end + 2;
    }
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), names.size()) << list;
    EXPECT_GE(names.size(), 60u) << list;
    EXPECT_EQ(std::count(names.begin(), names.end(), "1st Order Ambisonics"), 0) << list;
}

TEST(PlxHelp, EveryCommandShowsItsUsageWithAnExample) {
    for (const std::string command : {"list", "render", "matrix", "demo"}) {
        const PlxRun help = plx({command, "--help"});
        EXPECT_EQ(help.status, 0) << command << ": " << help.err;
        EXPECT_EQ(help.out.rfind("usage: plx " + command, 0), 0u) << help.out;
        EXPECT_NE(help.out.find("example:\n  plx " + command), std::string::npos) << help.out;
        EXPECT_EQ(plx({"help", command}).out, help.out);
        EXPECT_EQ(plx({command, "--effect", "MixMorph", "-h"}).out, help.out) << "help wins over the rest";
    }
    const PlxRun overview = plx({"--help"});
    EXPECT_EQ(overview.status, 0);
    for (const char* command : {"plx list", "plx render", "plx matrix", "plx demo", "plx COMMAND --help"})
        EXPECT_NE(overview.out.find(command), std::string::npos) << command;
}

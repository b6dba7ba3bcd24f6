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
         "cannot read audio from",
         false},
        {{"render", "--effect", "MixMorph", "--in", text, "--out", out}, "cannot read audio from", false},
        {{"render", "--effect", "MixMorph", "--in", in51, "--out", (dir / "no/such/dir/out.wav").string()},
         "cannot write",
         false},
        {with({"--block", "0"}), "--block must be a whole number", false},
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
        {with({"--state-in", text}), "not a plx state file", true},
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
    EXPECT_EQ(readText(out), "earlier result");
}

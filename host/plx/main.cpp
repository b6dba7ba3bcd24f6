// plx: a command-line host for the module's effects. It loads the module
// file through its three exports, as a workstation does, and renders audio
// files through an effect offline.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "host/plx/cli.h"
#include "host/plx/commands.h"
#include "host/plx/output_file.h"
#include "host/plx/tracker_log.h"

namespace {

using namespace Tannhofen::Host::Cli;

struct Command {
    const char* name;
    const char* usage; // the synopsis, what it does, and an example
    int (*run)(const std::vector<std::string>& args);
};

const Command kCommands[] = {
    {"list",
     "plx list [--effect NAME]\n"
     "  Lists the module's classes; with --effect, the effect's parameters, their ranges\n"
     "  and defaults, and the layouts it takes.\n"
     "\n"
     "example:\n"
     "  plx list --effect MixMorph\n",
     listCommand},
    {"render",
     "plx render --effect NAME --in FILE --out FILE [--in-layout L] [--out-layout L]\n"
     "           [--set PARAM=VALUE ...] [--automation FILE] [--block N] [--double]\n"
     "           [--state-in FILE] [--state-out FILE] [--sofa FILE] [--objects PREFIX]\n"
     "           [--allow-short] [--meter-svg FILE] [--quiet]\n"
     "  Renders an audio file (WAV, RF64, AIFF, FLAC, ...) through the effect into a float\n"
     "  WAV of the same length. --in - reads standard input, --out - writes standard output.\n"
     "  The input layout comes from the file unless --in-layout names it; the output\n"
     "  layout is the effect's choice unless --out-layout names it. An input that ends\n"
     "  before the length its header declares, or that its decoder can't read, is refused;\n"
     "  --allow-short keeps what can be read, with a warning. --block sets the block size\n"
     "  (1 to 65536, 1024 by default), --double processes and writes 64-bit floats.\n"
     "  --sofa decodes binaurally with the HRIR set measured in a SOFA file, as the\n"
     "  decoder's \"Load SOFA\" button does (SphereDecoder to Stereo); plx fails when the\n"
     "  decoder can't use the file.\n"
     "  --meter-svg draws the output meters over time as the editor's meters show them.\n"
     "  An effect in object mode (RadialPanner with \"Object Mode On/Off=1\") steers one host\n"
     "  object per input channel: its output is silent, and plx writes PREFIX-object-N.wav\n"
     "  (the channel that drives object N) and PREFIX-objects.csv (time, object, x, y, z: one\n"
     "  row per object and slice, the effect getting blocks of one slice: 5 ms, or --block\n"
     "  when shorter); PREFIX is --out without its extension unless --objects names it.\n"
     "\n"
     "example:\n"
     "  plx render --effect MixMorph --in stems-5.1.wav --out fold.wav --out-layout Stereo \\\n"
     "      --set \"Center Level=-4.5dB\" --automation fade.txt --state-out fold.state\n"
     "  plx render --effect RadialPanner --in voice.wav --out orbit.wav --out-layout 7.1.4 \\\n"
     "      --automation orbit.txt\n",
     renderCommand},
    {"matrix",
     "plx matrix --effect NAME --in-layout L --out-layout L [--set PARAM=VALUE ...] [--svg FILE]\n"
     "  Prints the effect's gain matrix, one row per input speaker; --svg writes it as a\n"
     "  heat map.\n"
     "\n"
     "example:\n"
     "  plx matrix --effect MixMorph --in-layout 7.1.4 --out-layout 5.1 --svg matrix.svg\n",
     matrixCommand},
    {"tracker-log",
     "plx tracker-log --in LOG --out FILE [--rate HZ] [--radians]\n"
     "  Turns a head-tracker log into an automation file of SphereDecoder's Yaw, Pitch\n"
     "  and Roll. A log line is TIME YAW PITCH ROLL, the time as in automation files,\n"
     "  the angles in degrees (radians with --radians). A head turning across +-180\n"
     "  degrees jumps between the two ends within one sample, which needs the sample\n"
     "  rate of the renders the file is for (--rate, 48000 by default).\n"
     "\n"
     "example:\n"
     "  plx tracker-log --in head.log --out head.txt\n"
     "  plx render --effect SphereDecoder --in scene-3oa.wav --out ears.wav --automation head.txt\n",
     trackerLogCommand},
    {"remote-map",
     "plx remote-map --effect NAME [--in-layout L] [--out-layout L] [--representation NAME]\n"
     "  Prints the remote map that the effect hands a host for a hardware controller: an\n"
     "  XML document of pages and cells that tie knobs, switches and LEDs to parameters.\n"
     "  The layouts decide which speakers' solo buttons it lists.\n"
     "\n"
     "example:\n"
     "  plx remote-map --effect MixMorph --in-layout 7.1.4 --out-layout 5.1 > mixmorph.xml\n",
     remoteMapCommand},
    {"demo",
     "plx demo [--out DIR] [--quiet]\n"
     "  Renders a synthesised 7.1.4 scene through every effect into DIR (demo-out/ by\n"
     "  default), with peak and RMS levels per output channel, the gain matrices and the\n"
     "  output meters; RadialPanner moves a mono source round 7.1.4 and turns a stereo\n"
     "  image over 5.1, each drawn as its trajectory from above and from the side and its\n"
     "  gains over time.\n"
     "\n"
     "example:\n"
     "  plx demo --out demo-out\n",
     demoCommand},
};

const char* const kCommon =
    "Layouts: Mono, Stereo, 5.1, 7.1, 7.1.4, 1st Order Ambisonics, ... or a hex mask (0x3F).\n"
    "Values: in the parameter's units (-3dB, On, 5.1) or normalized with a trailing n (0.5n).\n"
    "The module defaults to Tannhofen.plx beside the plx executable; --module FILE names another.\n";

void printUsage(FILE* to) {
    std::fputs("usage: plx [--module FILE] COMMAND [options]\n       plx COMMAND --help\n\n", to);
    for (const Command& command : kCommands) {
        const std::string usage = command.usage;
        std::fprintf(to, "  %s\n", usage.substr(0, usage.find('\n')).c_str());
    }
    std::fprintf(to, "\n%s", kCommon);
}

void printCommandUsage(const Command& command) {
    std::printf("usage: %s\n%s", command.usage, kCommon);
}

const Command* findCommand(const std::string& name) {
    for (const Command& command : kCommands)
        if (name == command.name) return &command;
    return nullptr;
}

} // namespace

int main(int argc, char** argv) {
    installSignalHandlers();
    std::vector<std::string> args(argv + 1, argv + argc);
    // --module may come before the command as well as among its options.
    std::vector<std::string> moduleOption;
    while (args.size() >= 2 && args[0] == "--module") {
        moduleOption = {args[0], args[1]};
        args.erase(args.begin(), args.begin() + 2);
    }
    if (args.empty()) {
        printUsage(stderr);
        return 2;
    }
    const std::string name = args[0];
    try {
        if (name == "help" || name == "--help" || name == "-h") {
            if (args.size() < 2) {
                printUsage(stdout);
                return 0;
            }
            const Command* command = findCommand(args[1]);
            if (!command) throw UserError("unknown command " + quoted(args[1]) + " (try: plx help)");
            printCommandUsage(*command);
            return 0;
        }
        const Command* command = findCommand(name);
        if (!command) throw UserError("unknown command " + quoted(name) + " (try: plx help)");
        std::vector<std::string> options(args.begin() + 1, args.end());
        if (std::find(options.begin(), options.end(), "--help") != options.end() ||
            std::find(options.begin(), options.end(), "-h") != options.end()) {
            printCommandUsage(*command);
            return 0;
        }
        options.insert(options.begin(), moduleOption.begin(), moduleOption.end());
        return command->run(options);
    } catch (const UserError& error) {
        std::fflush(stdout);
        std::fprintf(stderr, "plx: error: %s\n", error.what());
        return 1;
    } catch (const std::exception& error) {
        std::fflush(stdout);
        std::fprintf(stderr, "plx: internal error: %s\n", error.what());
        return 3;
    }
}

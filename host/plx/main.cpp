// plx: a command-line host for the module's effects. It loads the module
// file through its three exports, as a workstation does, and renders audio
// files through an effect offline.
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "host/plx/cli.h"
#include "host/plx/commands.h"

namespace {

const char* const kUsage =
    "usage: plx [--module FILE] COMMAND [options]\n"
    "\n"
    "  list [--effect NAME]\n"
    "      the module's classes; with --effect, its parameters and the layouts it takes\n"
    "  render --effect NAME --in FILE --out FILE [--in-layout L] [--out-layout L]\n"
    "         [--set PARAM=VALUE ...] [--automation FILE] [--block N] [--double]\n"
    "         [--state-in FILE] [--state-out FILE] [--quiet]\n"
    "      renders a WAV, FLAC or AIFF file through the effect into a float WAV\n"
    "  matrix --effect NAME --in-layout L --out-layout L [--set PARAM=VALUE ...] [--svg FILE]\n"
    "      prints the effect's gain matrix; --svg writes it as a heat map\n"
    "  demo [--out DIR]\n"
    "      renders a synthesised 7.1.4 scene through every effect into DIR (demo-out/)\n"
    "\n"
    "Layouts: Mono, Stereo, 5.1, 7.1, 7.1.4, 1st Order Ambisonics, ... or a hex mask (0x3F).\n"
    "Values: in the parameter's units (-3dB, On, 5.1) or normalized with a trailing n (0.5n).\n"
    "The module defaults to Tannhofen.plx beside the plx executable.\n";

} // namespace

int main(int argc, char** argv) {
    using namespace Tannhofen::Host::Cli;
    std::vector<std::string> args(argv + 1, argv + argc);
    // --module may come before the command as well as among its options.
    std::vector<std::string> moduleOption;
    while (args.size() >= 2 && args[0] == "--module") {
        moduleOption = {args[0], args[1]};
        args.erase(args.begin(), args.begin() + 2);
    }
    if (args.empty()) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    const std::string command = args[0];
    if (command == "help" || command == "--help" || command == "-h") {
        std::fputs(kUsage, stdout);
        return 0;
    }
    std::vector<std::string> options(args.begin() + 1, args.end());
    options.insert(options.begin(), moduleOption.begin(), moduleOption.end());
    try {
        if (command == "list") return listCommand(options);
        if (command == "render") return renderCommand(options);
        if (command == "matrix") return matrixCommand(options);
        if (command == "demo") return demoCommand(options);
        throw UserError("unknown command '" + command + "' (try: plx help)");
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

#include "host/plx/commands.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "host/plx/ambisonic_demo.h"
#include "host/plx/audio_file.h"
#include "host/plx/cli.h"
#include "host/plx/panner_demo.h"
#include "host/plx/render.h"
#include "host/plx/svg.h"

namespace Tannhofen::Host::Cli {

using namespace Plx;

namespace {

std::string modulePath(const Options& options) {
    return options.get("module", defaultModulePath());
}

std::string field(const char* text, size_t size) {
    return std::string(text, strnlen(text, size));
}

// Names of the layouts in `masks`, wrapped into lines under a heading.
void printLayoutList(const char* heading, const std::vector<SpeakerArrangement>& masks) {
    std::printf("%s", heading);
    size_t column = std::strlen(heading);
    if (masks.empty()) std::printf(" none");
    for (size_t i = 0; i < masks.size(); ++i) {
        const std::string name = layoutName(masks[i]) + (i + 1 < masks.size() ? "," : "");
        if (column + name.size() + 1 > 100) {
            std::printf("\n%*s", static_cast<int>(std::strlen(heading)), "");
            column = std::strlen(heading);
        }
        std::printf(" %s", name.c_str());
        column += name.size() + 1;
    }
    std::printf("\n");
}

void describeEffect(ModuleSession& session, const std::string& name) {
    Effect effect(session, session.findEffect(name));
    const ParamValues values = effect.values();
    auto title = [](const Param& param) {
        return param.info.flags & ParameterInfo::kIsReadOnly ? param.title + " (read-only)" : param.title;
    };
    int width = 5;
    for (const Param& param : effect.params()) width = std::max(width, static_cast<int>(title(param).size()));
    std::printf("%s\n\nParameters:\n", effect.name().c_str());
    std::printf("  %5s  %-*s  %-5s  %-26s  %-8s  %s\n", "id", width, "title", "units", "range", "default",
                "text");
    for (const Param& param : effect.params())
        std::printf("  %5u  %-*s  %-5s  %-26s  %-8.4f  %s\n", param.info.id, width, title(param).c_str(),
                    param.units.c_str(), values.range(param).c_str(), param.info.defaultNormalizedValue,
                    values.text(param, param.info.defaultNormalizedValue).c_str());
    std::printf("\n");
    printLayoutList("Inputs: ", acceptedLayouts(effect, true));
    printLayoutList("Outputs:", acceptedLayouts(effect, false));
}

// Output speaker labels, then one row per input speaker.
void printMatrix(const std::vector<std::string>& rows, const std::vector<std::string>& columns,
                 const std::vector<float>& gains) {
    std::printf("%-6s", "");
    for (const std::string& column : columns) std::printf(" %7s", column.c_str());
    std::printf("\n");
    for (size_t r = 0; r < rows.size(); ++r) {
        std::printf("%-6s", rows[r].c_str());
        for (size_t c = 0; c < columns.size(); ++c) {
            const float g = gains[r * columns.size() + c];
            if (g == 0.0f)
                std::printf(" %7s", ".");
            else
                std::printf(" %7.4f", g);
        }
        std::printf("\n");
    }
}

void checkMatrixSize(const Effect& effect, const std::vector<float>& gains, size_t rows, size_t columns) {
    if (gains.empty()) throw UserError(effect.name() + " published no gain matrix");
    if (gains.size() != rows * columns)
        throw UserError(effect.name() + " published a gain matrix of " + std::to_string(gains.size()) +
                        " elements for " + std::to_string(rows) + " inputs and " + std::to_string(columns) +
                        " outputs");
}

// The demo scene: every channel of a 7.1.4 bed beeps at its own pitch, as
// many times as its position in the bed (L once, R twice, ...), so that
// each one can be told apart by ear and on a meter. The LFE hums at 50 Hz.
void writeDemoScene(const std::string& path, SpeakerArrangement layout, int rate, double seconds) {
    const int channels = channelsOf(layout);
    const std::vector<std::string> labels = speakerLabels(layout);
    const auto frames = static_cast<int64_t>(seconds * rate);
    OutputFile file(path);
    WavWriter writer(file, layout, rate, false);
    const int64_t block = 4096;
    std::vector<float> interleaved(static_cast<size_t>(block * channels));
    const double beep = 0.09, gap = 0.06, period = 2.0, amplitude = 0.25;
    for (int64_t start = 0; start < frames; start += block) {
        const int64_t n = std::min(block, frames - start);
        for (int64_t i = 0; i < n; ++i) {
            const double t = static_cast<double>(start + i) / rate;
            const double inPeriod = std::fmod(t, period);
            for (int c = 0; c < channels; ++c) {
                double v = 0.0;
                if (labels[static_cast<size_t>(c)] == "LFE") {
                    v = 0.5 * amplitude * std::sin(2 * M_PI * 50.0 * t);
                } else {
                    const int count = c + 1;
                    const double slot = beep + gap;
                    const int index = static_cast<int>(inPeriod / slot);
                    const double within = inPeriod - index * slot;
                    if (index < count && within < beep) {
                        // A short fade at both ends keeps the beeps click-free.
                        const double fade = std::min({1.0, within / 0.005, (beep - within) / 0.005});
                        const double pitch = 220.0 * std::pow(2.0, c / 4.0);
                        v = amplitude * fade * std::sin(2 * M_PI * pitch * t);
                    }
                }
                interleaved[static_cast<size_t>(i * channels + c)] = static_cast<float>(v);
            }
        }
        writer.write(interleaved.data(), n);
    }
    writer.commit();
}

std::string fileWord(const std::string& text) {
    std::string out;
    for (unsigned char c : text)
        out += std::isalnum(c) || c == '.' ? static_cast<char>(std::tolower(c)) : '-';
    return out;
}

// The word that names an effect in file names: "MixMorph V6" gives "mixmorph".
std::string effectWord(const std::string& name) {
    size_t start = name.rfind("PLX ", 0) == 0 ? 4 : 0;
    return fileWord(name.substr(start, name.find(' ', start) - start));
}

} // namespace

int listCommand(const std::vector<std::string>& args) {
    const Options options(args, {"module", "effect"}, {});
    ModuleSession session(modulePath(options));
    if (options.has("effect")) {
        describeEffect(session, options.get("effect"));
        return 0;
    }
    std::printf("%-32s %-28s %s\n", "class", "category", "sub-categories");
    for (const ClassInfo2& info : session.classes())
        std::printf("%-32s %-28s %s\n", field(info.name, sizeof info.name).c_str(),
                    field(info.category, sizeof info.category).c_str(),
                    field(info.subCategories, sizeof info.subCategories).c_str());
    return 0;
}

int renderCommand(const std::vector<std::string>& args) {
    const Options options(args,
                          {"module", "effect", "in", "out", "in-layout", "out-layout", "set", "automation",
                           "block", "state-in", "state-out", "sofa", "meter-svg", "objects"},
                          {"double", "quiet", "allow-short"});
    RenderRequest request;
    request.effect = options.require("effect");
    request.input = options.require("in");
    request.output = options.require("out");
    request.inLayout = options.get("in-layout");
    request.outLayout = options.get("out-layout");
    request.sets = options.all("set");
    request.automation = options.get("automation");
    request.block = static_cast<int32_t>(options.getInt("block", 1024, 1, 65536));
    request.doublePrecision = options.has("double");
    request.stateIn = options.get("state-in");
    request.stateOut = options.get("state-out");
    request.sofa = options.get("sofa");
    request.quiet = options.has("quiet");
    request.allowShort = options.has("allow-short");
    request.meterSvg = options.get("meter-svg");
    request.objectsPrefix = options.get("objects");
    ModuleSession session(modulePath(options));
    const RenderResult result = render(session, request);
    if (result.damage)
        std::fprintf(stderr, "plx: warning: %s; the output keeps the %lld frames that could be read\n",
                     result.damage->c_str(), static_cast<long long>(result.frames));
    // With the audio on standard output, the summary goes to stderr.
    FILE* report = request.output == "-" ? stderr : stdout;
    if (!request.quiet)
        std::fprintf(report, "%s: %s -> %s, %lld frames at %d Hz, latency %u samples\n",
                     request.output == "-" ? "standard output" : shown(request.output).c_str(),
                     layoutName(result.in).c_str(), layoutName(result.out).c_str(),
                     static_cast<long long>(result.frames), result.sampleRate, result.latency);
    if (!request.quiet && !result.objectFiles.empty()) {
        std::fprintf(report, "object mode: the bed is silent; the objects are in");
        for (const std::string& name : result.objectFiles) std::fprintf(report, " %s", shown(name).c_str());
        std::fprintf(report, "\n");
    }
    return 0;
}

int matrixCommand(const std::vector<std::string>& args) {
    const Options options(args, {"module", "effect", "in-layout", "out-layout", "set", "svg"}, {});
    const std::string effectName = options.require("effect");
    const SpeakerArrangement in = layoutOption(options.require("in-layout"));
    const SpeakerArrangement out = layoutOption(options.require("out-layout"));
    ModuleSession session(modulePath(options));
    Effect effect(session, session.findEffect(effectName));
    negotiate(effect, in, out);
    applySettings(effect, options.all("set"), out);
    std::optional<OutputFile> svgFile;
    if (options.has("svg")) svgFile.emplace(options.get("svg"));

    // One block through the running effect, then one timer tick: the
    // processor publishes its matrix and sends it on idle.
    const int32_t block = 256;
    effect.requestGainMatrix();
    effect.start(48000.0, block, false);
    effect.flushParameters();
    effect.process(block);
    effect.idle();
    effect.stop();

    const std::vector<std::string> rows = speakerLabels(in);
    const std::vector<std::string> columns = speakerLabels(out);
    const std::vector<float>& gains = effect.gainMatrix();
    checkMatrixSize(effect, gains, rows.size(), columns.size());
    std::printf("%s: %s -> %s (rows: inputs, columns: outputs)\n", effect.name().c_str(),
                layoutName(in).c_str(), layoutName(out).c_str());
    printMatrix(rows, columns, gains);
    if (svgFile) {
        const std::string svg =
            matrixSvg(effect.name() + ": " + layoutName(in) + " to " + layoutName(out), rows, columns, gains);
        svgFile->write(svg.data(), svg.size());
        svgFile->commit();
    }
    return 0;
}

int demoCommand(const std::vector<std::string>& args) {
    const Options options(args, {"module", "out"}, {"quiet"});
    const std::string dir = options.get("out", "demo-out");
    ModuleSession session(modulePath(options));
    std::error_code error;
    std::filesystem::create_directories(dir, error);
    if (error) throw UserError("cannot create " + shown(dir) + ": " + error.message());

    const SpeakerArrangement bed = Layout::k7_1_4;
    const int rate = 48000;
    const std::string scene = dir + "/scene-7.1.4.wav";
    writeDemoScene(scene, bed, rate, 6.0);
    std::printf("scene: %s (7.1.4, each channel beeps its position: L once, R twice, ...; LFE hums)\n",
                scene.c_str());

    int rendered = 0;
    for (const EffectClass& effectClass : session.effects()) {
        bool ambisonic = false;
        try {
            Effect probe(session, effectClass);
            ambisonic = takesOnlyAmbisonics(probe);
            // The panner takes mono and stereo sources: its own scenes follow.
            if (!ambisonic && !probe.setArrangements(bed, probe.outputArrangement()) &&
                probe.inputArrangement() != bed)
                continue;
        } catch (const UserError& missing) {
            std::printf("\n%s: skipped (%s)\n", effectClass.name.c_str(), missing.what());
            continue;
        }
        // A decoder gets a scene of its own.
        if (ambisonic) {
            rendered += renderAmbisonicDemo(session, effectClass, dir, options.has("quiet"));
            continue;
        }
        for (SpeakerArrangement target : {Layout::k5_1, Layout::kStereo}) {
            const std::string stem =
                dir + "/" + effectWord(effectClass.name) + "-7.1.4-to-" + fileWord(layoutName(target));
            RenderRequest request;
            request.effect = effectClass.name;
            request.input = scene;
            request.output = stem + ".wav";
            request.inLayout = layoutName(bed);
            request.outLayout = layoutName(target);
            request.quiet = options.has("quiet");
            request.captureMatrix = true;
            request.meterSvg = stem + "-meters.svg";
            RenderResult result;
            try {
                result = render(session, request);
            } catch (const UserError& skipped) {
                std::printf("\n%s to %s: skipped (%s)\n", effectClass.name.c_str(),
                            layoutName(target).c_str(), skipped.what());
                continue;
            }
            ++rendered;
            std::printf("\n%s: %s, 7.1.4 to %s\n", request.output.c_str(), effectClass.name.c_str(),
                        layoutName(target).c_str());
            printLevels(result);
            const std::vector<std::string> labels = speakerLabels(result.out);
            const std::vector<std::string> rows = speakerLabels(result.in);
            if (result.matrix.size() == rows.size() * labels.size()) {
                const std::string svg = matrixSvg(effectClass.name + ": 7.1.4 to " + layoutName(target), rows,
                                                  labels, result.matrix);
                writeWholeFile(stem + ".svg", std::vector<uint8_t>(svg.begin(), svg.end()));
                std::printf("  matrix: %s.svg\n", stem.c_str());
            }
            std::printf("  meters: %s\n", request.meterSvg.c_str());
        }
    }
    for (const EffectClass& effectClass : session.effects()) {
        if (effectWord(effectClass.name) != "radialpanner") continue;
        pannerDemo(session, effectClass, dir, options.has("quiet"));
        ++rendered;
    }
    if (rendered == 0) throw UserError("the module could create no effect to render the demo with");
    return 0;
}

} // namespace Tannhofen::Host::Cli

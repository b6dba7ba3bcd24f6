#include "host/plx/panner_demo.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "host/plx/audio_file.h"
#include "host/plx/output_file.h"
#include "host/plx/render.h"
#include "host/plx/timeline_svg.h"

namespace Tannhofen::Host::Cli {

namespace {

constexpr int kRate = 48000;
constexpr double kSeconds = 8.0;
// The gains are measured over windows of this length.
constexpr double kWindowSeconds = 0.05;

// A steady chord per channel, the root `roots[c]` Hz, with a short fade in
// and out: steady, so that the level of each speaker shows its gain.
void writeChords(const std::string& path, SpeakerArrangement layout, const std::vector<double>& roots) {
    const int channels = channelsOf(layout);
    const auto frames = static_cast<int64_t>(kSeconds * kRate);
    OutputFile file(path);
    WavWriter writer(file, layout, kRate, false);
    std::vector<float> frame(static_cast<size_t>(channels));
    for (int64_t n = 0; n < frames; ++n) {
        const double t = static_cast<double>(n) / kRate;
        const double fade = std::min({1.0, t / 0.02, (kSeconds - t) / 0.02});
        for (int c = 0; c < channels; ++c) {
            const double f = roots[static_cast<size_t>(c)];
            const double v = std::sin(2 * M_PI * f * t) + 0.6 * std::sin(2 * M_PI * f * 1.25 * t) +
                             0.4 * std::sin(2 * M_PI * f * 1.5 * t);
            frame[static_cast<size_t>(c)] = static_cast<float>(0.15 * fade * v);
        }
        writer.write(frame.data(), 1);
    }
    writer.commit();
}

void writeText(const std::string& path, const std::string& text) {
    writeWholeFile(path, std::vector<uint8_t>(text.begin(), text.end()));
}

// Mean power of each channel of `path` per window.
std::vector<std::vector<double>> windowPowers(const std::string& path) {
    SoundReader reader(path);
    const int channels = reader.channels();
    const auto window = static_cast<int64_t>(kWindowSeconds * reader.sampleRate());
    std::vector<float> frames(static_cast<size_t>(window * channels));
    std::vector<std::vector<double>> powers;
    for (;;) {
        const int64_t got = reader.read(frames.data(), window);
        if (got < window) break;
        std::vector<double> power(static_cast<size_t>(channels), 0.0);
        for (int64_t i = 0; i < got; ++i)
            for (int c = 0; c < channels; ++c) {
                const double v = frames[static_cast<size_t>(i * channels + c)];
                power[static_cast<size_t>(c)] += v * v / static_cast<double>(got);
            }
        powers.push_back(std::move(power));
    }
    return powers;
}

// The gain of each output speaker per window: its level against the level of
// the whole input (all its channels' power together).
std::vector<std::vector<double>> measuredGains(const std::string& in, const std::string& out) {
    const std::vector<std::vector<double>> inPower = windowPowers(in);
    std::vector<std::vector<double>> gains = windowPowers(out);
    gains.resize(std::min(gains.size(), inPower.size()));
    for (size_t w = 0; w < gains.size(); ++w) {
        double total = 0.0;
        for (double p : inPower[w]) total += p;
        for (double& g : gains[w]) g = total > 0 ? std::sqrt(g / total) : 0.0;
    }
    return gains;
}

struct Scene {
    std::string stem; // file names in the demo folder start with it
    std::string title;
    SpeakerArrangement in, out;
    std::vector<double> roots; // per input channel
    std::vector<std::string> sets;
    std::string automation;
};

// Two turns round the listener in kSeconds, clockwise seen from above,
// starting in front; the height climbs from the floor to the top over the
// first turn and returns over the second.
std::string orbitAutomation() {
    std::string text = "# two turns round the room, rising and falling\n";
    const int points = 128;
    for (int k = 0; k <= points; ++k) {
        const double t = kSeconds * k / points;
        const double turn = 2.0 * k / points;
        const double angle = 2 * M_PI * turn;
        const double rise = turn <= 1.0 ? turn : 2.0 - turn;
        char line[160];
        std::snprintf(line, sizeof line, "%.4f \"Left-Right Pan\" %.2f\n%.4f \"Front-Rear Pan\" %.2f\n", t,
                      100 * std::sin(angle), t, -100 * std::cos(angle));
        text += line;
        std::snprintf(line, sizeof line, "%.4f \"Bottom-Top Pan\" %.2f\n", t, -100 + 200 * rise);
        text += line;
    }
    return text;
}

void renderScene(ModuleSession& session, const EffectClass& panner, const std::string& dir,
                 const Scene& scene, bool quiet) {
    const std::string stem = dir + "/" + scene.stem;
    const std::string source = stem + "-source.wav";
    const std::string automation = stem + "-automation.txt";
    writeChords(source, scene.in, scene.roots);
    writeText(automation, scene.automation);

    RenderRequest request;
    request.effect = panner.name;
    request.input = source;
    request.output = stem + ".wav";
    request.inLayout = layoutName(scene.in);
    request.outLayout = layoutName(scene.out);
    request.sets = scene.sets;
    request.automation = automation;
    request.quiet = quiet;
    const RenderResult speakers = render(session, request);
    const std::string speakersFile = request.output;
    const std::vector<std::vector<double>> gains = measuredGains(source, speakersFile);
    writeText(stem + "-gains.svg", gainsSvg(scene.title + ": gain of each speaker",
                                            speakerLabels(speakers.out), kWindowSeconds, gains));

    // Once more in object mode: the positions of the channels over time.
    request.output = stem + "-objects-bed.wav";
    request.sets.push_back("Object Mode On/Off=1");
    request.objectsPrefix = stem;
    const RenderResult objects = render(session, request);
    std::string csv;
    if (!objects.objectFiles.empty()) {
        const std::vector<uint8_t> bytes =
            readSmallFile(objects.objectFiles.back(), "positions", std::size_t{64} << 20);
        csv.assign(bytes.begin(), bytes.end());
    }
    writeText(stem + "-trajectory.svg", trajectorySvg(scene.title + ": trajectory", parseObjectPoints(csv)));

    std::printf("\n%s: %s (%s to %s, automation %s)\n", speakersFile.c_str(), scene.title.c_str(),
                layoutName(scene.in).c_str(), layoutName(scene.out).c_str(), automation.c_str());
    std::printf(
        "  source: %s\n  gains over time: %s-gains.svg\n  trajectory: %s-trajectory.svg (%zu positions)\n",
        source.c_str(), stem.c_str(), stem.c_str(), parseObjectPoints(csv).size());
}

} // namespace

void pannerDemo(ModuleSession& session, const EffectClass& panner, const std::string& dir, bool quiet) {
    const Scene orbit{"panner-orbit-mono-to-7.1.4",
                      "mono source orbiting 7.1.4",
                      Plx::Layout::kMono,
                      Plx::Layout::k7_1_4,
                      {220.0},
                      {},
                      orbitAutomation()};
    // The image stands in the middle of the room and turns once round it.
    const Scene rotation{"panner-rotation-stereo-to-5.1",
                         "stereo image rotating over 5.1",
                         Plx::Layout::kStereo,
                         Plx::Layout::k5_1,
                         {196.0, 293.66},
                         {"Front-Rear Pan=0"},
                         "# one turn of the image\n0 \"Rotate Signal around Z-Axis\" 0\n" +
                             std::to_string(kSeconds) + " \"Rotate Signal around Z-Axis\" 360\n"};
    for (const Scene& scene : {orbit, rotation}) renderScene(session, panner, dir, scene, quiet);
}

} // namespace Tannhofen::Host::Cli

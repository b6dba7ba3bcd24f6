#include "host/plx/ambisonic_demo.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <vector>

#include "dsp/tool/math/spherical_harmonics.h"
#include "host/plx/audio_file.h"
#include "host/plx/cli.h"
#include "host/plx/layout.h"
#include "host/plx/output_file.h"
#include "host/plx/render.h"

namespace Tannhofen::Host::Cli {

namespace {

struct SceneSource {
    const char* where;
    double azimuth, elevation; // degrees; azimuth positive to the left
    double pitch;              // Hz
};

constexpr SceneSource kSources[] = {{"front", 0, 0, 262},
                                    {"left", 90, 0, 330},
                                    {"behind", 180, 0, 392},
                                    {"right", -90, 0, 523},
                                    {"above", 0, 60, 659}};
constexpr double kSceneSeconds = 8.0;
constexpr int kRate = 48000;

// Source s beeps s + 1 times every two seconds, with short fades.
double beep(int source, double t) {
    const double length = 0.09, slot = 0.15, period = 2.0;
    const double inPeriod = std::fmod(t, period);
    const int index = static_cast<int>(inPeriod / slot);
    const double within = inPeriod - index * slot;
    if (index > source || within >= length) return 0.0;
    const double fade = std::min({1.0, within / 0.005, (length - within) / 0.005});
    return 0.2 * fade * std::sin(2 * M_PI * kSources[source].pitch * t);
}

void writeScene(const std::string& path) {
    constexpr int channels = 16;
    double harmonics[std::size(kSources)][channels];
    for (size_t s = 0; s < std::size(kSources); ++s)
        DSP::Tool::Math::sn3dHarmonics(kSources[s].azimuth, kSources[s].elevation, harmonics[s], channels);
    OutputFile file(path);
    WavWriter writer(file, Plx::Layout::kAmbi3, kRate, false);
    const auto frames = static_cast<int64_t>(kSceneSeconds * kRate);
    const int64_t block = 4096;
    std::vector<float> interleaved(static_cast<size_t>(block * channels));
    for (int64_t start = 0; start < frames; start += block) {
        const int64_t n = std::min(block, frames - start);
        for (int64_t i = 0; i < n; ++i) {
            const double t = static_cast<double>(start + i) / kRate;
            double mix[channels] = {};
            for (size_t s = 0; s < std::size(kSources); ++s) {
                const double x = beep(static_cast<int>(s), t);
                if (x != 0.0)
                    for (int c = 0; c < channels; ++c) mix[c] += harmonics[s][c] * x;
            }
            for (int c = 0; c < channels; ++c)
                interleaved[static_cast<size_t>(i * channels + c)] = float(mix[c]);
        }
        writer.write(interleaved.data(), n);
    }
    writer.commit();
}

} // namespace

bool takesOnlyAmbisonics(Effect& effect) {
    const Plx::SpeakerArrangement in = effect.inputArrangement(), out = effect.outputArrangement();
    const bool ambisonic = effect.setArrangements(Plx::Layout::kAmbi3, Plx::Layout::kAmbi3);
    const bool speakers = effect.setArrangements(Plx::Layout::k7_1_4, Plx::Layout::k7_1_4);
    effect.setArrangements(in, out);
    return ambisonic && !speakers;
}

int renderAmbisonicDemo(ModuleSession& session, const EffectClass& effectClass, const std::string& dir,
                        bool quiet) {
    const std::string scene = dir + "/scene-3rd-order.wav";
    writeScene(scene);
    std::printf("\nscene: %s (3rd order ambisonics: front beeps once, left twice, behind three times, "
                "right four times, above five times)\n",
                scene.c_str());
    // One turn of the head: yaw from -180 to +180 degrees over the scene.
    const std::string turn = dir + "/head-turn.txt";
    char text[160];
    std::snprintf(text, sizeof text, "# the head turns once around\n0smp Yaw -180\n%lldsmp Yaw 180\n",
                  static_cast<long long>(kSceneSeconds * kRate) - 1);
    writeWholeFile(turn, std::vector<uint8_t>(text, text + std::strlen(text)));

    int rendered = 0;
    const std::string word = "spheredecoder";
    const struct {
        Plx::SpeakerArrangement out;
        const char* file;
        bool turning;
        const char* what;
    } renders[] = {{Plx::Layout::kStereo, "-3rd-order-to-binaural-turning.wav", true,
                    "binaural, the head turning once around"},
                   {Plx::Layout::k7_1_4, "-3rd-order-to-7.1.4.wav", false, "7.1.4 speakers"}};
    for (const auto& r : renders) {
        RenderRequest request;
        request.effect = effectClass.name;
        request.input = scene;
        request.output = dir + "/" + word + r.file;
        request.inLayout = layoutName(Plx::Layout::kAmbi3);
        request.outLayout = layoutName(r.out);
        if (r.turning) request.automation = turn;
        request.quiet = quiet;
        try {
            const RenderResult result = render(session, request);
            ++rendered;
            std::printf("\n%s: %s, 3rd order to %s, latency %u samples\n", request.output.c_str(),
                        effectClass.name.c_str(), r.what, result.latency);
            printLevels(result);
        } catch (const UserError& skipped) {
            std::printf("\n%s to %s: skipped (%s)\n", effectClass.name.c_str(), layoutName(r.out).c_str(),
                        skipped.what());
        }
    }
    return rendered;
}

} // namespace Tannhofen::Host::Cli

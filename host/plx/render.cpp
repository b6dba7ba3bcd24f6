#include "host/plx/render.h"

#include <chrono>
#include <cmath>
#include <cstdio>

#include "host/plx/audio_file.h"
#include "host/plx/automation.h"
#include "host/plx/cli.h"

namespace Tannhofen::Host::Cli {

namespace {

// A progress bar on stderr, shown only once a render has taken a second.
class Progress {
public:
    Progress(int64_t total, bool quiet) : total(total), quiet(quiet), begin(Clock::now()) {}
    ~Progress() {
        if (shown) std::fputc('\n', stderr);
    }
    void update(int64_t done) {
        if (quiet || total <= 0) return;
        const auto now = Clock::now();
        if (now - begin < std::chrono::seconds(1) || now - last < std::chrono::milliseconds(100)) return;
        last = now;
        shown = true;
        const double fraction = std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
        const double elapsed = std::chrono::duration<double>(now - begin).count();
        const int width = 40;
        const int filled = static_cast<int>(fraction * width);
        std::string bar(static_cast<size_t>(filled), '#');
        bar.resize(width, '.');
        const double eta = fraction > 0 ? elapsed * (1 - fraction) / fraction : 0.0;
        std::fprintf(stderr, "\r[%s] %3d%%  %.0f s left ", bar.c_str(), static_cast<int>(fraction * 100),
                     eta);
        std::fflush(stderr);
    }

private:
    using Clock = std::chrono::steady_clock;
    int64_t total;
    bool quiet;
    Clock::time_point begin;
    Clock::time_point last{};
    bool shown = false;
};

template <class T>
T* inputBuffer(Effect& effect, int channel) {
    if constexpr (sizeof(T) == sizeof(float))
        return effect.input32(channel);
    else
        return effect.input64(channel);
}

template <class T>
T* outputBuffer(Effect& effect, int channel) {
    if constexpr (sizeof(T) == sizeof(float))
        return effect.output32(channel);
    else
        return effect.output64(channel);
}

// The streaming loop: read a block, process it, write what lines up with the
// input. The first `latency` output samples are dropped and as many samples
// of silence are fed after the input, so that output sample n belongs to
// input sample n and both have the same length.
template <class T>
void stream(Effect& effect, SoundReader& reader, SoundWriter& writer, const Automation* automation,
            int32_t block, RenderResult& result, Progress& progress) {
    const int ins = effect.inputChannels();
    const int outs = effect.outputChannels();
    const int64_t total = reader.frames();
    const int64_t latency = result.latency;
    std::vector<T> inFrames(static_cast<size_t>(block) * static_cast<size_t>(ins));
    std::vector<T> outFrames(static_cast<size_t>(block) * static_cast<size_t>(outs));
    result.levels.assign(static_cast<size_t>(outs), {});
    const int64_t idleInterval = std::max<int64_t>(1, reader.sampleRate() / 25);
    int64_t processed = 0;
    int64_t written = 0;
    int64_t sinceIdle = 0;
    bool inputDone = false;
    while (written < total) {
        const auto length = static_cast<int32_t>(std::min<int64_t>(block, total + latency - processed));
        int64_t got = 0;
        if (!inputDone) {
            got = reader.read(inFrames.data(), length);
            if (got < length) inputDone = true;
        }
        for (int c = 0; c < ins; ++c) {
            T* channel = inputBuffer<T>(effect, c);
            for (int64_t i = 0; i < got; ++i) channel[i] = inFrames[static_cast<size_t>(i * ins + c)];
            std::fill(channel + got, channel + length, T(0));
        }
        if (automation) automation->schedule(processed, length, effect.changes());
        effect.process(length);

        const int64_t skip = std::max<int64_t>(0, std::min<int64_t>(length, latency - processed));
        const int64_t count = std::min<int64_t>(length - skip, total - written);
        for (int c = 0; c < outs; ++c) {
            const T* channel = outputBuffer<T>(effect, c) + skip;
            ChannelLevel& level = result.levels[static_cast<size_t>(c)];
            for (int64_t i = 0; i < count; ++i) {
                const T v = channel[i];
                outFrames[static_cast<size_t>(i * outs + c)] = v;
                level.peak = std::max(level.peak, static_cast<double>(std::fabs(v)));
                level.sumSquares += static_cast<double>(v) * static_cast<double>(v);
            }
        }
        if (count > 0) writer.write(outFrames.data(), count);
        processed += length;
        written += count;
        sinceIdle += length;
        if (sinceIdle >= idleInterval) {
            effect.idle();
            sinceIdle = 0;
        }
        progress.update(written);
        if (length <= 0) break;
    }
    effect.idle();
    result.frames = written;
}

} // namespace

std::string dbfs(double level) {
    if (level <= 0.0) return "-inf";
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", 20.0 * std::log10(level));
    return text;
}

SpeakerArrangement layoutOption(const std::string& text) {
    const auto mask = parseLayout(text);
    if (!mask)
        throw UserError(
            "unknown layout '" + text +
            "' (use a name such as Stereo, 5.1, 7.1.4, 1st Order Ambisonics, or a hex mask such as 0x3F)");
    return *mask;
}

void negotiate(Effect& effect, SpeakerArrangement in, std::optional<SpeakerArrangement> out) {
    const SpeakerArrangement wantedOut = out ? *out : effect.outputArrangement();
    if (effect.setArrangements(in, wantedOut)) return;
    if (effect.inputArrangement() != in)
        throw UserError(effect.name() + " does not take " + layoutName(in) + " as input (it offers " +
                        layoutName(effect.inputArrangement()) + ")");
    if (out && effect.outputArrangement() != *out)
        throw UserError(effect.name() + " does not give " + layoutName(*out) + " from " + layoutName(in) +
                        " (it offers " + layoutName(effect.outputArrangement()) + ")");
}

void applySettings(Effect& effect, const std::vector<std::string>& sets) {
    for (const std::string& set : sets) {
        const size_t eq = set.find('=');
        if (eq == std::string::npos || eq == 0) throw UserError("--set takes PARAM=VALUE, not '" + set + "'");
        const Effect::Param& param = effect.findParam(set.substr(0, eq));
        effect.setParameter(param.info.id, effect.parseValue(param, set.substr(eq + 1)));
    }
    effect.flushParameters();
}

RenderResult render(ModuleSession& session, const RenderRequest& request) {
    // What can be checked without the effect comes first.
    const EffectClass effectClass = session.findEffect(request.effect);
    SoundReader reader(request.input);

    SpeakerArrangement in = 0;
    if (!request.inLayout.empty()) {
        in = layoutOption(request.inLayout);
    } else if (auto fromFile = reader.layout(); fromFile && channelsOf(*fromFile) == reader.channels()) {
        in = *fromFile;
    } else if (auto usual = defaultLayoutForChannels(reader.channels())) {
        in = *usual;
    } else {
        throw UserError("can't tell the layout of the " + std::to_string(reader.channels()) +
                        " channels in " + request.input + "; name it with --in-layout");
    }
    if (channelsOf(in) != reader.channels())
        throw UserError(request.input + " has " + std::to_string(reader.channels()) + " channels, but " +
                        layoutName(in) + " has " + std::to_string(channelsOf(in)));
    std::optional<SpeakerArrangement> out;
    if (!request.outLayout.empty()) out = layoutOption(request.outLayout);

    PendingFile{request.output}; // fails now when the output can't be written

    Effect effect(session, effectClass);
    if (request.stateIn.empty()) {
        negotiate(effect, in, out);
    } else {
        // As a workstation reopening a project: the buses are set up first,
        // then the effect gets its state. A state may carry its own output
        // layout, so a first instance tells which one that is.
        const std::vector<uint8_t> state = readWholeFile(request.stateIn);
        if (!out) {
            Effect probe(session, effectClass);
            negotiate(probe, in, std::nullopt);
            probe.loadState(state);
            out = probe.outputArrangement();
        }
        negotiate(effect, in, out);
        effect.loadState(state);
        if (effect.outputArrangement() != *out || effect.inputArrangement() != in)
            throw UserError("the state in " + request.stateIn + " sets up " +
                            layoutName(effect.inputArrangement()) + " -> " +
                            layoutName(effect.outputArrangement()) + ", not " + layoutName(in) + " -> " +
                            layoutName(*out));
    }

    std::optional<Automation> automation;
    if (!request.automation.empty())
        automation = Automation::load(request.automation, effect, reader.sampleRate());
    // Open the outputs first: an unwritable one fails before any work.
    std::optional<PendingFile> state;
    if (!request.stateOut.empty()) state.emplace(request.stateOut);
    RenderResult result;
    result.in = effect.inputArrangement();
    result.out = effect.outputArrangement();
    result.sampleRate = reader.sampleRate();
    SoundWriter writer(request.output, result.out, reader.sampleRate(), request.doublePrecision,
                       reader.frames());

    if (request.captureMatrix) effect.requestGainMatrix();
    effect.start(reader.sampleRate(), request.block, request.doublePrecision);
    applySettings(effect, request.sets);
    if (automation) automation->setStartValues(effect);
    result.latency = effect.latency();

    Progress progress(reader.frames(), request.quiet);
    const Automation* lanes = automation ? &*automation : nullptr;
    if (request.doublePrecision)
        stream<double>(effect, reader, writer, lanes, request.block, result, progress);
    else
        stream<float>(effect, reader, writer, lanes, request.block, result, progress);
    effect.stop();
    result.matrix = effect.gainMatrix();

    if (state) state->writeAll(effect.saveState());
    writer.commit();
    if (state) state->commit();
    return result;
}

} // namespace Tannhofen::Host::Cli

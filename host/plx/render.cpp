#include "host/plx/render.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <unistd.h>

#include "host/plx/audio_file.h"
#include "host/plx/automation.h"
#include "host/plx/cli.h"
#include "host/plx/meter_svg.h"
#include "host/plx/object_render.h"
#include "host/plx/sofa.h"

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
// input sample n and both have the same length: the length of the data that
// was read, whatever the header declared. In object mode the block goes to
// the effect in pieces of one slice, each recorded for the objects.
template <class T>
void stream(Effect& effect, SoundReader& reader, WavWriter& writer, const Automation* automation,
            ObjectRender* objects, const RenderRequest& request, RenderResult& result, Progress& progress) {
    // Blocks of whole slices in object mode, so that every slice has one length.
    const int32_t step = objects ? std::min(request.block, objects->blockLimit()) : request.block;
    const int32_t block = request.block / step * step;
    const int ins = effect.inputChannels();
    const int outs = effect.outputChannels();
    const int64_t latency = result.latency;
    std::vector<T> inFrames(static_cast<size_t>(block) * static_cast<size_t>(ins));
    std::vector<T> outFrames(static_cast<size_t>(block) * static_cast<size_t>(outs));
    result.levels.assign(static_cast<size_t>(outs), {});
    const int64_t idleInterval = std::max<int64_t>(1, reader.sampleRate() / 25);
    int64_t processed = 0;
    int64_t written = 0;
    int64_t sinceIdle = 0;
    bool inputDone = false;
    for (;;) {
        int64_t got = 0;
        if (!inputDone) {
            got = reader.read(inFrames.data(), block);
            inputDone = got < block;
            if (reader.damage() && !request.allowShort)
                throw UserError(*reader.damage() + " (--allow-short keeps what can be read)");
        }
        const int64_t total = reader.framesRead();
        const auto length =
            static_cast<int32_t>(inputDone ? std::min<int64_t>(block, total + latency - processed) : got);
        if (length <= 0) break;
        for (int32_t at = 0; at < length; at += step) {
            const int32_t n = std::min(step, length - at);
            const int64_t real = std::clamp<int64_t>(got - at, 0, n);
            for (int c = 0; c < ins; ++c) {
                T* channel = inputBuffer<T>(effect, c);
                for (int64_t i = 0; i < real; ++i)
                    channel[i] = inFrames[static_cast<size_t>((at + i) * ins + c)];
                std::fill(channel + real, channel + n, T(0));
            }
            if (automation) automation->schedule(processed + at, n, effect.changes());
            effect.process(n);
            for (int c = 0; c < outs; ++c) {
                const T* channel = outputBuffer<T>(effect, c);
                for (int32_t i = 0; i < n; ++i)
                    outFrames[static_cast<size_t>((at + i) * outs + c)] = channel[i];
            }
            if (objects && real > 0)
                objects->record(processed + at, real,
                                &inFrames[static_cast<size_t>(at) * static_cast<size_t>(ins)], ins);
        }

        const int64_t skip = std::clamp<int64_t>(latency - processed, 0, length);
        const int64_t count = std::min<int64_t>(length - skip, total - written);
        for (int c = 0; c < outs; ++c) {
            ChannelLevel& level = result.levels[static_cast<size_t>(c)];
            for (int64_t i = skip; i < skip + count; ++i) {
                const auto v = static_cast<double>(outFrames[static_cast<size_t>(i * outs + c)]);
                level.peak = std::max(level.peak, std::fabs(v));
                level.sumSquares += v * v;
            }
        }
        if (count > 0) writer.write(outFrames.data() + skip * outs, count);
        processed += length;
        written += count;
        sinceIdle += length;
        if (sinceIdle >= idleInterval) {
            effect.idle();
            sinceIdle = 0;
        }
        progress.update(written);
    }
    effect.idle();
    result.frames = written;
    result.damage = reader.damage();
}

// A file that doesn't tell its layout has the usual speakers of its channel
// count; to an effect that takes only ambisonics (the decoder), 4, 9 or 16
// channels are the ambisonic orders instead.
// The ambisonic layout of 4, 9 or 16 channels; 0 for any other count.
SpeakerArrangement ambisonicOfChannels(int channels) {
    for (SpeakerArrangement ambisonic : {Plx::Layout::kAmbi1, Plx::Layout::kAmbi2, Plx::Layout::kAmbi3})
        if (channelsOf(ambisonic) == channels) return ambisonic;
    return 0;
}

SpeakerArrangement ambisonicIfTaken(Effect& effect, SpeakerArrangement usual,
                                    std::optional<SpeakerArrangement> out) {
    const SpeakerArrangement wantedOut = out ? *out : effect.outputArrangement();
    if (effect.setArrangements(usual, wantedOut)) return usual;
    const SpeakerArrangement ambisonic = ambisonicOfChannels(channelsOf(usual));
    return ambisonic && effect.setArrangements(ambisonic, wantedOut) ? ambisonic : usual;
}

std::string setting(const std::vector<std::string>& sets) {
    std::string joined;
    for (const std::string& set : sets) joined += (joined.empty() ? "--set " : ", --set ") + quoted(set);
    return joined;
}

} // namespace

std::string dbfs(double level) {
    if (level <= 0.0) return "-inf";
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", 20.0 * std::log10(level));
    return text;
}

void printLevels(const RenderResult& result) {
    std::printf("  %-8s %10s %10s\n", "channel", "peak dBFS", "RMS dBFS");
    const std::vector<std::string> labels = speakerLabels(result.out);
    for (size_t c = 0; c < result.levels.size() && c < labels.size(); ++c) {
        const ChannelLevel& level = result.levels[c];
        const double rms = result.frames > 0 ? std::sqrt(level.sumSquares / result.frames) : 0.0;
        std::printf("  %-8s %10s %10s\n", labels[c].c_str(), dbfs(level.peak).c_str(), dbfs(rms).c_str());
    }
}

SpeakerArrangement layoutOption(const std::string& text) {
    std::vector<SpeakerArrangement> all;
    for (const NamedLayout& layout : namedLayouts()) all.push_back(layout.mask);
    const auto mask = parseLayout(text);
    if (!mask)
        throw UserError("unknown layout " + quoted(text) + "; layouts are " + layoutNames(all) +
                        ", or a hex mask of speaker bits such as 0x3F");
    if (*mask & ~kDefinedSpeakerBits)
        throw UserError("layout " + quoted(text) + " holds speaker bits that the module does not define (" +
                        hexMask(*mask & ~kDefinedSpeakerBits) + "); layouts are " + layoutNames(all) +
                        ", or a hex mask of speaker bits within " + hexMask(kDefinedSpeakerBits));
    return *mask;
}

std::vector<SpeakerArrangement> acceptedLayouts(Effect& effect, bool input) {
    const SpeakerArrangement in = effect.inputArrangement();
    const SpeakerArrangement out = effect.outputArrangement();
    std::vector<SpeakerArrangement> accepted;
    for (const NamedLayout& layout : namedLayouts()) {
        const bool taken =
            input ? effect.setArrangements(layout.mask, out) : effect.setArrangements(in, layout.mask);
        if (taken && std::find(accepted.begin(), accepted.end(), layout.mask) == accepted.end())
            accepted.push_back(layout.mask);
    }
    effect.setArrangements(in, out);
    return accepted;
}

void negotiate(Effect& effect, SpeakerArrangement in, std::optional<SpeakerArrangement> out) {
    const SpeakerArrangement wantedOut = out ? *out : effect.outputArrangement();
    if (effect.setArrangements(in, wantedOut)) return;
    // An effect may keep a pair it refuses (the decoder then plays silence and
    // its editor says "not compatible"): plx names the side that is wrong.
    if (effect.inputArrangement() == in && effect.outputArrangement() == wantedOut) {
        const std::vector<SpeakerArrangement> outputs = acceptedLayouts(effect, false);
        if (outputs.empty())
            throw UserError(effect.name() + " does not take " + layoutName(in) + " as input; it takes " +
                            layoutNames(acceptedLayouts(effect, true)));
        throw UserError(effect.name() + " does not give " + layoutName(wantedOut) + " from " +
                        layoutName(in) + "; from " + layoutName(in) + " it gives " + layoutNames(outputs));
    }
    if (effect.inputArrangement() != in)
        throw UserError(effect.name() + " does not take " + layoutName(in) + " as input; it takes " +
                        layoutNames(acceptedLayouts(effect, true)));
    if (out && effect.outputArrangement() != *out)
        throw UserError(effect.name() + " does not give " + layoutName(*out) + " from " + layoutName(in) +
                        "; from " + layoutName(in) + " it gives " +
                        layoutNames(acceptedLayouts(effect, false)));
}

void applySettings(Effect& effect, const std::vector<std::string>& sets,
                   std::optional<SpeakerArrangement> out) {
    for (const std::string& set : sets) {
        const size_t eq = set.find('=');
        if (eq == std::string::npos || eq == 0)
            throw UserError("--set takes PARAM=VALUE, not " + quoted(set));
        const Param& param = effect.findParam(set.substr(0, eq));
        effect.setParameter(param.info.id, effect.values().parse(param, set.substr(eq + 1)));
    }
    if (out && effect.outputArrangement() != *out)
        throw UserError(setting(sets) + " gives the output " + layoutName(effect.outputArrangement()) +
                        ", but --out-layout asks for " + layoutName(*out));
}

RenderResult render(ModuleSession& session, const RenderRequest& request) {
    // What can be checked without the effect comes first.
    const EffectClass effectClass = session.findEffect(request.effect);
    std::optional<SpeakerArrangement> inOption, out;
    if (!request.inLayout.empty()) inOption = layoutOption(request.inLayout);
    if (!request.outLayout.empty()) out = layoutOption(request.outLayout);
    std::vector<FileRole> roles = {{"in", request.input, false, "audio"},
                                   {"out", request.output, true, "audio"}};
    if (!request.stateIn.empty()) roles.push_back({"state-in", request.stateIn, false, "state"});
    if (!request.stateOut.empty()) roles.push_back({"state-out", request.stateOut, true, "state"});
    if (!request.meterSvg.empty()) roles.push_back({"meter-svg", request.meterSvg, true, "drawing"});
    if (!request.automation.empty()) roles.push_back({"automation", request.automation, false, "automation"});
    if (!request.sofa.empty()) roles.push_back({"sofa", request.sofa, false, "SOFA"});
    checkDistinctFiles(roles);
    if (request.output == "-" && isatty(STDOUT_FILENO))
        throw UserError(
            "standard output is a terminal; redirect it to a file or a pipe to write audio there");

    SoundReader reader(request.input);
    SpeakerArrangement in = 0;
    bool guessed = false;
    if (inOption) {
        in = *inOption;
    } else if (auto fromFile = reader.layout(); fromFile && channelsOf(*fromFile) == reader.channels()) {
        in = *fromFile;
    } else if (auto usual = defaultLayoutForChannels(reader.channels())) {
        in = *usual;
        guessed = true;
    } else if (const SpeakerArrangement ambisonic = ambisonicOfChannels(reader.channels())) {
        in = ambisonic;
    } else {
        throw UserError("can't tell the layout of the " + std::to_string(reader.channels()) +
                        " channels in " + shown(request.input) + "; name it with --in-layout");
    }
    if (channelsOf(in) != reader.channels())
        throw UserError(shown(request.input) + " has " + std::to_string(reader.channels()) +
                        " channels, but " + layoutName(in) + " has " + std::to_string(channelsOf(in)));
    std::vector<uint8_t> state;
    if (!request.stateIn.empty()) state = readSmallFile(request.stateIn, "state file", kMaxSmallFileBytes);
    // Open the outputs before any work: an unwritable one fails at once.
    OutputFile audio(request.output);
    std::optional<OutputFile> stateFile;
    if (!request.stateOut.empty()) stateFile.emplace(request.stateOut);
    std::optional<OutputFile> meterFile;
    if (!request.meterSvg.empty()) meterFile.emplace(request.meterSvg);

    RenderResult result;
    Effect effect(session, effectClass);
    if (guessed) in = ambisonicIfTaken(effect, in, out);
    if (request.stateIn.empty()) {
        negotiate(effect, in, out);
    } else {
        // As a workstation reopening a project: the buses are set up first,
        // then the effect gets its state. A state may carry its own output
        // layout, so a first instance tells which one that is.
        auto load = [&](Effect& target) {
            try {
                target.loadState(state);
            } catch (const UserError& error) {
                throw UserError(shown(request.stateIn) + ": " + error.what());
            }
        };
        std::optional<SpeakerArrangement> stateOut = out;
        if (!stateOut) {
            Effect probe(session, effectClass);
            negotiate(probe, in, std::nullopt);
            load(probe);
            stateOut = probe.outputArrangement();
        }
        negotiate(effect, in, stateOut);
        load(effect);
        if (effect.outputArrangement() != *stateOut || effect.inputArrangement() != in)
            throw UserError("the state in " + shown(request.stateIn) + " sets up " +
                            layoutName(effect.inputArrangement()) + " -> " +
                            layoutName(effect.outputArrangement()) + ", not " + layoutName(in) + " -> " +
                            layoutName(*stateOut));
    }
    applySettings(effect, request.sets, out);
    if (!request.sofa.empty()) chooseSofa(session, effect, request.sofa);

    // Object mode: the effect asked for a bus while it took its settings.
    std::unique_ptr<ObjectRender> objects;
    if (ObjectRender::wanted(session, effect)) {
        std::string prefix = request.objectsPrefix;
        if (prefix.empty()) {
            if (request.output == "-")
                throw UserError(effect.name() +
                                " is in object mode; name where its objects go with --objects PREFIX");
            prefix = std::filesystem::path(request.output).replace_extension().string();
        }
        result.objectFiles = ObjectRender::fileNames(prefix, channelsOf(in));
        for (const std::string& name : result.objectFiles)
            roles.push_back({"objects", name, true, "objects"});
        checkDistinctFiles(roles);
        objects = std::make_unique<ObjectRender>(session, effect, prefix, reader.sampleRate(),
                                                 request.doublePrecision);
    }

    std::optional<Automation> automation;
    if (!request.automation.empty())
        automation =
            Automation::load(request.automation, reader.sampleRate(),
                             [&effect](const std::string& name, const std::string& value) {
                                 const Param& param = effect.findParam(name);
                                 return std::pair{param.info.id, effect.values().parse(param, value)};
                             });
    result.in = effect.inputArrangement();
    result.out = effect.outputArrangement();
    result.sampleRate = reader.sampleRate();
    WavWriter writer(audio, result.out, reader.sampleRate(), request.doublePrecision);

    if (request.captureMatrix) effect.requestGainMatrix();
    effect.start(reader.sampleRate(), request.block, request.doublePrecision);
    effect.flushParameters();
    if (!request.sofa.empty()) checkSofaInForce(effect, request.sofa);
    if (automation)
        automation->setStartValues([&effect](Plx::ParamID id) { return effect.parameterValue(id); });
    result.latency = effect.latency();
    std::optional<MeterRecorder> meters;
    if (meterFile) {
        meters.emplace(effect, speakerLabels(result.out), reader.sampleRate());
        meters->start(result.latency);
    }

    Progress progress(reader.declaredFrames().value_or(0), request.quiet);
    const Automation* lanes = automation ? &*automation : nullptr;
    if (request.doublePrecision)
        stream<double>(effect, reader, writer, lanes, objects.get(), request, result, progress);
    else
        stream<float>(effect, reader, writer, lanes, objects.get(), request, result, progress);
    effect.stop();
    result.matrix = effect.gainMatrix();

    if (stateFile) {
        const std::vector<uint8_t> saved = effect.saveState();
        stateFile->write(saved.data(), saved.size());
    }
    if (meters) {
        const std::string svg = meters->svg(effect.name() + ": output meters, " + layoutName(result.in) +
                                                " to " + layoutName(result.out),
                                            static_cast<double>(result.frames) / reader.sampleRate());
        meterFile->write(svg.data(), svg.size());
    }
    writer.commit();
    if (objects) objects->commit();
    if (stateFile) stateFile->commit();
    if (meterFile) meterFile->commit();
    return result;
}

} // namespace Tannhofen::Host::Cli

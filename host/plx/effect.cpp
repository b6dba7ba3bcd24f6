#include "host/plx/effect.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cmath>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

#include "frame/icomponent.h"
#include "frame/iconnectionpoint.h"
#include "frame/imessage.h"
#include "host/lib/memory_stream.h"
#include "host/lib/message.h"
#include "host/plx/cli.h"

namespace Tannhofen::Host::Cli {

using namespace Plx;

namespace {

constexpr const char* kProcessorCategory = "Audio Module Class";
constexpr char kStateMagic[8] = {'P', 'L', 'X', 'S', 'T', 'A', 'T', 'E'};
constexpr uint32_t kStateVersion = 1;

std::string lower(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return s;
}

// Lower case, without spaces or punctuation: "Center Level" and "centerlevel" match.
std::string squeeze(const std::string& s) {
    std::string out;
    for (unsigned char c : s)
        if (std::isalnum(c)) out += static_cast<char>(std::tolower(c));
    return out;
}

void putU32(std::vector<uint8_t>& out, uint32_t v) {
    for (int i = 0; i < 4; ++i) out.push_back(static_cast<uint8_t>(v >> (8 * i)));
}

} // namespace

std::string defaultModulePath() {
    char path[PATH_MAX];
    const ssize_t n = readlink("/proc/self/exe", path, sizeof path - 1);
    if (n <= 0) return "Tannhofen.plx";
    path[n] = 0;
    std::string dir(path);
    dir = dir.substr(0, dir.rfind('/'));
    return dir + "/Tannhofen.plx";
}

ModuleSession::ModuleSession(const std::string& path) {
    struct stat info {};
    if (stat(path.c_str(), &info) != 0)
        throw UserError("module file " + shown(path) + " not found (build it, or pick one with --module)");
    std::string why;
    loaded = Module::load(path, &why);
    if (!loaded) throw UserError("cannot load module " + shown(path) + ": " + why);
    if (!loaded->factory()) throw UserError("module " + shown(path) + " offers no class factory");
    hostApp = IPtr<HostApplication>::adopt(HostApplication::create());
    busManager = IPtr<ObjectsBusManager>::adopt(ObjectsBusManager::create());
    hostApp->setObjectsBusManager(busManager.get());
}

std::vector<EffectClass> ModuleSession::effects() const {
    std::vector<EffectClass> result;
    for (const ClassInfo2& info : classes()) {
        if (std::strncmp(info.category, kProcessorCategory, sizeof info.category) != 0) continue;
        result.push_back(
            {std::string(info.name, strnlen(info.name, sizeof info.name)),
             std::string(info.subCategories, strnlen(info.subCategories, sizeof info.subCategories)),
             FUID(info.cid)});
    }
    return result;
}

EffectClass ModuleSession::findEffect(const std::string& name) const {
    const std::vector<EffectClass> all = effects();
    const std::string key = lower(name);
    std::vector<const EffectClass*> byWord;
    for (const EffectClass& effect : all) {
        const std::string words = lower(effect.name);
        if (words == key) return effect;
        size_t start = 0;
        while (start < words.size()) {
            size_t end = words.find(' ', start);
            if (end == std::string::npos) end = words.size();
            if (words.compare(start, end - start, key) == 0) {
                byWord.push_back(&effect);
                break;
            }
            start = end + 1;
        }
    }
    if (byWord.size() == 1) return *byWord.front();
    auto names = [](const auto& list, auto nameOf) {
        std::string joined;
        for (const auto& item : list) joined += (joined.empty() ? "" : ", ") + nameOf(item);
        return joined;
    };
    if (byWord.size() > 1)
        throw UserError(quoted(name) + " matches several effects: " +
                        names(byWord, [](const EffectClass* e) { return e->name; }) + "; name one of them");
    throw UserError("unknown effect " + quoted(name) +
                    " (the module has: " + names(all, [](const EffectClass& e) { return e.name; }) + ")");
}

Effect::Effect(ModuleSession& session, const EffectClass& effectClass)
    : session(session), effectClass(effectClass) {
    std::string why;
    plugin =
        Plugin::create(session.module().factory(), effectClass.cid, session.host(), &why,
                       [this](IMessage* message, bool toController) { onMessage(message, toController); });
    if (!plugin) throw UserError("cannot create " + effectClass.name + ": " + why);
    blockChanges = IPtr<ParameterChanges>::adopt(ParameterChanges::create());
    outputChanges = IPtr<ParameterChanges>::adopt(ParameterChanges::create());

    const int32 count = controller()->getParameterCount();
    for (int32 i = 0; i < count; ++i) {
        Param param{};
        if (controller()->getParameterInfoByIndex(i, &param.info) != kResultOk) continue;
        if (param.info.flags & ParameterInfo::kIsHidden) continue;
        param.title = narrow(param.info.title, 128);
        param.shortTitle = narrow(param.info.shortTitle, 128);
        param.units = narrow(param.info.units, 128);
        parameters.push_back(param);
    }
}

Effect::~Effect() {
    if (plugin) stop();
}

void Effect::onMessage(IMessage* message, bool toController) {
    const char* id = message->getMessageID();
    if (!toController || !id || std::strcmp(id, "gainMatrix") != 0) return;
    IPlxAttributes* attributes = message->getAttributes();
    int64 size = 0;
    const void* data = nullptr;
    uint32 bytes = 0;
    if (!attributes || attributes->getInt("matrixSize", &size) != kResultOk ||
        attributes->getBinary("coefficients", &data, &bytes) != kResultOk || size < 0 ||
        static_cast<uint64_t>(size) * sizeof(float) > bytes)
        return;
    lastGainMatrix.resize(static_cast<size_t>(size));
    if (size > 0) std::memcpy(lastGainMatrix.data(), data, static_cast<size_t>(size) * sizeof(float));
}

const Param& Effect::findParam(const std::string& name) const {
    long number = 0;
    if (parseInteger(name, &number)) {
        for (const Param& param : parameters)
            if (static_cast<long>(param.info.id) == number) return param;
    }
    const std::string key = squeeze(name);
    for (const Param& param : parameters)
        if (!key.empty() && (squeeze(param.title) == key || squeeze(param.shortTitle) == key)) return param;
    throw UserError("unknown parameter " + quoted(name) + " of " + effectClass.name +
                    " (see: plx list --effect '" + effectClass.name + "')");
}

std::vector<uint8_t> Effect::saveState() const {
    IPtr<MemoryStream> processorState = IPtr<MemoryStream>::adopt(MemoryStream::create());
    IPtr<MemoryStream> controllerState = IPtr<MemoryStream>::adopt(MemoryStream::create());
    if (plugin->component()->getState(processorState.get()) != kResultOk)
        throw UserError(effectClass.name + " could not save its state");
    controller()->getState(controllerState.get());
    std::vector<uint8_t> out(kStateMagic, kStateMagic + sizeof kStateMagic);
    putU32(out, kStateVersion);
    const TUID& cid = effectClass.cid.toTUID();
    out.insert(out.end(), cid.begin(), cid.end());
    for (MemoryStream* stream : {processorState.get(), controllerState.get()}) {
        const std::vector<uint8_t>& bytes = stream->bytes();
        putU32(out, static_cast<uint32_t>(bytes.size()));
        out.insert(out.end(), bytes.begin(), bytes.end());
    }
    return out;
}

void Effect::loadState(const std::vector<uint8_t>& bytes) {
    size_t at = 0;
    auto take = [&](size_t n) {
        if (bytes.size() - at < n) throw UserError("the state file is truncated");
        const uint8_t* p = bytes.data() + at;
        at += n;
        return p;
    };
    auto u32 = [&] {
        const uint8_t* p = take(4);
        return static_cast<uint32_t>(p[0] | p[1] << 8 | p[2] << 16 | static_cast<uint32_t>(p[3]) << 24);
    };
    if (bytes.size() < sizeof kStateMagic || std::memcmp(bytes.data(), kStateMagic, sizeof kStateMagic) != 0)
        throw UserError("not a plx state file");
    take(sizeof kStateMagic);
    if (u32() != kStateVersion) throw UserError("the state file has a version that this plx does not know");
    if (std::memcmp(take(16), effectClass.cid.toTUID().data(), 16) != 0)
        throw UserError("the state file belongs to another effect than " + effectClass.name);
    const uint32_t processorSize = u32();
    const uint8_t* processorBytes = take(processorSize);
    const uint32_t controllerSize = u32();
    const uint8_t* controllerBytes = take(controllerSize);

    IPtr<MemoryStream> processorState = IPtr<MemoryStream>::adopt(
        MemoryStream::create(std::vector<uint8_t>(processorBytes, processorBytes + processorSize)));
    if (plugin->component()->setState(processorState.get()) != kResultOk)
        throw UserError(effectClass.name + " refused the saved state");
    processorState->rewind();
    controller()->setComponentState(processorState.get());
    if (controllerSize > 0) {
        IPtr<MemoryStream> controllerState = IPtr<MemoryStream>::adopt(
            MemoryStream::create(std::vector<uint8_t>(controllerBytes, controllerBytes + controllerSize)));
        controller()->setState(controllerState.get());
    }
    takeRestarts();
}

bool Effect::setArrangements(SpeakerArrangement in, SpeakerArrangement out) {
    return processor()->setBusArrangements(&in, 1, &out, 1) == kResultOk && inputArrangement() == in &&
           outputArrangement() == out;
}

SpeakerArrangement Effect::inputArrangement() const {
    SpeakerArrangement arr = 0;
    processor()->getBusArrangement(kInput, 0, &arr);
    return arr;
}

SpeakerArrangement Effect::outputArrangement() const {
    SpeakerArrangement arr = 0;
    processor()->getBusArrangement(kOutput, 0, &arr);
    return arr;
}

void Effect::setParameter(ParamID id, double normalized) {
    controller()->setParamNormalized(id, normalized);
    blockChanges->addChange(id, 0, normalized);
    takeRestarts();
}

void Effect::takeRestarts() {
    ComponentHandler* handler = plugin->handler();
    int32 flags = 0;
    for (int32 f : handler->restarts) flags |= f;
    handler->restarts.clear();
    if (!(flags & kIoChanged) || active) return;
    SpeakerArrangement in = inputArrangement(), out = outputArrangement();
    processor()->setBusArrangements(&in, 1, &out, 1);
}

void Effect::flushParameters() {
    // Also without changes: the processor then takes up its present values
    // at once, and the first block doesn't ramp towards them.
    PlxProcessData data{};
    data.processMode = kOffline;
    data.symbolicSampleSize = doubleSamples ? kSample64 : kSample32;
    data.inputParameterChanges = blockChanges.get();
    processor()->process(&data);
    blockChanges->clear();
}

void Effect::requestGainMatrix() {
    IPtr<IConnectionPoint> point =
        IPtr<IConnectionPoint>::adopt(queryInterfaceOf<IConnectionPoint>(processor()));
    if (!point) return;
    IPtr<HostMessage> message = IPtr<HostMessage>::adopt(HostMessage::create());
    message->setMessageID("enableDirectMonitoring");
    message->getAttributes()->setInt("enableDirectMonitoring", 1);
    point->notify(message.get());
}

void Effect::start(double sampleRate, int32_t maxBlock, bool doublePrecision) {
    if (doublePrecision && processor()->canProcessSampleSize(kSample64) != kResultOk)
        throw UserError(effectClass.name + " can't process 64-bit samples");
    rate = sampleRate;
    doubleSamples = doublePrecision;
    PlxProcessSetup setup{kOffline, doublePrecision ? kSample64 : kSample32, maxBlock, sampleRate};
    if (processor()->setupProcessing(&setup) != kResultOk)
        throw UserError(effectClass.name + " refused a block size of " + std::to_string(maxBlock) + " at " +
                        std::to_string(static_cast<int>(sampleRate)) + " Hz");
    const size_t block = static_cast<size_t>(maxBlock);
    const int ins = channelsOf(inputArrangement());
    const int outs = channelsOf(outputArrangement());
    auto size = [block](auto& buffers, auto& pointers, int channels, bool used) {
        buffers.assign(used ? static_cast<size_t>(channels) : 0, {});
        pointers.assign(static_cast<size_t>(channels), nullptr);
        for (size_t c = 0; c < buffers.size(); ++c) {
            buffers[c].assign(block, 0);
            pointers[c] = buffers[c].data();
        }
    };
    size(in32, inPointers32, ins, !doublePrecision);
    size(out32, outPointers32, outs, !doublePrecision);
    size(in64, inPointers64, ins, doublePrecision);
    size(out64, outPointers64, outs, doublePrecision);
    if (plugin->component()->setActive(true) != kResultOk)
        throw UserError(effectClass.name + " could not be activated");
    active = true;
    processor()->setProcessing(true);
    processing = true;
    position = 0;
}

void Effect::stop() {
    if (processing) processor()->setProcessing(false);
    processing = false;
    if (active) plugin->component()->setActive(false);
    active = false;
}

void Effect::process(int32_t numSamples) {
    PlxAudioBuffers inBus{};
    PlxAudioBuffers outBus{};
    inBus.numChannels = inputChannels();
    outBus.numChannels = outputChannels();
    if (doubleSamples) {
        inBus.channelBuffers64 = inPointers64.data();
        outBus.channelBuffers64 = outPointers64.data();
    } else {
        inBus.channelBuffers32 = inPointers32.data();
        outBus.channelBuffers32 = outPointers32.data();
    }
    PlxProcessContext context{};
    context.state = PlxProcessContext::kPlaying;
    context.sampleRate = rate;
    context.projectTimeSamples = position;
    context.continousTimeSamples = position;
    PlxProcessData data{};
    data.processMode = kOffline;
    data.symbolicSampleSize = doubleSamples ? kSample64 : kSample32;
    data.numSamples = numSamples;
    data.numInputs = 1;
    data.numOutputs = 1;
    data.inputs = &inBus;
    data.outputs = &outBus;
    data.inputParameterChanges = blockChanges.get();
    data.outputParameterChanges = outputChanges.get();
    data.processContext = &context;
    const tresult result = processor()->process(&data);
    if (result == kResultOk && outputObserver) outputObserver(*outputChanges.get(), position + numSamples);
    blockChanges->clear();
    outputChanges->clear();
    if (result != kResultOk)
        throw UserError(effectClass.name + " failed to process a block at sample " +
                        std::to_string(position));
    position += numSamples;
}

} // namespace Tannhofen::Host::Cli

#include "ambi/ambi_bin_processor.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "ambi/ambi2ambi_algo.h"
#include "ambi/ambi_bin_algo.h"
#include "ambi/ambi_messages.h"
#include "ambi/ambi_speaker_algo.h"
#include "ambi/decoder_arrangements.h"
#include "ambi/level_law.h"
#include "ambi/normalized.h"
#include "dsp/tool/math/spherical_harmonics.h"
#include "frame/class_ids.h"
#include "frame/text.h"

namespace Tannhofen::AmbiBin {

using namespace Plx;
namespace Detail = DSP::Audio::CollectorDetail;

namespace {

constexpr double kRateTolerance = 2.220446049250313e-16;

// A message of the text form: valid UTF-16 (no lone surrogates) that ends
// within `capacity` characters.
bool validUtf16(const char16* text, size_t length) {
    for (size_t i = 0; i < length; ++i) {
        const char16 c = text[i];
        if (c >= 0xD800 && c < 0xDC00) {
            if (i + 1 >= length || text[i + 1] < 0xDC00 || text[i + 1] >= 0xE000) return false;
            ++i;
        } else if (c >= 0xDC00 && c < 0xE000) {
            return false;
        }
    }
    return true;
}

} // namespace

AmbiBinProcessor::AmbiBinProcessor() {
    setControllerClass(kAmbiBinControllerUID);
}

tresult AmbiBinProcessor::queryInterface(const TUID& iid, void** obj) {
    if (!obj) return kInvalidArgument;
    PLX_QUERY_INTERFACE(iid, obj, IGraphLocation)
    return AudioEffect::queryInterface(iid, obj);
}

// ---- life cycle -------------------------------------------------------------

tresult AmbiBinProcessor::initialize(FUnknown* context) {
    const tresult r = AudioEffect::initialize(context);
    if (r != kResultOk) return r;
    addAudioInput(u"Ambi In", Layout::kAmbi1, kMain, kDefaultActive);
    addAudioOutput(u"Stereo Out", Layout::kStereo, kMain, kDefaultActive);
    addAudioInput(u"Aux In", Layout::kStereo, kAux, kDefaultActive);
    return kResultOk;
}

tresult AmbiBinProcessor::terminate() {
    active = false;
    destroyAlgorithms();
    freeBlockBuffers();
    configured = false;
    pendingMessages.clear();
    return AudioEffect::terminate();
}

tresult AmbiBinProcessor::connect(IConnectionPoint* other) {
    const tresult r = AudioEffect::connect(other);
    if (r != kResultOk) return r;
    auto waiting = std::move(pendingMessages);
    pendingMessages.clear();
    for (auto& message : waiting) sendMessage(message.get());
    return kResultOk;
}

tresult AmbiBinProcessor::setActive(TBool state) {
    active = state != 0;
    if (active) return configure() == 0 ? kResultOk : kResultFalse;
    destroyAlgorithms();
    configured = false;
    if (requestedArrangement != 0) {
        rebuildOutputBus(requestedArrangement);
        requestedArrangement = 0;
    }
    return kResultOk;
}

tresult AmbiBinProcessor::canProcessSampleSize(int32 symbolicSampleSize) {
    return symbolicSampleSize == kSample32 || symbolicSampleSize == kSample64 ? kResultOk : kResultFalse;
}

uint32 AmbiBinProcessor::getLatencySamples() {
    if (floatAlgo) return floatAlgo->getLatency();
    if (doubleAlgo) return doubleAlgo->getLatency();
    return 0;
}

tresult AmbiBinProcessor::setupProcessing(PlxProcessSetup* setup) {
    if (!setup) return kInvalidArgument;
    if (active) return kResultFalse;
    if (!(setup->sampleRate > 0) || !std::isfinite(setup->sampleRate) || setup->maxSamplesPerBlock <= 0)
        return kResultFalse;
    const PlxProcessSetup before = processSetup;
    const tresult r = AudioEffect::setupProcessing(setup);
    if (r != kResultOk) return r;
    // An algorithm built for another rate, block or sample size (by an earlier
    // setBusArrangements) is built again at activation.
    if (std::fabs(before.sampleRate - processSetup.sampleRate) > kRateTolerance ||
        before.maxSamplesPerBlock != processSetup.maxSamplesPerBlock ||
        before.symbolicSampleSize != processSetup.symbolicSampleSize) {
        destroyAlgorithms();
        configured = false;
    }
    return kResultOk;
}

tresult AmbiBinProcessor::setGraphLocation(int32 location, int32 position) {
    usedAsPanner = position == kPannerSlot;
    IPtr<IMessage> message = IPtr<IMessage>::adopt(allocateMessage());
    if (!message) return kResultOk;
    message->setMessageID(Msg::kGraphLocation);
    if (IPlxAttributes* a = message->getAttributes()) {
        a->setInt(Msg::kUsedAsPanner, usedAsPanner ? 1 : 0);
        a->setInt(Msg::kUsedInControlRoom, location == 9 || location == 11 ? 1 : 0);
    }
    post(message.get());
    return kResultOk;
}

void AmbiBinProcessor::onFactoryStatus(const char* username, int32_t status) {
    IPtr<IMessage> message = IPtr<IMessage>::adopt(allocateMessage());
    if (!message) return;
    message->setMessageID(Msg::kEmbody);
    if (IPlxAttributes* a = message->getAttributes()) {
        a->setString(Msg::kUsername, utf8ToUtf16(username ? username : "").c_str());
        a->setInt(Msg::kStatus, status);
    }
    post(message.get());
}

// ---- buses ------------------------------------------------------------------

tresult AmbiBinProcessor::setBusArrangements(SpeakerArrangement* inputs, int32 numIns,
                                             SpeakerArrangement* outputs, int32 numOuts) {
    if (numIns < 0 || numOuts < 0) return kInvalidArgument;
    if (numIns > getBusCount(kAudio, kInput) || numOuts > getBusCount(kAudio, kOutput)) return kResultFalse;
    if (numIns < 1 || numOuts < 1 || !inputs || !outputs) return kResultFalse;
    // Buses change only with the stream stopped: the algorithm is built for them.
    if (active) return kResultFalse;
    std::vector<SpeakerArrangement> ins(inputs, inputs + numIns), outs(outputs, outputs + numOuts);
    SpeakerArrangement& in = ins[0];
    SpeakerArrangement& out = outs[0];

    // Offline renderers pass plain channel masks: 4, 9 or 16 channels on both
    // sides are the ambisonic arrangements of that order.
    if (processSetup.processMode == kOffline && in == out) {
        const uint32_t order = DSP::Tool::Math::ambisonicOrder(static_cast<uint32_t>(std::popcount(in)));
        if (order != 0) in = out = ambisonicArrangement(static_cast<int32_t>(order));
    }

    // A pair the decoder can't serve is kept, so that a host that insists
    // gets silence and the editor shows it as not compatible; the answer
    // tells the host that the pair isn't supported.
    if (!isAmbisonicArrangement(in) || !isDecoderOutput(out)) {
        arrangementsValid = false;
        outputArrangement = out;
        algoTypeDirty = true;
        const tresult stored = AudioEffect::setBusArrangements(ins.data(), numIns, outs.data(), numOuts);
        return stored == kResultOk ? kResultFalse : stored;
    }

    arrangementsValid = true;
    numInputs = channelCount(in);
    numOutputs = channelCount(out);
    order = ambisonicOrderOf(in);
    const bool orderChanged = previousOrder != order;
    if (orderChanged) previousOrder = order;
    const bool outChanged = outputArrangement != out;
    if (outChanged) {
        outputArrangement = out;
        algoTypeDirty = true;
    }
    // The buses may still hold what an earlier, refused pair left there.
    const AudioBus* inBus = getAudioInput(0);
    const AudioBus* outBus = getAudioOutput(0);
    const bool busesDiffer =
        !inBus || !outBus || inBus->getArrangement() != in || outBus->getArrangement() != out;

    tresult result = kResultOk;
    if (orderChanged || outChanged || busesDiffer) {
        sendSpeakerConf(in, out);
        result = AudioEffect::setBusArrangements(ins.data(), numIns, outs.data(), numOuts);
        clampOrder();
        // The algorithm in place was built for the old buses.
        destroyAlgorithms();
        configured = false;
        algoTypeDirty = true;
    }
    if (configured) return result;
    return configure() == 0 ? result : kResultFalse;
}

void AmbiBinProcessor::clampOrder() {
    const AudioBus* inBus = getAudioInput(0);
    const int32 inputOrder = inBus ? ambisonicOrderOf(inBus->getArrangement()) : 0;
    order = std::clamp(order, 1, inputOrder > 0 ? inputOrder : 3);
}

void AmbiBinProcessor::rebuildOutputBus(SpeakerArrangement arrangement) {
    audioOutputs.clear();
    addAudioOutput(u"Output", arrangement, kMain, kDefaultActive);
}

// ---- configuration ----------------------------------------------------------

int32 AmbiBinProcessor::chooseAlgoType() const {
    if (outputArrangement == Layout::kStereo && stereoModeBinaural) return AmbiAlgo<float>::kBinaural;
    if (!isAmbisonicArrangement(outputArrangement)) return AmbiAlgo<float>::kSpeaker;
    return AmbiAlgo<float>::kAmbisonic;
}

template <class T>
AlgoPtr<T> AmbiBinProcessor::makeAlgo(int32 type) {
    switch (type) {
    case AmbiAlgo<T>::kBinaural:
        if constexpr (sizeof(T) == sizeof(float))
            return AlgoPtr<T>(new AmbiBinAlgo<T>(&floatBank));
        else
            return AlgoPtr<T>(new AmbiBinAlgo<T>(&doubleBank));
    case AmbiAlgo<T>::kSpeaker: {
        auto* speaker = new AmbiSpeakerAlgo<T>(numOutputs);
        speaker->setSpeakerConf(order, outputArrangement);
        return AlgoPtr<T>(speaker);
    }
    case AmbiAlgo<T>::kAmbisonic: return AlgoPtr<T>(new Ambi2AmbiAlgo<T>(numOutputs));
    default: return AlgoPtr<T>();
    }
}

void AmbiBinProcessor::destroyAlgorithms() {
    speakerFace = nullptr;
    floatAlgo.reset();
    doubleAlgo.reset();
    auxDelay32.reset();
    auxDelay64.reset();
}

int32 AmbiBinProcessor::configure() {
    if (!arrangementsValid) {
        destroyAlgorithms();
        configured = false;
        freeBlockBuffers();
        sendIntMessage(Msg::kChangedAlgoType, Msg::kChangedAlgoType, Msg::kNotCompatible);
        return 1;
    }
    meterInterval = std::max<int64>(1, static_cast<int64>(processSetup.sampleRate / kMetersPerSecond));
    const bool wide = processSetup.symbolicSampleSize == kSample64;
    if (algoTypeDirty || !configured) {
        destroyAlgorithms();
        configured = false;
        algoType = chooseAlgoType();
        if (wide)
            doubleAlgo = makeAlgo<double>(algoType);
        else
            floatAlgo = makeAlgo<float>(algoType);
        sendIntMessage(Msg::kChangedAlgoType, Msg::kChangedAlgoType, algoType);
        algoTypeDirty = false;
    }
    int32 result = 0;
    if (!configured) {
        result = wide ? (doubleAlgo ? configureAlgo(*doubleAlgo) : 1)
                      : (floatAlgo ? configureAlgo(*floatAlgo) : 1);
        if (result != 0) destroyAlgorithms();
    }
    configuredSampleSize = processSetup.symbolicSampleSize;
    const AudioBus* auxBus = getAudioInput(1);
    auxBusActive = auxBus && auxBus->isActive();
    if (result == 0)
        allocateBlockBuffers();
    else
        freeBlockBuffers();
    buildAuxDelay();
    return result;
}

template <class T>
int32 AmbiBinProcessor::configureAlgo(AmbiAlgo<T>& algo) {
    const auto block = static_cast<uint32_t>(processSetup.maxSamplesPerBlock);
    algo.setOrder(static_cast<uint32_t>(order));
    if (algo.setChannels(DSP::Tool::Math::ambisonicChannels(static_cast<uint32_t>(order)),
                         static_cast<uint32_t>(numOutputs)) != 0)
        return 1;
    algo.setBlockSize(block);
    algo.collectBlockSize = block;
    if (algo.setSampleRate(static_cast<T>(processSetup.sampleRate)) != 0) {
        algo.release();
        return 1;
    }
    if (algoType == AmbiAlgo<T>::kBinaural) {
        if (IAmbiBin* binaural = queryInterfaceOf<IAmbiBin>(static_cast<FObject*>(&algo))) {
            sendStringMessage(Msg::kSofaName, Msg::kSofaName, sofaName);
            // A set that can't be had (a file that is gone, a profile without
            // its service) falls back to the standard set of the order; the
            // controller is told the mode really in force, while hrirMode keeps
            // the request for the next activation and the state.
            binaural->setHrir(hrirMode, static_cast<float>(processSetup.sampleRate), order,
                              utf8ToUtf16(sofaName).c_str(), this, forceReload);
            forceReload = false;
            sendIntMessage(Msg::kHrirMode, Msg::kHrirMode, binaural->getHrirMode());
            binaural->release();
        }
    }
    if (algo.init() != AmbiAlgo<T>::kInitDone) {
        algo.release();
        return 1;
    }
    algo.reset();
    if (algoType == AmbiAlgo<T>::kSpeaker) {
        if (IAmbiSpeakerAlgo* face = queryInterfaceOf<IAmbiSpeakerAlgo>(static_cast<FObject*>(&algo))) {
            speakerFace = face;
            face->release(); // the algorithm's own reference keeps it
        }
        updateSpeakerLfe();
    }
    applyRotationAndFocus(algo);
    configured = true;
    return 0;
}

void AmbiBinProcessor::allocateBlockBuffers() {
    freeBlockBuffers();
    inputPeaks.current.assign(static_cast<size_t>(numInputs), 0.0f);
    inputPeaks.held.assign(static_cast<size_t>(numInputs), 0.0f);
    outputPeaks.current.assign(static_cast<size_t>(numOutputs), 0.0f);
    outputPeaks.held.assign(static_cast<size_t>(numOutputs), 0.0f);
    inputPeaks.maximum = outputPeaks.maximum = 0.0f;
    meterCounter = 0;
    bufferChannels = numInputs;
    bufferFrames = processSetup.maxSamplesPerBlock;
    const auto frames = static_cast<uint32_t>(bufferFrames);
    const auto channels = static_cast<uint32_t>(bufferChannels);
    if (processSetup.symbolicSampleSize == kSample64) {
        Detail::allocateChannelArray(auxBuffer64, 2, frames);
        Detail::allocateChannelArray(cleanInput64, channels, frames);
    } else {
        Detail::allocateChannelArray(auxBuffer32, 2, frames);
        Detail::allocateChannelArray(cleanInput32, channels, frames);
    }
}

void AmbiBinProcessor::freeBlockBuffers() {
    const auto channels = static_cast<uint32_t>(bufferChannels);
    Detail::freeChannelArray(auxBuffer32, 2);
    Detail::freeChannelArray(auxBuffer64, 2);
    Detail::freeChannelArray(cleanInput32, channels);
    Detail::freeChannelArray(cleanInput64, channels);
    bufferChannels = 0;
    bufferFrames = 0;
}

void AmbiBinProcessor::buildAuxDelay() {
    auxDelay32.reset();
    auxDelay64.reset();
    const double rate = processSetup.sampleRate;
    const int32 block = processSetup.maxSamplesPerBlock;
    const auto latency = static_cast<int32>(getLatencySamples());
    // A long convolution at a low rate can exceed 200 ms: the line then holds
    // the whole latency, so that the aux input stays aligned with the decoder.
    const float capacity = std::max(kAuxDelayMs, static_cast<float>((latency + 4) * 1000.0 / rate));
    // The channels first: a line made for a new channel takes the delay in
    // milliseconds, which need not give back the same whole samples.
    auto build = [&](auto& line) {
        line->setChannels(2, 2);
        line->setDelaySamples(latency);
        line->init();
    };
    if (processSetup.symbolicSampleSize == kSample64) {
        auxDelay64 = std::make_unique<DSP::Algo64::DelayMultiCh>(rate, block, capacity, 1);
        build(auxDelay64);
    } else {
        auxDelay32 = std::make_unique<DSP::Algo32::DelayMultiCh>(rate, block, capacity, 1);
        build(auxDelay32);
    }
}

void AmbiBinProcessor::updateSpeakerLfe() {
    if (!speakerFace) return;
    speakerFace->setLfeLowPass(lfeLowPass > 0);
    speakerFace->setLfeGain(gainLaw(lfeGain));
}

// ---- messages ---------------------------------------------------------------

void AmbiBinProcessor::post(IMessage* message) {
    if (getPeer()) {
        sendMessage(message);
        return;
    }
    const char* id = message->getMessageID();
    std::erase_if(pendingMessages, [id](const IPtr<IMessage>& m) {
        return id && m->getMessageID() && std::strcmp(m->getMessageID(), id) == 0;
    });
    pendingMessages.push_back(IPtr<IMessage>(message));
}

void AmbiBinProcessor::sendIntMessage(const char* id, const char* attribute, int64 value) {
    IPtr<IMessage> message = IPtr<IMessage>::adopt(allocateMessage());
    if (!message) return;
    message->setMessageID(id);
    if (IPlxAttributes* a = message->getAttributes()) a->setInt(attribute, value);
    post(message.get());
}

void AmbiBinProcessor::sendStringMessage(const char* id, const char* attribute, const std::string& utf8) {
    IPtr<IMessage> message = IPtr<IMessage>::adopt(allocateMessage());
    if (!message) return;
    message->setMessageID(id);
    if (IPlxAttributes* a = message->getAttributes()) a->setString(attribute, utf8ToUtf16(utf8).c_str());
    post(message.get());
}

void AmbiBinProcessor::sendSpeakerConf(SpeakerArrangement in, SpeakerArrangement out) {
    IPtr<IMessage> message = IPtr<IMessage>::adopt(allocateMessage());
    if (!message) return;
    message->setMessageID(Msg::kChangeSpeakerConf);
    if (IPlxAttributes* a = message->getAttributes()) {
        a->setBinary(Msg::kInput, &in, sizeof in);
        a->setBinary(Msg::kOutput, &out, sizeof out);
    }
    post(message.get());
}

bool AmbiBinProcessor::takeSofaName(IMessage* message) {
    IPlxAttributes* a = message->getAttributes();
    if (!a) return false;
    // One character more than a name may take, to tell a name that is too long.
    constexpr size_t kCapacity = Msg::kMaxFilenameBytes / sizeof(char16) + 1;
    char16 text[kCapacity + 1] = {};
    if (a->getString(Msg::kFilename, text, sizeof(char16) * kCapacity) != kResultOk) return false;
    text[kCapacity] = 0;
    const size_t length = strlen16(text);
    if (length >= kCapacity - 1 || !validUtf16(text, length)) return false;
    std::string utf8 = utf16ToUtf8(std::u16string_view(text, length));
    // The name must fit the saved state.
    if (utf8.size() > static_cast<size_t>(kMaxSofaNameBytes)) return false;
    sofaName = std::move(utf8);
    return true;
}

tresult AmbiBinProcessor::notify(IMessage* message) {
    if (!message) return kInvalidArgument;
    const char* id = message->getMessageID();
    if (!id) return kResultFalse;
    IPlxAttributes* attributes = message->getAttributes();
    auto intOf = [attributes](const char* name, int64& value) {
        return attributes && attributes->getInt(name, &value) == kResultOk;
    };
    auto is = [id](const char* name) { return std::strcmp(id, name) == 0; };
    int64 value = 0;

    for (const char* callback : Msg::kProfileCallbacks)
        if (is(callback)) return sendMessage(message);

    if (is(Msg::kChangeOrder)) {
        if (!intOf(Msg::kOrder, value)) return kResultFalse;
        order = static_cast<int32>(std::clamp<int64>(value, 1, 3));
        clampOrder();
        algoTypeDirty = true;
        return kResultOk;
    }
    if (is(Msg::kSofaFileChanged)) {
        if (!takeSofaName(message)) return kResultFalse;
        algoTypeDirty = true;
        return kResultOk;
    }
    if (is(Msg::kHrirModeChanged)) {
        if (!intOf(Msg::kHrirModeChanged, value) || value < 1 || value > 5) return kResultFalse;
        hrirMode = static_cast<int32>(value);
        algoTypeDirty = true;
        return kResultOk;
    }
    if (is(Msg::kRequestedOutputArrangement)) {
        const void* data = nullptr;
        uint32 size = 0;
        SpeakerArrangement arrangement = 0;
        if (!attributes || attributes->getBinary(Msg::kBinary, &data, &size) != kResultOk ||
            size != sizeof arrangement || !data)
            return kResultFalse;
        std::memcpy(&arrangement, data, sizeof arrangement);
        if (!isDecoderOutput(arrangement)) return kResultFalse;
        requestedArrangement = arrangement;
        if (!active) {
            rebuildOutputBus(requestedArrangement);
            requestedArrangement = 0;
        }
        return kResultOk;
    }
    if (is(Msg::kStereoModeBinaural)) {
        if (!intOf(Msg::kStereoModeBinaural, value)) return kResultFalse;
        stereoModeBinaural = value != 0;
        algoTypeDirty = true;
        return kResultOk;
    }
    if (is(Msg::kForceReloadHrir)) {
        forceReload = true;
        algoTypeDirty = true;
        return kResultOk;
    }
    return AudioEffect::notify(message);
}

// ---- state ------------------------------------------------------------------

ProcessorState AmbiBinProcessor::stateFromFields() const {
    ProcessorState s;
    s.order = order;
    s.previousOrder = previousOrder;
    s.hrirMode = hrirMode;
    s.auxGain = auxGain;
    s.sofaName = sofaName;
    s.lfeGain = lfeGain;
    s.lfeLowPass = lfeLowPass > 0 ? 1 : 0;
    const AudioBus* outBus = const_cast<AmbiBinProcessor*>(this)->getAudioOutput(0);
    s.outputArrangement = outBus ? outBus->getArrangement() : 0;
    s.stereoModeBinaural = stereoModeBinaural;
    s.focusAzimuth = focusAzimuth;
    s.focusElevation = focusElevation;
    s.focusSize = focusSize;
    s.focusAttenuation = focusAttenuation;
    s.focusOn = focusOn;
    s.focusFollow = focusFollow;
    return s;
}

tresult AmbiBinProcessor::getState(IPlxStream* stream) {
    if (!stream) return kInvalidArgument;
    return writeProcessorState(stream, stateFromFields()) ? kResultOk : kResultFalse;
}

tresult AmbiBinProcessor::setState(IPlxStream* stream) {
    if (!stream) return kInvalidArgument;
    ProcessorState s = stateFromFields();
    if (!readProcessorState(stream, s)) return kResultFalse;
    if (s.version == 0) return kResultOk;
    order = s.order;
    previousOrder = s.previousOrder;
    clampOrder();
    hrirMode = s.hrirMode;
    auxGain = s.auxGain;
    sofaName = s.sofaName;
    lfeGain = s.lfeGain;
    lfeLowPass = s.lfeLowPass;
    stereoModeBinaural = s.stereoModeBinaural;
    focusAzimuth = s.focusAzimuth;
    focusElevation = s.focusElevation;
    focusSize = s.focusSize;
    focusAttenuation = s.focusAttenuation;
    focusOn = s.focusOn >= 0.5 ? 1 : 0;
    focusFollow = s.focusFollow >= 0.5 ? 1 : 0;
    const AudioBus* outBus = getAudioOutput(0);
    const SpeakerArrangement present = outBus ? outBus->getArrangement() : 0;
    if (s.outputArrangement != 0 && !usedAsPanner && s.outputArrangement != present &&
        isDecoderOutput(s.outputArrangement))
        requestedArrangement = s.outputArrangement;
    // The HRIR, the order and the stereo mode are built at the next activation.
    algoTypeDirty = true;
    return kResultOk;
}

template AlgoPtr<float> AmbiBinProcessor::makeAlgo<float>(int32);
template AlgoPtr<double> AmbiBinProcessor::makeAlgo<double>(int32);
template int32 AmbiBinProcessor::configureAlgo<float>(AmbiAlgo<float>&);
template int32 AmbiBinProcessor::configureAlgo<double>(AmbiAlgo<double>&);

} // namespace Tannhofen::AmbiBin

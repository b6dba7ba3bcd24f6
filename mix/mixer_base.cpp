#include "mix/mixer_base.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "dsp/vec/vec.h"
#include "frame/copy_protection.h"
#include "frame/ihostapplication.h"
#include "mix/mix_messages.h"

namespace Tannhofen::Mix {

using namespace Plx;

namespace {

constexpr double kDefaultSampleRate = 44100.0;
constexpr double kRateTolerance = 2.220446049250313e-16;

float rampStepFor(double rate) {
    return static_cast<float>(1000.0 / (rate * MMixerBase::kSliceMs));
}

bool allSilent(const PlxAudioBuffers& bus) {
    if (bus.numChannels <= 0) return false;
    const uint64_t all = bus.numChannels >= 64 ? ~uint64_t(0) : (uint64_t(1) << bus.numChannels) - 1;
    return (bus.silenceFlags & all) == all;
}

} // namespace

MMixerBase::MMixerBase(const FUID& controllerClass, const ParamTable* paramInfo)
    : paramInfo(paramInfo),
      invSampleRate(1.0 / kDefaultSampleRate),
      maxRampStep(rampStepFor(kDefaultSampleRate)) {
    setControllerClass(controllerClass);
}

MMixerBase::~MMixerBase() = default;

tresult MMixerBase::queryInterface(const TUID& iid, void** obj) {
    if (!obj) return kInvalidArgument;
    PLX_QUERY_INTERFACE(iid, obj, IGraphLocation)
    PLX_QUERY_INTERFACE(iid, obj, IIdleHandler)
    return AudioEffect::queryInterface(iid, obj);
}

SpeakerArrangement MMixerBase::remap(SpeakerArrangement mask) {
    switch (mask) {
    case Plx::Layout::k5_0_4:
    case Plx::Layout::k10_0Auro3D:
    case Plx::Layout::k11_0Auro3D: return Plx::Layout::k5_0;
    case Plx::Layout::k5_1_4:
    case Plx::Layout::k10_1Auro3D:
    case Plx::Layout::k11_1Auro3D: return Plx::Layout::k5_1;
    case Plx::Layout::k13_0Auro3D: return Plx::Layout::k7_0Music;
    case Plx::Layout::k13_1Auro3D:
    case Plx::Layout::k22_2: return Plx::Layout::k7_1Music;
    case Plx::Layout::kAmbi1: return Plx::Layout::kQuadro;
    case Plx::Layout::kAmbi2: return Plx::Layout::k5_0_4;
    case Plx::Layout::kAmbi3: return Plx::Layout::k12_2 | Plx::Speaker::Sl | Plx::Speaker::Sr;
    default: return Plx::Layout::k5_1;
    }
}

bool MMixerBase::isAmbisonic(SpeakerArrangement mask) {
    return Plx::isAmbisonicLayout(mask);
}

// ---- life cycle -----------------------------------------------------------

tresult MMixerBase::initialize(FUnknown* context) {
    if (!model) createModel();
    unrestricted = copyProtectionPasses();
    const tresult r = AudioEffect::initialize(context);
    if (r != kResultOk) return r;
    // Both buses are labelled "Input"; hosts have shown this name for years.
    addAudioInput(u"Input", Plx::Layout::kMono);
    addAudioOutput(u"Input", Plx::Layout::k5_1);
    if (model) {
        applyArrangements(Plx::Layout::kMono, Plx::Layout::k5_1);
        allocateBuffers(model->getNumIn() + model->getNumInLfe(), model->getNumOut() + model->getNumOutLfe());
    }
    sameArrangement = false;
    return kResultOk;
}

tresult MMixerBase::terminate() {
    registerIdle(false);
    active = false;
    pendingMessages.clear();
    freeBuffers();
    deleteModel();
    return AudioEffect::terminate();
}

tresult MMixerBase::connect(IConnectionPoint* other) {
    const tresult r = AudioEffect::connect(other);
    if (r != kResultOk) return r;
    auto waiting = std::move(pendingMessages);
    pendingMessages.clear();
    for (auto& message : waiting) sendMessage(message.get());
    processingChanged = true;
    return kResultOk;
}

void MMixerBase::registerIdle(bool on) {
    if (on == idleRegistered) return;
    IPtr<IPlxTimerService> timer =
        IPtr<IPlxTimerService>::adopt(queryInterfaceOf<IPlxTimerService>(getHostContext()));
    if (!timer) return;
    if (on)
        idleRegistered = timer->registerIdleHandler(this) == kResultOk;
    else if (timer->unregisterIdleHandler(this) == kResultOk)
        idleRegistered = false;
}

tresult MMixerBase::setActive(TBool state) {
    active = state != 0;
    registerIdle(active);
    return kResultOk;
}

tresult MMixerBase::setProcessing(TBool state) {
    if (!active) return kResultFalse;
    const bool on = state != 0;
    if (on != processing) processingChanged = true;
    processing = on;
    if (on && directMonitoring) matrixDirty = true;
    // The host's answer is the not-implemented code, as its processors always gave.
    return kNotImplemented;
}

tresult MMixerBase::setGraphLocation(int32_t, int32_t kind) {
    usedAsPanner = kind == kPannerSlot;
    sendIntMessage(Msg::kGraphLocation, Msg::kUsedAsPanner, usedAsPanner ? 1 : 0);
    return kResultOk;
}

void MMixerBase::onIdle() {
    if (processingChanged) {
        sendIntMessage(Msg::kVuMetersProcessing, Msg::kVuMetersProcessing, processing ? 1 : 0);
        processingChanged = false;
    }
    publisher.send([this](const MixMatrix& m) { sendGainMatrix(m); });
}

// ---- messages -------------------------------------------------------------

void MMixerBase::sendIntMessage(const char* id, const char* attribute, int64_t value) {
    if (!getPeer()) return;
    IPtr<IMessage> message = IPtr<IMessage>::adopt(allocateMessage());
    if (!message) return;
    message->setMessageID(id);
    if (IPlxAttributes* a = message->getAttributes()) a->setInt(attribute, value);
    sendMessage(message.get());
}

void MMixerBase::sendGainMatrix(const MixMatrix& matrix) {
    if (!getPeer()) return;
    IPtr<IMessage> message = IPtr<IMessage>::adopt(allocateMessage());
    if (!message) return;
    message->setMessageID(Msg::kGainMatrix);
    if (IPlxAttributes* a = message->getAttributes()) {
        a->setInt(Msg::kMatrixSize, static_cast<int64_t>(matrix.data.size()));
        a->setBinary(Msg::kCoefficients, matrix.data.data(),
                     static_cast<uint32_t>(matrix.data.size() * sizeof(float)));
    }
    sendMessage(message.get());
}

void MMixerBase::sendBusArrangements(SpeakerArrangement in, SpeakerArrangement out, bool changeParams) {
    IPtr<IMessage> message = IPtr<IMessage>::adopt(allocateMessage());
    if (!message) return;
    message->setMessageID(Msg::kBusArrangements);
    if (IPlxAttributes* a = message->getAttributes()) {
        a->setBinary(Msg::kInput, &in, sizeof in);
        a->setBinary(Msg::kOutput, &out, sizeof out);
        a->setInt(Msg::kChangeParams, changeParams ? 1 : 0);
    }
    pendingMessages.push_back(std::move(message));
    if (!getPeer()) return;
    auto waiting = std::move(pendingMessages);
    pendingMessages.clear();
    for (auto& m : waiting) sendMessage(m.get());
}

tresult MMixerBase::notify(IMessage* message) {
    if (!message) return kInvalidArgument;
    const char* id = message->getMessageID();
    if (!id) return kResultFalse;
    IPlxAttributes* attributes = message->getAttributes();
    // A missing attribute or one of another type counts as 0.
    auto intOf = [attributes](const char* name) {
        int64_t value = 0;
        if (!attributes || attributes->getInt(name, &value) != kResultOk) return int64_t(0);
        return value;
    };
    if (std::strcmp(id, Msg::kInputVuMeter) == 0) {
        meters.in.wanted = intOf(Msg::kInputVuMeter) != 0;
        return kResultOk;
    }
    if (std::strcmp(id, Msg::kOutputVuMeter) == 0) {
        meters.out.wanted = intOf(Msg::kOutputVuMeter) != 0;
        return kResultOk;
    }
    if (std::strcmp(id, Msg::kResetMaxLevelIn) == 0) {
        meters.in.max = 0.0f;
        return kResultOk;
    }
    if (std::strcmp(id, Msg::kResetMaxLevelOut) == 0) {
        meters.out.max = 0.0f;
        return kResultOk;
    }
    if (std::strcmp(id, Msg::kEnableDirectMonitoring) == 0) {
        const bool on = intOf(Msg::kEnableDirectMonitoring) != 0;
        if (on && !directMonitoring) matrixDirty = true;
        directMonitoring = on;
        return kResultOk;
    }
    return AudioEffect::notify(message);
}

// ---- buses ----------------------------------------------------------------

SpeakerArrangement MMixerBase::presentInputArr() {
    const AudioBus* bus = getAudioInput(0);
    return bus ? bus->getArrangement() : 0;
}

SpeakerArrangement MMixerBase::presentOutputArr() {
    const AudioBus* bus = getAudioOutput(0);
    return bus ? bus->getArrangement() : 0;
}

tresult MMixerBase::setBusArrangements(SpeakerArrangement* inputs, int32_t numIns,
                                       SpeakerArrangement* outputs, int32_t numOuts) {
    if (!inputs || !outputs) return kInvalidArgument;
    if (numIns != 1 || numOuts != 1) return kResultFalse;
    return negotiateArrangements(inputs[0], outputs[0]);
}

tresult MMixerBase::negotiateArrangements(SpeakerArrangement in, SpeakerArrangement out) {
    tresult result = kResultOk;
    if (std::popcount(in) > kMaxBusBits) {
        in = remap(in);
        result = kResultFalse;
    }
    if (!unrestricted && !acceptInputArrangement(in)) result = kResultFalse;
    if (std::popcount(out) > kMaxBusBits) {
        out = remap(out);
        result = kResultFalse;
    }
    // The mixer takes no ambisonic input; an ambisonic output is fine.
    if (isAmbisonic(in)) {
        in = remap(in);
        result = kResultFalse;
    }
    const AudioBus* inBus = getAudioInput(0);
    const AudioBus* outBus = getAudioOutput(0);
    if (inBus && outBus && inBus->getArrangement() == in && outBus->getArrangement() == out) return result;

    removeAllBusses();
    addAudioInput(u"Input", in);
    addAudioOutput(u"Output", out);
    if (model) {
        applyArrangements(in, out);
        allocateBuffers(model->getNumIn() + model->getNumInLfe(), model->getNumOut() + model->getNumOutLfe());
    }
    sendBusArrangements(in, out, !restartPending);
    if (stateInputArr && stateOutputArr && stateInputArr == in && stateOutputArr == out) {
        stateInputArr = stateOutputArr = 0;
        restartPending = false;
    }
    sameArrangement = in == out;
    passThrough = false;
    return result;
}

void MMixerBase::applyArrangements(SpeakerArrangement in, SpeakerArrangement out) {
    if (!model) return;
    model->setArrangements(in, out);
    if (!restartPending) resetLevels();
}

void MMixerBase::resetLevels() {
    resetParam(ParamId::kLfeLevel);
}

void MMixerBase::resetParam(int32_t id) {
    if (model) setParamValue(id, model->getDefault(id));
}

// ---- buffers --------------------------------------------------------------

void MMixerBase::allocateBuffers(int32_t ins, int32_t outs) {
    freeBuffers();
    numInChannels = std::max(ins, 0);
    numOutChannels = std::max(outs, 0);
    applier.allocate(numInChannels, numOutChannels);
    meters.allocate(numInChannels, numOutChannels);
    publisher.allocate(numInChannels, numOutChannels);
    sizeProcessBuffers();
}

void MMixerBase::freeBuffers() {
    applier.release();
    meters.release();
    publisher.release();
    numInChannels = numOutChannels = 0;
}

void MMixerBase::sizeProcessBuffers() {
    if (!applier.ready()) return;
    // 32-bit scratch always; the 64-bit one for a 64-bit setup.
    const int32_t block = processSetup.maxSamplesPerBlock;
    applier.sizeScratch<float>(block);
    if (processSetup.symbolicSampleSize == kSample64)
        applier.sizeScratch<double>(block);
    else
        applier.releaseScratch<double>();
}

tresult MMixerBase::canProcessSampleSize(int32_t symbolicSampleSize) {
    return symbolicSampleSize == kSample32 || symbolicSampleSize == kSample64 ? kResultOk : kResultFalse;
}

tresult MMixerBase::setupProcessing(PlxProcessSetup* setup) {
    if (!setup) return kInvalidArgument;
    if (std::fabs(setup->sampleRate) <= kRateTolerance || setup->maxSamplesPerBlock <= 0) return kResultFalse;
    if (std::fabs(setup->sampleRate - processSetup.sampleRate) > kRateTolerance || sliceCount == 0) {
        invSampleRate = 1.0 / setup->sampleRate;
        maxRampStep = rampStepFor(setup->sampleRate);
        meters.setSampleRate(setup->sampleRate);
    }
    const tresult r = AudioEffect::setupProcessing(setup);
    if (r != kResultOk) return r;
    computeSlices(processSetup.maxSamplesPerBlock, true);
    if (!sliceQueues) {
        int32_t sliced = 0;
        for (int32_t i = 0; paramInfo && i < paramInfo->count(); ++i)
            if (!(paramInfo->row(i).flags & ParamInfoRecord::kReadOnly)) ++sliced;
        bool automatable = false;
        for (int32_t i = 0; paramInfo && i < paramInfo->count(); ++i)
            automatable |= (paramInfo->row(i).flags & ParamInfoRecord::kAutomatable) != 0;
        if (automatable) sliceQueues = std::make_unique<SliceParamQueues>(sliceCount, sliced);
    } else {
        sliceQueues->resize(sliceCount);
    }
    sizeProcessBuffers();
    return kResultOk;
}

void MMixerBase::computeSlices(int32_t numSamples, bool forced) {
    if (!forced && numSamples == sliceBlockSize) return;
    const float scaled = static_cast<float>(numSamples) * 1000.0f;
    const double rate = processSetup.sampleRate;
    sliceCount = std::max(1, static_cast<int32_t>(std::round(scaled / (rate * kSliceMs))));
    sliceLength = static_cast<int32_t>(std::ceil(static_cast<double>(numSamples) / sliceCount));
    if (sliceLength < 1) sliceLength = 1;
    invSliceLength = static_cast<float>(1.0 / sliceLength);
    sliceBlockSize = numSamples;
}

// ---- matrices -------------------------------------------------------------

const MixMatrix* MMixerBase::activeMatrix() const {
    if (!model) return nullptr;
    if (const MixGainSet* set = model->getGainSet())
        return &set->matrix[directMode ? MixGainSet::kDirect : MixGainSet::kNormal];
    return &model->getFallbackMatrix();
}

const std::vector<int32_t>* MMixerBase::activeRouting() const {
    if (const MixGainSet* set = model->getGainSet())
        return &set->routing[directMode ? MixGainSet::kDirect : MixGainSet::kNormal];
    return &model->getFallbackRouting();
}

bool MMixerBase::activeIsSimple() const {
    const MixGainSet* set = model->getGainSet();
    return set && set->simple[directMode ? MixGainSet::kDirect : MixGainSet::kNormal];
}

void MMixerBase::publishIfAsked(bool hadChanges) {
    if (!directMonitoring || !model || !(hadChanges || matrixDirty)) return;
    if (const MixMatrix* m = activeMatrix()) publisher.publish(*m);
    matrixDirty = false;
}

void MMixerBase::processParameterChanges(IPlxParameterChanges* changes) {
    if (!model) return;
    const int32_t count = changes ? changes->getParameterCount() : 0;
    if (count > 0) {
        model->setDeferred(true);
        for (int32_t q = 0; q < count; ++q) {
            IParamValueQueue* queue = changes->getParameterData(q);
            // The last point that holds a number.
            for (int32_t p = queue ? queue->getPointCount() - 1 : -1; p >= 0; --p) {
                int32_t offset = 0;
                ParamValue value = 0.0;
                if (queue->getPoint(p, &offset, &value) != kResultOk || std::isnan(value)) continue;
                setParamValue(static_cast<int32_t>(queue->getParameterId()), value);
                break;
            }
        }
        model->setDeferred(false);
    }
    if (const MixMatrix* m = activeMatrix()) applier.jumpTo(*m);
}

// ---- state ----------------------------------------------------------------

double MMixerBase::getPlainValue(int32_t id) {
    const double normalized = getParamValue(id);
    if (normalized < 0.0 || !paramInfo) return 0.0;
    return paramInfo->toPlain(id, normalized);
}

bool MMixerBase::getString(int32_t, std::string&) {
    return false;
}

bool MMixerBase::setVersion(int32_t version) {
    stateVersion = version;
    return true;
}

void MMixerBase::setPlainValue(int32_t id, double plain) {
    if (!paramInfo) return;
    const double normalized = paramInfo->toNormalized(id, plain);
    if (normalized >= 0.0) setParamValue(id, normalized);
}

void MMixerBase::setString(int32_t, const std::string&) {}

tresult MMixerBase::getState(IPlxStream* stream) {
    if (!stream || !paramInfo) return kResultFalse;
    SpeakerArrangement in = 0;
    SpeakerArrangement out = 0;
    if (model) model->getArrangements(in, out);
    return writeMixState(stream, *this, *paramInfo, in, out) ? kResultOk : kResultFalse;
}

tresult MMixerBase::setState(IPlxStream* stream) {
    if (!stream) return kResultFalse;
    if (model) model->setDeferred(true);
    const StateRead read = readMixParams(stream, *this);
    if (read == StateRead::Complete && stateVersion == 2) {
        if (!readStateArrangement(stream, stateInputArr)) stateInputArr = 0;
        if (!readStateArrangement(stream, stateOutputArr)) stateOutputArr = 0;
    }
    if (model) model->setDeferred(false);
    if (read != StateRead::Refused) {
        restartPending = true;
        if (stateVersion == 2) {
            restartPending = stateInputArr && stateOutputArr &&
                             (stateInputArr != presentInputArr() || stateOutputArr != presentOutputArr());
            if (!restartPending) stateInputArr = stateOutputArr = 0;
        }
    }
    stateVersion = 0;
    return read == StateRead::Refused ? kResultFalse : kResultOk;
}

// ---- audio ----------------------------------------------------------------

tresult MMixerBase::process(PlxProcessData* data) {
    if (!data) return kInvalidArgument;
    const bool forceSend = meters.takeWishes();
    IPlxParameterChanges* changes = data->inputParameterChanges;
    const bool hadChanges = changes && changes->getParameterCount() > 0;
    if (data->numInputs == 0 || data->numOutputs == 0) {
        projectTime = 0;
        transportState = 0;
        processParameterChanges(changes);
        publishIfAsked(hadChanges);
        return kResultOk;
    }
    if (data->processContext) {
        projectTime = data->processContext->projectTimeSamples;
        transportState = data->processContext->state;
    }
    if (!active || !processing || !applier.ready() || sliceCount == 0 || !applier.hasScratch<float>())
        return kResultFalse;
    if (data->symbolicSampleSize == kSample64) return processBlock<double>(*data, forceSend);
    if (data->symbolicSampleSize == kSample32) return processBlock<float>(*data, forceSend);
    return kInvalidArgument;
}

template <class T>
tresult MMixerBase::processBlock(PlxProcessData& data, bool forceSend) {
    const int32_t n = data.numSamples;
    // What the buffers must be before anything is written: the negotiated
    // channels, real pointers, and no more samples than set up for.
    if (!data.inputs || !data.outputs || data.numInputs < 1 || data.numOutputs < 1 || n < 0 ||
        n > processSetup.maxSamplesPerBlock)
        return kInvalidArgument;
    if (!applier.hasScratch<T>()) return kResultFalse;
    PlxAudioBuffers& inBus = data.inputs[0];
    PlxAudioBuffers& outBus = data.outputs[0];
    const int32_t ins = numInChannels;
    const int32_t outs = numOutChannels;
    // A bus may carry channels that the model has no place for (an ambisonic
    // output, say): they are read as nothing and written as silence.
    if (inBus.numChannels < std::max(ins, 1) || outBus.numChannels < std::max(outs, 1))
        return kInvalidArgument;
    T** in = channelBuffers<T>(inBus);
    T** out = channelBuffers<T>(outBus);
    if (!in || !out) return kInvalidArgument;
    for (int32_t i = 0; i < ins; ++i)
        if (!in[i]) return kInvalidArgument;
    for (int32_t o = 0; o < outBus.numChannels; ++o)
        if (!out[o]) return kInvalidArgument;
    IPlxParameterChanges* changes = data.inputParameterChanges;
    const bool hadChanges = changes && changes->getParameterCount() > 0;

    if (allSilent(inBus)) {
        if (meters.in.active) MixMeters::quiet(meters.in);
        processParameterChanges(changes);
        for (int32_t o = 0; o < outs; ++o)
            if (o >= ins || in[o] != out[o]) DSP::Vec::zero(out[o], static_cast<size_t>(n));
        if (meters.out.active) MixMeters::quiet(meters.out);
        outBus.silenceFlags = ~uint64_t(0);
    } else {
        if (meters.in.active) meters.measure(meters.in, in, ins, n);
        // Slices follow every block size, with or without parameter changes,
        // so that a ramp always spans whole slices of this block.
        if (n > 0) computeSlices(n, false);
        if (sliceQueues) {
            sliceQueues->clearAll();
            if (hadChanges)
                sliceQueues->fill(changes, n, sliceLength, [this](int32_t id) { return getParamValue(id); });
        }
        bool changed = true;
        bool silent = true;
        const int64_t startTime = projectTime;
        for (int32_t s = 0; s < sliceCount && s * sliceLength < n; ++s) {
            projectTime = startTime + std::min((s + 1) * sliceLength, n) - 1;
            MixSlice<T> slice{ins, outs, in, out, s, n, &changed, &silent};
            if (!processSlice(slice)) return kResultFalse;
        }
        outBus.silenceFlags = 0;
        if (meters.out.active) {
            meters.measure(meters.out, out, outs, n);
            for (int32_t o = 0; o < outs && o < 64; ++o)
                if (meters.out.level[static_cast<size_t>(o)] == 0.0f) outBus.silenceFlags |= uint64_t(1) << o;
        } else if (silent) {
            const MixMatrix& gains = applier.gains();
            for (int32_t o = 0; o < outs && o < 64; ++o) {
                bool quiet = true;
                for (int32_t i = 0; i < ins && quiet; ++i) {
                    const bool inputSilent = i < 64 && (inBus.silenceFlags >> i) & 1;
                    quiet = inputSilent || gains.at(i, o) == 0.0f;
                }
                if (quiet) outBus.silenceFlags |= uint64_t(1) << o;
            }
        }
    }

    // After the mix, which may still have read them in place.
    for (int32_t o = outs; o < outBus.numChannels; ++o) {
        DSP::Vec::zero(out[o], static_cast<size_t>(n));
        if (o < 64) outBus.silenceFlags |= uint64_t(1) << o;
    }

    meters.advance(n, data.outputParameterChanges, forceSend);
    publishIfAsked(hadChanges);
    return kResultOk;
}

bool MMixerBase::processSlice(MixSlice<float>& slice) {
    return runSlice(slice);
}

bool MMixerBase::processSlice(MixSlice<double>& slice) {
    return runSlice(slice);
}

template <class T>
bool MMixerBase::runSlice(MixSlice<T>& slice) {
    if (!model) return false;
    if (sliceQueues) {
        SliceParamQueue* queue = sliceQueues->at(slice.index);
        if (queue && queue->size() > 0) {
            model->setDeferred(true);
            SliceParamQueue::Entry entry{};
            while (queue->pop(entry)) setParamValue(entry.id, static_cast<float>(entry.value));
            model->setDeferred(false);
            if (!directMode) *slice.changed = true;
        }
    }
    const MixMatrix* target = activeMatrix();
    const MixMatrix& gains = applier.gains();
    if (!target || !target->allocated || target->data.size() != gains.data.size()) return false;
    const int32_t start = slice.start(sliceLength);
    const int32_t end = std::min(start + sliceLength, slice.numSamples);
    if (start >= end) return true;
    const int32_t ins = slice.ins, outs = slice.outs;
    if (passThrough) {
        GainApplier::passThroughCopy(ins, outs, slice.in, slice.out, start, end - start);
        return true;
    }

    int32_t t = start;
    if (*slice.changed) {
        // The ramp: one step per sample towards the target while any element
        // lies farther than the gain tolerance from it, then once more onto
        // it exactly. Its samples are mixed as one block.
        const int32_t steps = applier.startRamp(*target, invSliceLength, maxRampStep, end - start);
        if (steps > 0) {
            applier.mixRamp(ins, outs, slice.in, slice.out, start, steps);
            *slice.silent = false;
            t += steps;
        }
        if (t >= end) return true;
        applier.jumpTo(*target);
        *slice.changed = false;
    }
    // The matrix has settled for the rest of the slice.
    if (directMode && sameArrangement) {
        passThrough = true;
        GainApplier::passThroughCopy(ins, outs, slice.in, slice.out, t, end - t);
        return true;
    }
    if (activeIsSimple() &&
        GainApplier::routingCopy(*activeRouting(), ins, outs, slice.in, slice.out, t, end - t))
        return true;
    applier.mix(ins, outs, slice.in, slice.out, t, end - t);
    return true;
}

} // namespace Tannhofen::Mix

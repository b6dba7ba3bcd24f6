#include "mix/mixer_base.h"

#include <algorithm>
#include <bit>
#include <cblas.h>
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
constexpr int32 kMeterRate = 25; // meter values per second
// Up to this many outputs a settled matrix is applied by sums over the inputs
// rather than by a product over gathered inputs. Measured: at 2 outputs the
// sums take three quarters of the product's time, at 12 they are even.
constexpr int32 kSummedOutputs = 6;

float rampStepFor(double rate) {
    return static_cast<float>(1000.0 / (rate * MMixerBase::kSliceMs));
}

bool allSilent(const PlxAudioBuffers& bus) {
    if (bus.numChannels <= 0) return false;
    const uint64 all = bus.numChannels >= 64 ? ~uint64(0) : (uint64(1) << bus.numChannels) - 1;
    return (bus.silenceFlags & all) == all;
}

template <class T>
T** channelsOf(PlxAudioBuffers& bus) {
    if constexpr (sizeof(T) == sizeof(float))
        return bus.channelBuffers32;
    else
        return bus.channelBuffers64;
}

template <class T>
float peakOf(const T* samples, int32 n) {
    return n > 0 ? static_cast<float>(DSP::Vec::maxAbs(samples, static_cast<size_t>(n))) : 0.0f;
}

// out (outs x len, row stride ldOut) = gains^T (outs x ins) * in (ins x len).
void blockProduct(int32 ins, int32 outs, const float* gains, const float* in, float* out, int32 len,
                  int32 ld) {
    cblas_sgemm(CblasRowMajor, CblasTrans, CblasNoTrans, outs, len, ins, 1.0f, gains, outs, in, ld, 0.0f, out,
                ld);
}
void blockProduct(int32 ins, int32 outs, const double* gains, const double* in, double* out, int32 len,
                  int32 ld) {
    cblas_dgemm(CblasRowMajor, CblasTrans, CblasNoTrans, outs, len, ins, 1.0, gains, outs, in, ld, 0.0, out,
                ld);
}

} // namespace

MMixerBase::MMixerBase(const FUID& controllerClass, const MixParamTable* paramInfo)
    : paramInfo(paramInfo),
      invSampleRate(1.0 / kDefaultSampleRate),
      maxRampStep(rampStepFor(kDefaultSampleRate)),
      vuInterval(static_cast<int64>(kDefaultSampleRate / kMeterRate)) {
    setControllerClass(controllerClass);
}

MMixerBase::~MMixerBase() {
    releaseScratch();
}

tresult MMixerBase::queryInterface(const TUID& iid, void** obj) {
    if (!obj) return kInvalidArgument;
    PLX_QUERY_INTERFACE(iid, obj, IGraphLocation)
    PLX_QUERY_INTERFACE(iid, obj, IIdleHandler)
    return AudioEffect::queryInterface(iid, obj);
}

SpeakerArrangement MMixerBase::remap(SpeakerArrangement mask) {
    switch (mask) {
    case 0x2D037:
    case 0x2D837:
    case 0x2F837: return 0x37;
    case 0x2D03F:
    case 0x2D83F:
    case 0x2F83F: return 0x3F;
    case 0x2FE37: return 0x637;
    case 0x2FE3F:
    case 0x7307FFFF: return 0x63F;
    case 0xF00000: return 0x33;
    case 0x7C000F00000: return 0x2D037;
    case 0x3FFC000F00000: return 0x6F6FF;
    default: return 0x3F;
    }
}

bool MMixerBase::isAmbisonic(SpeakerArrangement mask) {
    return mask == 0xF00000 || mask == 0x7C000F00000 || mask == 0x3FFC000F00000;
}

// ---- life cycle -----------------------------------------------------------

tresult MMixerBase::initialize(FUnknown* context) {
    if (!model) createModel();
    unrestricted = copyProtectionPasses();
    const tresult r = AudioEffect::initialize(context);
    if (r != kResultOk) return r;
    // Both buses are labelled "Input"; hosts have shown this name for years.
    addAudioInput(u"Input", 0x80000);
    addAudioOutput(u"Input", 0x3F);
    if (model) {
        applyArrangements(0x80000, 0x3F);
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
    releaseScratch();
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

tresult MMixerBase::setGraphLocation(int32, int32 kind) {
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

void MMixerBase::sendIntMessage(const char* id, const char* attribute, int64 value) {
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
        a->setInt(Msg::kMatrixSize, static_cast<int64>(matrix.data.size()));
        a->setBinary(Msg::kCoefficients, matrix.data.data(),
                     static_cast<uint32>(matrix.data.size() * sizeof(float)));
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
        int64 value = 0;
        if (!attributes || attributes->getInt(name, &value) != kResultOk) return int64(0);
        return value;
    };
    if (std::strcmp(id, Msg::kInputVuMeter) == 0) {
        inVuWanted = intOf(Msg::kInputVuMeter) != 0;
        return kResultOk;
    }
    if (std::strcmp(id, Msg::kOutputVuMeter) == 0) {
        outVuWanted = intOf(Msg::kOutputVuMeter) != 0;
        return kResultOk;
    }
    if (std::strcmp(id, Msg::kResetMaxLevelIn) == 0) {
        maxInLevel = 0.0f;
        return kResultOk;
    }
    if (std::strcmp(id, Msg::kResetMaxLevelOut) == 0) {
        maxOutLevel = 0.0f;
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

tresult MMixerBase::setBusArrangements(SpeakerArrangement* inputs, int32 numIns, SpeakerArrangement* outputs,
                                       int32 numOuts) {
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

void MMixerBase::resetParam(int32 id) {
    if (model) setParamValue(id, model->getDefault(id));
}

// ---- buffers --------------------------------------------------------------

void MMixerBase::allocateBuffers(int32 ins, int32 outs) {
    freeBuffers();
    numInChannels = std::max(ins, 0);
    numOutChannels = std::max(outs, 0);
    currentGains.allocate(numInChannels, numOutChannels);
    gainDiff.allocate(numInChannels, numOutChannels);
    gainStep.allocate(numInChannels, numOutChannels);
    inPeak.assign(static_cast<size_t>(numInChannels), 0.0f);
    inLevel.assign(static_cast<size_t>(numInChannels), 0.0f);
    outPeak.assign(static_cast<size_t>(numOutChannels), 0.0f);
    outLevel.assign(static_cast<size_t>(numOutChannels), 0.0f);
    publisher.allocate(numInChannels, numOutChannels);
    sizeProcessBuffers();
}

void MMixerBase::freeBuffers() {
    currentGains.release();
    gainDiff.release();
    gainStep.release();
    currentGains64 = {};
    gainStep64 = {};
    inPeak = {};
    inLevel = {};
    outPeak = {};
    outLevel = {};
    publisher.release();
    numInChannels = numOutChannels = 0;
}

void MMixerBase::sizeProcessBuffers() {
    const auto ins = static_cast<size_t>(numInChannels);
    const auto outs = static_cast<size_t>(numOutChannels);
    if (processSetup.symbolicSampleSize == kSample64) {
        currentGains64.assign(ins * outs, 0.0);
        gainStep64.assign(ins * outs, 0.0);
    }
    const size_t block = static_cast<size_t>(std::max(processSetup.maxSamplesPerBlock, 1));
    const size_t wantIn = ins * block;
    const size_t wantOut = outs * block;
    if (wantIn > blockInSize || wantOut > blockOutSize) {
        releaseScratch();
        blockIn32 = DSP::Vec::malloc<float>(std::max<size_t>(wantIn, 1));
        blockOut32 = DSP::Vec::malloc<float>(std::max<size_t>(wantOut, 1));
        blockRamp32 = DSP::Vec::malloc<float>(std::max<size_t>(wantOut, 1));
        blockIn64 = DSP::Vec::malloc<double>(std::max<size_t>(wantIn, 1));
        blockOut64 = DSP::Vec::malloc<double>(std::max<size_t>(wantOut, 1));
        blockRamp64 = DSP::Vec::malloc<double>(std::max<size_t>(wantOut, 1));
        const bool ok = blockIn32 && blockOut32 && blockRamp32 && blockIn64 && blockOut64 && blockRamp64;
        blockInSize = ok ? wantIn : 0;
        blockOutSize = ok ? wantOut : 0;
    }
}

void MMixerBase::releaseScratch() {
    DSP::Vec::free(blockIn32);
    DSP::Vec::free(blockOut32);
    DSP::Vec::free(blockRamp32);
    DSP::Vec::free(blockIn64);
    DSP::Vec::free(blockOut64);
    DSP::Vec::free(blockRamp64);
    blockIn32 = blockOut32 = blockRamp32 = nullptr;
    blockIn64 = blockOut64 = blockRamp64 = nullptr;
    blockInSize = blockOutSize = 0;
}

tresult MMixerBase::canProcessSampleSize(int32 symbolicSampleSize) {
    return symbolicSampleSize == kSample32 || symbolicSampleSize == kSample64 ? kResultOk : kResultFalse;
}

tresult MMixerBase::setupProcessing(PlxProcessSetup* setup) {
    if (!setup) return kInvalidArgument;
    if (std::fabs(setup->sampleRate) <= kRateTolerance || setup->maxSamplesPerBlock <= 0) return kResultFalse;
    if (std::fabs(setup->sampleRate - processSetup.sampleRate) > kRateTolerance || sliceCount == 0) {
        invSampleRate = 1.0 / setup->sampleRate;
        maxRampStep = rampStepFor(setup->sampleRate);
        vuInterval = static_cast<int64>(std::trunc(setup->sampleRate / kMeterRate));
    }
    const tresult r = AudioEffect::setupProcessing(setup);
    if (r != kResultOk) return r;
    computeSlices(processSetup.maxSamplesPerBlock, true);
    if (!sliceQueues) {
        int32 sliced = 0;
        for (int32 i = 0; paramInfo && i < paramInfo->count(); ++i)
            if (!(paramInfo->row(i).flags & ParamInfoRecord::kNotSliced)) ++sliced;
        bool automatable = false;
        for (int32 i = 0; paramInfo && i < paramInfo->count(); ++i)
            automatable |= (paramInfo->row(i).flags & ParamInfoRecord::kAutomatable) != 0;
        if (automatable) sliceQueues = std::make_unique<SliceParamQueues>(sliceCount, sliced);
    } else {
        sliceQueues->resize(sliceCount);
    }
    sizeProcessBuffers();
    return kResultOk;
}

void MMixerBase::computeSlices(int32 numSamples, bool forced) {
    if (!forced && numSamples == sliceBlockSize) return;
    const float scaled = static_cast<float>(numSamples) * 1000.0f;
    const double rate = processSetup.sampleRate;
    sliceCount = std::max(1, static_cast<int32>(std::round(scaled / (rate * kSliceMs))));
    sliceLength = static_cast<int32>(std::ceil(static_cast<double>(numSamples) / sliceCount));
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
    const int32 count = changes ? changes->getParameterCount() : 0;
    if (count > 0) {
        model->setDeferred(true);
        for (int32 q = 0; q < count; ++q) {
            IParamValueQueue* queue = changes->getParameterData(q);
            const int32 points = queue ? queue->getPointCount() : 0;
            int32 offset = 0;
            ParamValue value = 0.0;
            if (points > 0 && queue->getPoint(points - 1, &offset, &value) == kResultOk)
                setParamValue(static_cast<int32>(queue->getParameterId()), value);
        }
        model->setDeferred(false);
    }
    const MixMatrix* m = activeMatrix();
    if (m && m->allocated && currentGains.allocated && m->data.size() == currentGains.data.size())
        std::copy(m->data.begin(), m->data.end(), currentGains.data.begin());
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
    bool forceSend = false;
    if (inVuActive != inVuWanted) {
        inVuActive = inVuWanted;
        if (inVuActive)
            maxInLevel = 0.0f;
        else
            forceSend = true;
    }
    if (outVuActive != outVuWanted) {
        outVuActive = outVuWanted;
        if (outVuActive)
            maxOutLevel = 0.0f;
        else
            forceSend = true;
    }
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
    if (!active || !processing || !currentGains.allocated || sliceCount == 0 || !blockInSize)
        return kResultFalse;
    if (data->symbolicSampleSize == kSample64) return processBlock<double>(*data, forceSend);
    if (data->symbolicSampleSize == kSample32) return processBlock<float>(*data, forceSend);
    return kInvalidArgument;
}

template <class T>
tresult MMixerBase::processBlock(PlxProcessData& data, bool forceSend) {
    const int32 n = data.numSamples;
    // What the buffers must be before anything is written: the negotiated
    // channels, real pointers, and no more samples than set up for.
    if (!data.inputs || !data.outputs || data.numInputs < 1 || data.numOutputs < 1 || n < 0 ||
        n > processSetup.maxSamplesPerBlock)
        return kInvalidArgument;
    if (sizeof(T) == sizeof(double) && currentGains64.size() != currentGains.data.size()) return kResultFalse;
    PlxAudioBuffers& inBus = data.inputs[0];
    PlxAudioBuffers& outBus = data.outputs[0];
    const int32 ins = numInChannels;
    const int32 outs = numOutChannels;
    // A bus may carry channels that the model has no place for (an ambisonic
    // output, say): they are read as nothing and written as silence.
    if (inBus.numChannels < std::max(ins, 1) || outBus.numChannels < std::max(outs, 1))
        return kInvalidArgument;
    T** in = channelsOf<T>(inBus);
    T** out = channelsOf<T>(outBus);
    if (!in || !out) return kInvalidArgument;
    for (int32 i = 0; i < ins; ++i)
        if (!in[i]) return kInvalidArgument;
    for (int32 o = 0; o < outBus.numChannels; ++o)
        if (!out[o]) return kInvalidArgument;
    IPlxParameterChanges* changes = data.inputParameterChanges;
    const bool hadChanges = changes && changes->getParameterCount() > 0;

    if (allSilent(inBus)) {
        if (inVuActive) std::fill(inLevel.begin(), inLevel.end(), 0.0f);
        processParameterChanges(changes);
        for (int32 o = 0; o < outs; ++o)
            if (o >= ins || in[o] != out[o]) DSP::Vec::zero(out[o], static_cast<size_t>(n));
        if (outVuActive) std::fill(outLevel.begin(), outLevel.end(), 0.0f);
        outBus.silenceFlags = ~uint64(0);
    } else {
        if (inVuActive) {
            for (int32 i = 0; i < ins; ++i) {
                const float peak = peakOf(in[i], n);
                inLevel[static_cast<size_t>(i)] = peak;
                maxInLevel = std::max(maxInLevel, peak);
                inPeak[static_cast<size_t>(i)] = std::max(inPeak[static_cast<size_t>(i)], peak);
            }
        }
        // Slices follow every block size, with or without parameter changes,
        // so that a ramp always spans whole slices of this block.
        if (n > 0) computeSlices(n, false);
        if (sliceQueues) {
            sliceQueues->clearAll();
            if (hadChanges) fillSliceQueues(changes, n);
        }
        bool changed = true;
        bool silent = true;
        const int64 startTime = projectTime;
        for (int32 s = 0; s < sliceCount && s * sliceLength < n; ++s) {
            projectTime = startTime + std::min((s + 1) * sliceLength, n) - 1;
            const bool ok =
                sizeof(T) == sizeof(float)
                    ? processSlice(ins, outs, reinterpret_cast<float**>(in), reinterpret_cast<float**>(out),
                                   nullptr, nullptr, s, n, &changed, &silent)
                    : processSlice(ins, outs, nullptr, nullptr, reinterpret_cast<double**>(in),
                                   reinterpret_cast<double**>(out), s, n, &changed, &silent);
            if (!ok) return kResultFalse;
        }
        outBus.silenceFlags = 0;
        if (outVuActive) {
            for (int32 o = 0; o < outs; ++o) {
                const float peak = peakOf(out[o], n);
                outLevel[static_cast<size_t>(o)] = peak;
                outPeak[static_cast<size_t>(o)] = std::max(outPeak[static_cast<size_t>(o)], peak);
                maxOutLevel = std::max(maxOutLevel, peak);
                if (peak == 0.0f && o < 64) outBus.silenceFlags |= uint64(1) << o;
            }
        } else if (silent) {
            for (int32 o = 0; o < outs && o < 64; ++o) {
                bool quiet = true;
                for (int32 i = 0; i < ins && quiet; ++i) {
                    const bool inputSilent = i < 64 && (inBus.silenceFlags >> i) & 1;
                    quiet = inputSilent || currentGains.at(i, o) == 0.0f;
                }
                if (quiet) outBus.silenceFlags |= uint64(1) << o;
            }
        }
    }

    // After the mix, which may still have read them in place.
    for (int32 o = outs; o < outBus.numChannels; ++o) {
        DSP::Vec::zero(out[o], static_cast<size_t>(n));
        if (o < 64) outBus.silenceFlags |= uint64(1) << o;
    }

    vuCounter += n;
    if (vuCounter >= vuInterval || forceSend) {
        sendMeters(data.outputParameterChanges, forceSend);
        vuCounter = 0;
    }
    publishIfAsked(hadChanges);
    return kResultOk;
}

void MMixerBase::sendMeters(IPlxParameterChanges* outChanges, bool forceSend) {
    if (!outChanges || !(inVuActive || outVuActive || forceSend)) return;
    auto put = [outChanges](int32 id, float value) {
        int32 index = 0;
        if (IParamValueQueue* queue = outChanges->addParameterData(static_cast<ParamID>(id), &index))
            queue->addPoint(0, value, &index);
    };
    for (size_t i = 0; i < inPeak.size(); ++i) {
        if (static_cast<int32>(i) < MeterId::kMaxChannels)
            put(MeterId::kInputPeakFirst + static_cast<int32>(i), inPeak[i]);
        inPeak[i] = 0.0f;
    }
    put(MeterId::kMaxInLevel, maxInLevel);
    for (size_t o = 0; o < outPeak.size(); ++o) {
        if (static_cast<int32>(o) < MeterId::kMaxChannels)
            put(MeterId::kOutputPeakFirst + static_cast<int32>(o), outPeak[o]);
        outPeak[o] = 0.0f;
    }
    put(MeterId::kMaxOutLevel, maxOutLevel);
}

void MMixerBase::fillSliceQueues(IPlxParameterChanges* changes, int32 numSamples) {
    const int32 last = numSamples - 1;
    if (last < 0) return;
    for (int32 q = changes->getParameterCount() - 1; q >= 0; --q) {
        IParamValueQueue* queue = changes->getParameterData(q);
        const int32 points = queue ? queue->getPointCount() : 0;
        if (points <= 0) continue;
        const auto id = static_cast<int32>(queue->getParameterId());
        double current = getParamValue(id);
        double sent = current;
        int32 lastOffset = 0;
        int32 slice = 0;
        int32 target = std::min(sliceLength - 1, last);
        bool done = false;
        auto push = [&](double value) {
            if (std::fabs(value - sent) > kGainTolerance) {
                if (SliceParamQueue* sq = sliceQueues->at(slice)) sq->push(id, value);
                sent = value;
            }
        };
        for (int32 p = 0; p < points && !done; ++p) {
            int32 offset = 0;
            ParamValue value = 0.0;
            if (queue->getPoint(p, &offset, &value) != kResultOk) continue;
            if (offset == numSamples) offset = last;
            if (offset > last || offset < 0) continue;
            while (target <= offset) {
                const double next =
                    offset == lastOffset
                        ? value
                        : current + (value - current) * (target - lastOffset) / (offset - lastOffset);
                push(next);
                if (target == last) {
                    done = true;
                    break;
                }
                target = std::min(target + sliceLength, last);
                ++slice;
            }
            if (offset < target) {
                lastOffset = offset;
                current = value;
            }
        }
        push(current);
    }
}

bool MMixerBase::processSlice(int32 ins, int32 outs, float** in32, float** out32, double** in64,
                              double** out64, int32 slice, int32 numSamples, bool* changed, bool* silent) {
    if (!model) return false;
    if (sliceQueues) {
        SliceParamQueue* queue = sliceQueues->at(slice);
        if (queue && queue->size() > 0) {
            model->setDeferred(true);
            SliceParamQueue::Entry entry{};
            while (queue->pop(entry)) setParamValue(entry.id, static_cast<float>(entry.value));
            model->setDeferred(false);
            if (!directMode) *changed = true;
        }
    }
    if (in32 && out32) return mixSlice<float>(ins, outs, in32, out32, slice, numSamples, changed, silent);
    if (in64 && out64) return mixSlice<double>(ins, outs, in64, out64, slice, numSamples, changed, silent);
    return false;
}

template <class T>
bool MMixerBase::mixSlice(int32 ins, int32 outs, T** in, T** out, int32 slice, int32 numSamples,
                          bool* changed, bool* silent) {
    const MixMatrix* target = activeMatrix();
    if (!target || !target->allocated || target->data.size() != currentGains.data.size()) return false;
    const int32 start = slice * sliceLength;
    const int32 end = std::min(start + sliceLength, numSamples);
    if (start >= end) return true;
    if (passThrough) {
        passThroughCopy(ins, outs, in, out, start, end - start);
        return true;
    }
    const size_t count = currentGains.data.size();
    float* cur = currentGains.data.data();
    const float* goal = target->data.data();
    float* step = gainStep.data.data();
    float* diff = gainDiff.data.data();
    DSP::Vec::sub(goal, cur, diff, count);
    DSP::Vec::mulC(diff, invSliceLength, step, count);
    DSP::Vec::clampMag(step, maxRampStep, step, count);

    int32 t = start;
    if (*changed) {
        // The ramp: one step per sample towards the target while any element
        // lies farther than the gain tolerance from it, then once more onto
        // it exactly. Its samples are mixed as one block.
        const int32 steps = rampLength(end - start);
        if (steps > 0) {
            mixBlock(ins, outs, in, out, start, steps, true);
            DSP::Vec::addProductC(step, static_cast<float>(steps), cur, count);
            *silent = false;
            t += steps;
        }
        if (t >= end) return true;
        std::copy(goal, goal + count, cur);
        *changed = false;
    }
    // The matrix has settled for the rest of the slice.
    if (directMode && sameArrangement) {
        passThrough = true;
        passThroughCopy(ins, outs, in, out, t, end - t);
        return true;
    }
    if (activeIsSimple() && routingCopy(ins, outs, in, out, t, end - t)) return true;
    mixBlock(ins, outs, in, out, t, end - t, false);
    return true;
}

MMixerBase::int32 MMixerBase::rampLength(int32 limit) const {
    // After k steps element e is off its target by diff[e] - k * step[e],
    // which lies within the gain tolerance on one interval of k. The ramp ends
    // at the first k inside the intervals of all elements.
    const size_t count = gainDiff.data.size();
    const float* diff = gainDiff.data.data();
    const float* step = gainStep.data.data();
    double lo = 0.0;
    double hi = limit;
    for (size_t e = 0; e < count; ++e) {
        const double d = diff[e];
        const double s = step[e];
        if (s == 0.0) {
            if (std::fabs(d) > kGainTolerance) return limit;
            continue;
        }
        double a = (d - kGainTolerance) / s;
        double b = (d + kGainTolerance) / s;
        if (a > b) std::swap(a, b);
        lo = std::max(lo, a);
        hi = std::min(hi, b);
        if (lo > hi) return limit;
    }
    const double first = std::ceil(lo);
    return first > hi ? limit : static_cast<int32>(first);
}

template <class T>
void MMixerBase::mixBlock(int32 ins, int32 outs, T** in, T** out, int32 t, int32 len, bool ramp) {
    if (outs == 0 || len <= 0) return;
    const auto n = static_cast<size_t>(len);
    if (ins == 0) {
        for (int32 o = 0; o < outs; ++o) DSP::Vec::zero(out[o] + t, n);
        return;
    }
    T* gathered;
    T* mixed;
    T* ramped;
    const T* gains;
    const T* steps;
    if constexpr (sizeof(T) == sizeof(float)) {
        gathered = blockIn32;
        mixed = blockOut32;
        ramped = blockRamp32;
        gains = currentGains.data.data();
        steps = gainStep.data.data();
    } else {
        gathered = blockIn64;
        mixed = blockOut64;
        ramped = blockRamp64;
        DSP::Vec::convert(currentGains.data.data(), currentGains64.data(), currentGains.data.size());
        if (ramp) DSP::Vec::convert(gainStep.data.data(), gainStep64.data(), gainStep.data.size());
        gains = currentGains64.data();
        steps = gainStep64.data();
    }
    // All inputs are read before any output is written, so outputs may share
    // memory with inputs.
    if (!ramp && ins > 2 && outs <= kSummedOutputs) {
        // Few outputs: each is summed from the inputs where they lie, which
        // costs less than gathering them for a product of few rows.
        for (int32 o = 0; o < outs; ++o) {
            T* y = mixed + static_cast<size_t>(o) * n;
            DSP::Vec::mulC(in[0] + t, gains[o], y, n);
            for (int32 i = 1; i < ins; ++i)
                DSP::Vec::addProductC(in[i] + t, gains[static_cast<size_t>(i) * outs + o], y, n);
        }
        for (int32 o = 0; o < outs; ++o) DSP::Vec::copy(mixed + static_cast<size_t>(o) * n, out[o] + t, n);
        return;
    }
    for (int32 i = 0; i < ins; ++i) DSP::Vec::copy(in[i] + t, gathered + static_cast<size_t>(i) * n, n);

    // Sample j of a ramp has the gains g + (j + 1) * step.
    if (ins <= 2) {
        const T* x0 = gathered;
        const T* x1 = gathered + n;
        for (int32 o = 0; o < outs; ++o) {
            T* y = out[o] + t;
            const T g0 = gains[o];
            const T g1 = ins == 2 ? gains[outs + o] : T(0);
            if (!ramp) {
                if (ins == 1)
                    DSP::Vec::mulC(x0, g0, y, n);
                else
                    for (size_t j = 0; j < n; ++j) y[j] = x0[j] * g0 + x1[j] * g1;
                continue;
            }
            const T s0 = steps[o];
            const T s1 = ins == 2 ? steps[outs + o] : T(0);
            if (ins == 1)
                for (size_t j = 0; j < n; ++j) y[j] = x0[j] * (g0 + T(j + 1) * s0);
            else
                for (size_t j = 0; j < n; ++j)
                    y[j] = x0[j] * (g0 + T(j + 1) * s0) + x1[j] * (g1 + T(j + 1) * s1);
        }
        return;
    }
    blockProduct(ins, outs, gains, gathered, mixed, len, len);
    if (ramp) {
        blockProduct(ins, outs, steps, gathered, ramped, len, len);
        for (int32 o = 0; o < outs; ++o) {
            T* y = mixed + static_cast<size_t>(o) * n;
            const T* r = ramped + static_cast<size_t>(o) * n;
            for (size_t j = 0; j < n; ++j) y[j] += T(j + 1) * r[j];
        }
    }
    for (int32 o = 0; o < outs; ++o) DSP::Vec::copy(mixed + static_cast<size_t>(o) * n, out[o] + t, n);
}

template <class T>
bool MMixerBase::routingCopy(int32 ins, int32 outs, T** in, T** out, int32 t, int32 len) {
    const std::vector<int32_t>& routing = *activeRouting();
    if (outs == 0) return true;
    const int32 routed = std::min<int32>(outs, static_cast<int32>(routing.size()));
    // An output that shares memory with an input that a later output copies
    // would destroy it; such a routing goes through the block product instead.
    for (int32 o = 0; o < routed; ++o) {
        const int32 src = routing[static_cast<size_t>(o)];
        for (int32 p = o + 1; p < routed; ++p) {
            const int32 later = routing[static_cast<size_t>(p)];
            if (later >= 0 && later < ins && later != src && in[later] == out[o]) return false;
        }
    }
    const auto n = static_cast<size_t>(len);
    for (int32 o = 0; o < routed; ++o) {
        const int32 src = routing[static_cast<size_t>(o)];
        if (src >= 0 && src < ins && in[src] != out[o]) DSP::Vec::copy(in[src] + t, out[o] + t, n);
    }
    for (int32 o = 0; o < outs; ++o) {
        const int32 src = o < routed ? routing[static_cast<size_t>(o)] : -1;
        if (src < 0 || src >= ins) DSP::Vec::zero(out[o] + t, n);
    }
    return true;
}

template <class T>
void MMixerBase::passThroughCopy(int32 ins, int32 outs, T** in, T** out, int32 t, int32 len) {
    const auto n = static_cast<size_t>(len);
    for (int32 o = 0; o < outs; ++o) {
        if (o < ins) {
            if (in[o] != out[o]) DSP::Vec::copy(in[o] + t, out[o] + t, n);
        } else {
            DSP::Vec::zero(out[o] + t, n);
        }
    }
}

} // namespace Tannhofen::Mix

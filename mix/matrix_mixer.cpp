#include "mix/matrix_mixer.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "dsp/vec/vec.h"
#include "frame/class_ids.h"
#include "mix/mix_messages.h"

namespace Tannhofen::Mix {

using namespace Plx;

namespace {

constexpr double kRateTolerance = 2.220446049250313e-16;

// The converter's LFE filter: a 120 Hz low-pass, Q 1, with fades of 250 ms,
// switched off until lPFilter asks for it.
template <class T>
std::unique_ptr<DSP::WideFrame::FilterFade<T>> makeLfeFilter(double rate, int32_t block) {
    auto filter = std::make_unique<DSP::WideFrame::FilterFade<T>>(rate, block, 250.0f, 0);
    filter->init();
    filter->reset();
    filter->setFilterOff(true);
    filter->setFilter(0, 120.0, 1.0);
    return filter;
}

template <class T>
void resizeBuffer(T*& buffer, int32_t& length, int32_t block) {
    if (buffer != nullptr && length == block) return;
    DSP::Vec::free(buffer);
    buffer = DSP::Vec::malloc<T>(static_cast<size_t>(block));
    length = buffer ? block : 0;
}

template <class T>
bool filterDiffers(const DSP::WideFrame::FilterFade<T>* filter, double rate, int32_t block) {
    return !filter || std::fabs(filter->sampleRate - rate) > kRateTolerance || filter->blockSize != block;
}

} // namespace

MatrixMixer::MatrixMixer() : MMixerBase(kMatrixMixerControllerUID, &MixParamTable::instance()) {}

MatrixMixer::~MatrixMixer() {
    DSP::Vec::free(lane<float>().buffer);
    DSP::Vec::free(lane<double>().buffer);
}

void MatrixMixer::createModel() {
    mixModel = IPtr<MMixerModel>::adopt(new MMixerModel());
    model = IPtr<MMixerBaseModel>(mixModel.get());
    if (!mixModel->getGainSet()) mixModel->createGainSet();
}

void MatrixMixer::deleteModel() {
    model.reset();
    mixModel.reset();
}

bool MatrixMixer::acceptInputArrangement(SpeakerArrangement&) {
    return true;
}

tresult MatrixMixer::initialize(FUnknown* context) {
    const tresult r = MMixerBase::initialize(context);
    if (r == kResultOk) {
        if (processSetup.symbolicSampleSize == kSample64)
            setupLfeFilter<double>(processSetup.sampleRate, processSetup.maxSamplesPerBlock);
        else
            setupLfeFilter<float>(processSetup.sampleRate, processSetup.maxSamplesPerBlock);
    }
    return r;
}

void MatrixMixer::allocateBuffers(int32_t ins, int32_t outs) {
    MMixerBase::allocateBuffers(ins, outs);
    lane<float>().inWork.assign(static_cast<size_t>(ins > 0 ? ins : 0), nullptr);
    lane<double>().inWork.assign(static_cast<size_t>(ins > 0 ? ins : 0), nullptr);
}

void MatrixMixer::freeBuffers() {
    MMixerBase::freeBuffers();
    lane<float>().inWork = {};
    lane<double>().inWork = {};
}

int32_t MatrixMixer::lfeChannelOf(SpeakerArrangement mask, int32_t lfeCount) {
    if (lfeCount <= 0 || !(mask & Speaker::LFE)) return -1;
    return channelCount(mask & (Speaker::LFE - 1));
}

void MatrixMixer::applyArrangements(SpeakerArrangement in, SpeakerArrangement out) {
    MMixerBase::applyArrangements(in, out);
    lfeInChannel = model ? lfeChannelOf(in, model->getNumInLfe()) : -1;
    lfeOutChannel = model ? lfeChannelOf(out, model->getNumOutLfe()) : -1;
}

void MatrixMixer::resetLevels() {
    MMixerBase::resetLevels();
    for (int32_t id : {ParamId::kCenterLvl, ParamId::kSurroundLvl, ParamId::kTopLvl, ParamId::kBottomLvl,
                       ParamId::kSideLvl})
        resetParam(id);
}

double MatrixMixer::getParamValue(int32_t id) {
    return mixModel ? mixModel->getParamValue(id) : -1.0;
}

void MatrixMixer::setParamValue(int32_t id, double value) {
    if (id == ParamId::kDirectMode) {
        directMode = value >= 0.5;
        passThrough = false;
    }
    if (mixModel) mixModel->setParamValue(id, value);
}

bool MatrixMixer::setVersion(int32_t version) {
    stateVersion = version;
    return version >= 2;
}

void MatrixMixer::applyOutputArrangement(SpeakerArrangement out) {
    negotiateArrangements(presentInputArr(), out);
}

tresult MatrixMixer::setBusArrangements(SpeakerArrangement* inputs, int32_t numIns,
                                        SpeakerArrangement* outputs, int32_t numOuts) {
    if (!inputs || !outputs) return kInvalidArgument;
    if (numIns != 1 || numOuts != 1) return kResultFalse;
    tresult result;
    if (stateOutputArr == 0) {
        result = MMixerBase::setBusArrangements(inputs, numIns, outputs, numOuts);
    } else {
        // A loaded state wants its own output: the host gets it in place of
        // the one it asked for, and learns so from the answer.
        const SpeakerArrangement wanted = stateOutputArr;
        result = negotiateArrangements(inputs[0], wanted);
        if (outputs[0] == wanted) {
            restartPending = false;
            stateInputArr = stateOutputArr = 0;
        } else {
            result = kResultFalse;
        }
    }
    arrangementsSet = true;
    return result;
}

tresult MatrixMixer::setState(IPlxStream* stream) {
    const tresult r = MMixerBase::setState(stream);
    // A stream without arrangements keeps the loaded levels through the next
    // negotiation, but has no output to ask the host for.
    if (r != kResultOk || !restartPending || !stateOutputArr) return r;
    if (!active) {
        if (arrangementsSet) {
            applyOutputArrangement(stateOutputArr);
            sendIntMessage(Msg::kRestartComponent, Msg::kFlags, kIoChanged);
        }
    } else if (!usedAsPanner) {
        requestedOutputArr = stateOutputArr;
        sendIntMessage(Msg::kRestartComponent, Msg::kFlags, kIoChanged);
    } else {
        // In the host's panner slot the buses are the host's: the wish is given up.
        restartPending = false;
        stateInputArr = stateOutputArr = 0;
    }
    return r;
}

tresult MatrixMixer::notify(IMessage* message) {
    if (message && message->getMessageID() &&
        std::strcmp(message->getMessageID(), Msg::kRequestedOutputArrangement) == 0) {
        SpeakerArrangement wanted = 0;
        const void* data = nullptr;
        uint32_t size = 0;
        IPlxAttributes* attributes = message->getAttributes();
        if (attributes && attributes->getBinary(Msg::kBinary, &data, &size) == kResultOk && data &&
            size == sizeof wanted)
            std::memcpy(&wanted, data, sizeof wanted);
        requestedOutputArr = wanted;
        if (!active && wanted != 0) {
            applyOutputArrangement(wanted);
            requestedOutputArr = 0;
        }
        return kResultOk;
    }
    return MMixerBase::notify(message);
}

tresult MatrixMixer::setActive(TBool state) {
    const bool wasActive = active;
    const tresult r = MMixerBase::setActive(state);
    if (r == kResultOk && wasActive && !state && requestedOutputArr != 0) {
        applyOutputArrangement(requestedOutputArr);
        requestedOutputArr = 0;
    }
    return r;
}

tresult MatrixMixer::setupProcessing(PlxProcessSetup* setup) {
    if (setup && std::fabs(setup->sampleRate) > kRateTolerance && setup->maxSamplesPerBlock > 0) {
        if (setup->symbolicSampleSize == kSample64)
            setupLfeFilter<double>(setup->sampleRate, setup->maxSamplesPerBlock);
        else
            setupLfeFilter<float>(setup->sampleRate, setup->maxSamplesPerBlock);
    }
    return MMixerBase::setupProcessing(setup);
}

tresult MatrixMixer::setProcessing(TBool state) {
    setLfeFilterActive(state != 0);
    return MMixerBase::setProcessing(state);
}

template <class T>
void MatrixMixer::setupLfeFilter(double rate, int32_t block) {
    if (std::fabs(rate) <= kRateTolerance || block <= 0) return;
    LfeLane<T>& l = lane<T>();
    if (filterDiffers(l.filter.get(), rate, block)) {
        l.filter = makeLfeFilter<T>(rate, block);
        filterBypassed = true;
    }
    resizeBuffer(l.buffer, l.length, block);
}

void MatrixMixer::setLfeFilterActive(bool state) {
    if (lane<float>().filter) lane<float>().filter->setActive(state);
    if (lane<double>().filter) lane<double>().filter->setActive(state);
}

template <class T>
bool MatrixMixer::runLfeFilter(DSP::WideFrame::FilterFade<T>& filter, T* data, int32_t len, bool on) {
    if (on) {
        filter.setFilterOff(false);
        filter.processMono(&filter, data, data, len);
        filterBypassed = false;
        return true;
    }
    if (filterBypassed) return false;
    // Switching off fades out; once no fade runs the filter is bypassed.
    filter.setFilterOff(true);
    if (!filter.crossFader->fading) filterBypassed = true;
    filter.processMono(&filter, data, data, len);
    if (filterBypassed && filter.crossFader->fading) filterBypassed = false; // a waiting design began a fade
    return true;
}

template <class T>
bool MatrixMixer::filterAndMix(MixSlice<T>& slice) {
    LfeLane<T>& l = lane<T>();
    // The mix reads its inputs through the work array, where the filtered LFE
    // takes the place of the LFE input.
    const auto n = static_cast<size_t>(slice.ins);
    const bool work = l.inWork.size() == n;
    if (work) {
        std::copy(slice.in, slice.in + n, l.inWork.begin());
        slice.in = l.inWork.data();
    }
    const int32_t start = slice.start(sliceLength);
    const int32_t len = std::min(sliceLength, slice.numSamples - start);
    const bool inputSide = lfeInChannel >= 0 && lfeInChannel < slice.ins;
    if (inputSide && len > 0 && work && l.filter && l.buffer && start + len <= l.filter->blockSize) {
        const bool on = mixModel && mixModel->getLowPass() && !directMode;
        if (on || !filterBypassed) {
            DSP::Vec::copy(slice.in[lfeInChannel] + start, l.buffer + start, static_cast<size_t>(len));
            slice.in[lfeInChannel] = l.buffer;
            runLfeFilter(*l.filter, l.buffer + start, len, on);
        }
    }
    const bool mixed = MMixerBase::processSlice(slice);
    if (!inputSide && lfeOutChannel >= 0 && lfeOutChannel < slice.outs && len > 0 && l.filter &&
        start + len <= l.filter->blockSize) {
        // After the mix, on the output's LFE; direct mode doesn't bypass it here.
        const bool on = mixModel && mixModel->getLowPass();
        runLfeFilter(*l.filter, slice.out[lfeOutChannel] + start, len, on);
    }
    return mixed;
}

bool MatrixMixer::processSlice(MixSlice<float>& slice) {
    return filterAndMix(slice);
}

bool MatrixMixer::processSlice(MixSlice<double>& slice) {
    return filterAndMix(slice);
}

} // namespace Tannhofen::Mix

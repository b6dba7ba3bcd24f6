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

MatrixMixer::MatrixMixer() : MMixerBase(kMatrixMixerControllerUID, &MixParamTable::instance()) {}

MatrixMixer::~MatrixMixer() {
    DSP::Vec::free(lfeBuffer32);
    DSP::Vec::free(lfeBuffer64);
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
    if (r == kResultOk) setupLfeFilter(processSetup);
    return r;
}

void MatrixMixer::allocateBuffers(int32 ins, int32 outs) {
    MMixerBase::allocateBuffers(ins, outs);
    inWork32.assign(static_cast<size_t>(ins > 0 ? ins : 0), nullptr);
    inWork64.assign(static_cast<size_t>(ins > 0 ? ins : 0), nullptr);
}

void MatrixMixer::freeBuffers() {
    MMixerBase::freeBuffers();
    inWork32 = {};
    inWork64 = {};
}

MatrixMixer::int32 MatrixMixer::lfeChannelOf(SpeakerArrangement mask, int32 lfeCount) {
    constexpr SpeakerArrangement kLfeBit = 0x8;
    if (lfeCount <= 0 || !(mask & kLfeBit)) return -1;
    return std::popcount(mask & (kLfeBit - 1));
}

void MatrixMixer::applyArrangements(SpeakerArrangement in, SpeakerArrangement out) {
    MMixerBase::applyArrangements(in, out);
    lfeInChannel = model ? lfeChannelOf(in, model->getNumInLfe()) : -1;
    lfeOutChannel = model ? lfeChannelOf(out, model->getNumOutLfe()) : -1;
}

void MatrixMixer::resetLevels() {
    MMixerBase::resetLevels();
    for (int32 id : {ParamId::kCenterLvl, ParamId::kSurroundLvl, ParamId::kTopLvl, ParamId::kBottomLvl,
                     ParamId::kSideLvl})
        resetParam(id);
}

double MatrixMixer::getParamValue(int32 id) {
    return mixModel ? mixModel->getParamValue(id) : -1.0;
}

void MatrixMixer::setParamValue(int32 id, double value) {
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

tresult MatrixMixer::setBusArrangements(SpeakerArrangement* inputs, int32 numIns, SpeakerArrangement* outputs,
                                        int32 numOuts) {
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
        uint32 size = 0;
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
    if (setup && std::fabs(setup->sampleRate) > 2.220446049250313e-16 && setup->maxSamplesPerBlock > 0)
        setupLfeFilter(*setup);
    return MMixerBase::setupProcessing(setup);
}

tresult MatrixMixer::setProcessing(TBool state) {
    setLfeFilterActive(state != 0);
    return MMixerBase::setProcessing(state);
}

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

void MatrixMixer::setupLfeFilter(const PlxProcessSetup& setup) {
    const double rate = setup.sampleRate;
    const int32 block = setup.maxSamplesPerBlock;
    if (std::fabs(rate) <= kRateTolerance || block <= 0) return;
    if (setup.symbolicSampleSize == kSample64) {
        if (filterDiffers(lfeFilter64.get(), rate, block)) {
            lfeFilter64 = makeLfeFilter<double>(rate, block);
            filterBypassed = true;
        }
        resizeBuffer(lfeBuffer64, lfeBuffer64Length, block);
    } else {
        if (filterDiffers(lfeFilter32.get(), rate, block)) {
            lfeFilter32 = makeLfeFilter<float>(rate, block);
            filterBypassed = true;
        }
        resizeBuffer(lfeBuffer32, lfeBuffer32Length, block);
    }
}

void MatrixMixer::setLfeFilterActive(bool state) {
    if (lfeFilter32) lfeFilter32->setActive(state);
    if (lfeFilter64) lfeFilter64->setActive(state);
}

template <class T>
bool MatrixMixer::runLfeFilter(DSP::WideFrame::FilterFade<T>& filter, T* data, int32 len, bool on) {
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
void MatrixMixer::filterLfeInput(DSP::WideFrame::FilterFade<T>* filter, T* buffer, T** in, int32 start,
                                 int32 len) {
    if (!filter || !buffer || start + len > filter->blockSize) return;
    const bool on = mixModel && mixModel->getLowPass() && !directMode;
    if (on || !filterBypassed) {
        // The mix reads the filtered copy in place of the LFE input.
        DSP::Vec::copy(in[lfeInChannel] + start, buffer + start, static_cast<size_t>(len));
        in[lfeInChannel] = buffer;
        runLfeFilter(*filter, buffer + start, len, on);
    }
}

bool MatrixMixer::processSlice(int32 ins, int32 outs, float** in32, float** out32, double** in64,
                               double** out64, int32 slice, int32 numSamples, bool* changed, bool* silent) {
    // The mix reads its inputs through the work arrays, where the filtered
    // LFE takes the place of the LFE input.
    const auto n = static_cast<size_t>(ins);
    if (in32 && inWork32.size() == n) {
        std::copy(in32, in32 + n, inWork32.begin());
        in32 = inWork32.data();
    }
    if (in64 && inWork64.size() == n) {
        std::copy(in64, in64 + n, inWork64.begin());
        in64 = inWork64.data();
    }
    const int32 start = slice * sliceLength;
    const int32 len = std::min(sliceLength, numSamples - start);
    const bool inputSide = lfeInChannel >= 0 && lfeInChannel < ins;
    if (inputSide && len > 0) {
        if (in32 == inWork32.data()) filterLfeInput(lfeFilter32.get(), lfeBuffer32, in32, start, len);
        if (in64 == inWork64.data()) filterLfeInput(lfeFilter64.get(), lfeBuffer64, in64, start, len);
    }
    const bool mixed =
        MMixerBase::processSlice(ins, outs, in32, out32, in64, out64, slice, numSamples, changed, silent);
    if (!inputSide && lfeOutChannel >= 0 && lfeOutChannel < outs && len > 0) {
        // After the mix, on the output's LFE; direct mode doesn't bypass it here.
        const bool on = mixModel && mixModel->getLowPass();
        if (out32 && lfeFilter32 && start + len <= lfeFilter32->blockSize)
            runLfeFilter(*lfeFilter32, out32[lfeOutChannel] + start, len, on);
        if (out64 && lfeFilter64 && start + len <= lfeFilter64->blockSize)
            runLfeFilter(*lfeFilter64, out64[lfeOutChannel] + start, len, on);
    }
    return mixed;
}

} // namespace Tannhofen::Mix

#include "mix/matrix_mixer.h"

#include <bit>
#include <cmath>
#include <cstring>

#include "frame/class_ids.h"
#include "mix/mix_messages.h"

namespace Tannhofen::Mix {

using namespace Plx;

MatrixMixer::MatrixMixer() : MMixerBase(kMatrixMixerControllerUID, &MixParamTable::instance()) {}

MatrixMixer::~MatrixMixer() = default;

void MatrixMixer::createModel()
{
    mixModel = IPtr<MMixerModel>::adopt(new MMixerModel());
    model = IPtr<MMixerBaseModel>(mixModel.get());
    if (!mixModel->getGainSet())
        mixModel->createGainSet();
}

void MatrixMixer::deleteModel()
{
    model.reset();
    mixModel.reset();
}

bool MatrixMixer::acceptInputArrangement(SpeakerArrangement&) { return true; }

tresult MatrixMixer::initialize(FUnknown* context)
{
    const tresult r = MMixerBase::initialize(context);
    if (r == kResultOk)
        setupLfeFilter(processSetup);
    return r;
}

void MatrixMixer::allocateBuffers(int32 ins, int32 outs)
{
    MMixerBase::allocateBuffers(ins, outs);
    inWork32.assign(static_cast<size_t>(ins > 0 ? ins : 0), nullptr);
    inWork64.assign(static_cast<size_t>(ins > 0 ? ins : 0), nullptr);
}

void MatrixMixer::freeBuffers()
{
    MMixerBase::freeBuffers();
    inWork32 = {};
    inWork64 = {};
}

MatrixMixer::int32 MatrixMixer::lfeChannelOf(SpeakerArrangement mask, int32 lfeCount)
{
    constexpr SpeakerArrangement kLfeBit = 0x8;
    if (lfeCount <= 0 || !(mask & kLfeBit))
        return -1;
    return std::popcount(mask & (kLfeBit - 1));
}

void MatrixMixer::applyArrangements(SpeakerArrangement in, SpeakerArrangement out)
{
    MMixerBase::applyArrangements(in, out);
    lfeInChannel = model ? lfeChannelOf(in, model->getNumInLfe()) : -1;
    lfeOutChannel = model ? lfeChannelOf(out, model->getNumOutLfe()) : -1;
}

void MatrixMixer::resetLevels()
{
    MMixerBase::resetLevels();
    for (int32 id : {ParamId::kCenterLvl, ParamId::kSurroundLvl, ParamId::kTopLvl, ParamId::kBottomLvl,
                     ParamId::kSideLvl})
        resetParam(id);
}

double MatrixMixer::getParamValue(int32 id) { return mixModel ? mixModel->getParamValue(id) : -1.0; }

void MatrixMixer::setParamValue(int32 id, double value)
{
    if (id == ParamId::kDirectMode) {
        directMode = value >= 0.5;
        passThrough = false;
    }
    if (mixModel)
        mixModel->setParamValue(id, value);
}

bool MatrixMixer::setVersion(int32_t version)
{
    stateVersion = version;
    return version >= 2;
}

void MatrixMixer::applyOutputArrangement(SpeakerArrangement out) { negotiateArrangements(presentInputArr(), out); }

tresult MatrixMixer::setBusArrangements(SpeakerArrangement* inputs, int32 numIns, SpeakerArrangement* outputs,
                                        int32 numOuts)
{
    if (!inputs || !outputs)
        return kInvalidArgument;
    if (numIns != 1 || numOuts != 1)
        return kResultFalse;
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

tresult MatrixMixer::setState(IPlxStream* stream)
{
    const tresult r = MMixerBase::setState(stream);
    // A stream without arrangements keeps the loaded levels through the next
    // negotiation, but has no output to ask the host for.
    if (r != kResultOk || !restartPending || !stateOutputArr)
        return r;
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

tresult MatrixMixer::notify(IMessage* message)
{
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

tresult MatrixMixer::setActive(TBool state)
{
    const bool wasActive = active;
    const tresult r = MMixerBase::setActive(state);
    if (r == kResultOk && wasActive && !state && requestedOutputArr != 0) {
        applyOutputArrangement(requestedOutputArr);
        requestedOutputArr = 0;
    }
    return r;
}

tresult MatrixMixer::setupProcessing(PlxProcessSetup* setup)
{
    if (setup && std::fabs(setup->sampleRate) > 2.220446049250313e-16 && setup->maxSamplesPerBlock > 0)
        setupLfeFilter(*setup);
    return MMixerBase::setupProcessing(setup);
}

tresult MatrixMixer::setProcessing(TBool state)
{
    setLfeFilterActive(state != 0);
    return MMixerBase::setProcessing(state);
}

void MatrixMixer::setupLfeFilter(const PlxProcessSetup&) {}

void MatrixMixer::setLfeFilterActive(bool) {}

bool MatrixMixer::processSlice(int32 ins, int32 outs, float** in32, float** out32, double** in64, double** out64,
                               int32 slice, int32 numSamples, bool* changed, bool* silent)
{
    // The mix reads its inputs through the work arrays, where the filtered
    // LFE will take the place of the LFE input.
    const auto n = static_cast<size_t>(ins);
    if (in32 && inWork32.size() == n) {
        std::copy(in32, in32 + n, inWork32.begin());
        in32 = inWork32.data();
    }
    if (in64 && inWork64.size() == n) {
        std::copy(in64, in64 + n, inWork64.begin());
        in64 = inWork64.data();
    }
    return MMixerBase::processSlice(ins, outs, in32, out32, in64, out64, slice, numSamples, changed, silent);
}

} // namespace Tannhofen::Mix

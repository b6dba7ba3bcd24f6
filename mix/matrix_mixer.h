// MatrixMixer: the processor of MixMorph, the channel-format converter. It
// runs MMixerBase with an MMixerModel, resets the converter's levels for new
// arrangements, and takes up arrangements that a loaded state or the editor
// asks for through a restart of the component.
//
// One LFE channel is low-passed at 120 Hz by a filter fade: the input's LFE
// before the mix, or the output's after it when the input has none. The
// lPFilter parameter switches it, and so does direct mode on the input side;
// both directions fade over 250 ms.
#pragma once

#include <memory>

#include "dsp/algo32/fade.h"
#include "dsp/algo64/fade.h"
#include "mix/mixer_base.h"
#include "mix/mixer_model.h"

namespace Tannhofen::Mix {

class MatrixMixer : public MMixerBase {
public:
    PLX_OBJ_METHODS(MatrixMixer, MMixerBase, "MatrixMixer")

    MatrixMixer();

    tresult initialize(Plx::FUnknown* context) override;
    tresult notify(Plx::IMessage* message) override;
    tresult setActive(Plx::TBool state) override;
    tresult setState(Plx::IPlxStream* stream) override;
    tresult setBusArrangements(SpeakerArrangement* inputs, int32 numIns, SpeakerArrangement* outputs,
                               int32 numOuts) override;
    tresult setupProcessing(Plx::PlxProcessSetup* setup) override;
    tresult setProcessing(Plx::TBool state) override;

    bool setVersion(int32_t version) override;

    MMixerModel* getMixModel() const { return mixModel.get(); }
    int32 getLfeInChannel() const { return lfeInChannel; }
    int32 getLfeOutChannel() const { return lfeOutChannel; }
    SpeakerArrangement getRequestedOutputArr() const { return requestedOutputArr; }

    // The restart flag that asks the host to renegotiate the buses.
    static constexpr Plx::int64 kIoChanged = 2;

protected:
    ~MatrixMixer() override;

    void createModel() override;
    void deleteModel() override;
    bool acceptInputArrangement(SpeakerArrangement& arr) override;
    void allocateBuffers(int32 ins, int32 outs) override;
    void freeBuffers() override;
    void applyArrangements(SpeakerArrangement in, SpeakerArrangement out) override;
    void resetLevels() override;
    bool processSlice(int32 ins, int32 outs, float** in32, float** out32, double** in64, double** out64,
                      int32 slice, int32 numSamples, bool* changed, bool* silent) override;
    double getParamValue(int32 id) override;
    void setParamValue(int32 id, double value) override;

private:
    // Builds the LFE filter of the setup's sample size when the rate or the
    // block size changed, and sizes the LFE buffer.
    void setupLfeFilter(const Plx::PlxProcessSetup& setup);
    void setLfeFilterActive(bool state);
    // Runs the filter over `len` samples of `data` in place, switched on or
    // off as `on` says; false when it is off and settled, and nothing ran.
    template <class T>
    bool runLfeFilter(DSP::WideFrame::FilterFade<T>& filter, T* data, int32 len, bool on);
    // The LFE steps of one slice around the base's mix, in the block's sample size.
    template <class T>
    void filterLfeInput(DSP::WideFrame::FilterFade<T>* filter, T* buffer, T** in, int32 start, int32 len);
    // The channel of the LFE (bit 0x8) on one side, or -1.
    static int32 lfeChannelOf(SpeakerArrangement mask, int32 lfeCount);
    // Applies `out` with the present input, as a restart does.
    void applyOutputArrangement(SpeakerArrangement out);

    Plx::IPtr<MMixerModel> mixModel;
    SpeakerArrangement requestedOutputArr = 0;
    int32 lfeInChannel = -1;
    int32 lfeOutChannel = -1;
    bool arrangementsSet = false;
    // The input channels that the mix reads, so that one of them can be
    // replaced by the filtered LFE.
    std::vector<float*> inWork32;
    std::vector<double*> inWork64;
    std::unique_ptr<DSP::Algo32::FilterFade> lfeFilter32;
    std::unique_ptr<DSP::Algo64::FilterFade> lfeFilter64;
    // The filtered input LFE, at the offsets of the block: maxSamplesPerBlock samples.
    float* lfeBuffer32 = nullptr;
    double* lfeBuffer64 = nullptr;
    int32 lfeBuffer32Length = 0;
    int32 lfeBuffer64Length = 0;
    bool filterBypassed = true; // switched off and faded out: the LFE passes untouched
};

} // namespace Tannhofen::Mix

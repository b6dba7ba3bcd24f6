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
#include <tuple>
#include <vector>

#include "dsp/algo32/wide_fade.h"
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
    tresult setBusArrangements(SpeakerArrangement* inputs, int32_t numIns, SpeakerArrangement* outputs,
                               int32_t numOuts) override;
    tresult setupProcessing(Plx::PlxProcessSetup* setup) override;
    tresult setProcessing(Plx::TBool state) override;

    bool setVersion(int32_t version) override;

    MMixerModel* getMixModel() const { return mixModel.get(); }
    int32_t getLfeInChannel() const { return lfeInChannel; }
    int32_t getLfeOutChannel() const { return lfeOutChannel; }
    SpeakerArrangement getRequestedOutputArr() const { return requestedOutputArr; }

    // The restart flag that asks the host to renegotiate the buses.
    static constexpr int64_t kIoChanged = 2;

protected:
    ~MatrixMixer() override;

    void createModel() override;
    void deleteModel() override;
    bool acceptInputArrangement(SpeakerArrangement& arr) override;
    void allocateBuffers(int32_t ins, int32_t outs) override;
    void freeBuffers() override;
    void applyArrangements(SpeakerArrangement in, SpeakerArrangement out) override;
    void resetLevels() override;
    bool processSlice(MixSlice<float>& slice) override;
    bool processSlice(MixSlice<double>& slice) override;
    double getParamValue(int32_t id) override;
    void setParamValue(int32_t id, double value) override;

private:
    // What the LFE filter needs in one sample type: the filter, the filtered
    // input LFE at the offsets of the block (maxSamplesPerBlock samples), and
    // the input channels that the mix reads, so that the filtered LFE can
    // take the place of the LFE input.
    template <class T>
    struct LfeLane {
        std::unique_ptr<DSP::WideFrame::FilterFade<T>> filter;
        T* buffer = nullptr;
        int32_t length = 0;
        std::vector<T*> inWork;
    };
    template <class T>
    LfeLane<T>& lane() {
        return std::get<LfeLane<T>>(lanes);
    }

    // Builds the LFE filter of the setup's sample size when the rate or the
    // block size changed, and sizes the LFE buffer.
    template <class T>
    void setupLfeFilter(double rate, int32_t block);
    void setLfeFilterActive(bool state);
    // Runs the filter over `len` samples of `data` in place, switched on or
    // off as `on` says; false when it is off and settled, and nothing ran.
    template <class T>
    bool runLfeFilter(DSP::WideFrame::FilterFade<T>& filter, T* data, int32_t len, bool on);
    // The LFE steps of one slice around the base's mix.
    template <class T>
    bool filterAndMix(MixSlice<T>& slice);
    // The channel of the LFE (bit LFE) on one side, or -1.
    static int32_t lfeChannelOf(SpeakerArrangement mask, int32_t lfeCount);
    // Applies `out` with the present input, as a restart does.
    void applyOutputArrangement(SpeakerArrangement out);

    Plx::IPtr<MMixerModel> mixModel;
    SpeakerArrangement requestedOutputArr = 0;
    int32_t lfeInChannel = -1;
    int32_t lfeOutChannel = -1;
    bool arrangementsSet = false;
    std::tuple<LfeLane<float>, LfeLane<double>> lanes;
    bool filterBypassed = true; // switched off and faded out: the LFE passes untouched
};

} // namespace Tannhofen::Mix

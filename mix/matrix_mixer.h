// MatrixMixer: the processor of MixMorph, the channel-format converter. It
// runs MMixerBase with an MMixerModel, resets the converter's levels for new
// arrangements, and takes up arrangements that a loaded state or the editor
// asks for through a restart of the component.
//
// The LFE channel will be low-passed here; until then it passes unfiltered,
// and setupLfeFilter, setLfeFilterActive and processSlice are where the filter
// goes.
#pragma once

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
    bool processSlice(int32 ins, int32 outs, float** in32, float** out32, double** in64, double** out64, int32 slice,
                      int32 numSamples, bool* changed, bool* silent) override;
    double getParamValue(int32 id) override;
    void setParamValue(int32 id, double value) override;

private:
    // Builds the LFE filter for the setup; the filter doesn't exist yet.
    void setupLfeFilter(const Plx::PlxProcessSetup& setup);
    void setLfeFilterActive(bool state);
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
};

} // namespace Tannhofen::Mix

// The frame of the decoder's three algorithms (binaural, speaker, ambisonic):
// what they share is the ACN/SN3D input of order 1 to 3, the sound-field
// rotation and the focus stage. A derived algorithm supplies processBlock and
// runs the two stages there with processStages.
//
// Configuration, with the stream stopped: setOrder, setChannels (inputs
// (order + 1)^2), setBlockSize, collectBlockSize, setSampleRate, init, reset;
// then the focus setters, focusOn and focusFollow, and the rotation's setters
// (rotation.setYaw, ...) before each block, on the audio thread.
//
// An algorithm is also an FObject: the processor reaches IAmbiBin and
// IAmbiSpeakerAlgo through queryInterface. The frame's `release` (free the
// buffers) and the reference count's `release` share a name: on an AmbiAlgo
// the name means the frame's; the count is released through the FObject base
// or an interface.
#pragma once

#include <cstdint>
#include <memory>

#include "ambi/ambi_focus.h"
#include "ambi/ambi_rotation.h"
#include "dsp/audio/sample_collector.h"
#include "frame/fobject.h"

namespace Tannhofen::AmbiBin {

template <class T>
class AmbiAlgo : public DSP::Audio::SampleCollector2<T>, public Plx::FObject {
public:
    enum AlgoType : int32_t { kBinaural = 1, kSpeaker = 2, kAmbisonic = 3 };
    // The results of init: the collector's success, and a configuration that
    // can't be served (nothing is allocated, and blocks give silence).
    static constexpr int32_t kInitDone = 1;
    static constexpr int32_t kInitRefused = -1;

    AmbiAlgo(int32_t numOutputs, int32_t algoType);
    ~AmbiAlgo() override;

    PLX_OBJ_METHODS(AmbiAlgo, Plx::FObject, "AmbiAlgo")
    // Answers the interfaces of ambiInterface besides those of FObject.
    Plx::tresult queryInterface(const Plx::TUID& iid, void** obj) override;

    using DSP::Audio::SampleCollector2<T>::release; // frees what init made; 1

    bool isActive() const override { return false; }
    uint32_t getLatency() const override { return 0; }
    // Refuses (1) an input count other than 4, 9 or 16, or no output.
    int32_t setChannels(uint32_t inputs, uint32_t outputs) override;
    // kInitDone, or kInitRefused when the input count is not (order + 1)^2,
    // no block size is set or an allocation failed. Works on
    // max(blockSize, collectBlockSize) frames.
    int32_t init() override;
    void reset() override;
    void freeBuffers() override;

    // Stores an order of 1 to 3 here and in the rotation; false (and no
    // change) for any other.
    virtual bool setOrder(uint32_t newOrder);

    // Normalised values v in 0..1; outside values are clamped, NaN is ignored.
    // Each marks the focus dirty; false before init, when there is no focus.
    bool setFocusAzimuth(double v);
    bool setFocusElevation(double v);
    bool setFocusSize(double v);
    bool setFocusAttenuation(double v);

    // The frames one processBlock may carry: 0 until init succeeded.
    uint32_t workFrames() const { return ready ? frameCapacity : 0; }

    T** channels = nullptr; // working copy of the input, one block per input channel
    int32_t numOutputs;
    int32_t order = 1;
    const int32_t maxOrderChannels = 4; // kept, not used
    int32_t algoType;
    AmbiRotationAlgo<T> rotation;
    // Planar staging of the focus product: block frames by input channels.
    ColumnMatrix<T> focusOutput{0, 0, true};
    ColumnMatrix<T> focusInput{0, 0, true};
    std::unique_ptr<AmbiFocus<T>> focus;
    double focusFollow = 1; // nonzero: the focus region turns with the head
    double focusOn = 0;

protected:
    // The rotation and focus stages on `frames` frames (at most workFrames())
    // from source to dest, input channels on both; dest may be source.
    // - focus off: rotation only;
    // - focus on, following the head: rotation, then focus on the result;
    // - focus on, fixed in the scene: focus, then rotation on the result.
    void processStages(T** source, T** dest, uint32_t frames);
    // The focus transform applied to `frames` frames from src to dst.
    void focusPass(T** src, T** dst, uint32_t frames);
    // A derived class's interfaces, for queryInterface: the interface pointer
    // for iid, or null. The reference is added by queryInterface.
    virtual void* ambiInterface(const Plx::TUID& iid);

    bool ready = false;
    uint32_t frameCapacity = 0;

private:
    void freeAmbiBuffers();
    // One focus field from a normalised value through its law.
    bool setFocusValue(double v, float AmbiFocus<T>::*field, float (*law)(double));
};

extern template class AmbiAlgo<float>;
extern template class AmbiAlgo<double>;

} // namespace Tannhofen::AmbiBin

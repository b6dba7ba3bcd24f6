// Ambisonics to two ears. Per block: the input is copied to the working
// channels; for the standard set and SOFA sets (modes 1 and 3) each channel
// passes the dual-band weighting of ambi/dual_band.h (max-rE weight on the
// high band, the low band subtracted, as one section per channel); the
// rotation and focus stages run into `rotated`; and the convolver applies the
// current HRIR set of the bank and sums to left and right. There is no decoding to virtual speakers: the sets
// are in the spherical-harmonic domain already.
//
// Configuration, with the stream stopped: setOrder, setChannels(inputs, 2),
// setBlockSize and collectBlockSize, setSampleRate, setHrir (IAmbiBin), init,
// reset. A new set, order or block is a new configuration: the filters are
// never swapped on a running convolver. The latency is the convolver's
// transform size, collector block included.
#pragma once

#include <cstdint>
#include <string>

#include "ambi/ambi_algo.h"
#include "ambi/ambi_hrir_convolver_algo.h"
#include "ambi/ambi_interfaces.h"
#include "ambi/dual_band.h"
#include "ambi/hrir_bank.h"

namespace Tannhofen::AmbiBin {

template <class T>
class AmbiBinAlgo : public AmbiAlgo<T>, public FObjectInterface<IAmbiBin, AmbiBinAlgo<T>> {
public:
    // bank: the processor's bank of this sample type, not owned; it outlives the algorithm.
    explicit AmbiBinAlgo(HrirBank<T>* bank);
    ~AmbiBinAlgo() override;

    PLX_OBJ_METHODS(AmbiBinAlgo, AmbiAlgo<T>, "AmbiBinAlgo")
    using AmbiAlgo<T>::release;

    // Ambisonic inputs and the two ears; anything else is refused (1).
    int32_t setChannels(uint32_t inputs, uint32_t outputs) override;
    // Gives the rate to the convolver and answers its refusal (the default accepts every rate).
    int32_t setSampleRate(T rate) override;
    uint32_t getLatency() const override { return convolver.getLatency(); }
    int32_t init() override;
    void reset() override;
    void freeBuffers() override;
    // One collector block: the weighting, the stages, the convolution.
    void processBlock(T** in, T** out, uint32_t frames) override;

    // IAmbiBin: the bank's select with the name in UTF-8.
    Plx::int32 setHrir(Plx::int32 mode, float sampleRate, Plx::int32 order, const Plx::char16* name,
                       IFactoryListener* listenerData, bool forceReload) override;
    Plx::int32 getHrirMode() override;

    std::string configName = "Tetra_4"; // kept, not read
    std::u16string spareName1, spareName2;
    T** rotated = nullptr; // the stages' result: the convolver's input
    HrirBank<T>* bank;
    AmbiHrirConvolverAlgo<T> convolver;
    // The dual-band weighting of every channel, one section per channel with
    // the crossover's shared denominator (ambi/dual_band.h).
    DualBand::Weighting<T> weighting;

protected:
    void* ambiInterface(const Plx::TUID& iid) override;

private:
    void freeBinauralBuffers();

    bool weighted = false; // the set in force at init runs behind the dual-band weighting
};

extern template class AmbiBinAlgo<float>;
extern template class AmbiBinAlgo<double>;

} // namespace Tannhofen::AmbiBin

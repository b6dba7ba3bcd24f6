// MixMeters: the level meters of the mix processor. Per side (input and
// output) the peak of every channel since the last report, the level of the
// last block and the largest level seen; the editor switches each side on and
// off. The processor reports them as output parameter changes about 25 times
// a second, and once more when a side is switched off.
//
// Threads: allocate() with the stream stopped; the rest on the audio thread,
// without allocation. The wishes are single-byte flags that the user-interface
// thread writes.
#pragma once

#include <cstdint>
#include <vector>

#include "dsp/vec/vec.h"
#include "frame/iparameterchanges.h"

namespace Tannhofen::Mix {

class MixMeters {
public:
    struct Side {
        std::vector<float> peak;  // per channel, since the last report
        std::vector<float> level; // per channel, of the last block
        float max = 0.0f;         // since the editor last reset it
        bool wanted = false;      // the editor's wish
        bool active = false;      // in force for this block
    };

    MixMeters();

    void allocate(int32_t ins, int32_t outs);
    void release();
    // Reports at 25 per second of `rate`.
    void setSampleRate(double rate);

    // Start of a block: takes up the editor's wishes. Answers whether a side
    // was switched off, so that its last values must go out now.
    bool takeWishes();
    // The peaks of the `count` channels over `n` samples, for an active side.
    template <class T>
    void measure(Side& side, T* const* channels, int32_t count, int32_t n);
    // A silent block for an active side.
    static void quiet(Side& side);
    // Counts `n` samples; reports to `changes` when a report is due or `force`.
    void advance(int32_t n, Plx::IPlxParameterChanges* changes, bool force);

    Side in;
    Side out;

private:
    void report(Plx::IPlxParameterChanges* changes, bool force);

    int64_t counter = 0;
    int64_t interval;
};

template <class T>
void MixMeters::measure(Side& side, T* const* channels, int32_t count, int32_t n) {
    for (int32_t c = 0; c < count; ++c) {
        const float peak =
            n > 0 ? static_cast<float>(DSP::Vec::maxAbs(channels[c], static_cast<size_t>(n))) : 0.0f;
        const auto k = static_cast<size_t>(c);
        side.level[k] = peak;
        side.peak[k] = std::max(side.peak[k], peak);
        side.max = std::max(side.max, peak);
    }
}

} // namespace Tannhofen::Mix

// Helpers for the mix model tests: a converter model as the processor sets it up.
#pragma once

#include <memory>

#include "mix/mixer_model.h"

namespace Tannhofen::Mix::Test {

constexpr float kTol = 2e-6f;

// A processor-side model (with a gain set) for `in` to `out`, with its levels
// reset to their defaults in the processor's order.
template <class Model = MMixerModel>
std::unique_ptr<Model> makeModel(Plx::SpeakerArrangement in, Plx::SpeakerArrangement out) {
    auto model = std::make_unique<Model>();
    model->createGainSet();
    model->setArrangements(in, out);
    for (int32_t id : {ParamId::kLfeLevel, ParamId::kCenterLvl, ParamId::kSurroundLvl, ParamId::kTopLvl,
                       ParamId::kBottomLvl, ParamId::kSideLvl})
        model->setParamValue(id, model->getDefault(id));
    return model;
}

// Gain from bus input channel `in` to bus output channel `out`.
inline float gain(const MMixerModel& model, int32_t in, int32_t out, int32_t which = MixGainSet::kNormal) {
    return model.getGainSet()->matrix[which].at(in, out);
}

// Whether bus channel `ch` of `arr` is an LFE (LFE or LFE2).
inline bool isLfeChannel(Plx::SpeakerArrangement arr, int ch) {
    for (int b = 0, n = 0; b < 64; ++b)
        if (arr & (1ull << b) && n++ == ch)
            return ((1ull << b) & (Plx::Speaker::LFE | Plx::Speaker::LFE2)) != 0;
    return false;
}

} // namespace Tannhofen::Mix::Test

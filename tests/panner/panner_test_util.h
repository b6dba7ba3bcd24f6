// Helpers for the panner tests: models set up as the processor and the
// controller set theirs up, gains by bus channel, and a recorder of the
// model's change messages.
#pragma once

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "frame/speaker_layouts.h"
#include "panner/elevation_pattern.h"
#include "panner/panner_model.h"

namespace Tannhofen::Panner::Test {

using namespace Plx::Layout;

// The processor's model: with a gain set, the layout-dependent defaults of
// posY, posZ and the LFE level applied as the processor resets them.
inline std::unique_ptr<RPannerModel> processorModel(Plx::SpeakerArrangement in, Plx::SpeakerArrangement out) {
    auto model = std::make_unique<RPannerModel>();
    model->createGainSet();
    model->setArrangements(in, out);
    for (int32_t id : {ParamId::kPosY, ParamId::kPosZ, ParamId::kLfeVol})
        model->setParamValue(id, model->getDefault(id));
    return model;
}

// The controller's model: no gain set, change messages on.
inline std::unique_ptr<RPannerModel> controllerModel(Plx::SpeakerArrangement in,
                                                     Plx::SpeakerArrangement out) {
    auto model = std::make_unique<RPannerModel>();
    model->setNotifyChanges(true);
    model->setArrangements(in, out);
    for (int32_t id : {ParamId::kPosY, ParamId::kPosZ, ParamId::kLfeVol})
        model->setParamValue(id, model->getDefault(id));
    return model;
}

// Gain from bus input channel `in` to bus output channel `out` of matrix 0.
inline float gain(const RPannerModel& model, int32_t in, int32_t out,
                  int32_t which = Mix::MixGainSet::kNormal) {
    return model.getGainSet()->matrix[which].at(in, out);
}

// Bus channel of speaker `bit` in `arrangement`.
inline int32_t channelOf(Plx::SpeakerArrangement arrangement, Plx::SpeakerArrangement bit) {
    return Plx::channelCount(arrangement & (bit - 1));
}

// Summed power of bus input `in` over the main (non-LFE) outputs of `out`.
inline double mainPower(const RPannerModel& model, int32_t in, Plx::SpeakerArrangement out) {
    double power = 0.0;
    int32_t ch = 0;
    for (int bit = 0; bit < 64; ++bit) {
        const Plx::SpeakerArrangement b = 1ull << bit;
        if (!(out & b)) continue;
        if (!(b & (Plx::Speaker::LFE | Plx::Speaker::LFE2))) power += std::pow(gain(model, in, ch), 2.0);
        ++ch;
    }
    return power;
}

// Records the change messages a model sends to its dependents.
struct MessageLog : Plx::IDependent {
    Plx::tresult queryInterface(const Plx::TUID&, void**) override { return Plx::kNoInterface; }
    Plx::uint32 addRef() override { return 1; }
    Plx::uint32 release() override { return 1; }
    void update(Plx::FUnknown*, Plx::int32 message) override { messages.push_back(message); }
    int count(int32_t message) const {
        return static_cast<int>(std::count(messages.begin(), messages.end(), message));
    }
    std::vector<int32_t> messages;
};

} // namespace Tannhofen::Panner::Test

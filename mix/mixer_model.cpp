#include "mix/mixer_model.h"

#include <algorithm>
#include <cmath>

#include "mix/log_scale.h"

namespace Tannhofen::Mix {

using Plx::SpeakerArrangement;
namespace Spk = Plx::Speaker;

namespace {

float normalizedLevel(double linear) {
    return static_cast<float>(kLevelScale.toNormalized(linear));
}

constexpr SpeakerArrangement kTopBits =
    Spk::Tfl | Spk::Tfc | Spk::Tfr | Spk::Tsl | Spk::Tc | Spk::Tsr | Spk::Trl | Spk::Trc | Spk::Trr;

// Ear level, where points that come down from the top row land.
constexpr float kEarHeight = SpeakerGrid::heightOf(SpeakerGrid::kEar);

bool isOn(double value) {
    return std::fabs(value - 1.0) <= kFlagTolerance;
}

} // namespace

MMixerModel::MMixerModel()
    : topNorm(normalizedLevel(topLvl)),
      sideNorm(normalizedLevel(sideLvl)),
      surroundNorm(normalizedLevel(surroundLvl)),
      centerNorm(normalizedLevel(centerLvl)),
      bottomNorm(normalizedLevel(bottomLvl)),
      globalNorm(normalizedLevel(globalLvl)) {}

double MMixerModel::getDefault(int32_t id) {
    constexpr double unity = 0.75; // 0 dB on the level scale
    const SpeakerArrangement in = inputArr, out = outputArr;
    switch (id) {
    case ParamId::kCenterLvl:
        if (outGrid.hasFrontCenter() || numOut + numOutLfe == 1) return unity;
        return kLevelScale.toNormalized(kSqrtHalf);
    case ParamId::kSurroundLvl:
        if (!inputHasDepth()) return 0.0;
        return isFolding() ? kLevelScale.toNormalized(0.5) : unity;
    case ParamId::kGlobalLvl: return unity;
    case ParamId::kSideLvl:
        if (!(in & (Spk::Sl | Spk::Pl))) return unity;
        if ((out & (Spk::Sl | Spk::Pl)) || ((out & Spk::Ls) && (out & Spk::L))) return unity;
        return kLevelScale.toNormalized(0.5);
    case ParamId::kTopLvl: {
        constexpr SpeakerArrangement tops = Spk::Tfl | Spk::Tsl | Spk::Trl;
        if (!(in & tops)) return 0.0;
        if (out & tops) return unity;
        return kLevelScale.toNormalized(std::sqrt(kSqrtHalf));
    }
    case ParamId::kBottomLvl: return (in & Spk::Bfl) ? unity : 0.0;
    default: return MMixerBaseModel::getDefault(id);
    }
}

bool MMixerModel::isInputSolo(int32_t index) const {
    return index >= 0 && index < Plx::kSpeakerIndexCount && inSolo[static_cast<size_t>(index)] != 0;
}

void MMixerModel::setArrangements(SpeakerArrangement in, SpeakerArrangement out) {
    MMixerBaseModel::setArrangements(in, out);
    inSolo.fill(0);
    sendChange(ModelMessage::kSoloReset);
    sendChange(ModelMessage::kSoloReset);
    std::fill(inChannelSolo.begin(), inChannelSolo.end(), 0);
    inSoloActive = false;
    soloToCenter = false;
    surroundToFront = false;
    if (gainSet) {
        updateMain(true);
        updateMain(false);
    }
}

void MMixerModel::allocate() {
    MMixerBaseModel::allocate();
    inChannelSolo.assign(static_cast<size_t>(numIn + numInLfe), 0);
}

bool MMixerModel::isFolding() const {
    return inputHasDepth() && outGrid.usedZones(SpeakerGrid::kEar) == 1;
}

PanOptions MMixerModel::panOptions() const {
    PanOptions options;
    options.foldDepth = isFolding();
    options.singleSpeakerZones = !soloToCenterActive();
    options.centerSource =
        inGrid.hasFrontCenter() && !soloToCenterActive() && !(surroundToFront && inputHasDepth());
    options.foldChannels = foldChannels();
    return options;
}

uint32_t MMixerModel::foldChannels() const {
    if (surroundToFront && inputHasDepth())
        return std::max(inGrid.count(SpeakerGrid::kEar, SpeakerGrid::kSide),
                        inGrid.count(SpeakerGrid::kEar, SpeakerGrid::kRear));
    return inGrid.count(SpeakerGrid::kEar, SpeakerGrid::kFront);
}

void MMixerModel::adjustPoint(float& x, float& y, float& z, float& top, float& side, float& rear,
                              float& bottom) const {
    const SpeakerArrangement in = inputArr, out = outputArr;
    const bool sideSpeaker = y == 0.5f && (x == 0.0f || x == 1.0f);

    if (z < 1.0f && !sideSpeaker) {
        // Ear level and below. An input without a bottom row keeps its ear
        // level in an output with one: its points are lifted to the ear row at
        // full level, since the bottom level acts on input bottom speakers
        // alone, as the top, side and surround levels act on theirs. Rear
        // speakers take the surround level.
        const bool outBottom = outGrid.rowTotal(SpeakerGrid::kBottom) > 0;
        const bool inBottom = inGrid.rowTotal(SpeakerGrid::kBottom) > 0;
        if (outBottom && !inBottom && z <= 0.0f) {
            z = kEarHeight;
        } else if ((in & Spk::Bfl) && z <= 0.0f) {
            bottom = bottomLvl;
        } else if (y > 0.5f && inputHasDepth() && outGrid.usedZones(SpeakerGrid::kEar) >= 2) {
            if (surroundToFront) y = 0.0f;
            rear = surroundLvl;
        }
        return;
    }
    if (z < 1.0f) {
        // Side speakers: kept on the sides when the output has them, else given
        // to the surrounds, else to the front.
        if (surroundToFront) {
            y = 0.0f;
            return;
        }
        if (!(in & (Spk::Sl | Spk::Pl))) return;
        side = sideLvl;
        if (out & (Spk::Sl | Spk::Pl)) return;
        side = surroundLvl * sideLvl;
        if (out & (Spk::Ls | Spk::Cs)) return;
        y = 0.0f;
        return;
    }
    // Top speakers: kept on top when the output has side or rear tops, or
    // every top speaker of the input ("8.1 MPEG" into itself), else brought
    // down to the sides, the surrounds or the front.
    if (in & (Spk::Tfl | Spk::Tsl | Spk::Trl)) {
        if (surroundToFront) {
            y = 0.0f;
            z = kEarHeight;
        } else {
            top = topLvl;
            const bool outHasInputTops = (in & kTopBits & ~out) == 0;
            if (!(out & (Spk::Tsl | Spk::Trl)) && !outHasInputTops) {
                top = sideLvl * top;
                if (out & Spk::Sl) {
                    y = 0.698f;
                } else {
                    top = surroundLvl * top;
                    y = (out & (Spk::Ls | Spk::Cs)) ? 1.0f : 0.0f;
                }
            }
        }
    }
    // A top rear center without a rear pair above comes down to the ear row:
    // to its height, so that an output with a bottom row below doesn't take
    // it there ("8.1 MPEG" into itself keeps Tfc on Tfc).
    const bool rearTopPair = (out & Spk::Trl) && (out & Spk::Trr);
    if (y == 1.0f && x == 0.5f && !rearTopPair) {
        top = top * surroundLvl;
        z = kEarHeight;
    }
}

void MMixerModel::updateMain(bool direct) {
    if (direct) {
        routeSpeakersDirectly();
        updateLfe(true);
        return;
    }
    if (deferred) {
        pendingMain = true;
        updateLfe(false);
        return;
    }
    if (gainSet && gainSet->matrix[MixGainSet::kNormal].allocated) {
        MixMatrix& mat = gainSet->matrix[MixGainSet::kNormal];
        const bool centerSolo = soloToCenterActive();
        const float zScale = inGrid.layers() > 1 && !centerSolo ? 0.5f : 0.0f;
        const bool midDepth = inGrid.zoneSpan(SpeakerGrid::kTop) == 2 &&
                              inGrid.usedZones(SpeakerGrid::kTop) == 1 && !centerSolo;
        const bool rearOnSides =
            (inputArr & Spk::Ls) && !(inputArr & Spk::Sl) && (outputArr & Spk::Sl) && (outputArr & Spk::Ls);
        const PanOptions options = panOptions();
        int32_t ch = 0;
        for (uint32_t l = 0; l < inGrid.layers(); ++l) {
            // Each row of the input stands at its own height: bottom 0, ear
            // level 0.5, top 1 (all at 0 for an input of one layer).
            const float z = static_cast<float>(inGrid.rowOfLayer(l)) * zScale;
            const uint32_t zones = inGrid.zonesOfLayer(l);
            const bool rearFold = surroundToFront && inGrid.usedZonesOfLayer(l) > 1;
            float yStep = zones > 1 && !rearFold && !centerSolo ? 1.0f / static_cast<float>(zones - 1) : 0.0f;
            if (midDepth) yStep = 0.5f;
            for (uint32_t j = 0; j < zones; ++j) {
                float y = static_cast<float>(j) * yStep;
                if (y == 1.0f && rearOnSides) y = 0.75f;
                const uint32_t count = inGrid.countOf(l, j);
                const bool spread = count > 1 && !centerSolo;
                for (uint32_t k = 0; k < count; ++k, ++ch) {
                    // k / (count - 1), divided rather than stepped, so that the
                    // law finds speaker k of an output row of the same count
                    // exactly (16 ambisonic channels stand 1/15 apart).
                    const float x = spread ? static_cast<float>(k) / static_cast<float>(count - 1) : 0.5f;
                    const int32_t row = gainSet->inMap[static_cast<size_t>(ch)];
                    panPoint(mat, row, gainSet->outMap, x, y, z, false, options);
                    if (outSoloActive) clearUnsoloedOutputs(mat, row);
                    // "Surround To Front" puts the folded surrounds in place of the fronts.
                    if ((rearFold && j == 0) || (inSoloActive && inChannelSolo[static_cast<size_t>(ch)] == 0))
                        clearMainOutputs(mat, row);
                }
            }
        }
    }
    pendingMain = false;
    updateLfe(false);
}

void MMixerModel::updateLfe(bool direct) {
    MMixerBaseModel::updateLfe(direct);
    if ((deferred && !direct) || !gainSet) return;
    MixMatrix& mat = matrixOf(direct);
    if (!mat.allocated) return;
    const bool fold = surroundToFront && inputHasDepth();
    if (!fold && !inSoloActive) return;

    const std::vector<int32_t>& inMap = gainSet->inMap;
    const std::vector<int32_t>& outMap = gainSet->outMap;
    const int32_t lfeCol = numOutLfe == 1 ? outMap[static_cast<size_t>(numOut)] : -1;
    if (soloToCenter && lfeCol >= 0)
        for (int32_t i = 0; i < numIn + numInLfe; ++i) mat.at(inMap[static_cast<size_t>(i)], lfeCol) = 0.0f;
    else if (lfeCol >= 0)
        for (int32_t i = 0; i < numIn; ++i)
            if (fold || inChannelSolo[static_cast<size_t>(i)] == 0)
                mat.at(inMap[static_cast<size_t>(i)], lfeCol) = 0.0f;
    // Each input LFE: dropped by the fold or when not soloed; with "Solo To
    // Center" a soloed one plays from the centre.
    for (int32_t k = 0; k < numInLfe; ++k) {
        const auto ch = static_cast<size_t>(numIn + k);
        const int32_t row = inMap[ch];
        const bool soloed = inChannelSolo[ch] != 0;
        if (fold || !soloed) {
            std::fill(mat.row(row), mat.row(row) + mat.cols, 0.0f);
        } else if (soloToCenter) {
            panPoint(mat, row, outMap, 0.5f, 0.0f, 0.0f, false);
            if (outSoloActive) clearUnsoloedOutputs(mat, row);
        }
    }
    analyse(mat.rows, mat.cols, direct ? MixGainSet::kDirect : MixGainSet::kNormal);
}

bool MMixerModel::setLevel(float& linear, float& normalized, double value) {
    const auto v = static_cast<float>(kLevelScale.toLinear(value));
    if (std::fabs(v - linear) <= kGainTolerance) return false;
    linear = v;
    normalized = static_cast<float>(value);
    if (gainSet) updateMain(false);
    return true;
}

void MMixerModel::setFoldSwitch(bool& flag, bool& other, double value) {
    const bool on = isOn(value);
    if (on == flag) return;
    flag = on;
    if (on) other = false;
    updateMain(false);
}

double MMixerModel::getParamValue(int32_t id) const {
    auto flag = [](bool b) { return b ? 1.0 : 0.0; };
    switch (id) {
    case ParamId::kCenterLvl: return centerNorm;
    case ParamId::kSurroundLvl: return surroundNorm;
    case ParamId::kGlobalLvl: return globalNorm;
    case ParamId::kSideLvl: return sideNorm;
    case ParamId::kTopLvl: return topNorm;
    case ParamId::kBottomLvl: return bottomNorm;
    case ParamId::kSoloToCenter: return flag(soloToCenter);
    case ParamId::kSurroundToFront: return flag(surroundToFront);
    case ParamId::kLowPass: return flag(lowPass);
    case ParamId::kActiveParts: return activeParts;
    case ParamId::kLfeLevel: return lfeNormalized;
    case ParamId::kDirectMode: return flag(directMode);
    default:
        if (id >= ParamId::kOutputSoloFirst && id <= ParamId::kOutputSoloLast)
            return flag(isOutputSolo(id - ParamId::kOutputSoloFirst));
        return -1.0;
    }
}

void MMixerModel::setParamValue(int32_t id, double value) {
    switch (id) {
    case ParamId::kCenterLvl: setLevel(centerLvl, centerNorm, value); return;
    case ParamId::kSurroundLvl: setLevel(surroundLvl, surroundNorm, value); return;
    case ParamId::kGlobalLvl: setLevel(globalLvl, globalNorm, value); return;
    case ParamId::kSideLvl: setLevel(sideLvl, sideNorm, value); return;
    case ParamId::kTopLvl: setLevel(topLvl, topNorm, value); return;
    case ParamId::kBottomLvl: setLevel(bottomLvl, bottomNorm, value); return;
    case ParamId::kSoloToCenter: setFoldSwitch(soloToCenter, surroundToFront, value); return;
    case ParamId::kSurroundToFront: setFoldSwitch(surroundToFront, soloToCenter, value); return;
    case ParamId::kLowPass: lowPass = isOn(value); return;
    case ParamId::kActiveParts: activeParts = static_cast<float>(value); return;
    case ParamId::kLfeLevel: setLfeLevel(value); return;
    case ParamId::kDirectMode: setDirectMode(value >= 0.5); return;
    default: break;
    }
    if (id >= ParamId::kInputSoloFirst && id <= ParamId::kInputSoloLast)
        setSolo(id - ParamId::kInputSoloFirst, isOn(value), inputArr, inSolo.data(), &inChannelSolo,
                inSoloActive, numIn + numInLfe, inGrid);
    else if (id >= ParamId::kOutputSoloFirst && id <= ParamId::kOutputSoloLast)
        setSolo(id - ParamId::kOutputSoloFirst, isOn(value), outputArr, outSolo.data(), &outChannelSolo,
                outSoloActive, numOut + numOutLfe, outGrid);
}

} // namespace Tannhofen::Mix

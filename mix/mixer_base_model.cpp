#include "mix/mixer_base_model.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "mix/log_scale.h"

namespace Tannhofen::Mix {

using Plx::SpeakerArrangement;
namespace Spk = Plx::Speaker;

MMixerBaseModel::MMixerBaseModel() = default;

MMixerBaseModel::~MMixerBaseModel() = default;

double MMixerBaseModel::getDefault(int32_t id) {
    if (id != ParamId::kLfeLevel || numInLfe == 0) return 0.0;
    if (numOutLfe > 0) return 0.5;
    if (numOut <= 0) return 0.0;
    return kLfeScale.toNormalized(std::sqrt(1.0 / numOut));
}

bool MMixerBaseModel::isInputSolo(int32_t) const {
    return false;
}

bool MMixerBaseModel::isOutputSolo(int32_t index) const {
    return index >= 0 && index < Plx::kSpeakerIndexCount && outSolo[static_cast<size_t>(index)] != 0;
}

bool MMixerBaseModel::setDirectMode(bool on) {
    if (on == directMode) return false;
    directMode = on;
    deferChange(ModelMessage::kDirectChanged);
    return true;
}

void MMixerBaseModel::createGainSet() {
    if (!gainSet) gainSet = std::make_unique<MixGainSet>();
}

void MMixerBaseModel::setArrangements(SpeakerArrangement in, SpeakerArrangement out) {
    inputArr = in;
    outputArr = out;
    inGrid.build(in);
    outGrid.build(out);
    numIn = static_cast<int32_t>(inGrid.mainCount());
    numInLfe = static_cast<int32_t>(inGrid.lfeCount());
    numOut = static_cast<int32_t>(outGrid.mainCount());
    numOutLfe = static_cast<int32_t>(outGrid.lfeCount());

    if (gainSet) {
        buildChannelMap(gainSet->inMap, in, inGrid);
        buildChannelMap(gainSet->outMap, out, outGrid);
    }
    activeZones.fill(0);
    layerMuted.fill(0);
    for (auto& zones : zoneMuted) zones.fill(0);
    fallbackRouting.assign(static_cast<size_t>(numOut), 0);

    allocate();
    recomputeMutes();

    outSolo.fill(0);
    sendChange(ModelMessage::kSoloReset);
    std::fill(outChannelSolo.begin(), outChannelSolo.end(), 0);
    outSoloActive = false;
}

void MMixerBaseModel::applyDeferred() {
    if (pendingMain) updateMain(false);
    if (pendingLfe) updateLfe(false);
}

void MMixerBaseModel::allocate() {
    clearMatrices();
    speakerMuted.assign(static_cast<size_t>(numOut), 0);
    outChannelSolo.assign(static_cast<size_t>(numOut + numOutLfe), 0);
    const int32_t rows = numIn + numInLfe;
    const int32_t cols = numOut + numOutLfe;
    if (gainSet) {
        for (int32_t which = 0; which < 2; ++which) {
            gainSet->matrix[which].allocate(rows, cols);
            gainSet->routing[which].assign(static_cast<size_t>(cols), -1);
            gainSet->simple[which] = false;
        }
    } else {
        fallback.allocate(rows, cols);
    }
}

void MMixerBaseModel::clearMatrices() {
    if (gainSet) {
        for (int32_t which = 0; which < 2; ++which) {
            gainSet->matrix[which].release();
            gainSet->routing[which].clear();
        }
    }
    fallback.release();
}

PanOptions MMixerBaseModel::panOptions() const {
    return {};
}

void MMixerBaseModel::adjustPoint(float&, float&, float&, float&, float&, float&, float&) const {}

void MMixerBaseModel::setDeferred(bool on) {
    if (on) {
        deferred = true;
    } else if (deferred) {
        deferred = false;
        applyDeferred();
    }
}

void MMixerBaseModel::setLfeLevel(double normalized) {
    const auto gain = static_cast<float>(kLfeScale.toLinear(normalized));
    if (std::fabs(gain - lfeGain) <= kGainTolerance) return;
    lfeGain = gain;
    lfeNormalized = static_cast<float>(normalized);
    if (gainSet) updateLfe(false);
}

void MMixerBaseModel::setSolo(int32_t index, bool on, SpeakerArrangement arrangement, uint8_t* soloBytes,
                              std::vector<uint8_t>* channelBytes, bool& active, int32_t numChannels,
                              const SpeakerGrid& grid) {
    if (index < 0 || index >= Plx::kSpeakerIndexCount) return;
    const int32_t bits = std::popcount(arrangement);
    // A mask of fewer than two speakers counts as the center speaker alone.
    auto present = [&](SpeakerArrangement bit) {
        return bits < 2 ? bit == Spk::C : (arrangement & bit) != 0;
    };
    const SpeakerArrangement bit = Plx::indexToBit(index);

    soloBytes[index] = on ? 1 : 0;
    if (!active) {
        active = on && present(bit);
    } else if (!on) {
        active = false;
        for (int32_t s = 0; s < Plx::kSpeakerIndexCount && !active; ++s)
            active = soloBytes[s] != 0 && present(Plx::indexToBit(s));
    }
    if (!present(bit)) return; // a speaker that the arrangement lacks has no channel to solo
    deferChange(ModelMessage::kSoloChanged);

    if (!channelBytes || channelBytes->empty()) return;
    int32_t channel;
    if (bits == 1) {
        if (bit != Spk::C) return;
        channel = 0;
    } else {
        channel = grid.positionOf(bit);
    }
    if (channel < 0 || channel >= numChannels || channel >= static_cast<int32_t>(channelBytes->size()))
        return;
    auto& byte = (*channelBytes)[static_cast<size_t>(channel)];
    if ((byte != 0) != on) {
        byte = on ? 1 : 0;
        updateMain(false);
    }
}

void MMixerBaseModel::buildChannelMap(std::vector<int32_t>& map, SpeakerArrangement mask,
                                      const SpeakerGrid& grid) {
    const auto size = static_cast<int32_t>(grid.mainCount() + grid.lfeCount());
    map.resize(static_cast<size_t>(size));
    for (int32_t i = 0; i < size; ++i) map[static_cast<size_t>(i)] = i;
    if (size == 0) return;
    int32_t channel = 0;
    for (SpeakerArrangement rest = mask; rest != 0; rest &= rest - 1, ++channel) {
        const SpeakerArrangement bit = rest & (~rest + 1);
        // A bit without a place in the grid lands on the first position; a bus
        // channel beyond the grid's channels has no matrix column to go to.
        const int32_t position = std::clamp(std::max(grid.positionOf(bit), 0), 0, size - 1);
        if (channel < size) map[static_cast<size_t>(position)] = channel;
    }
}

void MMixerBaseModel::recomputeMutes() {
    activeLayers = 0;
    size_t counter = 0;
    for (uint32_t l = 0; l < outGrid.layers(); ++l) {
        const uint32_t zones = outGrid.zonesOfLayer(l);
        layerMuted[l] = 1;
        activeZones[l] = static_cast<uint8_t>(zones);
        for (uint32_t j = 0; j < zones; ++j) {
            zoneMuted[l][j] = 1;
            const uint32_t c = outGrid.countOf(l, j);
            for (uint32_t k = 0; k < c; ++k, ++counter)
                if (counter < speakerMuted.size() && speakerMuted[counter] == 0) zoneMuted[l][j] = 0;
            if (zoneMuted[l][j]) --activeZones[l];
        }
        if (activeZones[l] > 0) {
            layerMuted[l] = 0;
            ++activeLayers;
        }
    }
}

void MMixerBaseModel::panPoint(MixMatrix& matrix, int32_t row, const std::vector<int32_t>& outMap, float x,
                               float y, float z, bool flat) {
    panPoint(matrix, row, outMap, x, y, z, flat, panOptions());
}

void MMixerBaseModel::panPoint(MixMatrix& matrix, int32_t row, const std::vector<int32_t>& outMap, float x,
                               float y, float z, bool flat, const PanOptions& options) {
    if (!matrix.allocated || row < 0 || row >= matrix.rows) return;
    const float m = flat ? 0.0f : divergenceShare(activeLayers, heightDivergence);

    float top = 1.0f, side = 1.0f, rear = 1.0f, bottom = 1.0f;
    adjustPoint(x, y, z, top, side, rear, bottom);

    // Over an output of two layers the point's height runs from the lower row
    // to the upper one, so that a point at the height of a row lands on that
    // row whatever layers the input has: 22.2's ear speakers stay on 7.1.4's
    // ear layer. Points below the lower row or above the upper one stay on it.
    const auto layers = static_cast<int32_t>(outGrid.layers());
    if (layers == 2) {
        const float zLow = SpeakerGrid::heightOf(outGrid.rowOfLayer(0));
        const float zHigh = SpeakerGrid::heightOf(outGrid.rowOfLayer(1));
        z = std::clamp((z - zLow) / (zHigh - zLow), 0.0f, 1.0f);
    }
    const Neighbours nb = chooseNeighbours(z, layers, layerMuted.data());
    const PairGains g = pairGains(nb.blend, m, activeLayers);

    int32_t counter = 0;
    for (int32_t l = 0; l < layers; ++l) {
        float gain;
        if (l == nb.lower)
            gain = g.lower;
        else if (l == nb.upper)
            gain = g.upper;
        else
            gain = layerMuted[static_cast<size_t>(l)] ? 0.0f : g.other;
        panLayer(matrix, row, outMap, x, y, rear * side * top * bottom * gain, flat, counter,
                 static_cast<uint32_t>(l), options);
    }
}

void MMixerBaseModel::panLayer(MixMatrix& matrix, int32_t row, const std::vector<int32_t>& outMap, float x,
                               float y, float level, bool flat, int32_t& counter, uint32_t layer,
                               const PanOptions& options) {
    const uint32_t zones = outGrid.zonesOfLayer(layer);
    float* out = matrix.row(row);
    auto silence = [&](uint32_t zone) {
        const auto c = static_cast<int32_t>(outGrid.countOf(layer, zone));
        for (int32_t k = 0; k < c; ++k) out[outMap[static_cast<size_t>(counter + k)]] = 0.0f;
        counter += c;
    };
    if (level < kGainTolerance) {
        for (uint32_t j = 0; j < zones; ++j) silence(j);
        return;
    }

    const uint32_t n = activeZones[layer];
    const float m = flat ? 0.0f : divergenceShare(n, depthDivergence);
    const Neighbours nb = chooseNeighbours(y, static_cast<int32_t>(zones), zoneMuted[layer].data());
    const PairGains g = pairGains(nb.blend, m, n);

    float centerGain = 1.0f;
    const bool atCenter = std::fabs(x - 0.5f) <= kFlagTolerance && std::fabs(y) <= kFlagTolerance;
    if (options.centerSource && atCenter) {
        // The input's centre takes the centre level; on an output without a
        // front centre it plays from a pair, each at -3 dB already.
        centerGain = centerLvl;
        if (!outGrid.hasFrontCenter() && numOut + numOutLfe > 1) centerGain = centerGain / kSqrtHalf;
    }

    // With a folded input, every depth zone meets the output's one ring,
    // attenuated by the surround level to the power of its distance.
    uint32_t ringZone = 0;
    while (ringZone < SpeakerGrid::kZones && outGrid.count(SpeakerGrid::kEar, ringZone) == 0) ++ringZone;
    if (ringZone == SpeakerGrid::kZones) ringZone = 0;

    for (uint32_t j = 0; j < zones; ++j) {
        float gain;
        if (options.foldDepth)
            gain = ringGain(std::fabs(y - static_cast<float>(ringZone) * 0.5f), surroundLvl);
        else if (static_cast<int32_t>(j) == nb.lower)
            gain = g.lower;
        else if (static_cast<int32_t>(j) == nb.upper)
            gain = g.upper;
        else
            gain = zoneMuted[layer][j] ? 0.0f : g.other;
        if (!(gain > 0.0f) || outGrid.countOf(layer, j) == 0) {
            silence(j);
            continue;
        }
        panZone(matrix, row, outMap, x, y, globalLvl * level * centerGain * gain, flat, counter, layer, j,
                zones, options);
        counter += static_cast<int32_t>(outGrid.countOf(layer, j));
    }
}

void MMixerBaseModel::panZone(MixMatrix& matrix, int32_t row, const std::vector<int32_t>& outMap, float x,
                              float y, float zoneLevel, bool flat, int32_t counter, uint32_t layer,
                              uint32_t zone, uint32_t zones, const PanOptions& options) {
    const auto c = static_cast<int32_t>(outGrid.countOf(layer, zone));
    const uint8_t* muted = speakerMuted.data() + counter;
    float* out = matrix.row(row);
    auto put = [&](int32_t k, float v) { out[outMap[static_cast<size_t>(counter + k)]] = v * zoneLevel; };

    uint32_t nA = 0;
    for (int32_t k = 0; k < c; ++k) nA += muted[k] == 0 ? 1 : 0;
    const float t = zones < 2 ? 0.0f : static_cast<float>(zone) / static_cast<float>(zones - 1);
    const float d = flat ? 1.0f : 1.0f - (1.0f - t) * frontDivergence - rearDivergence * t;
    const float m = divergenceShare(nA, 1.0f - d);

    const Neighbours nb = chooseNeighbours(x, c, muted);
    int32_t lowerX = nb.lower, upperX = nb.upper;
    const int32_t last = c - 1;
    const int32_t mid = last / 2;

    // Three-speaker law: a point between the front center and one side is
    // spread over the center and both of its equally distant neighbours.
    bool threeSpeaker = false;
    if (zone == 0 && !flat && centerSpread > 0.0f && outGrid.hasFrontCenter() && lowerX < upperX) {
        Neighbours wide;
        bool lookAgain = true;
        if (lowerX == mid)
            wide = walkNeighbours(lowerX - 1, upperX, c, speakerMuted.data());
        else if (upperX == mid)
            wide = walkNeighbours(lowerX, upperX + 1, c, speakerMuted.data());
        else
            lookAgain = false;
        if (lookAgain && mid - wide.lower == wide.upper - mid) {
            threeSpeaker = true;
            lowerX = wide.lower;
            upperX = wide.upper;
        }
    }

    if (options.singleSpeakerZones && lowerX == upperX && last == 0) {
        // One output speaker takes the input's whole zone at equal power.
        uint32_t sources = 0;
        if (!options.foldDepth) {
            if (inGrid.rowOfLayer(layer) < SpeakerGrid::kRows) {
                const uint32_t k = inGrid.zonesOfLayer(layer);
                if (k > 0) {
                    const auto z = static_cast<uint32_t>(std::trunc(static_cast<float>(k - 1) * y));
                    sources = inGrid.countOf(layer, std::min(z, k - 1));
                }
            }
        } else {
            sources = options.foldChannels;
        }
        // A point that comes from no input zone (a side or top moved there)
        // has the speaker to itself, at a factor of 1: a factor below zero
        // would flip the polarity of the speaker it plays from.
        const float share = sources > 0 ? std::sqrt(1.0f / static_cast<float>(sources)) : 1.0f;
        for (int32_t k = 0; k < c; ++k) put(k, share);
        return;
    }
    float fx = -1.0f;
    if (lowerX < upperX)
        fx = 2.0f * (static_cast<float>(last) * x - static_cast<float>(lowerX)) /
                 static_cast<float>(upperX - lowerX) -
             1.0f;

    if (!threeSpeaker || centerSpread >= 1.0f) {
        const PairGains g = pairGains(fx, m, nA);
        for (int32_t k = 0; k < c; ++k) {
            if (k == lowerX)
                put(k, g.lower);
            else if (k == upperX)
                put(k, g.upper);
            else
                put(k, muted[k] ? 0.0f : g.other);
        }
        return;
    }
    for (int32_t k = 0; k < c; ++k) put(k, muted[k] ? 0.0f : m);
    const ThreeSpeakerGains g = threeSpeakerGains(fx, centerSpread, m, nA);
    put(lowerX, g.lower);
    put(upperX, g.upper);
    put(mid, g.middle);
}

MixMatrix& MMixerBaseModel::matrixOf(bool direct) {
    if (!gainSet) return fallback;
    return gainSet->matrix[direct ? MixGainSet::kDirect : MixGainSet::kNormal];
}

void MMixerBaseModel::routeSpeakersDirectly() {
    if (!gainSet) return;
    MixMatrix& mat = gainSet->matrix[MixGainSet::kDirect];
    if (!mat.allocated) return;
    mat.clear();
    int32_t row = 0;
    for (SpeakerArrangement rest = inputArr; rest != 0 && row < mat.rows; rest &= rest - 1, ++row) {
        const SpeakerArrangement bit = rest & (~rest + 1);
        int32_t col = -1;
        if (outputArr & bit)
            col = std::popcount(outputArr & (bit - 1));
        else if (bit == Spk::L && outputArr == Spk::M)
            col = 0;
        if (col >= 0 && col < mat.cols) mat.at(row, col) = 1.0f;
    }
}

void MMixerBaseModel::clearMainOutputs(MixMatrix& matrix, int32_t row) {
    if (!gainSet || row < 0 || row >= matrix.rows) return;
    for (int32_t o = 0; o < numOut; ++o) matrix.at(row, gainSet->outMap[static_cast<size_t>(o)]) = 0.0f;
}

void MMixerBaseModel::clearUnsoloedOutputs(MixMatrix& matrix, int32_t row) {
    if (!gainSet || row < 0 || row >= matrix.rows) return;
    for (int32_t o = 0; o < numOut; ++o)
        if (outChannelSolo[static_cast<size_t>(o)] == 0)
            matrix.at(row, gainSet->outMap[static_cast<size_t>(o)]) = 0.0f;
}

void MMixerBaseModel::updateLfe(bool direct) {
    if (deferred && !direct) {
        pendingLfe = true;
        return;
    }
    if (!gainSet) return;
    if (!direct) pendingLfe = false;
    MixMatrix& mat = matrixOf(direct);
    if (!mat.allocated) return;

    const std::vector<int32_t>& inMap = gainSet->inMap;
    const std::vector<int32_t>& outMap = gainSet->outMap;
    auto at = [&](int32_t in, int32_t out) -> float& {
        return mat.at(inMap[static_cast<size_t>(in)], outMap[static_cast<size_t>(out)]);
    };
    auto outMute = [&](int32_t s) { return outSoloActive && !isOutputSolo(s); };
    auto inMute = [&](int32_t s) { return inSoloActive && !isInputSolo(s); };
    const float g = lfeGain * globalLvl;
    const int32_t lfeIn = numIn;   // grid position of the first input LFE
    const int32_t lfeOut = numOut; // and of the first output LFE
    constexpr int32_t lfe = Plx::kLfeIndex;

    if (numOutLfe == 1 && numInLfe == 0) {
        const float v = direct || outMute(lfe) ? 0.0f : g / static_cast<float>(numIn);
        for (int32_t i = 0; i < numIn; ++i) at(i, lfeOut) = v;
    } else if (numOutLfe == 1 && numInLfe >= 1) {
        // Two LFE inputs share the one LFE output at equal power, so that
        // neither is lost; direct routing passes the first alone, bit to bit.
        const float share = numInLfe == 2 ? kSqrtHalf : 1.0f;
        for (int32_t i = 0; i < numIn; ++i) at(i, lfeOut) = 0.0f;
        for (int32_t k = 0; k < numInLfe; ++k) {
            for (int32_t o = 0; o < numOut; ++o) at(lfeIn + k, o) = 0.0f;
            float v;
            if (direct)
                v = k == 0 ? 1.0f : 0.0f;
            else
                v = outMute(lfe) || inMute(lfe + k) ? 0.0f : share * g;
            at(lfeIn + k, lfeOut) = v;
        }
    } else if (numOutLfe == 2 && numInLfe == 0) {
        for (int32_t k = 0; k < 2; ++k) {
            const float v = direct || outMute(lfe + k) ? 0.0f : kSqrtHalf * g / static_cast<float>(numIn);
            for (int32_t i = 0; i < numIn; ++i) at(i, lfeOut + k) = v;
        }
    } else if (numOutLfe == 2 && numInLfe == 1) {
        for (int32_t o = 0; o < numOut; ++o) at(lfeIn, o) = 0.0f;
        for (int32_t k = 0; k < 2; ++k) {
            float v;
            if (direct)
                v = k == 0 ? 1.0f : 0.0f;
            else
                v = outMute(lfe + k) || inMute(lfe) ? 0.0f : kSqrtHalf * g;
            at(lfeIn, lfeOut + k) = v;
        }
    } else if (numOutLfe == 2 && numInLfe == 2) {
        for (int32_t k = 0; k < 2; ++k)
            at(lfeIn + k, lfeOut + k) = direct ? 1.0f : (outMute(lfe + k) || inMute(lfe + k) ? 0.0f : g);
    } else if (numOutLfe == 0 && numInLfe == 1) {
        const float v = direct || inMute(lfe) ? 0.0f : g;
        for (int32_t o = 0; o < numOut; ++o)
            at(lfeIn, o) = outSoloActive && outChannelSolo[static_cast<size_t>(o)] == 0 ? 0.0f : v;
    }
    analyse(mat.rows, mat.cols, direct ? MixGainSet::kDirect : MixGainSet::kNormal);
}

void MMixerBaseModel::analyse(int32_t rows, int32_t cols, int32_t which) {
    std::vector<int32_t>& routing = gainSet->routing[which];
    const MixMatrix& mat = gainSet->matrix[which];
    std::fill(routing.begin(), routing.end(), -1);
    gainSet->simple[which] = false;
    for (int32_t o = 0; o < cols; ++o) {
        for (int32_t i = 0; i < rows; ++i) {
            const float e = mat.at(i, o);
            if (std::fabs(e - 1.0f) <= kFlagTolerance) {
                if (routing[static_cast<size_t>(o)] >= 0 || (i < o && routing[static_cast<size_t>(i)] >= 0))
                    return;
                routing[static_cast<size_t>(o)] = i;
            } else if (e != 0.0f) {
                return;
            }
        }
    }
    gainSet->simple[which] = true;
}

} // namespace Tannhofen::Mix

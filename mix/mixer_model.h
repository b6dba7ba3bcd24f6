// MMixerModel: the converter's model. Each input speaker gets a point in the
// unit box from where it stands in the input grid, and panPoint spreads it over
// the output. Adds the level parameters, the point adjustments that fold
// sides, tops and bottoms into smaller layouts, the LFE rules, input solo and
// the direct-routing matrix.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "mix/mixer_base_model.h"

namespace Tannhofen::Mix {

namespace ParamId {
inline constexpr int32_t kInputSoloFirst = 59; // 59 to 84: input solo by speaker index
inline constexpr int32_t kInputSoloLast = 84;
inline constexpr int32_t kCenterLvl = 128;
inline constexpr int32_t kSurroundLvl = 129;
inline constexpr int32_t kOutputArr = 130;
inline constexpr int32_t kSoloToCenter = 131;
inline constexpr int32_t kSurroundToFront = 132;
inline constexpr int32_t kLowPass = 133;
inline constexpr int32_t kGlobalLvl = 134;
inline constexpr int32_t kSideLvl = 135;
inline constexpr int32_t kTopLvl = 136;
inline constexpr int32_t kActiveParts = 137;
inline constexpr int32_t kBottomLvl = 138;
inline constexpr int32_t kReset = 256;
} // namespace ParamId

class MMixerModel : public MMixerBaseModel {
public:
    PLX_OBJ_METHODS(MMixerModel, MMixerBaseModel, "MMixerModel")

    MMixerModel();

    double getDefault(int32_t id) override;
    bool isInputSolo(int32_t index) const override;
    void setArrangements(Plx::SpeakerArrangement in, Plx::SpeakerArrangement out) override;
    void allocate() override;
    bool isFolding() const override;
    bool isSingleSpeaker(int32_t lo, int32_t hi, int32_t last) const override;
    bool isCenterSource(float x, float y) const override;
    void adjustPoint(float& x, float& y, float& z, float& top, float& side, float& rear,
                     float& bottom) const override;
    uint32_t foldChannels() const override;
    void updateMain(bool direct) override;
    void updateLfe(bool direct) override;

    // The processor's parameter calls, by id, with normalized values. An
    // unknown id reads as -1.0 and is ignored on write.
    double getParamValue(int32_t id) const;
    void setParamValue(int32_t id, double value);

    float getCenterLevel() const { return centerLvl; }
    float getSurroundLevel() const { return surroundLvl; }
    float getSideLevel() const { return sideLvl; }
    float getTopLevel() const { return topLvl; }
    float getBottomLevel() const { return bottomLvl; }
    float getGlobalLevel() const { return globalLvl; }
    bool getSoloToCenter() const { return soloToCenter; }
    bool getSurroundToFront() const { return surroundToFront; }
    bool getLowPass() const { return lowPass; }

private:
    bool setLevel(float& linear, float& normalized, double value);
    void setFoldSwitch(bool& flag, bool& other, double value);
    void updateDirectRouting();
    // The input's ear row has at least two depth zones in use.
    bool inputHasDepth() const { return inGrid.usedZones(SpeakerGrid::kEar) >= 2; }
    bool soloToCenterActive() const { return soloToCenter && inSoloActive; }

    std::vector<uint8_t> inChannelSolo; // per input channel with LFE, grid order
    float activeParts = 0.0f;
    std::array<uint8_t, Plx::kSpeakerIndexCount> inSolo{};
    bool soloToCenter = false;
    bool surroundToFront = false;
    bool lowPass = false;
    float topNorm;
    float sideNorm;
    float surroundNorm;
    float centerNorm;
    float bottomNorm;
    float globalNorm;
};

} // namespace Tannhofen::Mix

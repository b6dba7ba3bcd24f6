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

class MMixerModel : public MMixerBaseModel {
public:
    PLX_OBJ_METHODS(MMixerModel, MMixerBaseModel, "MMixerModel")

    MMixerModel();

    double getDefault(int32_t id) override;
    bool isInputSolo(int32_t index) const override;
    void setArrangements(Plx::SpeakerArrangement in, Plx::SpeakerArrangement out) override;
    void allocate() override;
    // Folds the input's depth zones into an output's one ring, gives single
    // output speakers whole input zones, and treats the input's centre as the
    // centre source, except while soloed channels play from the centre.
    PanOptions panOptions() const override;
    // Lifts flat inputs onto an output's bottom row, gives bottoms, sides,
    // rears and tops their levels, and brings sides and tops down where the
    // output lacks them.
    void adjustPoint(float& x, float& y, float& z, float& top, float& side, float& rear,
                     float& bottom) const override;
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
    // The input has depth (below) and the output's ear row has one zone.
    bool isFolding() const;
    // Speakers of the input's folded ring: the larger of sides and rears
    // when they move to the front, else the fronts.
    uint32_t foldChannels() const;
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

// MMixerBaseModel: turns a pair of speaker arrangements and a set of levels
// into gain matrices. Every input channel stands at a point (x, y, z) of the
// unit box (x left to right, y front to rear, z bottom to top), and the point is
// spread over the output speakers with a nested constant-power law: over the
// height layers, then over the depth zones of a layer, then over the speakers
// of a zone.
//
// Threads: setArrangements (and createGainSet) size everything and run with
// the stream stopped. Every setter, updateMain and updateLfe may run on the
// audio thread afterwards; they allocate nothing and take no locks.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "frame/fobject.h"
#include "frame/speaker_arrangement.h"
#include "mix/mix_matrix.h"
#include "mix/pan_law.h"
#include "mix/param_ids.h"
#include "mix/speaker_grid.h"
#include "mix/tolerance.h"

namespace Tannhofen::Mix {

// The converter's rules on top of the plain law, as one record that a model
// answers with. The plain law (all false) is the panner's.
struct PanOptions {
    // All depth zones of the input fold into the output's one ring of ear
    // speakers, each attenuated by ringGain of its distance.
    bool foldDepth = false;
    // A zone of one output speaker takes the input's whole zone at equal
    // power, sqrt(1 / speakers of that input zone).
    bool singleSpeakerZones = false;
    // A point at the front centre (x 0.5, y 0) is the input's centre speaker
    // and takes the centre level.
    bool centerSource = false;
    // The speakers of the input's folded ring, for a single speaker that a
    // folded input reaches.
    uint32_t foldChannels = 0;
};

// Change messages to dependents.
namespace ModelMessage {
inline constexpr int32_t kSoloReset = 0x400;   // the solos were cleared
inline constexpr int32_t kSoloChanged = 0x402; // a present speaker's solo changed
inline constexpr int32_t kDirectChanged = 0x403;
} // namespace ModelMessage

class MMixerBaseModel : public Plx::FObject {
public:
    PLX_OBJ_METHODS(MMixerBaseModel, Plx::FObject, "MMixerBaseModel")

    MMixerBaseModel();
    ~MMixerBaseModel() override;

    // Virtual operations, in this order.
    virtual double getDefault(int32_t id);         // normalized default for the present arrangements
    virtual bool isInputSolo(int32_t index) const; // by speaker index
    virtual bool isOutputSolo(int32_t index) const;
    virtual bool setDirectMode(bool on); // true when it changed
    virtual void setArrangements(Plx::SpeakerArrangement in, Plx::SpeakerArrangement out);
    virtual void applyDeferred();
    virtual void allocate();
    virtual void clearMatrices();
    // The rules that shape the law for this model; the base has none of them.
    virtual PanOptions panOptions() const;
    // Moves a point before it is spread, and sets four level factors that
    // start at 1.0; the base leaves both alone.
    virtual void adjustPoint(float& x, float& y, float& z, float& top, float& side, float& rear,
                             float& bottom) const;
    virtual void updateMain(bool direct) = 0;
    virtual void updateLfe(bool direct);

    // Gives the model its gain set; only a model with one computes matrices.
    // Call before setArrangements, or call setArrangements again.
    void createGainSet();
    MixGainSet* getGainSet() { return gainSet.get(); }
    const MixGainSet* getGainSet() const { return gainSet.get(); }
    MixMatrix& getFallbackMatrix() { return fallback; }
    const std::vector<int32_t>& getFallbackRouting() const { return fallbackRouting; }

    // While deferred, updateMain(false) and updateLfe(false) only note that they
    // are due; turning it off runs what is due once.
    void setDeferred(bool on);
    bool isDeferred() const { return deferred; }
    // LFE level from its normalized value (LFE scale).
    void setLfeLevel(double normalized);
    float getLfeGain() const { return lfeGain; }
    float getLfeNormalized() const { return lfeNormalized; }

    void getArrangements(Plx::SpeakerArrangement& in, Plx::SpeakerArrangement& out) const {
        in = inputArr;
        out = outputArr;
    }
    Plx::SpeakerArrangement getInputArrangement() const { return inputArr; }
    Plx::SpeakerArrangement getOutputArrangement() const { return outputArr; }
    const SpeakerGrid& getInGrid() const { return inGrid; }
    const SpeakerGrid& getOutGrid() const { return outGrid; }
    int32_t getNumIn() const { return numIn; }
    int32_t getNumInLfe() const { return numInLfe; }
    int32_t getNumOut() const { return numOut; }
    int32_t getNumOutLfe() const { return numOutLfe; }
    bool getDirectMode() const { return directMode; }
    bool isInSoloActive() const { return inSoloActive; }
    bool isOutSoloActive() const { return outSoloActive; }
    void setNotifyChanges(bool on) { notifyChanges = on; }

    // Solo of the speaker `index` (0 to 25) in `arrangement`: stores the flag in
    // `soloBytes`, keeps `active` up to date, and sets the per-channel byte of
    // `grid`'s order, recomputing the gains when it changed.
    void setSolo(int32_t index, bool on, Plx::SpeakerArrangement arrangement, uint8_t* soloBytes,
                 std::vector<uint8_t>* channelBytes, bool& active, int32_t numChannels,
                 const SpeakerGrid& grid);

    // Spreads the point (x, y, z) over the outputs into row `row` of `matrix`.
    // `flat` leaves out every divergence (and the converter's single-speaker
    // and three-speaker rules that depend on them).
    void panPoint(MixMatrix& matrix, int32_t row, const std::vector<int32_t>& outMap, float x, float y,
                  float z, bool flat);
    // The same with the model's rules already at hand, for loops over many points.
    void panPoint(MixMatrix& matrix, int32_t row, const std::vector<int32_t>& outMap, float x, float y,
                  float z, bool flat, const PanOptions& options);

protected:
    void panLayer(MixMatrix& matrix, int32_t row, const std::vector<int32_t>& outMap, float x, float y,
                  float level, bool flat, int32_t& counter, uint32_t layer, const PanOptions& options);
    void panZone(MixMatrix& matrix, int32_t row, const std::vector<int32_t>& outMap, float x, float y,
                 float zoneLevel, bool flat, int32_t counter, uint32_t layer, uint32_t zone, uint32_t zones,
                 const PanOptions& options);

    // Fills `map` (grid position to bus channel) for `mask`.
    static void buildChannelMap(std::vector<int32_t>& map, Plx::SpeakerArrangement mask,
                                const SpeakerGrid& grid);
    // Recomputes activeLayers, activeZones, layerMuted and zoneMuted from speakerMuted.
    void recomputeMutes();
    // Pure-routing analysis of matrix `which` into the gain set's routing.
    void analyse(int32_t rows, int32_t cols, int32_t which);
    // Matrix `which` of the gain set (the fallback without one).
    MixMatrix& matrixOf(bool direct);
    // Writes 0 to the main outputs of `row` whose output channel isn't soloed.
    void clearUnsoloedOutputs(MixMatrix& matrix, int32_t row);
    void clearMainOutputs(MixMatrix& matrix, int32_t row);
    // Fills the direct-routing matrix: each input speaker, in bus order, to
    // the same speaker of the output (L to a mono output), or nowhere.
    void routeSpeakersDirectly();

    // Change messages go to dependents only when the model is told to send them.
    void sendChange(int32_t message) {
        if (notifyChanges) changed(message);
    }
    void deferChange(int32_t message) {
        if (notifyChanges) deferUpdate(message);
    }

    std::unique_ptr<MixGainSet> gainSet;
    MixMatrix fallback;
    Plx::SpeakerArrangement inputArr = 0;
    Plx::SpeakerArrangement outputArr = 0;
    SpeakerGrid inGrid;
    SpeakerGrid outGrid;
    uint32_t activeLayers = 0;
    std::array<uint8_t, SpeakerGrid::kRows> activeZones{};
    std::array<uint8_t, SpeakerGrid::kRows> layerMuted{};
    std::array<std::array<uint8_t, SpeakerGrid::kZones>, SpeakerGrid::kRows> zoneMuted{};
    std::vector<uint8_t> speakerMuted;   // per main output channel, grid order
    std::vector<uint8_t> outChannelSolo; // per output channel with LFE, grid order
    std::array<uint8_t, Plx::kSpeakerIndexCount> outSolo{};
    int32_t numIn = 0;
    int32_t numInLfe = 0;
    int32_t numOut = 0;
    int32_t numOutLfe = 0;
    float centerSpread = 0.0f;
    float frontDivergence = 0.0f;
    float rearDivergence = 0.0f;
    float depthDivergence = 0.0f;
    float heightDivergence = 0.0f;
    float lfeGain = 0.0f;
    float lfeNormalized = 0.0f;
    float centerLvl = 0.70710677f;
    float surroundLvl = 0.5f;
    float sideLvl = 0.5f;
    float topLvl = 0.8408964f;
    float bottomLvl = 1.0f;
    float globalLvl = 1.0f;
    bool directMode = false;
    bool inSoloActive = false;
    bool outSoloActive = false;
    bool notifyChanges = false;
    bool deferred = false;
    bool pendingMain = false;
    bool pendingLfe = false;
    std::vector<int32_t> fallbackRouting;
};

} // namespace Tannhofen::Mix

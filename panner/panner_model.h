// RPannerModel: the panner's state and geometry. One source image, with a
// position per input channel, that the controls move, scale, rotate and tilt;
// elevation patterns, the 7.1.2 roof, the object mode and the ambisonic
// output. Gains come from the mix law of MMixerBaseModel, one point per input
// channel.
//
// Two instances live per plug-in and share no memory: the processor's holds
// a gain set and writes gains; the controller's holds none, sends change
// messages and computes positions for the editor. They stay alike because
// every setter runs in both, in the same order, from the same normalized
// values: nothing here depends on anything but those values and the
// arrangements.
//
// Coordinates: normalized 0 to 1 for the controls (x left to right, y front to
// rear, z bottom to top), centred -0.5 to 0.5 for channel positions, angles in
// turns.
//
// Bad values: a NaN leaves a setter's value as it was; an infinite or
// out-of-range normalized value is clamped to 0 to 1. So positions and gains
// are always finite and inside the room.
//
// Threads: setArrangements (and allocation) with the stream stopped; setters,
// the position recompute and updateMain may run on the audio thread and
// allocate nothing, except the first switch to object mode, which creates the
// object transform once.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "mix/mixer_base_model.h"
#include "panner/affine_matrix.h"
#include "panner/channel_placement.h"
#include "panner/handle_solver.h"
#include "panner/object_ambi_encoder.h"
#include "panner/orbit.h"
#include "panner/panner_params.h"
#include "panner/roof_projector.h"

namespace Tannhofen::Panner {

class RPannerModel : public Mix::MMixerBaseModel {
public:
    PLX_OBJ_METHODS(RPannerModel, Mix::MMixerBaseModel, "RPannerModel")

    RPannerModel();
    ~RPannerModel() override;

    // Overrides of the base, in its order.
    double getDefault(int32_t id) override;
    void setArrangements(Plx::SpeakerArrangement in, Plx::SpeakerArrangement out) override;
    void applyDeferred() override;
    void allocate() override;
    void clearMatrices() override;
    void updateMain(bool direct) override;
    void updateLfe(bool direct) override;
    // The panner's own reads of the law's spreads.
    virtual void getDivergences(float& front, float& rear, float& depth) const;
    virtual float getHeightDivergence() const { return heightDivergence; }
    virtual float getCenterSpread() const { return centerSpread; }
    // The widest centre distribution at which the front centre's two
    // neighbours still share it evenly, for the editor: 2k / (C - 1) when the
    // nearest active speakers on both sides of the centre lie k steps away;
    // else 0.
    virtual float getCenterLimit() const;

    // Setters by parameter id, with normalized values; true when something
    // changed. Ids the model doesn't know return false.
    bool setParamValue(int32_t id, double value);
    // The normalized value of a parameter the model holds, or -1.0.
    double getParamValue(int32_t id) const;

    // Setters. Floats take normalized values; "changed" means a difference of
    // more than 1.6e-06.
    bool setPosX(double v);
    bool setPosY(double v);
    bool setPosZ(double v); // ignored while an elevation pattern is on
    bool setScaleX(double v);
    bool setScaleY(double v);
    bool setScaleZ(double v);
    bool setTiltX(double v);
    bool setTiltY(double v);
    bool setRotateZ(double v);
    bool setOrbit(double v);
    bool setRadius(double v);
    bool setHandle(int32_t id, double v);
    bool setElevationOn(bool on);
    bool setElevationMode(double v);
    // The requested mode is honoured only with a host object bus, or when it
    // comes from the editor's radio values.
    bool setObjectMode(bool on, bool fromEditor);
    bool setObjectSize(double v);
    bool setSpeakerSnap(bool on);
    bool setDistanceScale(double v);
    bool setCenterSpread(double v);
    bool setFrontDivergence(double v);
    bool setRearDivergence(double v);
    bool setDepthDivergence(double v);
    bool setHeightDivergence(double v);
    // Speaker `index` (0 to 25) switched off or on.
    bool setSpeakerOff(int32_t index, bool off);
    bool setLfeGain(double v);
    void setObjectBusConnected(bool connected) { objectBusConnected = connected; }
    void setExtendedDisplay(bool on) { extendedDisplay = on; }
    void setZoneMode(double v);
    void setPointer3D(float x, float y, float z);

    // Orbit and radius from the present centre (posting their messages when
    // they change), then the anchor moves to the centre; with `reanchorOnly`
    // only the anchor moves.
    void updateOrbitAndRadius(bool reanchorOnly);

    // The left and right handle, normalized: the front corners of the image.
    // False, with nothing written, for a layout without a middle row.
    bool getHandles(Point3& left, Point3& right) const;

    // Reads for the editor, the processor and the object bus.
    const std::vector<Point3>& getBasePositions() const { return basePositions; }
    const std::vector<Point3>& getImagePositions() const { return imagePositions; }
    const std::vector<Point3>& getRawPositions() const { return rawPositions; }
    const std::vector<Point3>& getNeutralPositions() const { return neutralPositions; }
    int32_t getPositionCount() const { return positionCount; }
    float getStageSize() const { return stageSize; }
    const ImagePose& getPose() const { return pose; }
    float getScaleXParam() const { return pose.scaleX * kInvMaxScale; }
    float getScaleYParam() const { return pose.scaleY * kInvMaxScale; }
    float getScaleZParam() const { return pose.scaleZ * kInvMaxScale; }
    float getRadiusParam() const { return static_cast<float>(radius * 0.7071067811865476); }
    float getElevationModeParam() const { return static_cast<float>(elevationMode) / 7.0f; }
    float getOrbit() const { return orbit; }
    float getRadius() const { return radius; }
    PlanePoint getAnchor() const { return {anchorX, anchorY}; }
    float getFlatZ() const { return flatZ; }
    int32_t getElevationMode() const { return elevationMode; }
    bool isElevationOn() const { return elevationOn; }
    bool isObjectMode() const { return objectMode; }
    bool isObjectBusConnected() const { return objectBusConnected; }
    bool isAmbisonicOutput() const { return ambisonicOutput; }
    bool isRoofActive() const { return roofActive; }
    bool isSpeakerSnap() const { return speakerSnap; }
    bool isSpeakerOff(int32_t index) const;
    float getObjectSize() const { return objectSize; }
    float getDistanceScale() const { return distanceScale; }
    bool getExtendedDisplay() const { return extendedDisplay; }
    float getZoneMode() const { return zoneMode; }
    const std::array<float, 3>& getPointer3D() const { return pointer3D; }
    const RoofProjector& getRoof() const { return roofProjector; }

private:
    // The shared steps of the setters of one kind.
    bool setCentre(float& field, double v);
    bool setScale(float& field, double v);
    bool setAngle(float& field, double v);
    bool setSpread(float& field, double v, int32_t message);
    // After a move of the image: positions (or mark them dirty while
    // deferred), then the gains when there are any.
    void moveImage();
    // The position recompute; its message goes out at once when
    // `immediateMessage`, else as a deferred update.
    void recomputePositions(bool immediateMessage);
    void recomputeStageSize() { stageSize = stageSizeOf(pose.scaleX, pose.scaleY, pose.scaleZ, shape); }
    // The pattern's height of the centre into posZ.
    void followPattern();
    // The roof is on for the 7.1.2 output, outside object mode.
    void setRoof();
    // A flat input into an output of two rows: the cube's height spans them.
    bool spansOutputRows() const;
    // The law's height of a normalized height in the cube.
    float lawHeight(float z) const;
    // Normalized height of ear level in the cube for the present layouts.
    float earHeight() const;
    void updateFlatZ();
    void buildNeutralPositions();
    bool hasHeight(Plx::SpeakerArrangement arrangement) const;
    std::unique_ptr<IAffineMatrix> makeBedTransform() const;
    void setTransform(IAffineMatrix& transform, float tz) const;
    void sendUpdate(int32_t message) { deferChange(message); }

    RoofProjector roofProjector;
    ObjectAmbiEncoder ambiEncoder;
    std::vector<uint8_t> frontSpeakerOff;
    std::vector<Point3> basePositions;
    std::vector<Point3> imagePositions;
    std::vector<Point3> rawPositions;
    std::vector<Point3> neutralPositions;
    int32_t positionCount = 0;
    ImagePose pose; // centre, scales and angles of the image
    float anchorX = 0.5f;
    float anchorY = 0.0f;
    float anchorZ = 0.0f;
    float orbit = 0.0f;
    float anchorOrbit = 0.0f;
    float radius = 0.0f;
    float distanceScale = 0.0f;
    float translationX = 0.0f;
    float translationY = 0.0f;
    float translationZ = 0.0f;
    float flatZ = -0.5f;
    float stageSize = 1.0f;
    int32_t elevationMode = 0;
    float objectSize = 0.0f;
    float zoneMode = 0.0f;
    std::unique_ptr<IAffineMatrix> affine;
    std::unique_ptr<IAffineMatrix> objectAffine;
    std::array<float, 3> pointer3D{};
    bool elevationOn = true;
    bool objectBusConnected = false;
    bool objectMode = false;
    bool speakerSnap = false;
    bool extendedDisplay = false;
    bool positionsDirty = false;
    bool ambisonicOutput = false;
    bool roofActive = false;
    std::array<uint8_t, Plx::kSpeakerIndexCount> speakerOff{};
    ImageShape shape; // of the input layout, set with the arrangements
};

} // namespace Tannhofen::Panner

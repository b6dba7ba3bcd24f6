#include "panner/panner_model.h"

#include <algorithm>
#include <cmath>

#include "panner/elevation_pattern.h"
#include "panner/image_layout.h"
#include "panner/orbit.h"

namespace Tannhofen::Panner {

using Mix::MixGainSet;
using Mix::MixMatrix;
using Mix::SpeakerGrid;
using Plx::SpeakerArrangement;
namespace Spk = Plx::Speaker;
namespace Layout = Plx::Layout;

namespace {

constexpr SpeakerArrangement kLfeBits = Spk::LFE | Spk::LFE2;
// The ridge of the 7.1.2 roof runs from y -0.3 to 0.3.
constexpr float kRidgeWidth = 0.6f;
// The distance scale: 1 to 50 metres.
constexpr float kMinDistance = 1.0f;
constexpr float kDistanceRange = 49.0f;

bool isAmbisonic(SpeakerArrangement arrangement) {
    return arrangement == Layout::kAmbi1 || arrangement == Layout::kAmbi2 || arrangement == Layout::kAmbi3;
}

// 7.0.2 and 7.1.2: two overhead speakers at the sides and none in the corners.
bool hasRoof(SpeakerArrangement out) {
    return (out & ~kLfeBits) == Layout::k7_0_2;
}

// A normalized value as the setters take it: NaN is refused (the setter keeps
// its value), anything else is clamped to 0 to 1, an infinity to its end.
bool normalized(double v, double& out) {
    if (std::isnan(v)) return false;
    out = std::clamp(v, 0.0, 1.0);
    return true;
}

// "Changed": a difference of more than the tolerance. Compared in double, so
// that a value exactly the tolerance away is no change.
bool differs(double a, double b) {
    return std::fabs(a - b) > static_cast<double>(kGainTolerance);
}

bool storeIfChanged(float& field, double value) {
    if (!differs(value, field)) return false;
    field = static_cast<float>(value);
    return true;
}

// A normalized value into `field` when it moved by more than the tolerance.
bool store(float& field, double v) {
    double value;
    return normalized(v, value) && storeIfChanged(field, value);
}

// A normalized scale, 0 to 1.4142135, the same way.
bool storeScale(float& field, double v) {
    double value;
    return normalized(v, value) && storeIfChanged(field, std::min(value * kMaxScale, double(kMaxScale)));
}

bool isOff(double v) {
    return std::fabs(v) <= static_cast<double>(kFlagTolerance);
}

} // namespace

RPannerModel::RPannerModel() : affine(std::make_unique<AffineMatrix2D>()) {
    roofProjector.setRidgeWidth(kRidgeWidth);
}

RPannerModel::~RPannerModel() = default;

// ---- setters ----

bool RPannerModel::setCentre(float& field, double v) {
    if (!store(field, v)) return false;
    followPattern();
    updateOrbitAndRadius(false);
    moveImage();
    return true;
}

bool RPannerModel::setPosX(double v) {
    return setCentre(pose.posX, v);
}

bool RPannerModel::setPosY(double v) {
    return setCentre(pose.posY, v);
}

bool RPannerModel::setPosZ(double v) {
    // With a pattern on, the centre's height is the pattern's.
    if (elevationMode != kElevationNone || !store(pose.posZ, v)) return false;
    moveImage();
    return true;
}

bool RPannerModel::setScale(float& field, double v) {
    if (!storeScale(field, v)) return false;
    recomputeStageSize();
    moveImage();
    return true;
}

bool RPannerModel::setScaleX(double v) {
    return setScale(pose.scaleX, v);
}

bool RPannerModel::setScaleY(double v) {
    return setScale(pose.scaleY, v);
}

bool RPannerModel::setScaleZ(double v) {
    return setScale(pose.scaleZ, v);
}

bool RPannerModel::setAngle(float& field, double v) {
    if (!store(field, v)) return false;
    moveImage();
    return true;
}

bool RPannerModel::setTiltX(double v) {
    return setAngle(pose.tiltX, v);
}

bool RPannerModel::setTiltY(double v) {
    return setAngle(pose.tiltY, v);
}

bool RPannerModel::setRotateZ(double v) {
    return setAngle(pose.rotateZ, v);
}

bool RPannerModel::setOrbit(double v) {
    double value;
    if (!normalized(v, value) || !differs(value, orbit)) return false;
    const auto turns = static_cast<float>(value);
    const PlanePoint centre =
        orbitPosition({anchorX, anchorY}, static_cast<double>(turns) - anchorOrbit, stageSize);
    // A multichannel image keeps facing the middle while it goes around.
    if (shape.multiChannel) pose.rotateZ = wrapTurns(pose.rotateZ + (turns - orbit));
    pose.posX = centre.x;
    pose.posY = centre.y;
    orbit = turns;
    followPattern();
    moveImage();
    return true;
}

bool RPannerModel::setRadius(double v) {
    if (!storeScale(radius, v)) return false;
    const PlanePoint anchor = radiusAnchor(radius, orbit, stageSize);
    anchorX = anchor.x;
    anchorY = anchor.y;
    anchorZ = pose.posZ;
    anchorOrbit = orbit;
    pose.posX = std::clamp(anchor.x, 0.0f, 1.0f);
    pose.posY = std::clamp(anchor.y, 0.0f, 1.0f);
    followPattern();
    moveImage();
    return true;
}

bool RPannerModel::setHandle(int32_t id, double v) {
    double value;
    if (!normalized(v, value)) return false;
    const bool isLeft = id == ParamId::kPosLX || id == ParamId::kPosLY || id == ParamId::kPosLZ;
    int axis;
    switch (id) {
    case ParamId::kPosLX:
    case ParamId::kPosRX: axis = 0; break;
    case ParamId::kPosLY:
    case ParamId::kPosRY: axis = 1; break;
    case ParamId::kPosLZ:
    case ParamId::kPosRZ: axis = 2; break;
    default: return false;
    }
    Point3 left, right;
    if (!getHandles(left, right)) return false;
    Point3& moved = isLeft ? left : right;
    Point3& twin = isLeft ? right : left;
    if (!differs(value, moved[static_cast<size_t>(axis)])) return false;
    moved[static_cast<size_t>(axis)] = static_cast<float>(value);
    // One front channel: both handles are that channel. Without a top row
    // (and outside object mode and ambisonics) the image has one height.
    if (axis < 2 && shape.frontChannels == 1) twin[static_cast<size_t>(axis)] = static_cast<float>(value);
    if (axis == 2 && outGrid.rowTotal(SpeakerGrid::kTop) == 0 && !objectMode && !ambisonicOutput)
        twin[2] = static_cast<float>(value);

    const bool wasDeferred = deferred;
    setDeferred(true);
    pose = solveHandles(left, right, pose, shape);
    followPattern();
    recomputeStageSize();
    moveImage();
    if (!wasDeferred) setDeferred(false);
    updateOrbitAndRadius(false);
    return true;
}

bool RPannerModel::setElevationOn(bool on) {
    if (on == elevationOn) return false;
    elevationOn = on;
    if (!on) updateFlatZ();
    moveImage();
    return true;
}

bool RPannerModel::setElevationMode(double v) {
    double value;
    if (!normalized(v, value)) return false;
    const auto mode = static_cast<int32_t>(value * kElevationModeMax + 0.5);
    if (mode == elevationMode) return false;
    elevationMode = mode;
    followPattern();
    moveImage();
    return true;
}

bool RPannerModel::setObjectMode(bool on, bool fromEditor) {
    on = on && (objectBusConnected || fromEditor);
    // The one allocation on the audio path: the object transform, once.
    if (on && !objectAffine) objectAffine = std::make_unique<AffineMatrix3D>();
    const bool changed = on != objectMode;
    objectMode = on;
    const bool roofWas = roofActive;
    setRoof();
    if (changed || roofWas != roofActive) {
        recomputeStageSize();
        moveImage();
    }
    sendUpdate(PannerMessage::kObjectModeChanged);
    return changed;
}

bool RPannerModel::setObjectSize(double v) {
    if (!store(objectSize, v)) return false;
    ambiEncoder.setSize(objectSize);
    sendUpdate(PannerMessage::kObjectSizeChanged);
    if (gainSet) updateMain(false);
    return true;
}

bool RPannerModel::setSpeakerSnap(bool on) {
    const bool changed = on != speakerSnap;
    speakerSnap = on;
    moveImage();
    return changed;
}

bool RPannerModel::setDistanceScale(double v) {
    double value;
    if (!normalized(v, value)) return false;
    distanceScale = static_cast<float>(value);
    ambiEncoder.setDistance(distanceScale * kDistanceRange + kMinDistance);
    if (gainSet) updateMain(false);
    sendUpdate(PannerMessage::kDistanceScaleChanged);
    return true;
}

bool RPannerModel::setSpread(float& field, double v, int32_t message) {
    if (!store(field, v)) return false;
    sendUpdate(message);
    if (gainSet) updateMain(false);
    return true;
}

bool RPannerModel::setCenterSpread(double v) {
    return setSpread(centerSpread, v, PannerMessage::kCenterChanged);
}

bool RPannerModel::setFrontDivergence(double v) {
    return setSpread(frontDivergence, v, PannerMessage::kDivergenceChanged);
}

bool RPannerModel::setRearDivergence(double v) {
    return setSpread(rearDivergence, v, PannerMessage::kDivergenceChanged);
}

bool RPannerModel::setDepthDivergence(double v) {
    return setSpread(depthDivergence, v, PannerMessage::kDivergenceChanged);
}

bool RPannerModel::setHeightDivergence(double v) {
    return setSpread(heightDivergence, v, PannerMessage::kDivergenceChanged);
}

bool RPannerModel::setLfeGain(double v) {
    double value;
    if (!normalized(v, value)) return false;
    const float before = lfeGain;
    setLfeLevel(value);
    return lfeGain != before;
}

void RPannerModel::setZoneMode(double v) {
    double value;
    if (normalized(v, value)) zoneMode = static_cast<float>(value);
}

void RPannerModel::setPointer3D(float x, float y, float z) {
    if (pointer3D == std::array<float, 3>{x, y, z}) return;
    pointer3D = {x, y, z};
    sendUpdate(PannerMessage::kPointerChanged);
}

bool RPannerModel::isSpeakerOff(int32_t index) const {
    return index >= 0 && index < Plx::kSpeakerIndexCount && speakerOff[static_cast<size_t>(index)] != 0;
}

bool RPannerModel::setSpeakerOff(int32_t index, bool off) {
    if (index < 0 || index >= Plx::kSpeakerIndexCount) return false;
    const bool changed = (speakerOff[static_cast<size_t>(index)] != 0) != off;
    speakerOff[static_cast<size_t>(index)] = off ? 1 : 0;

    const SpeakerArrangement bit = Plx::indexToBit(index);
    const bool monoCenter = Plx::channelCount(outputArr) == 1 && bit == Spk::C;
    // The speaker's channel among the main outputs: muted channels take no
    // share of the law.
    const int32_t channel = monoCenter ? 0 : outGrid.positionOf(bit);
    if ((outputArr & bit || monoCenter) && channel >= 0 && channel < numOut &&
        static_cast<size_t>(channel) < speakerMuted.size() &&
        (speakerMuted[static_cast<size_t>(channel)] != 0) != off) {
        speakerMuted[static_cast<size_t>(channel)] = off ? 1 : 0;
        recomputeMutes();
        if (gainSet) updateMain(false);
    }
    if (!(outputArr & bit) && !monoCenter) {
        if (changed) sendUpdate(PannerMessage::kSpeakerOffChanged);
        return changed;
    }
    // The front speakers also feed the editor's centre distribution limit.
    const auto c = static_cast<int32_t>(frontSpeakerOff.size());
    int32_t column = -1;
    if (bit == Spk::L)
        column = 0;
    else if (bit == Spk::R)
        column = c - 1;
    else if (bit == Spk::C)
        column = c >= 3 ? c / 2 : 0;
    else if (bit == Spk::Lc)
        column = c / 2 - 1;
    else if (bit == Spk::Rc)
        column = c >= 3 ? c / 2 + 1 : c - 1;
    if (column >= 0 && column < c && (frontSpeakerOff[static_cast<size_t>(column)] != 0) != off) {
        frontSpeakerOff[static_cast<size_t>(column)] = off ? 1 : 0;
        sendUpdate(PannerMessage::kCenterChanged);
        return changed;
    }
    if (changed) sendUpdate(PannerMessage::kSpeakerOffChanged);
    return changed;
}

float RPannerModel::getCenterLimit() const {
    const auto c = static_cast<int32_t>(frontSpeakerOff.size());
    if (c < 3 || c % 2 == 0 || !(centerSpread > 0.0f)) return 0.0f;
    const int32_t mid = c / 2;
    if (frontSpeakerOff[static_cast<size_t>(mid)]) return 0.0f;
    int32_t left = 0, right = 0;
    for (int32_t k = 1; k <= mid && left == 0; ++k)
        if (!frontSpeakerOff[static_cast<size_t>(mid - k)]) left = k;
    for (int32_t k = 1; k <= mid && right == 0; ++k)
        if (!frontSpeakerOff[static_cast<size_t>(mid + k)]) right = k;
    if (left == 0 || left != right) return 0.0f;
    return 2.0f * static_cast<float>(left) / static_cast<float>(c - 1);
}

void RPannerModel::getDivergences(float& front, float& rear, float& depth) const {
    front = frontDivergence;
    rear = rearDivergence;
    depth = depthDivergence;
}

// ---- parameters by id ----

bool RPannerModel::setParamValue(int32_t id, double v) {
    switch (id) {
    case ParamId::kPosX: return setPosX(v);
    case ParamId::kPosY: return setPosY(v);
    case ParamId::kPosZ: return setPosZ(v);
    case ParamId::kCenterDistr: return setCenterSpread(v);
    case ParamId::kFrontDiv: return setFrontDivergence(v);
    case ParamId::kRearDiv: return setRearDivergence(v);
    case ParamId::kFrontRearDiv: return setDepthDivergence(v);
    case ParamId::kBottomTopDiv: return setHeightDivergence(v);
    case ParamId::kLfeVol: return setLfeGain(v);
    case ParamId::kScaleX: return setScaleX(v);
    case ParamId::kScaleY: return setScaleY(v);
    case ParamId::kScaleZ: return setScaleZ(v);
    case ParamId::kTiltX: return setTiltX(v);
    case ParamId::kTiltY: return setTiltY(v);
    case ParamId::kRotateZ: return setRotateZ(v);
    case ParamId::kElevationOn: return !std::isnan(v) && setElevationOn(v > 0.5);
    case ParamId::kElevationMode: return setElevationMode(v);
    case ParamId::kShowExtendedDisplay:
        if (!std::isnan(v)) extendedDisplay = v > 0.0;
        return false;
    case ParamId::kObjectModeSwitch: return !std::isnan(v) && setObjectMode(v > 0.0, false);
    case ParamId::kBedModeRadio:
    case ParamId::kObjectModeRadio: return v >= 0.5 && setObjectMode(id == ParamId::kObjectModeRadio, true);
    case ParamId::kObjectSize: return setObjectSize(v);
    case ParamId::kSpeakerSnap: return !std::isnan(v) && setSpeakerSnap(v > 0.0);
    case ParamId::kZoneMode: setZoneMode(v); return false;
    case ParamId::kDistanceScale: return setDistanceScale(v);
    case ParamId::kBypass: return !std::isnan(v) && setDirectMode(v >= 0.5);
    case ParamId::kOrbit: return setOrbit(v);
    case ParamId::kRadius: return setRadius(v);
    case ParamId::kUnlockOrbit:
        if (v >= 0.5) updateOrbitAndRadius(true);
        return false;
    case ParamId::kPosLX:
    case ParamId::kPosLY:
    case ParamId::kPosLZ:
    case ParamId::kPosRX:
    case ParamId::kPosRY:
    case ParamId::kPosRZ: return setHandle(id, v);
    default: break;
    }
    if (id >= ParamId::kSpeakerFirst && id <= ParamId::kSpeakerLast)
        return !std::isnan(v) && setSpeakerOff(id - ParamId::kSpeakerFirst, isOff(v));
    if (id >= Mix::ParamId::kOutputSoloFirst && id <= Mix::ParamId::kOutputSoloLast && !std::isnan(v)) {
        const int32_t index = id - Mix::ParamId::kOutputSoloFirst;
        const bool before = isOutputSolo(index);
        setSolo(index, std::fabs(v - 1.0) <= static_cast<double>(kFlagTolerance), outputArr, outSolo.data(),
                &outChannelSolo, outSoloActive, numOut + numOutLfe, outGrid);
        return isOutputSolo(index) != before;
    }
    return false;
}

double RPannerModel::getParamValue(int32_t id) const {
    auto flag = [](bool b) { return b ? 1.0 : 0.0; };
    switch (id) {
    case ParamId::kPosX: return pose.posX;
    case ParamId::kPosY: return pose.posY;
    case ParamId::kPosZ: return pose.posZ;
    case ParamId::kCenterDistr: return centerSpread;
    case ParamId::kFrontDiv: return frontDivergence;
    case ParamId::kRearDiv: return rearDivergence;
    case ParamId::kFrontRearDiv: return depthDivergence;
    case ParamId::kBottomTopDiv: return heightDivergence;
    case ParamId::kLfeVol: return lfeNormalized;
    case ParamId::kScaleX: return getScaleXParam();
    case ParamId::kScaleY: return getScaleYParam();
    case ParamId::kScaleZ: return getScaleZParam();
    case ParamId::kTiltX: return pose.tiltX;
    case ParamId::kTiltY: return pose.tiltY;
    case ParamId::kRotateZ: return pose.rotateZ;
    case ParamId::kElevationOn: return flag(elevationOn);
    case ParamId::kElevationMode: return getElevationModeParam();
    case ParamId::kShowExtendedDisplay: return flag(extendedDisplay);
    case ParamId::kObjectModeSwitch: return flag(objectMode);
    case ParamId::kObjectSize: return objectSize;
    case ParamId::kSpeakerSnap: return flag(speakerSnap);
    case ParamId::kZoneMode: return zoneMode;
    case ParamId::kDistanceScale: return distanceScale;
    case ParamId::kBypass: return flag(directMode);
    case ParamId::kOrbit: return orbit;
    case ParamId::kRadius: return getRadiusParam();
    case ParamId::kPosLX:
    case ParamId::kPosLY:
    case ParamId::kPosLZ:
    case ParamId::kPosRX:
    case ParamId::kPosRY:
    case ParamId::kPosRZ: {
        Point3 left, right;
        if (!getHandles(left, right)) return -1.0;
        const bool isLeft = id == ParamId::kPosLX || id == ParamId::kPosLY || id == ParamId::kPosLZ;
        const int axis = id == ParamId::kPosLX || id == ParamId::kPosRX   ? 0
                         : id == ParamId::kPosLY || id == ParamId::kPosRY ? 1
                                                                          : 2;
        return (isLeft ? left : right)[static_cast<size_t>(axis)];
    }
    default: break;
    }
    if (id >= ParamId::kSpeakerFirst && id <= ParamId::kSpeakerLast)
        return flag(!isSpeakerOff(id - ParamId::kSpeakerFirst));
    if (id >= Mix::ParamId::kOutputSoloFirst && id <= Mix::ParamId::kOutputSoloLast)
        return flag(isOutputSolo(id - Mix::ParamId::kOutputSoloFirst));
    return -1.0;
}

double RPannerModel::getDefault(int32_t id) {
    switch (id) {
    case ParamId::kPosY: {
        if (inGrid.layers() == 0) return 0.0;
        if (inGrid.usedZonesOfLayer(middleLayerOf(inGrid)) >= 2) return 0.5;
        if (numIn > 1) {
            const int32_t zone = firstFilledZone(inGrid);
            return zone < 0 ? 0.5 : (zone + 1) * 0.25;
        }
        return 0.0;
    }
    case ParamId::kPosZ: return earHeight();
    case ParamId::kLfeVol: return MMixerBaseModel::getDefault(id);
    default: return 0.0;
    }
}

// ---- geometry ----

void RPannerModel::followPattern() {
    if (elevationMode == kElevationNone) return;
    const float height = elevationPatternValue(elevationMode, pose.posX, pose.posY, pose.posZ);
    if (differs(height, pose.posZ)) pose.posZ = height;
}

void RPannerModel::updateOrbitAndRadius(bool reanchorOnly) {
    if (!reanchorOnly) {
        const float turns = directionToTurns(pose.posX, pose.posY);
        if (differs(turns, orbit)) {
            orbit = turns;
            sendUpdate(PannerMessage::kOrbitChanged);
        }
        const float r = centreRadius(pose.posX, pose.posY);
        if (differs(r, radius)) {
            radius = r;
            sendUpdate(PannerMessage::kRadiusChanged);
        }
    }
    anchorX = pose.posX;
    anchorY = pose.posY;
    anchorZ = pose.posZ;
    anchorOrbit = orbit;
}

bool RPannerModel::getHandles(Point3& left, Point3& right) const {
    int32_t l = 0, r = 0;
    if (!handleChannels(inGrid, l, r) || r >= positionCount) return false;
    for (size_t k = 0; k < 3; ++k) {
        left[k] = imagePositions[static_cast<size_t>(l)][k] + 0.5f;
        right[k] = imagePositions[static_cast<size_t>(r)][k] + 0.5f;
    }
    return true;
}

void RPannerModel::setTransform(IAffineMatrix& transform, float tz) const {
    transform.set(pose.scaleX, pose.scaleY, pose.scaleZ, pose.tiltX * kTwoPi, pose.tiltY * kTwoPi,
                  pose.rotateZ * kTwoPi, translationX, translationY, tz);
}

void RPannerModel::moveImage() {
    recomputePositions(false);
    if (gainSet) updateMain(false);
}

void RPannerModel::recomputePositions(bool immediateMessage) {
    if (deferred) {
        positionsDirty = true;
        return;
    }
    positionsDirty = false;
    if (numIn > 0 && static_cast<size_t>(numIn) <= basePositions.size() && affine) {
        translationX = (pose.posX - 0.5f) * stageSize;
        translationY = (pose.posY - 0.5f) * stageSize;
        translationZ = (pose.posZ - 0.5f) * stageSize;
        IAffineMatrix& transform = objectMode && objectAffine ? *objectAffine : *affine;
        setTransform(transform, elevationOn ? translationZ : flatZ);
        const PlacementRules rules{elevationOn, elevationMode, flatZ, roofActive ? &roofProjector : nullptr};
        placeChannels(transform, basePositions.data(), imagePositions.data(), rawPositions.data(),
                      static_cast<size_t>(numIn), rules);
    }
    if (immediateMessage)
        sendChange(PannerMessage::kPositionsChanged);
    else
        sendUpdate(PannerMessage::kPositionsChanged);
}

void RPannerModel::setRoof() {
    roofActive = !objectMode && hasRoof(outputArr);
}

bool RPannerModel::spansOutputRows() const {
    return inGrid.layers() <= 1 && outGrid.layers() == 2;
}

float RPannerModel::lawHeight(float z) const {
    // The law puts the rows at their own heights (bottom 0, ear 0.5, top 1).
    // A flat input's cube spans the output's two rows instead, so that the
    // whole of posZ moves it, from the lower row to the upper one.
    if (!spansOutputRows()) return z;
    const float low = SpeakerGrid::heightOf(outGrid.rowOfLayer(0));
    const float high = SpeakerGrid::heightOf(outGrid.rowOfLayer(1));
    return low + (high - low) * z;
}

float RPannerModel::earHeight() const {
    // Where the cube meets ear level: its middle for a layered input, an
    // output with rows on both sides of the ear row (22.2, 14.0) and the
    // horizon of an ambisonic output; where the ear row stands between the
    // two rows a flat input spans (the floor below 7.1.4's top row).
    if (ambisonicOutput) return 0.5f;
    if (spansOutputRows()) {
        const float low = SpeakerGrid::heightOf(outGrid.rowOfLayer(0));
        const float high = SpeakerGrid::heightOf(outGrid.rowOfLayer(1));
        return std::clamp((SpeakerGrid::heightOf(SpeakerGrid::kEar) - low) / (high - low), 0.0f, 1.0f);
    }
    return inGrid.layers() > 1 || outGrid.layers() == SpeakerGrid::kRows ? 0.5f : 0.0f;
}

void RPannerModel::updateFlatZ() {
    // With elevation off every channel stands at ear level.
    flatZ = earHeight() - 0.5f;
}

bool RPannerModel::hasHeight(SpeakerArrangement arrangement) const {
    // A short list on purpose: layouts with only rear or centre tops pass as flat.
    return (arrangement & (Spk::Tfl | Spk::Tfc | Spk::Tsl | Spk::Bfl)) != 0 || ambisonicOutput;
}

std::unique_ptr<IAffineMatrix> RPannerModel::makeBedTransform() const {
    if (hasHeight(inputArr) || hasHeight(outputArr)) return std::make_unique<AffineMatrix3D>();
    return std::make_unique<AffineMatrix2D>();
}

void RPannerModel::buildNeutralPositions() {
    // The identity image: scale 1, no angles, centred on the layout's own place.
    std::unique_ptr<IAffineMatrix> transform = makeBedTransform();
    float y = 0.5f;
    const int32_t zone = firstFilledZone(inGrid);
    if (inGrid.layers() > 0 && inGrid.usedZonesOfLayer(middleLayerOf(inGrid)) <= 1 && zone >= 0)
        y = static_cast<float>(zone) * 0.5f;
    const float z = earHeight();
    transform->set(1.0, 1.0, 1.0, 0.0, 0.0, 0.0, (0.5f - 0.5f) * stageSize, (y - 0.5f) * stageSize,
                   (z - 0.5f) * stageSize);
    const PlacementRules rules{elevationOn, elevationMode, flatZ, nullptr};
    placeChannels(*transform, basePositions.data(), neutralPositions.data(), nullptr,
                  std::min(static_cast<size_t>(numIn), basePositions.size()), rules);
}

// ---- arrangements and matrices ----

void RPannerModel::setArrangements(SpeakerArrangement in, SpeakerArrangement out) {
    ambisonicOutput = isAmbisonic(out);
    if (((outputArr ^ out) & Spk::Lc) != 0) sendUpdate(PannerMessage::kCenterChanged);
    if (in != inputArr || out != outputArr) sendUpdate(PannerMessage::kArrangementChanged);
    MMixerBaseModel::setArrangements(in, out);

    std::vector<Point3> layout;
    layoutPositions(inGrid, layout);
    std::copy(layout.begin(), layout.end(), basePositions.begin());
    shape = imageShapeOf(inGrid, layout);
    if (hasRoof(out)) {
        roofProjector.setFloor(inGrid.layers() == 1 ? -0.5f : 0.0f);
        roofProjector.setCeiling(0.5f);
    }
    // The stored off states meet the new output's channels.
    for (int32_t index = 0; index < Plx::kSpeakerIndexCount; ++index) {
        const SpeakerArrangement bit = Plx::indexToBit(index);
        const bool present = Plx::channelCount(out) == 1 ? index == 2 : (out & bit) != 0;
        if (present && speakerOff[static_cast<size_t>(index)]) setSpeakerOff(index, true);
    }
    setRoof();
    // flatZ first, so that the positions see the new layout's floor.
    updateFlatZ();
    recomputeStageSize();
    recomputePositions(false);
    buildNeutralPositions();
    if (gainSet) {
        updateMain(true);
        updateMain(false);
    }
}

void RPannerModel::applyDeferred() {
    if (positionsDirty) {
        recomputePositions(true);
        if (gainSet) updateMain(false);
    }
    MMixerBaseModel::applyDeferred();
}

void RPannerModel::allocate() {
    MMixerBaseModel::allocate();
    affine = makeBedTransform();
    positionCount = numIn + numInLfe;
    const auto count = static_cast<size_t>(positionCount);
    basePositions.assign(count, Point3{0.0f, 0.0f, 0.0f});
    imagePositions.assign(count, Point3{0.0f, 0.0f, 0.0f});
    rawPositions.assign(count, Point3{0.0f, 0.0f, 0.0f});
    neutralPositions.assign(count, Point3{0.0f, 0.0f, 0.0f});
    frontSpeakerOff.assign(outGrid.count(SpeakerGrid::kEar, SpeakerGrid::kFront), 0);
}

void RPannerModel::clearMatrices() {
    MMixerBaseModel::clearMatrices();
    // The object transform stays: it is made once, on the first switch to
    // object mode, and a layout change while in object mode still needs it.
    affine.reset();
    positionCount = 0;
    basePositions.clear();
    imagePositions.clear();
    rawPositions.clear();
    neutralPositions.clear();
    frontSpeakerOff.clear();
}

void RPannerModel::updateMain(bool direct) {
    if (deferred && !direct) {
        pendingMain = true;
        updateLfe(false);
        return;
    }
    MixMatrix* matrix =
        gainSet ? &gainSet->matrix[direct ? MixGainSet::kDirect : MixGainSet::kNormal] : nullptr;
    if (matrix && matrix->allocated && static_cast<size_t>(numIn) <= imagePositions.size()) {
        const std::vector<int32_t>& inMap = gainSet->inMap;
        const std::vector<int32_t>& outMap = gainSet->outMap;
        const bool nested = (inputArr & outputArr) == inputArr || (inputArr & outputArr) == outputArr;
        if (direct && nested && !ambisonicOutput) {
            routeSpeakersDirectly();
        } else {
            for (int32_t i = 0; i < numIn; ++i) {
                const int32_t row = inMap[static_cast<size_t>(i)];
                const Point3& p = imagePositions[static_cast<size_t>(i)];
                if (ambisonicOutput) {
                    ambiEncoder.encode(p[0], p[1], p[2], *matrix, row, direct);
                } else if (!direct) {
                    panPoint(*matrix, row, outMap, p[0] + 0.5f, p[1] + 0.5f, lawHeight(p[2] + 0.5f), false);
                    if (outSoloActive) clearUnsoloedOutputs(*matrix, row);
                } else {
                    const Point3& n = neutralPositions[static_cast<size_t>(i)];
                    panPoint(*matrix, row, outMap, n[0] + 0.5f, n[1] + 0.5f, lawHeight(n[2] + 0.5f), true);
                }
            }
        }
    }
    if (!direct) pendingMain = false;
    updateLfe(direct);
}

void RPannerModel::updateLfe(bool direct) {
    MMixerBaseModel::updateLfe(direct);
    if (!ambisonicOutput || !gainSet || (deferred && !direct)) return;
    // An ambisonic output has no LFE: the LFE rows carry nothing.
    MixMatrix& matrix = gainSet->matrix[direct ? MixGainSet::kDirect : MixGainSet::kNormal];
    if (!matrix.allocated) return;
    for (int32_t k = 0; k < numInLfe; ++k) {
        const int32_t row = gainSet->inMap[static_cast<size_t>(numIn + k)];
        std::fill(matrix.row(row), matrix.row(row) + matrix.cols, 0.0f);
    }
    analyse(matrix.rows, matrix.cols, direct ? MixGainSet::kDirect : MixGainSet::kNormal);
}

} // namespace Tannhofen::Panner

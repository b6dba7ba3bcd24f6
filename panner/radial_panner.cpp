#include "panner/radial_panner.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "dsp/vec/vec.h"
#include "frame/class_ids.h"
#include "panner/panner_params.h"
#include "panner/rpanner_messages.h"
#include "panner/rpanner_param_table.h"

namespace Tannhofen::Panner {

using namespace Plx;

RadialPanner::RadialPanner()
    : MMixerBase(kRadialPannerControllerUID, &RPannerParamTable::instance()),
      objectsClient(IPtr<ObjectsClient>::adopt(new ObjectsClient)) {
    objectsClient->setListener(this);
}

RadialPanner::~RadialPanner() {
    // The host may still hold the client: it must not call back into us.
    objectsClient->setListener(nullptr);
}

tresult RadialPanner::queryInterface(const TUID& iid, void** obj) {
    if (!obj) return kInvalidArgument;
    if (equalTUID(iid, ThreeD::IObjectsBusClient::iid)) return objectsClient->queryInterface(iid, obj);
    return MMixerBase::queryInterface(iid, obj);
}

void RadialPanner::createModel() {
    deleteModel();
    pannerModel = IPtr<RPannerModel>::adopt(new RPannerModel());
    model = IPtr<Mix::MMixerBaseModel>(pannerModel.get());
    if (!pannerModel->getGainSet()) pannerModel->createGainSet();
}

void RadialPanner::deleteModel() {
    model.reset();
    pannerModel.reset();
}

bool RadialPanner::acceptInputArrangement(SpeakerArrangement& arr) {
    // Mono and stereo sources; any other becomes stereo.
    if (arr > Layout::kStereo && arr != Layout::kMono) {
        arr = Layout::kStereo;
        return false;
    }
    return true;
}

void RadialPanner::applyArrangements(SpeakerArrangement in, SpeakerArrangement out) {
    if (!model) return;
    const int32_t classBefore = inputClassOf(model->getInGrid(), model->getNumIn());
    const bool inLfeBefore = model->getNumInLfe() > 0;
    const bool outLfeBefore = model->getNumOutLfe() > 0;
    model->setArrangements(in, out);
    if (pannerModel && !objectTransformMade && !pannerModel->isObjectMode()) {
        // The model makes its object transform on the first switch to object
        // mode; switch once here, with the stream stopped, so that the switch
        // on the audio thread allocates nothing.
        pannerModel->setObjectMode(true, true);
        pannerModel->setObjectMode(false, true);
        objectTransformMade = true;
    }
    // The position defaults depend on the layout: a new layout starts from them.
    if (!restartPending) {
        if (inputClassOf(model->getInGrid(), model->getNumIn()) != classBefore) resetParam(ParamId::kPosY);
        if ((model->getNumInLfe() > 0) != inLfeBefore || (model->getNumOutLfe() > 0) != outLfeBefore)
            resetParam(ParamId::kLfeVol);
        if (pannerModel && pannerModel->isAmbisonicOutput()) resetParam(ParamId::kPosZ);
    }
    // The input map: the bus channel of each grid position, LFE last.
    if (objectsClient && model->getGainSet()) objectsClient->setChannelMap(model->getGainSet()->inMap);
    positionsChanged = true;
}

void RadialPanner::resetLevels() {
    resetParam(ParamId::kLfeVol);
}

double RadialPanner::getParamValue(int32_t id) {
    if (id == ParamId::kPosTouched) return touched ? 1.0 : 0.0;
    if (!pannerModel || id >= 256) return -1.0;
    // posZ reads as the height last set, which a pattern may be overriding.
    if (id == ParamId::kPosZ) return manualPosZ;
    return pannerModel->getParamValue(id);
}

void RadialPanner::setParamValue(int32_t id, double exact) {
    // Values reach the model in single precision on every path (the slices
    // carry them so), as they do in the controller's model.
    const double value = static_cast<float>(exact);
    if (id == ParamId::kPosTouched) {
        touched = value > 0.5;
        if (objectsClient) objectsClient->setTouched(touched);
        return;
    }
    if (id == ParamId::kBypass) {
        directMode = value >= 0.5;
        passThrough = false;
    }
    // The model is made with the component and lives until terminate.
    if (!pannerModel) return;
    // The controller resolves the compound controls into these ids.
    if (id >= 256) return;
    RPannerModel& m = *pannerModel.get();
    ObjectsClient* client = objectsClient.get();
    switch (id) {
    case ParamId::kObjectModeSwitch:
        if (!std::isnan(value)) objectModeRequested = value > 0.0;
        applyObjectMode();
        return;
    case ParamId::kZoneMode:
        m.setZoneMode(value);
        if (client) client->setZoneMode(m.getZoneMode());
        return;
    default: break;
    }
    if (id == ParamId::kPosZ && !std::isnan(value)) manualPosZ = value;
    const int32_t modeBefore = m.getElevationMode();
    bool changed = m.setParamValue(id, value);
    if (id == ParamId::kElevationMode && modeBefore != 0 && m.getElevationMode() == 0)
        changed = m.setParamValue(ParamId::kPosZ, manualPosZ) || changed;
    switch (id) {
    case ParamId::kPosX:
    case ParamId::kPosY:
    case ParamId::kPosZ:
    case ParamId::kScaleX:
    case ParamId::kScaleY:
    case ParamId::kScaleZ:
    case ParamId::kTiltX:
    case ParamId::kTiltY:
    case ParamId::kRotateZ:
    case ParamId::kElevationMode:
    case ParamId::kElevationOn:
    case ParamId::kSpeakerSnap: positionsChanged |= changed; break;
    default: break;
    }
    if (!client) return;
    switch (id) {
    case ParamId::kElevationOn: client->setElevationOn(m.isElevationOn()); break;
    case ParamId::kObjectSize: client->setSize(m.getObjectSize()); break;
    case ParamId::kSpeakerSnap: client->setSnap(m.isSpeakerSnap()); break;
    default: break;
    }
}

void RadialPanner::applyObjectMode() {
    if (!pannerModel) return;
    RPannerModel& m = *pannerModel.get();
    if (!m.setObjectMode(objectModeRequested && m.isObjectBusConnected(), false)) return;
    positionsChanged = true;
    if (objectsClient) {
        objectsClient->setActive(m.isObjectMode());
        objectsClient->setEnabled(m.isObjectMode());
    }
}

void RadialPanner::feedObjects() {
    if (!pannerModel || !pannerModel->isObjectMode() || !positionsChanged) return;
    const std::vector<Point3>& positions = pannerModel->getImagePositions();
    const int32_t count = std::min<int32_t>(pannerModel->getNumIn(), static_cast<int32_t>(positions.size()));
    if (objectsClient) objectsClient->setPositions(positions.data(), count);
    positionsChanged = false;
}

void RadialPanner::processParameterChanges(IPlxParameterChanges* changes) {
    MMixerBase::processParameterChanges(changes);
    feedObjects();
}

template <class T>
bool RadialPanner::sliceWithObjects(Mix::MixSlice<T>& slice) {
    if (!MMixerBase::processSlice(slice)) return false;
    feedObjects();
    if (pannerModel && pannerModel->isObjectMode()) {
        // The objects carry the sound; the bed stays silent, the gains run on.
        const int32_t start = slice.start(sliceLength);
        const int32_t length = std::min(start + sliceLength, slice.numSamples) - start;
        if (length > 0)
            for (int32_t o = 0; o < slice.outs; ++o)
                DSP::Vec::zero(slice.out[o] + start, static_cast<size_t>(length));
        *slice.silent = true;
    }
    return true;
}

bool RadialPanner::processSlice(Mix::MixSlice<float>& slice) {
    return sliceWithObjects(slice);
}

bool RadialPanner::processSlice(Mix::MixSlice<double>& slice) {
    return sliceWithObjects(slice);
}

void RadialPanner::updateObjects() {
    if (!pannerModel || !objectsClient) return;
    RPannerModel& m = *pannerModel.get();
    ObjectsClient& c = *objectsClient.get();
    c.setActive(m.isObjectMode());
    if (!m.isObjectBusConnected()) return;
    c.setEnabled(m.isObjectMode());
    c.setZoneMode(m.getZoneMode());
    c.setSnap(m.isSpeakerSnap());
    c.setSize(m.getObjectSize());
    c.setElevationOn(m.isElevationOn());
    const std::vector<Point3>& positions = m.getImagePositions();
    c.setPositions(positions.data(), std::min<int32_t>(m.getNumIn(), static_cast<int32_t>(positions.size())));
}

void RadialPanner::onAssign() {
    updateObjects();
}

tresult RadialPanner::notify(IMessage* message) {
    if (!message) return kInvalidArgument;
    const char* id = message->getMessageID();
    if (id && std::strcmp(id, PannerMsg::kObjectMode) == 0) {
        int64_t value = 0;
        IPlxAttributes* attributes = message->getAttributes();
        if (!attributes || attributes->getInt(PannerMsg::kObjectMode, &value) != kResultOk) value = 0;
        // The switch takes effect once a bus is there; without one the
        // speakers carry the sound again.
        if (pannerModel) pannerModel->setObjectBusConnected(value == 1);
        applyObjectMode();
        updateObjects();
        return kResultOk;
    }
    if (id && std::strcmp(id, PannerMsg::kUpdateObjectStatus) == 0) {
        updateObjects();
        return kResultOk;
    }
    return MMixerBase::notify(message);
}

} // namespace Tannhofen::Panner

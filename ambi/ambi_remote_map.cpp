// SphereDecoder's remote map: the head's rotation with the tracker switch on
// one page, the focus on another, and the output (layout, head-locked input,
// LFE) on a third. A layer's function is the parameter's remote name, where
// it has one.
#include <initializer_list>

#include "ambi/ambi_bin_controller.h"
#include "ambi/ambi_params.h"
#include "frame/class_ids.h"

namespace Tannhofen::AmbiBin {

using namespace Plx;

Editor::RemoteMapPlugin AmbiBinController::remoteMapPlugin() const {
    return {kAmbiBinName, kVendorName, kAmbiBinProcessorUID};
}

void AmbiBinController::listRemotePages(Editor::RemoteMapWriter& writer) {
    auto page = [&](const char* name, std::initializer_list<int32_t> ids) {
        writer.openPage(name);
        for (int32_t id : ids) writeParameterCell(writer, static_cast<ParamID>(id), remoteName(id));
        writer.closePage();
    };
    using namespace ParamId;
    page("Rotation", {kYaw, kPitch, kRoll, kHeadTracking});
    page("Focus", {kFocusOn, kFocusAzimuth, kFocusElevation, kFocusSize, kFocusAttenuation, kFocusFollow});
    page("Outputs", {kOutputArr, kAuxGain, kLfeGain, kLfeLowPass});
}

} // namespace Tannhofen::AmbiBin

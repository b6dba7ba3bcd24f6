// The panner's remote map: where the image stands, its shape, its height,
// and the output speakers it may use. Each layer's function is the
// parameter's function name, where it has one.
#include <initializer_list>

#include "frame/class_ids.h"
#include "frame/speaker_arrangement.h"
#include "frame/speaker_layouts.h"
#include "panner/panner_params.h"
#include "panner/rpanner_controller.h"
#include "panner/rpanner_param_table.h"

namespace Tannhofen::Panner {

using namespace Plx;

Editor::RemoteMapPlugin RPannerController::remoteMapPlugin() const {
    return {kRadialPannerName, kVendorName, kRadialPannerProcessorUID};
}

void RPannerController::listRemotePages(Editor::RemoteMapWriter& writer) {
    auto cells = [&](std::initializer_list<int32_t> ids) {
        for (int32_t id : ids) writeParameterCell(writer, static_cast<ParamID>(id), pannerFunctionName(id));
    };
    using namespace ParamId;

    writer.openPage("Position");
    cells({kPosX, kPosY, kPosZ, kOrbit, kRadius, kCounterShot});
    writer.closePage();

    writer.openPage("Image");
    cells({kScaleX, kScaleY, kScaleZ, kRotateZ, kTiltX, kTiltY, kCenterDistr, kFrontDiv, kRearDiv,
           kFrontRearDiv});
    writer.closePage();

    writer.openPage("Elevation");
    cells({kElevationOn, kElevationMode, kBottomTopDiv, kDistanceScale});
    writer.closePage();

    // The speakers of the present output, each with its on/off, and the LFE
    // level; an ambisonic output has no speakers to switch.
    writer.openPage("Speakers");
    const SpeakerArrangement out = pannerModel->getOutputArrangement();
    for (int32_t index = 0; index + kSpeakerFirst <= kSpeakerLast && !isAmbisonicLayout(out); ++index)
        if (out & indexToBit(index)) cells({kSpeakerFirst + index});
    if (pannerModel->getNumOutLfe() > 0) cells({kLfeVol});
    writer.closePage();
}

} // namespace Tannhofen::Panner

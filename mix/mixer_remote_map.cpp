// The converter's remote map: its levels on one page, its format switches on
// another, and a page of solos for each side: the groups that the present
// arrangement offers, the side's reset, and one button per present speaker. Each layer's
// function is the parameter's remote name.
#include <initializer_list>
#include <string>

#include "frame/class_ids.h"
#include "mix/controller_tables.h"
#include "mix/mixer_controller.h"

namespace Tannhofen::Mix {

using namespace Plx;

Editor::RemoteMapPlugin MMixerController::remoteMapPlugin() const {
    return {kMatrixMixerName, kVendorName, kMatrixMixerProcessorUID};
}

void MMixerController::listRemotePages(Editor::RemoteMapWriter& writer) {
    auto cells = [&](std::initializer_list<int32_t> ids) {
        for (int32_t id : ids) {
            const std::string function = mixerRemoteName(id);
            writeParameterCell(writer, static_cast<ParamID>(id),
                               function.empty() ? nullptr : function.c_str());
        }
    };
    auto groupCells = [&](std::initializer_list<int32_t> ids) {
        for (int32_t id : ids)
            if (isSoloGroupEnabled(id)) cells({id});
    };
    auto speakerCells = [&](int32_t firstId, SpeakerArrangement arrangement) {
        for (int32_t index = 0; index < kSpeakerIndexCount; ++index)
            if (arrangement & indexToBit(index)) cells({firstId + index});
    };
    using namespace ParamId;
    using namespace SoloGroupId;

    writer.openPage("Levels");
    cells({kCenterLvl, kSurroundLvl, kSideLvl, kTopLvl, kBottomLvl, kLfeLevel, kGlobalLvl});
    writer.closePage();

    writer.openPage("Format");
    cells({kOutputArr, kLowPass, kSoloToCenter, kSurroundToFront, kReset});
    writer.closePage();

    writer.openPage("Input Solo");
    groupCells({kInputFront, kInputStereo, kInputSurround, kInputLfe, kInputTop, kInputSide});
    cells({kResetInput});
    speakerCells(kInputSoloFirst, model->getInputArrangement());
    writer.closePage();

    writer.openPage("Output Solo");
    groupCells({kOutputFront, kOutputStereo, kOutputSurround, kOutputLfe, kOutputTop, kOutputSide});
    cells({kResetOutput});
    speakerCells(kOutputSoloFirst, model->getOutputArrangement());
    writer.closePage();
}

} // namespace Tannhofen::Mix

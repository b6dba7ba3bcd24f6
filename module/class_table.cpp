// The six classes of the module. Each plug-in wires its create function here:
// replace the body of its function below by
//     return createInstanceAs<TheClass, TheFace>(context);
// where TheFace is IAudioProcessor for a processor and IPlxEditController for
// a controller. Until then a class is listed but can't be created.
#include "module/class_table.h"

#include "ambi/ambi_bin_controller.h"
#include "ambi/ambi_bin_processor.h"
#include "frame/class_ids.h"
#include "frame/factory.h"
#include "frame/ieditcontroller.h"
#include "mix/matrix_mixer.h"
#include "mix/mixer_controller.h"
#include "panner/radial_panner.h"
#include "panner/rpanner_controller.h"

namespace Tannhofen::Plx {

namespace {

FUnknown* createRadialPanner(void* context) {
    return createInstanceAs<Panner::RadialPanner, IAudioProcessor>(context);
}
FUnknown* createRPannerController(void* context) {
    return createInstanceAs<Panner::RPannerController, IPlxEditController>(context);
}
FUnknown* createMatrixMixer(void* context) {
    return createInstanceAs<Mix::MatrixMixer, IAudioProcessor>(context);
}
FUnknown* createMMixerController(void* context) {
    return createInstanceAs<Mix::MMixerController, IPlxEditController>(context);
}
FUnknown* createAmbiBinProcessor(void* context) {
    return createInstanceAs<AmbiBin::AmbiBinProcessor, IAudioProcessor>(context);
}
FUnknown* createAmbiBinController(void* context) {
    return createInstanceAs<AmbiBin::AmbiBinController, IPlxEditController>(context);
}

constexpr const char* kProcessorCategory = "Audio Module Class";
constexpr const char* kControllerCategory = "Component Controller Class";

const ClassTableRow kClassTable[] = {
    {kRadialPannerProcessorUID, ClassInfo2::kDistributable, kProcessorCategory, kRadialPannerName,
     "Spatial|Fx", createRadialPanner},
    {kRadialPannerControllerUID, 0, kControllerCategory, "PLX RadialPanner Controller", "",
     createRPannerController},
    {kMatrixMixerProcessorUID, ClassInfo2::kDistributable, kProcessorCategory, kMatrixMixerName,
     "Spatial|Fx|Up-Downmix", createMatrixMixer},
    {kMatrixMixerControllerUID, 0, kControllerCategory, "MixMorph V6 Controller", "", createMMixerController},
    {kAmbiBinProcessorUID, ClassInfo2::kDistributable, kProcessorCategory, kAmbiBinName,
     "Spatial|Fx|Ambisonics|Up-Downmix", createAmbiBinProcessor},
    {kAmbiBinControllerUID, 0, kControllerCategory, "PLX SphereDecoder Controller", "",
     createAmbiBinController},
};

} // namespace

std::span<const ClassTableRow> moduleClassTable() {
    return kClassTable;
}

} // namespace Tannhofen::Plx

// What the meters share with the processors and the editor: the messages
// about meters with their attribute names, and the parameter identifiers of
// the meter views. They are part of the plug-ins' protocol and must not change.
#pragma once

#include <cstdint>

namespace Tannhofen::Editor {

namespace MeterMsg {
// Processor to controller.
inline constexpr const char* kNChannels = "nChannels"; // "nChannelsIn", "nChannelsOut"
inline constexpr const char* kNChannelsIn = "nChannelsIn";
inline constexpr const char* kNChannelsOut = "nChannelsOut";
inline constexpr const char* kVuMetersProcessing =
    "vuMetersProcessing"; // attribute of the same name, 1 running
// Editor to processor, without attributes: the held peak of a side goes back to 0.
inline constexpr const char* kResetMaxLevelIn = "resetMaxLevelIn";
inline constexpr const char* kResetMaxLevelOut = "resetMaxLevelOut";
} // namespace MeterMsg

// Parameter identifiers of the meter views.
namespace MeterViewParam {
inline constexpr int32_t kMeterMode = 5000;  // sets the meter's mode, then redraws
inline constexpr int32_t kPeakFloor = 5001;  // the floor of the peak display
inline constexpr int32_t kPeakValue = 5003;  // the peak that the peak display shows
inline constexpr int32_t kScaleValue = 5004; // the meter's scale value
inline constexpr int32_t kResetClick = 5005; // a click on a peak display: sends a reset
} // namespace MeterViewParam

// The most channels a meter shows.
inline constexpr int32_t kMaxMeterChannels = 24;

} // namespace Tannhofen::Editor

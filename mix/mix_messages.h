// The messages that a mix processor and its controller exchange, with their
// attribute names, and the ids under which the processor reports meter values
// to the editor; the meter messages are the editor's own. Both sides use
// these names; they are part of the plug-in's protocol and must not change.
#pragma once

#include <cstdint>

#include "editor/meter_protocol.h"

namespace Tannhofen::Mix {

namespace Msg {
// Processor to controller.
inline constexpr const char* kBusArrangements =
    "busArrangements"; // "input", "output": 8 bytes each; "changeParams"
inline constexpr const char* kInput = "input";
inline constexpr const char* kOutput = "output";
inline constexpr const char* kChangeParams = "changeParams";
inline constexpr const char* kGainMatrix =
    "gainMatrix"; // "matrixSize" int, "coefficients" float32 row by row
inline constexpr const char* kMatrixSize = "matrixSize";
inline constexpr const char* kCoefficients = "coefficients";
inline constexpr const char* kVuMetersProcessing = Editor::MeterMsg::kVuMetersProcessing;
inline constexpr const char* kRestartComponent = "restartComponent"; // "flags"
inline constexpr const char* kFlags = "flags";
inline constexpr const char* kGraphLocation = "graphLocation"; // "usedAsPanner"
inline constexpr const char* kUsedAsPanner = "usedAsPanner";
inline constexpr const char* kNChannels = Editor::MeterMsg::kNChannels;
inline constexpr const char* kNChannelsIn = Editor::MeterMsg::kNChannelsIn;
inline constexpr const char* kNChannelsOut = Editor::MeterMsg::kNChannelsOut;

// Controller to processor.
inline constexpr const char* kInputVuMeter = "inputVuMeter";   // attribute of the same name
inline constexpr const char* kOutputVuMeter = "outputVuMeter"; // attribute of the same name
inline constexpr const char* kResetMaxLevelIn = Editor::MeterMsg::kResetMaxLevelIn;
inline constexpr const char* kResetMaxLevelOut = Editor::MeterMsg::kResetMaxLevelOut;
inline constexpr const char* kEnableDirectMonitoring = "enableDirectMonitoring"; // attribute of the same name
inline constexpr const char* kRequestedOutputArrangement = "requestedOutputArrangement"; // "binary", 8 bytes
inline constexpr const char* kBinary = "binary";
} // namespace Msg

// Meter values that the processor adds to its output parameter changes. They
// are for the editor's meters and are no rows of the parameter table.
namespace MeterId {
inline constexpr int32_t kInputPeakFirst = 407;  // 407 + input channel, up to 430
inline constexpr int32_t kOutputPeakFirst = 431; // 431 + output channel, up to 454
inline constexpr int32_t kMaxChannels = Editor::kMaxMeterChannels;
inline constexpr int32_t kMaxInLevel = 455;
inline constexpr int32_t kMaxOutLevel = 456;
} // namespace MeterId

} // namespace Tannhofen::Mix

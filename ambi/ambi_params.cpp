#include "ambi/ambi_params.h"

#include <array>
#include <string>


namespace Tannhofen::AmbiBin {

using Plx::ParamInfoRecord;

namespace {

constexpr uint32_t kAuto = ParamInfoRecord::kAutomatable;
constexpr uint32_t kReadOnly = ParamInfoRecord::kReadOnly;
constexpr uint32_t kWrap = ParamInfoRecord::kWrapAround;
constexpr int32_t kRange = ParamInfoRecord::kFloat;
constexpr int32_t kToggle = ParamInfoRecord::kOnOff;

ParamInfoRecord makeRow(int32_t id, const std::string& name, const std::string& title, const char* units,
                        double min, double max, double def, double step, int32_t type, uint32_t flags,
                        const char* format) {
    return Plx::makeParamRow(id, name.c_str(), title.c_str(), units, min, max, def, step, type, flags, format,
                             Plx::formatDecimals(format));
}

std::array<ParamInfoRecord, kAmbiParamCount> buildTable() {
    using namespace ParamId;
    std::array<ParamInfoRecord, kAmbiParamCount> rows{};
    size_t n = 0;
    rows[n++] = makeRow(kHeadTracking, "HT", "Head Tracking", "", 0, 1, 0, 1, kToggle, 0, "%.0f");
    rows[n++] = makeRow(kYaw, "Yaw", "Yaw Rotation", "", -180, 180, 0, 0.1, kRange, kWrap, "%.1f");
    rows[n++] = makeRow(kPitch, "Pitch", "Pitch Rotation", "", -90, 90, 0, 0.1, kRange, 0, "%.1f");
    rows[n++] = makeRow(kRoll, "Roll", "Roll Rotation", "", -180, 180, 0, 0.1, kRange, kWrap, "%.1f");
    rows[n++] = makeRow(kAuxGain, "AuxGain", "Head-Locked Signal", "", 0, 1, 0, 0.5, kRange, kAuto, "%.1f");
    rows[n++] = makeRow(kLfeGain, "LFEGain", "LFE Gain", "", 0, 1, 0, 0.5, kRange, kAuto, "%.1f");
    rows[n++] = makeRow(kLfeLowPass, "LPF", "LFE LPF", "", 0, 1, 0, 1, kToggle, kAuto, "%.0f");
    rows[n++] = makeRow(kFocusAzimuth, "FocusAzimuth", "Focus Azimuth Angle", "", -180, 180, 0.5, 0.1, kRange,
                        kWrap, "%.1f");
    rows[n++] = makeRow(kFocusElevation, "FocusElevation", "Focus Elevation Angle", "", -90, 90, 0.5, 0.1,
                        kRange, 0, "%.1f");
    rows[n++] = makeRow(kFocusSize, "FocusSize", "Focus Size Angle", "", 45, 180, 0, 0.1, kRange, 0, "%.1f");
    rows[n++] = makeRow(kFocusAttenuation, "FocusAttenuation", "Focus Attenuation", "", 0, 1, 1, 1, kRange, 0,
                        "%.1f");
    rows[n++] = makeRow(kFocusOn, "focusOnOff", "Focus On/Off", "", 0, 1, 1, 1, kToggle, 0, "%.1f");
    rows[n++] = makeRow(kFocusFollow, "focusFollowHeadTracking", "Focus Follow Headtracking", "", 0, 1, 1, 1,
                        kToggle, 0, "%.1f");
    rows[n++] = makeRow(kOutputArr, "outputArr", "Output Arrangement", "", 0, 1, 0, 1, ParamInfoRecord::kList,
                        ParamInfoRecord::kNotSaved, "%.1f");
    for (int32_t c = 0; c < kOutputMeterCount; ++c)
        rows[n++] =
            makeRow(kOutputMeterFirst + c, "outputGain" + std::to_string(c), "OutVu " + std::to_string(c + 1),
                    "dB", -60, 3, 0, 0.01, kRange, kReadOnly, "%.1f");
    rows[n++] = makeRow(kOutputMeterMax, "maxOutputGain", "OutVu Max", "dB", -60, 3, 0, 0.01, kRange,
                        kReadOnly, "%.1f");
    for (int32_t c = 0; c < kInputMeterCount; ++c)
        rows[n++] =
            makeRow(kInputMeterFirst + c, "inputGain" + std::to_string(c), "InVu " + std::to_string(c + 1),
                    "dB", -60, 3, 0, 0.01, kRange, kReadOnly, "%.1f");
    rows[n++] =
        makeRow(kInputMeterMax, "maxInputGain", "InVu Max", "dB", -60, 3, 0, 0.01, kRange, kReadOnly, "%.1f");
    return rows;
}

} // namespace

std::span<const ParamInfoRecord> ambiParamTable() {
    static const std::array<ParamInfoRecord, kAmbiParamCount> table = buildTable();
    return table;
}

const ParamInfoRecord* findAmbiParam(int32_t id) {
    for (const ParamInfoRecord& r : ambiParamTable())
        if (r.id == id) return &r;
    return nullptr;
}

} // namespace Tannhofen::AmbiBin

#include "panner/rpanner_param_table.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

#include "frame/speaker_words.h"
#include "mix/log_scale.h"

namespace Tannhofen::Panner {

using Plx::ParamInfoRecord;

namespace {

constexpr double kSilenceDb = -180.0;
constexpr double kMeterFloorDb = -60.0;
constexpr double kMeterTopDb = 3.0;
constexpr int32_t kLfeVolId = 11;
constexpr int32_t kMeterFirst = 407;
constexpr int32_t kMeterLast = 456;
constexpr double kMaxScalePercent = 141.42135620117188;

// Row kinds and flags as the table writes them.
constexpr int32_t kStepped = ParamInfoRecord::kInteger;
constexpr int32_t kContinuous = ParamInfoRecord::kFloat;
constexpr int32_t kSwitch = ParamInfoRecord::kOnOff;
constexpr uint32_t kAuto = ParamInfoRecord::kAutomatable;
constexpr uint32_t kReadOnly = ParamInfoRecord::kReadOnly;
constexpr uint32_t kWraps = ParamInfoRecord::kWrapAround;
constexpr uint32_t kHidden = ParamInfoRecord::kHidden;
constexpr uint32_t kEditor = ParamInfoRecord::kNotSaved; // internal to the editor: not saved either

// One row of the table, with its plain range and plain default.
struct RowSpec {
    int32_t id;
    const char* name;
    const char* title;
    const char* units;
    double min, max, plainDefault, step;
    int32_t kind;
    uint32_t flags;
    const char* format;
};

// The panner's own rows, less the speakers and the joystick heights that
// follow a pattern (added below).
constexpr RowSpec kPannerRowSpecs[] = {
    {0, "posX", "Left-Right Pan", "", -100, 100, 0, 1, kContinuous, kAuto, "%.0f"},
    {1, "posY", "Front-Rear Pan", "", -100, 100, -100, 1, kContinuous, kAuto, "%.0f"},
    {2, "posZ", "Bottom-Top Pan", "", -100, 100, -100, 1, kContinuous, kAuto, "%.0f"},
    {200, "scaleX", "Signal Width", "%", 0, kMaxScalePercent, 100, 1, kContinuous, kAuto, "%.1f"},
    {201, "scaleY", "Signal Depth", "%", 0, kMaxScalePercent, 100, 1, kContinuous, kAuto, "%.1f"},
    {102, "scaleZ", "Signal Height", "%", 0, kMaxScalePercent, 100, 1, kContinuous, kAuto, "%.1f"},
    {202, "rotateZ", "Rotate Signal around Z-Axis", "", 0, 360, 0, 1, kContinuous, kAuto | kWraps, "%.1f"},
    {104, "tiltY", "Tilt Signal around Y-Axis", "", 0, 360, 0, 1, kContinuous, kAuto | kWraps, "%.1f"},
    {105, "tiltX", "Tilt Signal around X-Axis", "", 0, 360, 0, 1, kContinuous, kAuto | kWraps, "%.1f"},
    {110, "elevationOn", "Elevation On/Off", "", 0, 1, 1, 1, kSwitch, kAuto, "%.0f"},
    {111, "elevationMode", "Elevation Mode", "", 0, 7, 0, 1, kStepped, kAuto, "%.1f"},
    {112, "showExtendedDisplay", "Show Display true is normal", "", 0, 1, 1, 1, kSwitch, 0, "%.0f"},
    {282, "has3DConnector", "Connected to 3DConnector", "", 0, 1, 0, 1, kSwitch, kReadOnly | kEditor, "%.0f"},
    {283, "threeDActiveGUI", "3D GUI activated", "", 0, 1, 0, 1, kSwitch, kReadOnly | kEditor, "%.0f"},
    {284, "AmbiActiveGUI", "Ambi GUI activated", "", 0, 1, 0, 1, kSwitch, kReadOnly | kEditor, "%.0f"},
    {113, "bedobjectautomode", "Object Mode On/Off", "", 0, 1, 0, 1, kSwitch, 0, "%.0f"},
    {114, "objectSize", "Object Size", "%", 0, 100, 0, 1, kContinuous, kAuto, "%.1f"},
    {115, "speakerSnap", "Object Speaker Snap On/Off", "", 0, 1, 0, 1, kSwitch, kAuto, "%.0f"},
    {116, "zoneMode", "Zone Enable Mode", "", 0, 5, 0, 1, kStepped, kAuto, "%.1f"},
    {117, "distanceScale", "Distance Scale", "m", 1, 50, 10, 0.1, kContinuous, kAuto, "%.1f"},
    {6, "centerDistr", "Center Distribution", "%", 0, 100, 0, 1, kContinuous, kAuto, "%.1f"},
    {7, "frontDiv", "Front Focus", "%", 0, 100, 0, 1, kContinuous, kAuto, "%.1f"},
    {8, "rearDiv", "Rear Focus", "%", 0, 100, 0, 1, kContinuous, kAuto, "%.1f"},
    {9, "frontRearDiv", "Side Focus", "%", 0, 100, 0, 1, kContinuous, kAuto, "%.1f"},
    {103, "bottomTopDiv", "Height Focus", "%", 0, 100, 0, 1, kContinuous, kAuto, "%.1f"},
    {257, "rollC", "Orbit Center", "", 0, 360, 0, 1, kContinuous, kWraps | kEditor, "%.1f"},
    {258, "counterShot", "Counter Shot", "", 0, 1, 0, 1, kSwitch, kEditor, "%.0f"},
    {259, "unlockRollC", "Unlock Rotation Around Center Start Position", "", 0, 1, 0, 1, kSwitch, kEditor,
     "%.0f"},
    {256, "reset", "Reset", "", 0, 1, 0, 1, kSwitch, kEditor, "%.0f"},
    {262, "posLX", "Left-Right Pan (Left Joystick)", "", -100, 100, 0, 1, kContinuous, kEditor, "%.0f"},
    {263, "posLY", "Front-Rear Pan (Left Joystick)", "", -100, 100, -100, 1, kContinuous, kEditor, "%.0f"},
    {280, "posLZ", "Bottom-Top Pan (Left Joystick)", "", -100, 100, -100, 1, kContinuous, kEditor, "%.0f"},
    {264, "posRX", "Left-Right Pan (Right Joystick)", "", -100, 100, 0, 1, kContinuous, kEditor, "%.0f"},
    {265, "posRY", "Front-Rear Pan (Right Joystick)", "", -100, 100, -100, 1, kContinuous, kEditor, "%.0f"},
    {281, "posRZ", "Bottom-Top Pan (Right Joystick)", "", -100, 100, -100, 1, kContinuous, kEditor, "%.0f"},
    {260, "radius", "Radius", "%", 0, kMaxScalePercent, 100, 1, kContinuous, kEditor, "%.1f"},
    {261, "overview", "Overview Mode", "", 0, 1, 0, 1, kSwitch, kEditor, "%.0f"},
    {285, "posTouched", "Position Touched", "", 0, 1, 0, 1, kSwitch, kReadOnly | kHidden | kEditor, "%.0f"},
};

// The function names by which a host finds a parameter by purpose.
struct FunctionName {
    const char* name;
    int32_t id;
};
constexpr FunctionName kFunctionNames[] = {
    {"reset", 256},
    {"PanPosCenterX", 0},
    {"PanPosCenterY", 1},
    {"PanPosCenterZ", 2},
    {"PanScaleX", 200},
    {"PanScaleY", 201},
    {"PanScaleZ", 102},
    {"PanRadius", 260},
    {"PanOrbit", 257},
    {"PanCounterShot", 258},
    {"PanRotation", 202},
    {"SignalTiltX", 105},
    {"SignalTiltY", 104},
    {"PanPosFrontLeftX", 262},
    {"PanPosFrontLeftY", 263},
    {"PanPosFrontLeftZ", 280},
    {"ZoneMode", 116},
    {"PanPosFrontRightX", 264},
    {"PanPosFrontRightY", 265},
    {"PanPosFrontRightZ", 281},
    {"surroundLevel", 129},
    {"globalLevel", 134},
    {"centerLevel", 128},
    {"centerDistribution", 6},
    {"frontDivergence", 7},
    {"rearDivergence", 8},
    {"frontRearDivergence", 9},
    {"bottomTopDivergence", 103},
    {"ElevationOn", 110},
    {"ElevationMode", 111},
    {"ObjectMode", 113},
    {"ObjectSize", 114},
    {"ObjectSpeakerSnap", 115},
    {"has3DConnector", 282},
    {"has3DView", 283},
    {"DistanceScale", 117},
    {"PanLfeGain", kLfeVolId}, // the mix plug-ins' own name
};

ParamInfoRecord makeRow(const RowSpec& s) {
    return Plx::makeParamRow(s.id, s.name, s.title, s.units, s.min, s.max,
                             (s.plainDefault - s.min) / (s.max - s.min), s.step, s.kind, s.flags, s.format,
                             Plx::formatDecimals(s.format));
}

bool isMeterId(int32_t id) {
    return id >= kMeterFirst && id <= kMeterLast;
}

} // namespace

RPannerParamTable::RPannerParamTable() {
    rows.reserve(kRowCount);
    // The base rows of the mix plug-ins.
    rows.push_back(makeRow({kLfeVolId, "lfeVol", "LFE Level", "dB", 0, 1, 0, 0, kContinuous, kAuto, "%.2f"}));
    for (int32_t s = 0; s < 26; ++s) {
        const std::string name = std::string("outputSolo") + Plx::kSpeakerWords[s];
        const std::string title = std::string(Plx::kSpeakerTitles[s]) + " Output Channel Solo";
        rows.push_back(
            makeRow({17 + s, name.c_str(), title.c_str(), "", 0, 1, 0, 1, kSwitch, kEditor, "%.0f"}));
        rows.back().extra = 2;
    }
    rows.push_back(makeRow({199, "bypass", "Bypass", "", 0, 1, 0, 1, kSwitch, kAuto, "%.0f"}));

    for (const RowSpec& s : kPannerRowSpecs) rows.push_back(makeRow(s));
    // The speaker switches of every speaker but the two LFEs, by speaker index.
    for (int32_t s = 0; s < 24; ++s) {
        const std::string name = std::string("speaker") + Plx::kSpeakerWords[s];
        const std::string title = std::string(Plx::kSpeakerTitles[s]) + " Channel On/Off";
        rows.push_back(
            makeRow({203 + s, name.c_str(), title.c_str(), "", 0, 1, 1, 1, kSwitch, kAuto, "%.0f"}));
    }
    // The meters: values the processor reports, not settings, so they are
    // read-only for the host and kept out of the state.
    for (int32_t m = 0; m < kMeterRows; ++m) {
        const int32_t id = kMeterFirst + m;
        std::string name, title;
        if (m < 24) {
            name = "inputGain" + std::to_string(m);
            title = "InVu " + std::to_string(m + 1);
        } else if (m < 48) {
            name = "outputGain" + std::to_string(m - 24);
            title = "OutVu " + std::to_string(m - 23);
        } else {
            name = m == 48 ? "maxInputGain" : "maxOutputGain";
            title = m == 48 ? "InVu Max" : "OutVu Max";
        }
        rows.push_back(makeRow({id, name.c_str(), title.c_str(), "dB", kMeterFloorDb, kMeterTopDb,
                                kMeterFloorDb, 0.01, kContinuous, kReadOnly | kEditor, "%.1f"}));
    }
    std::stable_sort(rows.begin(), rows.end(),
                     [](const ParamInfoRecord& a, const ParamInfoRecord& b) { return a.id < b.id; });
}

const RPannerParamTable& RPannerParamTable::instance() {
    static const RPannerParamTable table;
    return table;
}

const ParamInfoRecord* RPannerParamTable::find(int32_t id) const {
    auto it = std::lower_bound(rows.begin(), rows.end(), id,
                               [](const ParamInfoRecord& r, int32_t v) { return r.id < v; });
    return it != rows.end() && it->id == id ? &*it : nullptr;
}

double RPannerParamTable::toPlain(int32_t id, double normalized) const {
    if (id == kLfeVolId) {
        const double v = Mix::kLfeScale.toLinear(normalized);
        return v <= 0.0 ? kSilenceDb : 20.0 * std::log10(v);
    }
    if (isMeterId(id)) {
        // A meter's value is the linear peak of its channel.
        const double db = normalized > 0.0 ? 20.0 * std::log10(normalized) : kMeterFloorDb;
        return std::clamp(db, kMeterFloorDb, kMeterTopDb);
    }
    const ParamInfoRecord* r = find(id);
    if (!r) return normalized;
    return r->min + normalized * (r->max - r->min);
}

double RPannerParamTable::toNormalized(int32_t id, double plain) const {
    if (id == kLfeVolId)
        return plain <= kSilenceDb ? 0.0 : Mix::kLfeScale.toNormalized(std::pow(10.0, plain / 20.0));
    if (isMeterId(id))
        return plain <= kMeterFloorDb ? 0.0 : std::pow(10.0, std::min(plain, kMeterTopDb) / 20.0);
    const ParamInfoRecord* r = find(id);
    if (!r) return plain;
    return std::clamp((plain - r->min) / (r->max - r->min), 0.0, 1.0);
}

bool pannerFunctionNameToId(const char* name, int32_t& id) {
    id = 1024;
    if (!name) return false;
    for (const FunctionName& f : kFunctionNames)
        if (std::strcmp(f.name, name) == 0) {
            id = f.id;
            return true;
        }
    return false;
}

const char* pannerFunctionName(int32_t id) {
    for (const FunctionName& f : kFunctionNames)
        if (f.id == id) return f.name;
    return nullptr;
}

} // namespace Tannhofen::Panner

// The ports of one LV2 plug-in, as the Turtle generator describes them and the
// bridge connects them: one audio input per input channel, one audio output
// per output channel (named by speaker, in bus order), one control input per
// parameter that a host may automate, and last the latency output. Both sides
// build the layout with the same function from the same controller, set up
// with the same bus arrangements, so port indices can't disagree.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "frame/ieditcontroller.h"
#include "frame/speaker_layouts.h"

namespace Tannhofen::Lv2 {

struct AudioPort {
    std::string symbol; // "in_l", "out_lfe", "in_acn4"
    std::string name;   // "In L", "Out LFE", "In ACN 4"
};

struct ScalePoint {
    double value;
    std::string label;
};

struct ControlPort {
    Plx::ParamID id;
    std::string symbol; // from the title: "center_level"
    std::string name;   // the parameter's title
    std::string units;  // the parameter's unit text, e.g. "dB"
    // The range and default in the units that the parameter shows. A
    // parameter whose plain ends aren't finite carries its normalized value.
    double minimum;
    double maximum;
    double defaultValue;
    bool normalized;
    int32_t stepCount;                   // 0 for a continuous parameter
    bool toggle;                         // off at 0, on at 1: any value above 0 is on
    bool list;                           // stepped, with a text per step
    std::vector<ScalePoint> scalePoints; // of a list: every step with its text
};

struct PortLayout {
    std::vector<AudioPort> inputs;
    std::vector<AudioPort> outputs;
    std::vector<ControlPort> controls;

    uint32_t firstControl() const { return static_cast<uint32_t>(inputs.size() + outputs.size()); }
    uint32_t latencyIndex() const { return firstControl() + static_cast<uint32_t>(controls.size()); }
    uint32_t count() const { return latencyIndex() + 1; }
};

// The audio ports of one bus of `arrangement`, symbols and names starting
// with `prefix` ("in" or "out").
std::vector<AudioPort> audioPorts(Plx::SpeakerArrangement arrangement, const std::string& prefix);

// The whole layout; `controller` must already know the bus arrangements.
PortLayout describePorts(Plx::SpeakerArrangement input, Plx::SpeakerArrangement output,
                         Plx::IPlxEditController* controller);

// The normalized value of a control port's value: clamped to the port's
// range, through the parameter's own conversion, and for a stepped
// parameter on its nearest step; a toggle is on for any value above 0.
// Allocates nothing.
double portToNormalized(const ControlPort& port, double value, Plx::IPlxEditController* controller);
// A normalized value in the port's units.
double normalizedToPort(const ControlPort& port, double normalized, Plx::IPlxEditController* controller);

} // namespace Tannhofen::Lv2

// The output meters of a render over time, as the editor's meter model shows
// them: the processor's meter values go through LevelMeterView at the time of
// their block, and the displayed levels are drawn as SVG, one row per output
// channel, on the meter's scale, with each channel's held peak.
#pragma once

#include <string>
#include <vector>

#include "editor/meter_view.h"
#include "host/plx/effect.h"

namespace Tannhofen::Host::Cli {

class MeterRecorder {
public:
    // Watches the output meter values of `effect`, whose output channels
    // `labels` name; `sampleRate` turns block ends into meter time.
    MeterRecorder(Effect& effect, std::vector<std::string> labels, double sampleRate);
    ~MeterRecorder();
    MeterRecorder(const MeterRecorder&) = delete;
    MeterRecorder& operator=(const MeterRecorder&) = delete;

    // Asks the started effect's processor for its output meters; meter time
    // runs `latency` samples behind the blocks.
    void start(uint32_t latency);
    // The SVG of what was recorded over `seconds` of audio.
    std::string svg(const std::string& title, double seconds) const;
    // How many times the meters were updated.
    size_t updates() const { return columns.size(); }

private:
    struct Column {
        double ms;
        std::vector<double> fraction; // per channel, of the meter's length
        std::vector<float> held;      // per channel, the highest value so far
    };
    void take(ParameterChanges& changes, int64_t blockEnd);

    Effect& effect;
    std::vector<std::string> labels;
    double sampleRate;
    int64_t latency = 0;
    Editor::LevelMeterView meter;
    std::vector<float> held;
    std::vector<Column> columns;
};

} // namespace Tannhofen::Host::Cli

// Rendering a file through an effect, block by block, and what the demo and
// the matrix command share with it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/plx/effect.h"

namespace Tannhofen::Host::Cli {

struct RenderRequest {
    std::string effect;
    std::string input;
    std::string output;
    std::string inLayout;          // empty: from the file
    std::string outLayout;         // empty: the effect's choice
    std::vector<std::string> sets; // "PARAM=VALUE"
    std::string automation;
    int32_t block = 1024;
    bool doublePrecision = false;
    std::string stateIn;
    std::string stateOut;
    bool quiet = false;
    bool captureMatrix = false; // ask for the gain matrix while rendering
};

struct ChannelLevel {
    double peak = 0.0;
    double sumSquares = 0.0;
};

struct RenderResult {
    Plx::SpeakerArrangement in = 0;
    Plx::SpeakerArrangement out = 0;
    int64_t frames = 0;
    int sampleRate = 0;
    uint32_t latency = 0;
    std::vector<ChannelLevel> levels; // per output channel
    std::vector<float> matrix;        // when captured and published
};

RenderResult render(ModuleSession& session, const RenderRequest& request);

// Applies "PARAM=VALUE" settings to a started effect.
void applySettings(Effect& effect, const std::vector<std::string>& sets);
// Resolves a layout option; UserError for an unknown name.
Plx::SpeakerArrangement layoutOption(const std::string& text);
// Sets the arrangements, or says in one line why the effect won't take them.
void negotiate(Effect& effect, Plx::SpeakerArrangement in, std::optional<Plx::SpeakerArrangement> out);

// dBFS of a linear level; -inf shown for silence.
std::string dbfs(double level);

} // namespace Tannhofen::Host::Cli

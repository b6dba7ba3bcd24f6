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
    std::string sofa; // a SOFA file for binaural decoding
    bool quiet = false;
    bool allowShort = false;    // keep what a damaged or short input holds, with a warning
    bool captureMatrix = false; // ask for the gain matrix while rendering
    std::string meterSvg;       // draw the output meters over time into this file
    std::string objectsPrefix;  // where object mode's files go; empty: --out without its extension
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
    std::vector<ChannelLevel> levels;     // per output channel
    std::vector<float> matrix;            // when captured and published
    std::optional<std::string> damage;    // what was wrong with the input, when allowed
    std::vector<std::string> objectFiles; // in object mode: one per object, then the positions
};

RenderResult render(ModuleSession& session, const RenderRequest& request);

// Applies "PARAM=VALUE" settings to an effect that is set up but not started,
// as a user would in its editor; they reach the processor with its first
// block. A setting may change the bus arrangements, as the converter's
// "Output Arrangement" does: the effect asks for them, and they are in place
// on return. UserError when `out` is given and the settings contradict it.
void applySettings(Effect& effect, const std::vector<std::string>& sets,
                   std::optional<Plx::SpeakerArrangement> out);
// Resolves a layout option; UserError for an unknown name or for speaker bits
// that the module does not define.
Plx::SpeakerArrangement layoutOption(const std::string& text);
// Sets the arrangements, or says in one line why the effect won't take them
// and which layouts it takes instead.
void negotiate(Effect& effect, Plx::SpeakerArrangement in, std::optional<Plx::SpeakerArrangement> out);
// The named layouts that the effect takes on one side while the other side
// keeps its present arrangement.
std::vector<Plx::SpeakerArrangement> acceptedLayouts(Effect& effect, bool input);

// dBFS of a linear level; -inf shown for silence.
std::string dbfs(double level);
// The peak and RMS levels of each output channel of a render, as a table on stdout.
void printLevels(const RenderResult& result);

} // namespace Tannhofen::Host::Cli

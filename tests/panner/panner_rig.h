// The panner as a host runs it, through the module's three exports: processor
// and controller made by the factory, initialized with a host application
// that offers object buses, connected to each other, with the host's
// component handler recording the controller's edits. The rig plays the
// host's part: its automation goes to both halves, the controller's edits are
// handed to the processor with the next block, and every process call runs
// under the real-time guard.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "frame/iaudioprocessor.h"
#include "host/lib/host_application.h"
#include "host/lib/module.h"
#include "host/lib/object_bus.h"
#include "host/lib/parameter_changes.h"
#include "host/lib/plugin.h"

namespace PannerTest {

using namespace Tannhofen;
using Plx::IPtr;

inline constexpr double kRate = 48000.0;
// The largest gain step per sample at 48 kHz: one slice of 5.34 ms.
inline constexpr float kMaxRampStep = static_cast<float>(1000.0 / (48000.0 * 5.34));

// Planar channels of one block.
template <class T>
struct Block {
    Block(int channels, int frames) : data(channels, std::vector<T>(frames)), pointers(channels) {
        for (int c = 0; c < channels; ++c) pointers[c] = data[c].data();
    }
    void fill(T v) {
        for (auto& ch : data) std::fill(ch.begin(), ch.end(), v);
    }
    std::vector<std::vector<T>> data;
    std::vector<T*> pointers;
};

class PannerRig {
public:
    static Host::Module& module();

    PannerRig();
    ~PannerRig();

    Plx::tresult arrange(Plx::SpeakerArrangement in, Plx::SpeakerArrangement out);
    // Sets up and starts processing at 48 kHz.
    void start(int maxBlock, int sampleSize = Plx::kSample32);
    void stop();
    int inputs() const;
    int outputs() const;

    // Host automation: the controller hears it at once, the processor with
    // the next block at `offset`.
    void automate(Plx::ParamID id, double value, int offset = 0);
    // The controller's edits since the last block go to the processor, as a
    // host forwards them.
    void forwardEdits();
    // One block; the pending changes go with it and are cleared. The output
    // parameter changes of the block stay in outChanges.
    template <class T>
    Plx::tresult process(Block<T>& in, Block<T>& out, int frames);
    // A block of constant `level` on every input; the outputs of its last sample.
    std::vector<float> settle(float level, int frames, int blocks = 3);
    void idle() { host->idle(); }
    // A message to the processor, as the controller would send it.
    Plx::tresult tellProcessor(const char* id, const char* attribute = nullptr, int64_t value = 0);

    IPtr<Host::HostApplication> host;
    IPtr<Host::ObjectsBusManager> buses;
    std::unique_ptr<Host::Plugin> plugin;
    IPtr<Host::ParameterChanges> changes;
    IPtr<Host::ParameterChanges> outChanges;
    Plx::IAudioProcessor* processor = nullptr;
    Plx::IPlxEditController* controller = nullptr;
    long allocations = 0; // counted by the guard over every block
    long locks = 0;

private:
    int sampleSize = Plx::kSample32;
    bool running = false;
};

} // namespace PannerTest

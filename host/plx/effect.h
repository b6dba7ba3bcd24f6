// The module and its effects as plx drives them: the module file loaded
// through its three exports, and one effect instance (processor and
// controller) taken through the steps of a host: state, bus arrangements,
// parameters, setup, processing in blocks, idle, and back down.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "frame/iaudioprocessor.h"
#include "frame/ieditcontroller.h"
#include "host/lib/host_application.h"
#include "host/lib/module.h"
#include "host/lib/object_bus.h"
#include "host/lib/parameter_changes.h"
#include "host/lib/plugin.h"
#include "host/plx/layout.h"
#include "host/plx/values.h"

namespace Tannhofen::Host::Cli {

// The module file that plx uses unless --module names another: the one built
// beside the plx executable.
std::string defaultModulePath();

struct EffectClass {
    std::string name; // the class name, e.g. "MixMorph V6"
    std::string subCategories;
    Plx::FUID cid;
};

class ModuleSession {
public:
    // UserError when the file is missing, isn't a module or lacks an export.
    explicit ModuleSession(const std::string& path);

    const Module& module() const { return *loaded; }
    HostApplication* host() const { return hostApp.get(); }
    // Every class the factory lists, in its order.
    std::vector<Plx::ClassInfo2> classes() const { return loaded->classes(); }
    // The audio processors, which plx calls effects.
    std::vector<EffectClass> effects() const;
    // By class name, or by one word of it ("MixMorph"), case ignored;
    // UserError for a name that matches none, or several (listing them).
    EffectClass findEffect(const std::string& name) const;
    // The host's object buses: an effect in object mode is joined to one.
    ObjectsBusManager& objectBuses() const { return *busManager.get(); }

private:
    std::unique_ptr<Module> loaded;
    Plx::IPtr<HostApplication> hostApp;
    Plx::IPtr<ObjectsBusManager> busManager;
};

class Effect {
public:
    // UserError when the factory can't create the effect.
    Effect(ModuleSession& session, const EffectClass& effectClass);
    ~Effect();
    Effect(const Effect&) = delete;
    Effect& operator=(const Effect&) = delete;

    const std::string& name() const { return effectClass.name; }
    Plx::IAudioProcessor* processor() const { return plugin->processor(); }
    Plx::IPlxEditController* controller() const { return plugin->controller(); }

    // The parameters that the controller publishes to the host.
    const std::vector<Param>& params() const { return parameters; }
    // By id, title or short title (case, spaces and punctuation ignored);
    // UserError for an unknown name.
    const Param& findParam(const std::string& name) const;
    // Values of the parameters, read and shown through the controller.
    ParamValues values() const { return ParamValues(controller()); }

    // Saved state: processor and controller, with the class ID, in plx's own
    // container. loadState throws UserError for a file of another effect.
    std::vector<uint8_t> saveState() const;
    void loadState(const std::vector<uint8_t>& bytes);

    // Asks for the bus arrangements; answers whether the effect took them.
    // Either way the arrangements in effect are read back.
    bool setArrangements(Plx::SpeakerArrangement in, Plx::SpeakerArrangement out);
    Plx::SpeakerArrangement inputArrangement() const;
    Plx::SpeakerArrangement outputArrangement() const;

    // A parameter change at the start of processing: told to the controller,
    // and queued for the processor until flushParameters() or the next block.
    void setParameter(Plx::ParamID id, double normalized);
    // Hands queued changes to the processor at once, in a block without
    // audio, which also settles the processor on its present values.
    void flushParameters();
    double parameterValue(Plx::ParamID id) const { return controller()->getParamNormalized(id); }

    // Asks the processor to publish its gain matrix, as the controller does
    // while its editor shows the matrix.
    void requestGainMatrix();
    // The last "gainMatrix" the processor sent, row by row (input rows,
    // output columns); empty when none came.
    const std::vector<float>& gainMatrix() const { return lastGainMatrix; }

    // setupProcessing, setActive(true), setProcessing(true).
    void start(double sampleRate, int32_t maxBlock, bool doublePrecision);
    // setProcessing(false), setActive(false).
    void stop();
    uint32_t latency() const { return processor()->getLatencySamples(); }

    // Planar buffers of the running effect, maxBlock samples per channel.
    float* input32(int channel) { return in32[static_cast<size_t>(channel)].data(); }
    float* output32(int channel) { return out32[static_cast<size_t>(channel)].data(); }
    double* input64(int channel) { return in64[static_cast<size_t>(channel)].data(); }
    double* output64(int channel) { return out64[static_cast<size_t>(channel)].data(); }
    int inputChannels() const { return static_cast<int>(inPointers32.size()); }
    int outputChannels() const { return static_cast<int>(outPointers32.size()); }
    // The changes of the next block; cleared by process().
    ParameterChanges& changes() { return *blockChanges.get(); }
    // Processes `numSamples` from the input buffers into the output buffers;
    // UserError when the effect refuses the block.
    void process(int32_t numSamples);
    // Sees the processor's output parameter changes of each block (its meter
    // values among them) and the sample at which that block ends.
    using OutputObserver = std::function<void(ParameterChanges& changes, int64_t blockEnd)>;
    void observeOutput(OutputObserver observer) { outputObserver = std::move(observer); }
    // One timer tick of the host: idle handlers run, messages go out.
    void idle() { session.host()->idle(); }

private:
    void onMessage(Plx::IMessage* message, bool toController);
    // Carries out the restarts the controller asked for: with the effect
    // stopped, new buses are taken up (a decoder's output chosen in its editor
    // or carried by a state); a running effect takes them at its next start.
    void takeRestarts();

    ModuleSession& session;
    EffectClass effectClass;
    std::unique_ptr<Plugin> plugin;
    std::vector<Param> parameters;
    std::vector<float> lastGainMatrix;
    OutputObserver outputObserver;

    Plx::IPtr<ParameterChanges> blockChanges;
    Plx::IPtr<ParameterChanges> outputChanges;
    bool active = false;
    bool processing = false;
    bool doubleSamples = false;
    double rate = 48000.0;
    int64_t position = 0;
    std::vector<std::vector<float>> in32, out32;
    std::vector<std::vector<double>> in64, out64;
    std::vector<float*> inPointers32, outPointers32;
    std::vector<double*> inPointers64, outPointers64;
};

} // namespace Tannhofen::Host::Cli

// SphereDecoder as a host drives it: processor and controller created through
// the module's exports, initialized with a host context that may also offer a
// head tracker and a file selector, connected through taps that record every
// message, and fed planar blocks under the real-time guard. The rig plays the
// host's part in edits (a performed edit reaches the processor in the next
// block) and restarts (deactivate, take the processor's new output bus,
// activate again).
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "frame/iaudioprocessor.h"
#include "frame/icomponent.h"
#include "frame/iconnectionpoint.h"
#include "frame/ieditcontroller.h"
#include "frame/ifileselector.h"
#include "frame/iheadtracking.h"
#include "frame/ihostapplication.h"
#include "host/lib/component_handler.h"
#include "host/lib/host_application.h"
#include "host/lib/module.h"
#include "host/lib/parameter_changes.h"
#include "tests/ambi/planar_block.h"

namespace DecoderTest {

using namespace Tannhofen;
using Plx::IPtr;
using Plx::SpeakerArrangement;

// One message as it passed between the two halves.
struct Seen {
    std::string id;
    bool toController = true;
    std::map<std::string, int64_t> ints;
    std::map<std::string, std::u16string> strings;
    std::map<std::string, std::vector<uint8_t>> blobs;
};

// The host context: messages from a HostApplication, and on request a head
// tracker the test moves and a file selector that answers a set path.
class TestHost final : public Plx::IPlxHostApplication,
                       public Plx::IPlxHeadTracking,
                       public Plx::IPlxFileSelector {
public:
    TestHost(bool tracker, bool selector) : offersTracker(tracker), offersSelector(selector) {}
    Plx::tresult queryInterface(const Plx::TUID& iid, void** obj) override;
    uint32_t addRef() override { return 1; } // lives as long as the rig
    uint32_t release() override { return 1; }
    Plx::tresult getName(char16_t* name) override { return app->getName(name); }
    Plx::tresult createInstance(const Plx::TUID& cid, const Plx::TUID& iid, void** obj) override {
        return app->createInstance(cid, iid, obj);
    }
    Plx::tresult registerReceiver(Plx::IHeadTrackingReceiver* r) override;
    Plx::tresult unregisterReceiver(Plx::IHeadTrackingReceiver* r) override;
    Plx::tresult selectFile(const char16_t* title, const char16_t* description, const char16_t* extension,
                            char16_t* path, uint32_t characters) override;
    Plx::FUnknown* unknown() { return static_cast<Plx::IPlxHostApplication*>(this); }

    IPtr<Host::HostApplication> app = IPtr<Host::HostApplication>::adopt(Host::HostApplication::create());
    bool offersTracker;
    bool offersSelector;
    Plx::IHeadTrackingReceiver* receiver = nullptr;
    std::u16string chosenFile; // empty: the user cancels
    std::u16string selectorTitle;
};

class DecoderRig {
public:
    struct Options {
        bool tracker = false;
        bool selector = false;
        bool controller = true;
    };
    static Host::Module& module();

    DecoderRig() : DecoderRig(Options{}) {}
    explicit DecoderRig(Options options);
    ~DecoderRig();

    // Host steps with the processor's answer.
    Plx::tresult arrange(SpeakerArrangement in, SpeakerArrangement out);
    Plx::tresult setup(double rate, int maxBlock, int sampleSize = Plx::kSample32, int mode = Plx::kRealtime);
    Plx::tresult start();
    void stop();
    SpeakerArrangement bus(int dir, int index = 0);
    uint32_t latency() { return processor->getLatencySamples(); }

    // One block under the real-time guard: the main input and output, and the
    // aux input when given. Pending edits go in as parameter changes.
    template <class T>
    Plx::tresult process(PlanarBlock<T>& in, PlanarBlock<T>& out, uint32_t frames,
                         PlanarBlock<T>* aux = nullptr);
    Plx::tresult processData(Plx::PlxProcessData& data);

    // Messages to the processor, as if from the controller.
    Plx::tresult sendInt(const char* id, const char* attribute, int64_t value);
    Plx::tresult sendString(const char* id, const char* attribute, const std::u16string& text);
    Plx::tresult sendBinary(const char* id, const char* attribute, const void* data, uint32_t size);
    Plx::tresult sendId(const char* id);

    std::vector<uint8_t> saveState();
    Plx::tresult loadState(const std::vector<uint8_t>& bytes);
    // Hands the processor's state to the controller, as a host does after a load.
    Plx::tresult syncController();

    // The host's part: every edit the controller performed goes to the
    // processor in the next block; every restart is carried out.
    void takeEdits();
    void serviceRestarts();

    // Messages seen in one direction with this ID, oldest first.
    std::vector<Seen> seen(const std::string& id, bool toController = true) const;
    const Seen* last(const std::string& id, bool toController = true) const;

    TestHost host;
    IPtr<Plx::IComponent> component;
    IPtr<Plx::IAudioProcessor> processor;
    IPtr<Plx::IPlxEditController> controller;
    IPtr<Host::ComponentHandler> handler;
    IPtr<Plx::IConnectionPoint> processorPoint, controllerPoint;
    IPtr<Plx::IConnectionPoint> processorPeer, controllerPeer; // the taps
    IPtr<Host::ParameterChanges> changes;
    IPtr<Host::ParameterChanges> outChanges;
    std::vector<Seen> messages;
    bool active = false;
    int sampleSize = Plx::kSample32;
};

// The normalised value of a rotation parameter for an angle in degrees.
inline double yawValue(double degrees) {
    return 0.5 - degrees / 360.0;
}

// Little-endian writers for states built by hand.
struct StateBytes {
    std::vector<uint8_t> bytes;
    StateBytes& i32(int32_t v);
    StateBytes& i64(int64_t v);
    StateBytes& f64(double v);
    StateBytes& raw(const std::string& s);
};

} // namespace DecoderTest

// Processor and controller of the panner, connected through their messages
// and a host that hands the controller's edits and its own automation to the
// processor: after any mix of host automation and editor gestures both
// models hold the same image, and the matrix the editor shows is the one the
// processor plays.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "frame/speaker_layouts.h"
#include "host/lib/component_handler.h"
#include "host/lib/host_application.h"
#include "host/lib/parameter_changes.h"
#include "panner/radial_panner.h"
#include "panner/rpanner_controller.h"

namespace {

using namespace Tannhofen;
using Panner::RadialPanner;
using Panner::RPannerController;
using Panner::RPannerModel;
using Plx::IPtr;
using Plx::ParamID;
namespace Layout = Plx::Layout;

struct Pair {
    Pair() {
        processor->initialize(host->unknown());
        controller->initialize(host->unknown());
        controller->setComponentHandler(handler.get());
        processor->connect(controller.get());
        controller->connect(processor.get());
        controller->enableDirectMonitoring(true);
        for (ParamID id = 0; id < 300; ++id) changes->addChange(id, 0, 0.0);
        changes->clear();
    }
    ~Pair() {
        stop();
        processor->disconnect(controller.get());
        controller->disconnect(processor.get());
        controller->setComponentHandler(nullptr);
        controller->terminate();
        processor->terminate();
    }
    void start() {
        Plx::PlxProcessSetup setup{Plx::kRealtime, Plx::kSample32, kBlock, 48000.0};
        ASSERT_EQ(processor->setupProcessing(&setup), Plx::kResultOk);
        processor->setActive(1);
        processor->setProcessing(1);
        running = true;
    }
    void stop() {
        if (!running) return;
        processor->setProcessing(0);
        processor->setActive(0);
        running = false;
    }
    // A host changes the layout between blocks, with what was pending played.
    void arrange(Plx::SpeakerArrangement in, Plx::SpeakerArrangement out) {
        const bool was = running;
        if (was) block();
        stop();
        processor->setBusArrangements(&in, 1, &out, 1);
        if (was) start();
    }
    // Host automation: to the controller at once, to the processor with the
    // block, each change at a later sample than the one before.
    void automate(ParamID id, double v) {
        controller->setParamNormalized(id, v);
        changes->addChange(id, nextOffset(), v);
    }
    int nextOffset() { return std::min(offset++, kBlock - 1); }
    // The controller's edits join the block's changes in the order they came.
    void takeEdits() {
        for (const auto& e : handler->edits)
            if (e.kind == Host::ComponentHandler::EditKind::Perform)
                changes->addChange(e.id, nextOffset(), e.value);
        handler->clear();
    }
    // The block that carries the pending changes.
    void block() {
        takeEdits();
        Plx::PlxAudioBuffers inBus{}, outBus{};
        std::vector<float*> ins(16, input.data()), outs(32, output.data());
        inBus.numChannels = Plx::channelCount(inArr());
        outBus.numChannels = Plx::channelCount(outArr());
        inBus.channelBuffers32 = ins.data();
        outBus.channelBuffers32 = outs.data();
        Plx::PlxProcessData data{};
        data.symbolicSampleSize = Plx::kSample32;
        data.numSamples = kBlock;
        data.numInputs = data.numOutputs = 1;
        data.inputs = &inBus;
        data.outputs = &outBus;
        data.inputParameterChanges = changes.get();
        ASSERT_EQ(processor->process(&data), Plx::kResultOk);
        changes->clear();
        offset = 0;
        host->idle();
    }
    Plx::SpeakerArrangement inArr() {
        Plx::SpeakerArrangement a = 0;
        processor->getBusArrangement(Plx::kInput, 0, &a);
        return a;
    }
    Plx::SpeakerArrangement outArr() {
        Plx::SpeakerArrangement a = 0;
        processor->getBusArrangement(Plx::kOutput, 0, &a);
        return a;
    }

    static constexpr int kBlock = 256;
    IPtr<Host::HostApplication> host = IPtr<Host::HostApplication>::adopt(Host::HostApplication::create());
    IPtr<Host::ComponentHandler> handler =
        IPtr<Host::ComponentHandler>::adopt(Host::ComponentHandler::create());
    IPtr<Host::ParameterChanges> changes =
        IPtr<Host::ParameterChanges>::adopt(Host::ParameterChanges::create());
    IPtr<RadialPanner> processor = IPtr<RadialPanner>::adopt(new RadialPanner);
    IPtr<RPannerController> controller = IPtr<RPannerController>::adopt(new RPannerController);
    std::vector<float> input = std::vector<float>(kBlock, 0.1f);
    std::vector<float> output = std::vector<float>(kBlock, 0.0f);
    bool running = false;
    int offset = 0;
};

// The image positions of both sides. A handle gesture leaves the editor's
// scale one float step away from the one that its parameter gives the
// processor; the vaulted patterns rise steeply at the walls, where that step
// can move a channel's height by a few 1e-4.
constexpr float kPositionTolerance = 1e-3f;

// The controls that both models hold.
constexpr int32_t kCompared[] = {0,   1,   2,   6,   7,   8,   9,   11,  102, 103, 104,
                                 105, 110, 111, 114, 115, 117, 199, 200, 201, 202};

::testing::AssertionResult sameModels(Pair& pair) {
    const RPannerModel& p = *pair.processor->getPannerModel();
    const RPannerModel& c = pair.controller->getModel();
    for (int32_t id : kCompared)
        if (std::fabs(p.getParamValue(id) - c.getParamValue(id)) > 1e-6)
            return ::testing::AssertionFailure()
                   << "parameter " << id << ": processor " << p.getParamValue(id) << ", controller "
                   << c.getParamValue(id);
    const auto& a = p.getImagePositions();
    const auto& b = c.getImagePositions();
    if (a.size() != b.size()) return ::testing::AssertionFailure() << "position counts differ";
    for (size_t i = 0; i < a.size(); ++i)
        for (size_t k = 0; k < 3; ++k)
            if (std::fabs(a[i][k] - b[i][k]) > kPositionTolerance)
                return ::testing::AssertionFailure() << "channel " << i << " axis " << k << ": processor "
                                                     << a[i][k] << ", controller " << b[i][k];
    // The matrix the editor got is the one the processor plays.
    const Mix::MixGainSet* set = p.getGainSet();
    const Mix::MixMatrix& played = set->matrix[p.getDirectMode() ? 1 : 0];
    const std::vector<float>& shown = pair.controller->getGains();
    if (shown.size() != played.data.size())
        return ::testing::AssertionFailure()
               << "the editor shows " << shown.size() << " gains of " << played.data.size();
    for (size_t k = 0; k < shown.size(); ++k)
        if (std::fabs(shown[k] - played.data[k]) > 1.2e-7f)
            return ::testing::AssertionFailure()
                   << "gain " << k << ": shown " << shown[k] << ", played " << played.data[k];
    return ::testing::AssertionSuccess();
}

void runSequence(uint32_t seed) {
    Pair pair;
    pair.arrange(Layout::kStereo, Layout::k7_1_4);
    pair.start();
    pair.block();
    ASSERT_TRUE(sameModels(pair));

    std::mt19937 random(seed);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    auto pick = [&](auto const& list) { return list[random() % std::size(list)]; };
    const int32_t automated[] = {0,   1,   2,   6,   7,   8,   9,   11,  102, 103, 104, 105, 110, 111,
                                 114, 115, 117, 199, 200, 201, 202, 203, 205, 208, 213, 17,  19};
    const int32_t gestures[] = {257, 258, 259, 260, 262, 263, 264, 265, 280, 281};
    const int32_t editorOnly[] = {503, 504, 505, 506, 507, 508, 509, 511};
    const std::pair<Plx::SpeakerArrangement, Plx::SpeakerArrangement> layouts[] = {
        {Layout::kMono, Layout::k5_1},   {Layout::kStereo, Layout::k7_1_4}, {Layout::kStereo, Layout::k5_0},
        {Layout::kMono, Layout::kAmbi2}, {Layout::kStereo, Layout::k7_1_2}, {Layout::kMono, Layout::kStereo}};

    int edits = 0;
    std::string trace; // the edits of the present batch, shown on failure
    for (int batch = 0; edits < 2400; ++batch) {
        trace.clear();
        const int size = 1 + static_cast<int>(random() % 4);
        for (int e = 0; e < size; ++e, ++edits) {
            const int kind = static_cast<int>(random() % 20);
            double v = unit(random);
            if (kind < 9) {
                // Host automation, now and then out of range or NaN.
                if (random() % 25 == 0) v = (random() % 2) ? -0.5 : 1.5;
                if (random() % 50 == 0) v = std::numeric_limits<double>::quiet_NaN();
                const auto id = static_cast<ParamID>(pick(automated));
                pair.takeEdits();
                pair.automate(id, v);
                trace += " automate " + std::to_string(id) + "=" + std::to_string(v);
            } else if (kind < 15) {
                // A gesture on a compound control in the editor.
                const auto id = static_cast<ParamID>(pick(gestures));
                pair.controller->beginEdit(id);
                pair.controller->setParamNormalized(id, id == 258 || id == 259 ? 1.0 : v);
                if (id == 258) pair.controller->setParamNormalized(id, 0.0);
                pair.controller->endEdit(id);
                trace += " gesture " + std::to_string(id) + "=" + std::to_string(v);
            } else if (kind < 17) {
                const auto id = static_cast<ParamID>(pick(editorOnly));
                const double on = random() % 2;
                pair.controller->setParamNormalized(id, on);
                trace += " editor " + std::to_string(id) + "=" + std::to_string(on);
            } else if (kind < 19) {
                const int32_t code = 24 + static_cast<int32_t>(random() % 10);
                const int32_t modifier =
                    (random() % 2) ? Panner::KeyModifier::kJump : Panner::KeyModifier::kSolo;
                pair.controller->onKey(code, modifier, random() % 2);
                trace += " key " + std::to_string(code) + "/" + std::to_string(modifier);
            } else if (random() % 8 == 0) {
                const auto& [in, out] = pick(layouts);
                pair.arrange(in, out);
                trace += " layout " + std::to_string(in) + ">" + std::to_string(out);
            } else {
                pair.controller->setParamNormalized(256, 1.0); // reset
                trace += " reset";
            }
        }
        pair.block();
        ASSERT_TRUE(sameModels(pair))
            << "seed " << seed << ", after batch " << batch << ", edit " << edits << ":" << trace;
    }
    EXPECT_GE(edits, 2000);
}

TEST(PannerPair, ModelsAgreeAfterAnyMixOfAutomationAndEditorGestures) {
    for (uint32_t seed : {20261122u, 7u, 1234567u, 99u}) runSequence(seed);
}

} // namespace

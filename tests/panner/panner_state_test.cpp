// The panner's saved state through the module's exports: a round trip into a
// fresh processor and into the controller, and every kind of stream that
// isn't a good panner state answered without a crash or a NaN.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "frame/class_ids.h"
#include "frame/iparameterfunctionname.h"
#include "frame/speaker_layouts.h"
#include "host/lib/memory_stream.h"
#include "tests/panner/panner_rig.h"

namespace PannerTest {
namespace {

namespace Layout = Plx::Layout;

std::vector<uint8_t> stateOf(Plx::IComponent* component) {
    auto stream = IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create());
    EXPECT_EQ(component->getState(stream.get()), Plx::kResultOk);
    return stream->bytes();
}

Plx::tresult load(Plx::IComponent* component, const std::vector<uint8_t>& bytes) {
    auto stream = IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create(bytes));
    return component->setState(stream.get());
}

// Plays a block of noise and answers whether every output sample is finite.
bool playsFinite(PannerRig& rig) {
    Block<float> in(rig.inputs(), 128), out(rig.outputs(), 128);
    std::mt19937 noise(3);
    std::uniform_real_distribution<float> sample(-1.0f, 1.0f);
    for (auto& ch : in.data)
        for (float& v : ch) v = sample(noise);
    if (rig.process(in, out, 128) != Plx::kResultOk) return false;
    for (const auto& ch : out.data)
        for (float v : ch)
            if (!std::isfinite(v)) return false;
    return true;
}

// The controls that a panner state carries, and values away from the defaults.
const std::pair<Plx::ParamID, double> kSettings[] = {
    {0, 0.25},  {1, 0.75},  {2, 0.5},   {6, 0.3},   {7, 0.1},    {102, 0.4},   {104, 0.2},
    {110, 0.0}, {111, 0.0}, {114, 0.6}, {117, 0.5}, {200, 0.55}, {202, 0.125}, {205, 0.0}};

TEST(PannerState, RoundTripsIntoAFreshProcessorAndTheController) {
    std::vector<uint8_t> saved;
    {
        PannerRig rig;
        ASSERT_EQ(rig.arrange(Layout::kStereo, Layout::k7_1_4), Plx::kResultOk);
        rig.start(256);
        for (auto [id, v] : kSettings) rig.automate(id, v);
        ASSERT_TRUE(playsFinite(rig));
        saved = stateOf(rig.plugin->component());
    }
    PannerRig fresh;
    ASSERT_EQ(fresh.arrange(Layout::kStereo, Layout::k7_1_4), Plx::kResultOk);
    ASSERT_EQ(load(fresh.plugin->component(), saved), Plx::kResultOk);
    // Saved again it is the same stream, byte for byte.
    EXPECT_EQ(stateOf(fresh.plugin->component()), saved);
    // The controller reads it into its parameters, as a host hands it over.
    ASSERT_EQ(fresh.plugin->syncControllerState(), Plx::kResultOk);
    for (auto [id, v] : kSettings) EXPECT_NEAR(fresh.controller->getParamNormalized(id), v, 1e-6) << id;
    // Values with units survive in their units: 0.25 of -100..100 is -50.
    EXPECT_NEAR(fresh.controller->normalizedParamToPlain(0, fresh.controller->getParamNormalized(0)), -50.0,
                1e-4);
}

TEST(PannerState, StreamsThatArentAPannerStateGetTheirDocumentedAnswers) {
    PannerRig rig;
    ASSERT_EQ(rig.arrange(Layout::kMono, Layout::k5_1), Plx::kResultOk);
    rig.start(128);
    Plx::IComponent* panner = rig.plugin->component();
    const std::vector<uint8_t> good = stateOf(panner);

    // Nothing, or a wrong magic: refused.
    EXPECT_EQ(load(panner, {}), Plx::kResultFalse);
    std::vector<uint8_t> wrongMagic = good;
    wrongMagic[0] ^= 0xFF;
    EXPECT_EQ(load(panner, wrongMagic), Plx::kResultFalse);
    // Any shorter part of a good state past the header: what was read stays.
    for (size_t n = 12; n < good.size(); n += 7)
        EXPECT_EQ(load(panner, {good.begin(), good.begin() + n}), Plx::kResultOk) << n;
    // A later plug-in version with no records: taken, nothing changes.
    const std::vector<uint8_t> later = {0x78, 0x56, 0x34, 0x12, 2, 0, 0, 0, 3, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(load(panner, later), Plx::kResultOk);
    EXPECT_TRUE(playsFinite(rig));

    // The converter's state: its records name ids the panner doesn't have.
    {
        auto converter = PannerRig::module().createInstance<Plx::IComponent>(Plx::kMatrixMixerProcessorUID);
        ASSERT_TRUE(converter);
        ASSERT_EQ(converter->initialize(rig.host->unknown()), Plx::kResultOk);
        const std::vector<uint8_t> mixState = stateOf(converter.get());
        converter->terminate();
        const Plx::tresult r = load(panner, mixState);
        EXPECT_TRUE(r == Plx::kResultOk || r == Plx::kResultFalse);
        EXPECT_TRUE(playsFinite(rig));
    }

    // Random bytes and mutations of a good state, 10000 of them: each gets a
    // result code, and the panner plays on with finite samples.
    std::mt19937 random(18);
    for (int i = 0; i < 10000; ++i) {
        std::vector<uint8_t> bytes;
        if (i % 2 == 0) {
            bytes.resize(random() % 200);
            for (uint8_t& b : bytes) b = static_cast<uint8_t>(random());
            if (i % 4 == 0 && bytes.size() >= 4) {
                bytes[0] = 0x78, bytes[1] = 0x56, bytes[2] = 0x34, bytes[3] = 0x12; // past the magic
            }
        } else {
            bytes = good;
            for (int flips = 1 + static_cast<int>(random() % 8); flips > 0; --flips)
                bytes[random() % bytes.size()] ^= static_cast<uint8_t>(1u << (random() % 8));
            if (random() % 3 == 0) bytes.resize(random() % bytes.size());
        }
        const Plx::tresult r = load(panner, bytes);
        ASSERT_TRUE(r == Plx::kResultOk || r == Plx::kResultFalse) << i;
        if (i % 100 == 0) {
            ASSERT_TRUE(playsFinite(rig)) << i;
        }
    }
    EXPECT_EQ(rig.allocations, 0);
}

TEST(PannerState, ParameterInfoAsTheHostReadsIt) {
    PannerRig rig;
    Plx::ParameterInfo info{};
    // Meters: read-only for the host.
    for (Plx::ParamID id : {407u, 430u, 431u, 455u, 456u}) {
        ASSERT_EQ(rig.controller->getParameterInfo(id, &info), Plx::kResultOk) << id;
        EXPECT_EQ(info.flags, Plx::ParameterInfo::kIsReadOnly) << id;
    }
    ASSERT_EQ(rig.controller->getParameterInfo(202, &info), Plx::kResultOk);
    EXPECT_EQ(info.flags, Plx::ParameterInfo::kCanAutomate | Plx::ParameterInfo::kIsWrapAround);
    ASSERT_EQ(rig.controller->getParameterInfo(285, &info), Plx::kResultOk);
    EXPECT_EQ(info.flags, Plx::ParameterInfo::kIsReadOnly | Plx::ParameterInfo::kIsHidden);
    ASSERT_EQ(rig.controller->getParameterInfo(0, &info), Plx::kResultOk);
    EXPECT_EQ(info.flags, Plx::ParameterInfo::kCanAutomate);
    EXPECT_EQ(info.defaultNormalizedValue, 0.5);
    // The editor's own parameters are not the host's.
    EXPECT_EQ(rig.controller->getParameterInfo(500, &info), Plx::kResultFalse);

    // A host finds the panner's controls by purpose.
    auto names = IPtr<Plx::IParameterFunctionName>::adopt(
        Plx::queryInterfaceOf<Plx::IParameterFunctionName>(rig.controller));
    ASSERT_TRUE(names);
    Plx::ParamID id = 0;
    EXPECT_EQ(names->getParameterIDFromFunctionName(0, "PanPosCenterY", &id), Plx::kResultOk);
    EXPECT_EQ(id, 1u);
    EXPECT_EQ(names->getParameterIDFromFunctionName(0, "PanLfeGain", &id), Plx::kResultOk);
    EXPECT_EQ(id, 11u);
    EXPECT_EQ(names->getParameterIDFromFunctionName(0, "NoSuchFunction", &id), Plx::kResultFalse);
    EXPECT_EQ(id, 1024u);

    // Values outside 0..1 are held at the ends, NaN is refused.
    EXPECT_EQ(rig.controller->setParamNormalized(0, 1.5), Plx::kResultOk);
    EXPECT_EQ(rig.controller->getParamNormalized(0), 1.0);
    EXPECT_EQ(rig.controller->setParamNormalized(0, std::nan("")), Plx::kInvalidArgument);
    EXPECT_EQ(rig.controller->getParamNormalized(0), 1.0);
}

} // namespace
} // namespace PannerTest

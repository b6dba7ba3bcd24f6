// MixMorph's buses, state and messages through the module's exports: every
// case of the bus negotiation, the messages that reach the controller, the
// state stream written and read back, the restart that a state with other
// arrangements asks for, and malformed or random state streams.
#include "tests/mix/mixer_rig.h"

#include "frame/icomponent.h"
#include "frame/igraphlocation.h"
#include "mix/mix_messages.h"

#include <algorithm>
#include <random>

namespace MixTest {
namespace {

namespace Msg = Mix::Msg;

std::string busName(MixerRig& rig, int dir) {
    Plx::BusInfo info{};
    if (rig.component->getBusInfo(Plx::kAudio, dir, 0, &info) != Plx::kResultOk) return "?";
    std::string name;
    for (const char16_t* c = info.name; *c; ++c) name.push_back(static_cast<char>(*c));
    return name;
}

uint64_t blobWord(const Seen& seen, const char* name) {
    auto it = seen.blobs.find(name);
    uint64_t word = 0;
    if (it != seen.blobs.end() && it->second.size() == 8) std::memcpy(&word, it->second.data(), 8);
    return word;
}

TEST(MixBuses, NegotiationCases) {
    MixerRig rig;
    // After initialize: mono in, 5.1 out, both buses labelled "Input".
    EXPECT_EQ(rig.busArrangement(Plx::kInput), Plx::Layout::kMono);
    EXPECT_EQ(rig.busArrangement(Plx::kOutput), Plx::Layout::k5_1);
    EXPECT_EQ(busName(rig, Plx::kInput), "Input");
    EXPECT_EQ(busName(rig, Plx::kOutput), "Input");

    Plx::SpeakerArrangement in = Plx::Layout::kStereo, out = Plx::Layout::kStereo;
    EXPECT_EQ(rig.processor->setBusArrangements(nullptr, 1, &out, 1), Plx::kInvalidArgument);
    EXPECT_EQ(rig.processor->setBusArrangements(&in, 1, nullptr, 1), Plx::kInvalidArgument);
    Plx::SpeakerArrangement two[2] = {Plx::Layout::kStereo, Plx::Layout::kStereo};
    EXPECT_EQ(rig.processor->setBusArrangements(two, 2, &out, 1), Plx::kResultFalse);
    EXPECT_EQ(rig.processor->setBusArrangements(&in, 1, two, 2), Plx::kResultFalse);
    EXPECT_EQ(rig.processor->setBusArrangements(&in, 0, &out, 1), Plx::kResultFalse);

    struct Case {
        uint64_t in, out;
        Plx::tresult answer;
        uint64_t gotIn, gotOut;
    };
    const Case cases[] = {
        {Plx::Layout::k5_1, Plx::Layout::kStereo, Plx::kResultOk, Plx::Layout::k5_1, Plx::Layout::kStereo},
        {(1ull << 27) - 1, Plx::Layout::kLRC, Plx::kResultFalse, Plx::Layout::k5_1,
         Plx::Layout::kLRC}, // 27 bits in
        {Plx::Layout::kStereo, (1ull << 36) - 1, Plx::kResultFalse, Plx::Layout::kStereo,
         Plx::Layout::k5_1}, // 36 bits out
        {Plx::Layout::kAmbi1, Plx::Layout::kStereo, Plx::kResultFalse, Plx::Layout::kQuadro,
         Plx::Layout::kStereo}, // first-order ambisonics in
        {Plx::Layout::kAmbi2, Plx::Layout::k5_1, Plx::kResultFalse, Plx::Layout::k5_0_4,
         Plx::Layout::k5_1}, // second order
        {Plx::Layout::kAmbi3, Plx::Layout::k5_1, Plx::kResultFalse,
         Plx::Layout::k12_2 | Plx::Speaker::Sl | Plx::Speaker::Sr, Plx::Layout::k5_1}, // third order
        {Plx::Layout::k5_1, Plx::Layout::kAmbi1, Plx::kResultOk, Plx::Layout::k5_1,
         Plx::Layout::kAmbi1}, // an ambisonic output stays
        {Plx::Layout::k22_2, Plx::Layout::k7_1_4, Plx::kResultOk, Plx::Layout::k22_2,
         Plx::Layout::k7_1_4}, // 22.2 to 7.1.4
    };
    for (const Case& c : cases) {
        rig.peer->messages.clear();
        in = c.in;
        out = c.out;
        EXPECT_EQ(rig.processor->setBusArrangements(&in, 1, &out, 1), c.answer)
            << std::hex << c.in << " " << c.out;
        EXPECT_EQ(rig.busArrangement(Plx::kInput), c.gotIn) << std::hex << c.in;
        EXPECT_EQ(rig.busArrangement(Plx::kOutput), c.gotOut) << std::hex << c.out;
        EXPECT_EQ(busName(rig, Plx::kInput), "Input");
        EXPECT_EQ(busName(rig, Plx::kOutput), "Output");
        auto sent = rig.peer->withId(Msg::kBusArrangements);
        ASSERT_EQ(sent.size(), 1u);
        EXPECT_EQ(blobWord(sent[0], Msg::kInput), c.gotIn);
        EXPECT_EQ(blobWord(sent[0], Msg::kOutput), c.gotOut);
        EXPECT_EQ(sent[0].ints["changeParams"], 1);
    }
    // The same arrangements again: nothing to do, no message.
    rig.peer->messages.clear();
    EXPECT_EQ(rig.arrange(Plx::Layout::k22_2, Plx::Layout::k7_1_4), Plx::kResultOk);
    EXPECT_TRUE(rig.peer->messages.empty());
    // Sample sizes.
    EXPECT_EQ(rig.processor->canProcessSampleSize(Plx::kSample32), Plx::kResultOk);
    EXPECT_EQ(rig.processor->canProcessSampleSize(Plx::kSample64), Plx::kResultOk);
    EXPECT_EQ(rig.processor->canProcessSampleSize(2), Plx::kResultFalse);
    EXPECT_EQ(rig.setup(0.0, 256), Plx::kResultFalse);
    EXPECT_EQ(rig.setup(48000.0, 0), Plx::kResultFalse);
}

TEST(MixBuses, MessagesWaitForThePeer) {
    auto host = IPtr<Host::HostApplication>::adopt(Host::HostApplication::create());
    auto component = MixerRig::module().createInstance<Plx::IComponent>(Plx::kMatrixMixerProcessorUID);
    ASSERT_TRUE(component);
    ASSERT_EQ(component->initialize(host->unknown()), Plx::kResultOk);
    auto processor =
        IPtr<Plx::IAudioProcessor>::adopt(Plx::queryInterfaceOf<Plx::IAudioProcessor>(component.get()));
    auto point =
        IPtr<Plx::IConnectionPoint>::adopt(Plx::queryInterfaceOf<Plx::IConnectionPoint>(component.get()));
    Plx::SpeakerArrangement a = Plx::Layout::k5_1, b = Plx::Layout::kStereo, c = Plx::Layout::kLRC;
    processor->setBusArrangements(&a, 1, &b, 1);
    processor->setBusArrangements(&a, 1, &c, 1);
    auto graph =
        IPtr<Plx::IGraphLocation>::adopt(Plx::queryInterfaceOf<Plx::IGraphLocation>(component.get()));
    ASSERT_TRUE(graph);
    graph->setGraphLocation(0, 4); // not sent: no peer yet, and it doesn't wait
    auto peer = std::make_unique<RecordingPeer>();
    ASSERT_EQ(point->connect(peer->point()), Plx::kResultOk);
    ASSERT_EQ(peer->messages.size(), 2u);
    EXPECT_EQ(blobWord(peer->messages[0], Msg::kOutput), Plx::Layout::kStereo);
    EXPECT_EQ(blobWord(peer->messages[1], Msg::kOutput), Plx::Layout::kLRC);
    // The idle handler runs only while active; connect asked for the processing state.
    EXPECT_EQ(host->idleHandlerCount(), 0u);
    component->setActive(1);
    EXPECT_EQ(host->idleHandlerCount(), 1u);
    host->idle();
    auto vu = peer->withId(Msg::kVuMetersProcessing);
    ASSERT_EQ(vu.size(), 1u);
    EXPECT_EQ(vu[0].ints["vuMetersProcessing"], 0);
    graph->setGraphLocation(0, 4);
    auto where = peer->withId(Msg::kGraphLocation);
    ASSERT_EQ(where.size(), 1u);
    EXPECT_EQ(where[0].ints["usedAsPanner"], 1);
    // setProcessing answers not-implemented while active, false otherwise.
    EXPECT_EQ(processor->setProcessing(1), Plx::kNotImplemented);
    component->setActive(0);
    EXPECT_EQ(host->idleHandlerCount(), 0u);
    EXPECT_EQ(processor->setProcessing(1), Plx::kResultFalse);
    point->disconnect(peer->point());
    component->terminate();
}

// A state stream taken apart by hand, as the format lays it out.
struct ParsedState {
    int32_t magic = 0, format = 0, version = 0, count = 0;
    std::map<int32_t, std::pair<int16_t, double>> values; // id -> kind, value
    std::vector<std::string> names;
    uint64_t in = 0, out = 0;
    bool complete = false;
};

ParsedState parse(const std::vector<uint8_t>& b) {
    ParsedState s;
    size_t pos = 0;
    auto take = [&](auto& v) {
        if (pos + sizeof v > b.size()) return false;
        std::memcpy(&v, b.data() + pos, sizeof v);
        pos += sizeof v;
        return true;
    };
    if (!take(s.magic) || !take(s.format) || !take(s.version) || !take(s.count)) return s;
    for (int r = 0; r < s.count; ++r) {
        int16_t kind = 0;
        int32_t length = 0, id = 0;
        if (!take(kind) || !take(length) || pos + length > b.size()) return s;
        s.names.emplace_back(reinterpret_cast<const char*>(b.data() + pos));
        EXPECT_EQ(static_cast<int32_t>(s.names.back().size()) + 1, length);
        pos += length;
        take(id);
        double v = 0;
        if (kind == 1) {
            take(v);
        } else if (kind == 2) {
            int64_t i = 0;
            take(i);
            v = static_cast<double>(i);
        } else if (kind == 4) {
            int16_t i = 0;
            take(i);
            v = i;
        }
        s.values[id] = {kind, v};
    }
    s.complete = take(s.in) && take(s.out) && pos == b.size();
    return s;
}

double dB(double linear) {
    return 20.0 * std::log10(linear);
}

// Levels set the way a host sets them outside the audio: a block without buses.
void setLevels(MixerRig& rig, std::initializer_list<std::pair<Plx::ParamID, double>> levels) {
    auto changes = IPtr<Host::ParameterChanges>::adopt(Host::ParameterChanges::create());
    for (auto [id, value] : levels) changes->addChange(id, 0, value);
    Plx::PlxProcessData data{};
    data.inputParameterChanges = changes.get();
    EXPECT_EQ(rig.processData(data), Plx::kResultOk);
}

TEST(MixState, WrittenAndReadBackWithTheSameLevels) {
    MixerRig a;
    ASSERT_EQ(a.arrange(Plx::Layout::k5_1, Plx::Layout::kStereo), Plx::kResultOk);
    setLevels(
        a,
        {{kCenterLvl, 0.6}, {kSurroundLvl, 0.9}, {kGlobalLvl, 0.5}, {133, 1.0}, {135, 0.3}, {137, 2.0 / 3}});
    const auto bytes = a.saveState();
    const ParsedState s = parse(bytes);
    EXPECT_EQ(s.magic, 0x12345678);
    EXPECT_EQ(s.format, 2);
    EXPECT_EQ(s.version, 2);
    ASSERT_EQ(s.count, 8);
    ASSERT_TRUE(s.complete);
    EXPECT_EQ(s.names, (std::vector<std::string>{"centerLvl", "surroundLvl", "globalLvl", "lPFilter",
                                                 "sideLvl", "topLvl", "bottomLvl", "activePartsMM"}));
    EXPECT_EQ(s.in, Plx::Layout::k5_1);
    EXPECT_EQ(s.out, Plx::Layout::kStereo);
    // Plain values: decibels of the level scale, -180 for silence; a bool; an integer.
    EXPECT_EQ(s.values.at(128).first, 1);
    EXPECT_NEAR(s.values.at(128).second, dB(levelLinear(0.6)), 1e-4);
    EXPECT_NEAR(s.values.at(129).second, dB(levelLinear(0.9)), 1e-4);
    EXPECT_NEAR(s.values.at(134).second, dB(levelLinear(0.5)), 1e-4);
    EXPECT_NEAR(s.values.at(135).second, dB(levelLinear(0.3)), 1e-4);
    EXPECT_EQ(s.values.at(138).second, -180.0); // no bottom row in 5.1: level 0
    EXPECT_EQ(s.values.at(133), std::make_pair(int16_t(4), 1.0));
    EXPECT_EQ(s.values.at(137), std::make_pair(int16_t(2), 2.0));

    // A fresh processor with the same buses takes it without a restart and
    // writes the same levels back.
    MixerRig b;
    ASSERT_EQ(b.arrange(Plx::Layout::k5_1, Plx::Layout::kStereo), Plx::kResultOk);
    b.peer->messages.clear();
    ASSERT_EQ(b.loadState(bytes), Plx::kResultOk);
    EXPECT_TRUE(b.peer->withId(Msg::kRestartComponent).empty());
    const ParsedState back = parse(b.saveState());
    ASSERT_TRUE(back.complete);
    for (auto [id, kv] : s.values) EXPECT_NEAR(back.values.at(id).second, kv.second, 1e-3) << id;

    // And it sounds the same.
    constexpr int n = 256;
    for (MixerRig* rig : {&a, &b}) {
        ASSERT_EQ(rig->setup(48000.0, n), Plx::kResultOk);
        rig->start();
    }
    Planar<float> in(6, n), outA(2, n), outB(2, n);
    for (int c = 0; c < 6; ++c)
        for (int t = 0; t < n; ++t) in.at(c, t) = std::sin(0.01f * (c + 1) * t);
    for (int block = 0; block < 3; ++block) {
        ASSERT_EQ(a.process(in, outA, n), Plx::kResultOk);
        ASSERT_EQ(b.process(in, outB, n), Plx::kResultOk);
    }
    for (int c = 0; c < 2; ++c)
        for (int t = 0; t < n; ++t) ASSERT_NEAR(outA.at(c, t), outB.at(c, t), 1e-5);
    EXPECT_GT(std::fabs(outA.at(0, 10)), 0.0f);
}

TEST(MixState, OtherArrangementsTakeTheRestartPath) {
    MixerRig source;
    ASSERT_EQ(source.arrange(Plx::Layout::k5_1, Plx::Layout::kStereo), Plx::kResultOk);
    const auto bytes = source.saveState();
    {
        // Inactive: the state's output is applied at once and the host is asked to restart.
        MixerRig rig;
        ASSERT_EQ(rig.arrange(Plx::Layout::k5_1, Plx::Layout::k5_1), Plx::kResultOk);
        rig.peer->messages.clear();
        ASSERT_EQ(rig.loadState(bytes), Plx::kResultOk);
        auto restart = rig.peer->withId(Msg::kRestartComponent);
        ASSERT_EQ(restart.size(), 1u);
        EXPECT_EQ(restart[0].ints["flags"], 2);
        // The controller passes it on to the host.
        ASSERT_TRUE(rig.controller);
        EXPECT_EQ(std::count(rig.handler->restarts.begin(), rig.handler->restarts.end(), 2), 1);
        EXPECT_EQ(rig.busArrangement(Plx::kOutput), Plx::Layout::kStereo);
        auto bus = rig.peer->withId(Msg::kBusArrangements);
        ASSERT_EQ(bus.size(), 1u);
        EXPECT_EQ(bus[0].ints["changeParams"], 0); // the controller keeps the loaded levels
        // The host restarts with what it reads back; the wish is fulfilled.
        EXPECT_EQ(rig.arrange(Plx::Layout::k5_1, rig.busArrangement(Plx::kOutput)), Plx::kResultOk);
        EXPECT_EQ(rig.arrange(Plx::Layout::k5_1, Plx::Layout::k5_1), Plx::kResultOk);
        EXPECT_EQ(rig.busArrangement(Plx::kOutput), Plx::Layout::k5_1);
    }
    {
        // A state before the first negotiation: the host's first output is
        // refused and the state's taken instead, until the host asks for it.
        MixerRig rig;
        ASSERT_EQ(rig.loadState(bytes), Plx::kResultOk);
        EXPECT_TRUE(rig.peer->withId(Msg::kRestartComponent).empty());
        EXPECT_EQ(rig.arrange(Plx::Layout::k5_1, Plx::Layout::k5_1), Plx::kResultFalse);
        EXPECT_EQ(rig.busArrangement(Plx::kInput), Plx::Layout::k5_1);
        EXPECT_EQ(rig.busArrangement(Plx::kOutput), Plx::Layout::kStereo);
        EXPECT_EQ(rig.arrange(Plx::Layout::k5_1, Plx::Layout::kStereo), Plx::kResultOk);
        EXPECT_EQ(rig.arrange(Plx::Layout::k5_1, Plx::Layout::k5_1), Plx::kResultOk);
        EXPECT_EQ(rig.busArrangement(Plx::kOutput), Plx::Layout::k5_1);
    }
    {
        // Active: the wish waits for setActive(false).
        MixerRig rig;
        ASSERT_EQ(rig.arrange(Plx::Layout::k5_1, Plx::Layout::k5_1), Plx::kResultOk);
        ASSERT_EQ(rig.setup(48000.0, 256), Plx::kResultOk);
        rig.start();
        ASSERT_EQ(rig.loadState(bytes), Plx::kResultOk);
        EXPECT_EQ(rig.peer->withId(Msg::kRestartComponent).size(), 1u);
        EXPECT_EQ(rig.busArrangement(Plx::kOutput), Plx::Layout::k5_1);
        rig.stop();
        EXPECT_EQ(rig.busArrangement(Plx::kOutput), Plx::Layout::kStereo);
    }
    {
        // In the host's panner slot the wish is given up.
        MixerRig rig;
        ASSERT_EQ(rig.arrange(Plx::Layout::k5_1, Plx::Layout::k5_1), Plx::kResultOk);
        rig.start();
        auto graph =
            IPtr<Plx::IGraphLocation>::adopt(Plx::queryInterfaceOf<Plx::IGraphLocation>(rig.component.get()));
        graph->setGraphLocation(0, 4);
        ASSERT_EQ(rig.loadState(bytes), Plx::kResultOk);
        EXPECT_TRUE(rig.peer->withId(Msg::kRestartComponent).empty());
        rig.stop();
        EXPECT_EQ(rig.busArrangement(Plx::kOutput), Plx::Layout::k5_1);
    }
    {
        // The editor asks for another output: at once while inactive.
        MixerRig rig;
        ASSERT_EQ(rig.arrange(Plx::Layout::k5_1, Plx::Layout::k5_1), Plx::kResultOk);
        const uint64_t want = Plx::Layout::kLRC;
        EXPECT_EQ(rig.sendBinary(Msg::kRequestedOutputArrangement, Msg::kBinary, &want, 8), Plx::kResultOk);
        EXPECT_EQ(rig.busArrangement(Plx::kOutput), Plx::Layout::kLRC);
        // A short attribute counts as 0 and changes nothing.
        EXPECT_EQ(rig.sendBinary(Msg::kRequestedOutputArrangement, Msg::kBinary, &want, 4), Plx::kResultOk);
        EXPECT_EQ(rig.busArrangement(Plx::kOutput), Plx::Layout::kLRC);
    }
}

std::vector<uint8_t> withInt32(std::vector<uint8_t> bytes, size_t at, int32_t value) {
    std::memcpy(bytes.data() + at, &value, 4);
    return bytes;
}

TEST(MixState, MalformedStreams) {
    MixerRig source;
    ASSERT_EQ(source.arrange(Plx::Layout::k5_1, Plx::Layout::kStereo), Plx::kResultOk);
    setLevels(source, {{kCenterLvl, 0.6}, {kSurroundLvl, 0.9}, {kGlobalLvl, 0.5}});
    const auto good = source.saveState();

    MixerRig rig;
    ASSERT_EQ(rig.arrange(Plx::Layout::k5_1, Plx::Layout::kStereo), Plx::kResultOk);
    const auto before = rig.saveState();
    EXPECT_EQ(rig.component->setState(nullptr), Plx::kResultFalse);
    EXPECT_EQ(rig.loadState({}), Plx::kResultFalse);
    EXPECT_EQ(rig.loadState(withInt32(good, 0, 0x12345679)), Plx::kResultFalse); // magic
    EXPECT_EQ(rig.loadState(withInt32(good, 8, 1)), Plx::kResultFalse);          // plug-in version 1
    EXPECT_EQ(rig.saveState(), before);

    // Format 1 has no plug-in version and no arrangements.
    std::vector<uint8_t> format1(good.begin(), good.end() - 16);
    format1 = withInt32(format1, 4, 1);
    format1.erase(format1.begin() + 8, format1.begin() + 12);
    rig.peer->messages.clear();
    EXPECT_EQ(rig.loadState(format1), Plx::kResultOk);
    EXPECT_NEAR(parse(rig.saveState()).values.at(128).second, dB(levelLinear(0.6)), 1e-4);
    EXPECT_TRUE(rig.peer->withId(Msg::kRestartComponent).empty());
    EXPECT_EQ(rig.busArrangement(Plx::kOutput), Plx::Layout::kStereo);

    // Truncated inside the second record: the first one is taken, the rest not.
    MixerRig cut;
    ASSERT_EQ(cut.arrange(Plx::Layout::k5_1, Plx::Layout::kStereo), Plx::kResultOk);
    const size_t firstRecord = 16 + 2 + 4 + 10 + 4 + 8;
    std::vector<uint8_t> truncated(good.begin(), good.begin() + firstRecord + 9);
    EXPECT_EQ(cut.loadState(truncated), Plx::kResultOk);
    const ParsedState cutState = parse(cut.saveState());
    EXPECT_NEAR(cutState.values.at(128).second, dB(levelLinear(0.6)), 1e-4);
    EXPECT_NEAR(cutState.values.at(129).second, parse(before).values.at(129).second, 1e-9);
    // Truncated arrangements are ignored: no restart.
    cut.peer->messages.clear();
    EXPECT_EQ(cut.loadState(std::vector<uint8_t>(good.begin(), good.end() - 4)), Plx::kResultOk);
    EXPECT_TRUE(cut.peer->withId(Msg::kRestartComponent).empty());
    // An absurd name length ends the read where it stands.
    EXPECT_EQ(cut.loadState(withInt32(good, 18, 0x7FFFFFFF)), Plx::kResultOk);
    EXPECT_EQ(cut.loadState(withInt32(good, 18, -5)), Plx::kResultOk);
}

TEST(MixState, RandomAndMutatedStreams) {
    MixerRig source;
    ASSERT_EQ(source.arrange(Plx::Layout::k5_1, Plx::Layout::kStereo), Plx::kResultOk);
    const auto good = source.saveState();
    MixerRig rig;
    ASSERT_EQ(rig.arrange(Plx::Layout::k5_1, Plx::Layout::kStereo), Plx::kResultOk);
    std::mt19937 random(2024);
    auto byte = [&] { return static_cast<uint8_t>(random()); };
    int answered = 0;
    for (int k = 0; k < 10000; ++k) {
        std::vector<uint8_t> bytes;
        switch (k % 4) {
        case 0: // random bytes, sometimes with the right magic
            bytes.resize(random() % 200);
            for (auto& b : bytes) b = byte();
            if (bytes.size() >= 8 && k % 8 == 0) bytes = withInt32(withInt32(bytes, 0, 0x12345678), 4, 2);
            break;
        case 1: // a good stream with bytes changed
            bytes = good;
            for (int m = 1 + random() % 4; m > 0; --m) bytes[random() % bytes.size()] = byte();
            break;
        case 2: // cut short
            bytes.assign(good.begin(), good.begin() + random() % good.size());
            break;
        default: // a record's fields overwritten with extreme numbers
            bytes = good;
            bytes = withInt32(bytes, 16 + random() % (bytes.size() - 20), static_cast<int32_t>(random()));
            break;
        }
        rig.peer->messages.clear();
        const Plx::tresult r = rig.loadState(bytes);
        ASSERT_TRUE(r == Plx::kResultOk || r == Plx::kResultFalse) << k;
        answered += r == Plx::kResultOk;
    }
    EXPECT_GT(answered, 1000);
    // Whatever the streams did to the buses and levels, the processor still runs.
    const int ins = rig.inputs(), outs = rig.outputs();
    ASSERT_EQ(rig.setup(48000.0, 256), Plx::kResultOk);
    rig.start();
    Planar<float> in(ins, 256), out(outs, 256);
    EXPECT_EQ(rig.process(in, out, 256), Plx::kResultOk);
    EXPECT_TRUE(out.guardsIntact());
}

} // namespace
} // namespace MixTest

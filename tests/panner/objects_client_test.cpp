// ObjectsClient against the host's recording bus: the channel-to-object list,
// the coordinate mapping, what is sent and when nothing is.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include "host/lib/object_bus.h"
#include "panner/objects_client.h"

namespace {

using Tannhofen::Host::ObjectCall;
using Tannhofen::Host::RecordingObjectsBus;
using Tannhofen::Panner::IAssignListener;
using Tannhofen::Panner::ObjectsClient;
using Point = std::array<float, 3>;

struct CountingListener final : IAssignListener {
    void onAssign() override { ++calls; }
    int calls = 0;
};

struct ClientFixture {
    ClientFixture() { client->setListener(&listener); }
    ~ClientFixture() { client->release(); }
    ObjectsClient* client = new ObjectsClient;
    CountingListener listener;
};

TEST(ObjectsClient, LfeEntryDroppedAndIndicesStayDense) {
    ClientFixture f;
    // 5.1 in grid order: L, C, R, Ls, Rs, then the LFE, which is bus channel 3.
    const std::vector<int32_t> map{0, 2, 1, 4, 5, 3};
    f.client->setChannelMap(map);
    RecordingObjectsBus bus(u"Objects", 5);
    EXPECT_TRUE(f.client->connected(&bus));
    EXPECT_EQ(f.listener.calls, 1);
    ASSERT_EQ(f.client->objectIndexCount(), 5);
    const std::vector<int32_t> expected{0, 2, 1, 3, 4};
    for (int32_t i = 0; i < 5; ++i) EXPECT_EQ(f.client->objectIndex(i), expected[i]) << i;

    // The same list given while the bus is there is trimmed the same way.
    f.client->setChannelMap(map);
    for (int32_t i = 0; i < 5; ++i) EXPECT_EQ(f.client->objectIndex(i), expected[i]) << i;

    // Each channel's position reaches the object of its entry.
    f.client->setActive(true);
    const Point positions[5] = {{-0.5f, -0.5f, 0.0f},
                                {0.0f, -0.5f, 0.0f},
                                {0.5f, -0.5f, 0.0f},
                                {-0.5f, 0.5f, 0.0f},
                                {0.5f, 0.5f, 0.0f}};
    EXPECT_TRUE(f.client->setPositions(positions, 5));
    EXPECT_EQ(bus.count(ObjectCall::kPosition), 5u);
    EXPECT_FLOAT_EQ(bus.state(2).x, 0.0f);  // C drives object 2
    EXPECT_FLOAT_EQ(bus.state(1).x, 1.0f);  // R drives object 1
    EXPECT_FLOAT_EQ(bus.state(4).y, -1.0f); // Rs, at the rear
}

TEST(ObjectsClient, CentredCoordinatesMapToObjectSpace) {
    ClientFixture f;
    f.client->setChannelMap(std::vector<int32_t>{0, 1});
    RecordingObjectsBus bus(u"Objects", 2);
    f.client->connected(&bus);
    f.client->setActive(true);
    const Point positions[2] = {{-0.5f, -0.5f, -0.5f}, {0.5f, 0.5f, 0.5f}};
    ASSERT_TRUE(f.client->setPositions(positions, 2));
    const auto& front = bus.state(0);
    EXPECT_EQ(front.x, -1.0f); // left
    EXPECT_EQ(front.y, 1.0f);  // front
    EXPECT_EQ(front.z, 0.0f);  // bottom
    const auto& rear = bus.state(1);
    EXPECT_EQ(rear.x, 1.0f);
    EXPECT_EQ(rear.y, -1.0f);
    EXPECT_EQ(rear.z, 1.0f);

    // Only `count` channels move.
    bus.clearCalls();
    f.client->setPositions(positions, 1);
    EXPECT_EQ(bus.count(ObjectCall::kPosition, 0), 1u);
    EXPECT_EQ(bus.count(ObjectCall::kPosition, 1), 0u);
}

TEST(ObjectsClient, SendsNothingWithoutBusOutsideObjectModeOrToALargerBus) {
    ClientFixture f;
    const Point p[2] = {};
    f.client->setChannelMap(std::vector<int32_t>{0, 1});
    EXPECT_FALSE(f.client->setPositions(p, 2)); // no bus
    EXPECT_FALSE(f.client->setEnabled(true));

    RecordingObjectsBus bus(u"Objects", 2);
    f.client->connected(&bus);
    // Object mode off: settings and positions stay home, but enabling is sent.
    EXPECT_FALSE(f.client->setPositions(p, 2));
    EXPECT_FALSE(f.client->setSize(0.5f));
    EXPECT_FALSE(f.client->setTouched(true));
    EXPECT_TRUE(bus.calls().empty());
    EXPECT_TRUE(f.client->setEnabled(true));
    EXPECT_EQ(bus.count(ObjectCall::kEnabled), 2u);
    EXPECT_EQ(bus.calls()[0].x, -1.0f);

    // A bus with more objects than the list has entries is not usable.
    ClientFixture g;
    g.client->setChannelMap(std::vector<int32_t>{0});
    RecordingObjectsBus big(u"Big", 3);
    g.client->connected(&big);
    g.client->setActive(true);
    EXPECT_FALSE(g.client->setPositions(p, 1));
    EXPECT_FALSE(g.client->setEnabled(true));
    EXPECT_TRUE(big.calls().empty());
}

TEST(ObjectsClient, SettingsReachEveryObjectWithTheirWireValues) {
    ClientFixture f;
    f.client->setChannelMap(std::vector<int32_t>{1, 0, 2});
    RecordingObjectsBus bus(u"Objects", 3);
    f.client->connected(&bus);
    f.client->setActive(true);

    EXPECT_TRUE(f.client->setZoneMode(0.6)); // 0.6 * 5 + 0.5 = 3.5 -> 3
    EXPECT_EQ(bus.state(2).zones, 3);
    f.client->setZoneMode(1.0);
    EXPECT_EQ(bus.state(0).zones, 5);
    f.client->setZoneMode(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(bus.state(1).zones, 0);

    const int32_t wire[][2] = {{1, 2}, {2, 4}, {3, 3}, {0, 1}, {4, 1}, {-1, 1}};
    for (const auto& w : wire) {
        f.client->setRenderMode(w[0]);
        EXPECT_EQ(bus.state(0).renderMode, w[1]) << w[0];
    }
    f.client->setSize(0.25f);
    f.client->setSnap(true);
    f.client->setElevationOn(true);
    EXPECT_TRUE(f.client->setTouched(true));
    for (int32_t o = 0; o < 3; ++o) {
        EXPECT_EQ(bus.state(o).size, 0.25f);
        EXPECT_TRUE(bus.state(o).snap);
        EXPECT_TRUE(bus.state(o).elevationOn);
        EXPECT_TRUE(bus.state(o).touched);
    }
    const ObjectCall& touch = bus.calls().back();
    EXPECT_EQ(touch.kind, ObjectCall::kTouched);
    EXPECT_EQ(touch.value, 2); // the position kind of touch

    // A holder without controls is passed over; a missing one ends the loop.
    bus.clearCalls();
    bus.withholdControl(0);
    EXPECT_TRUE(f.client->setSnap(false));
    EXPECT_EQ(bus.count(ObjectCall::kSnap), 2u);
    f.client->setChannelMap(std::vector<int32_t>{0, 7, 2});
    bus.clearCalls();
    EXPECT_FALSE(f.client->setSnap(true));
    EXPECT_EQ(bus.count(ObjectCall::kSnap), 0u); // object 0 withheld, then 7 is missing
}

TEST(ObjectsClient, DisconnectOnlyFromItsOwnBusAndBusGone) {
    ClientFixture f;
    f.client->setChannelMap(std::vector<int32_t>{0, 1});
    RecordingObjectsBus bus(u"Objects", 2);
    RecordingObjectsBus other(u"Other", 2);
    f.client->connected(&bus);
    f.client->setActive(true);

    EXPECT_FALSE(f.client->disconnected(&other));
    EXPECT_FALSE(f.client->disconnected(nullptr));
    EXPECT_TRUE(f.client->hasBus());
    EXPECT_TRUE(bus.calls().empty());

    EXPECT_TRUE(f.client->disconnected(&bus));
    EXPECT_FALSE(f.client->hasBus());
    ASSERT_EQ(bus.count(ObjectCall::kEnabled), 2u);
    EXPECT_FALSE(bus.state(0).enabled);
    EXPECT_FALSE(bus.state(1).enabled);
    const Point p[2] = {};
    EXPECT_FALSE(f.client->setPositions(p, 2));

    f.client->connected(&other);
    EXPECT_EQ(f.listener.calls, 2);
    EXPECT_TRUE(f.client->busGone());
    EXPECT_FALSE(f.client->setPositions(p, 2));
    EXPECT_TRUE(other.calls().empty());

    // The client answers its own interface and nothing else.
    void* obj = nullptr;
    EXPECT_EQ(f.client->queryInterface(Tannhofen::ThreeD::IObjectsBusClient::iid, &obj),
              Tannhofen::Plx::kResultOk);
    EXPECT_EQ(obj, static_cast<Tannhofen::ThreeD::IObjectsBusClient*>(f.client));
    f.client->release();
    EXPECT_EQ(f.client->queryInterface(Tannhofen::Plx::FUnknown::iid, &obj), Tannhofen::Plx::kNoInterface);
    EXPECT_EQ(obj, nullptr);
}

} // namespace

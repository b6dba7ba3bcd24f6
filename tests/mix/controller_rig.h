// A mix controller as a host sets one up: initialized with the host
// application, given the host's component handler, and connected to a
// recording peer in place of its processor. It holds the module's controller
// (reached through the exports, as a host has it) as well as the controller
// class itself (for what only the editor sees).
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>
#include <utility>

#include "frame/iconnectionpoint.h"
#include "host/lib/component_handler.h"
#include "host/lib/host_application.h"
#include "tests/mix/recording_peer.h"

namespace MixTest {

template <class Controller>
struct ControllerRig {
    explicit ControllerRig(Plx::IPtr<Controller> made) : controller(std::move(made)) {
        if (!controller) {
            ADD_FAILURE() << "no controller";
            return;
        }
        EXPECT_EQ(controller->initialize(host->unknown()), Plx::kResultOk);
        EXPECT_EQ(controller->setComponentHandler(handler.get()), Plx::kResultOk);
        if constexpr (std::is_base_of_v<Plx::IConnectionPoint, Controller>)
            point = Plx::IPtr<Plx::IConnectionPoint>(controller.get());
        else
            point = Plx::IPtr<Plx::IConnectionPoint>::adopt(
                Plx::queryInterfaceOf<Plx::IConnectionPoint>(controller.get()));
        EXPECT_TRUE(point);
        if (point) {
            EXPECT_EQ(point->connect(peer->point()), Plx::kResultOk);
        }
        handler->clear();
    }
    ~ControllerRig() {
        if (point) point->disconnect(peer->point());
        if (controller) {
            controller->setComponentHandler(nullptr);
            controller->terminate();
        }
    }
    ControllerRig(const ControllerRig&) = delete;
    ControllerRig& operator=(const ControllerRig&) = delete;

    Plx::IPtr<Host::HostApplication> host =
        Plx::IPtr<Host::HostApplication>::adopt(Host::HostApplication::create());
    Plx::IPtr<Host::ComponentHandler> handler =
        Plx::IPtr<Host::ComponentHandler>::adopt(Host::ComponentHandler::create());
    std::unique_ptr<RecordingPeer> peer = std::make_unique<RecordingPeer>();
    Plx::IPtr<Controller> controller;
    Plx::IPtr<Plx::IConnectionPoint> point;
};

} // namespace MixTest

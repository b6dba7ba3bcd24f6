// The host's object bus, as the panner sees it: a set of audio objects that
// the host renders itself. In object mode the panner steers one object per
// input channel instead of mixing to speakers.
//
// These are closed host interfaces: the host implements the bus, its objects
// and the bus manager; the panner implements IObjectsBusClient (through
// ObjectsClient) and, in its controller, IObjectsBusManagerListener. The
// operations stand in slot order.
//
// Threads: the object control operations are called from the audio thread
// (positions, touch, and the settings that parameters change) as well as from
// the host's thread; the host's objects must accept both, without waiting.
#pragma once

#include <cstdint>

#include "frame/funknown.h"
#include "frame/ieditcontroller.h"

namespace Tannhofen::ThreeD {

// The kind of touch that setTouched reports: the user holds the position.
inline constexpr int32_t kTouchPosition = 2;
// The second value of setEnabled.
inline constexpr double kEnableValue = -1.0;

// One object's controls.
class IObjectControl {
public:
    virtual Plx::tresult setTouched(int32_t kind, bool touched) = 0;
    // The object is driven by a channel of this instance.
    virtual Plx::tresult setEnabled(bool enabled, double value) = 0;
    virtual Plx::tresult setElevationOn(bool on) = 0;
    virtual Plx::tresult setRenderMode(int32_t mode) = 0;
    // x -1 left to 1 right, y 1 front to -1 rear, z 0 bottom to 1 top.
    virtual Plx::tresult setPosition(float x, float y, float z) = 0;
    // 0 to 1.
    virtual Plx::tresult setSize(float size) = 0;
    virtual Plx::tresult setSnap(bool on) = 0;
    // 0 to 5, the zone mode.
    virtual Plx::tresult setZones(int32_t zones) = 0;

protected:
    ~IObjectControl() = default;
};

// What the bus hands out for an object: its control interface, or null when
// the object takes no control.
class IObjectHolder {
public:
    virtual IObjectControl* getControl() = 0;

protected:
    ~IObjectHolder() = default;
};

// The bus: its objects by index, owned by the host and valid while the bus
// stays connected.
class IObjectsBus {
public:
    // Null for an index the bus doesn't have.
    virtual IObjectHolder* getObject(int32_t index) = 0;
    virtual int32_t getObjectCount() = 0;

protected:
    ~IObjectsBus() = default;
};

// The client side of a bus, implemented by the panner's processor and handed
// to the host through the processor's queryInterface. Its own reference-
// counted family: reference counting, then destroy, then a first query that
// answers 0, then the host's three calls.
class IObjectsBusClient {
public:
    virtual Plx::tresult queryInterface(const Plx::TUID& iid, void** obj) = 0;
    virtual uint32_t addRef() = 0;
    virtual uint32_t release() = 0;
    // Drops the client's link to the host at once, whatever its count.
    virtual void destroy() = 0;
    virtual int32_t getVersion() = 0;
    // The host joined this client to `bus`; true when taken.
    virtual bool connected(IObjectsBus* bus) = 0;
    // The host takes `bus` away again; false when it isn't the client's bus.
    virtual bool disconnected(IObjectsBus* bus) = 0;
    // The bus has ceased to exist; nothing may be sent to it any more.
    virtual bool busGone() = 0;
    PLX_INTERFACE_ID(0x7A1C2E40, 0x3B9D4F61, 0x8C2E5A73, 0x19F4D6B2);

protected:
    ~IObjectsBusClient() = default;
};

// A bus as the bus manager lists it for the editor.
struct ObjectsBusInfo {
    char16_t name[128];
    int32_t objectCount;
    int32_t connectedObjects; // objects the host renders at present
    Plx::TBool taken;         // another instance drives it
};

// Told by the bus manager about changes on the host's side.
class IObjectsBusManagerListener : public Plx::FUnknown {
public:
    // Buses came, went, or changed hands; `connectedBus` is the bus of the
    // listening instance, or -1.
    virtual void busesChanged(int32_t connectedBus) = 0;
    // The host's object renderer reports its connection.
    virtual void rendererConnected(bool connected) = 0;
    PLX_INTERFACE_ID(0x4E2B7C19, 0x6A3D4E8F, 0x9B1C2D3E, 0x5F6A7B8C);

protected:
    ~IObjectsBusManagerListener() = default;
};

// The host's access to its object buses for an edit controller: which buses
// exist, and which one a plug-in instance joins. The controller finds it
// through its host context. An instance is named by its controller; the host
// knows the processor that belongs to it and joins that processor's client.
class IObjectsBusManager : public Plx::FUnknown {
public:
    virtual int32_t getBusCount() = 0;
    virtual Plx::tresult getBusInfo(int32_t index, ObjectsBusInfo* info) = 0;
    // An instance enters or leaves object mode; the listener holds no
    // reference and is dropped by unregisterInstance.
    virtual Plx::tresult registerInstance(Plx::IPlxEditController* controller,
                                          IObjectsBusManagerListener* listener) = 0;
    virtual Plx::tresult unregisterInstance(Plx::IPlxEditController* controller) = 0;
    // Joins the instance to bus `index`, or to none with -1. False when the
    // bus doesn't exist or the instance is unknown.
    virtual Plx::tresult connectBus(Plx::IPlxEditController* controller, int32_t index) = 0;
    // The bus of the instance, or -1.
    virtual int32_t getConnectedBus(Plx::IPlxEditController* controller) = 0;
    virtual Plx::TBool isRendererConnected() = 0;
    PLX_INTERFACE_ID(0x2C8D1F5A, 0x7E3B4A96, 0xA1D2C3B4, 0x0E9F8A7D);

protected:
    ~IObjectsBusManager() = default;
};

} // namespace Tannhofen::ThreeD

// Buses of a component: an audio bus carries a speaker arrangement, an event
// bus a channel count. A BusList keeps the buses of one media type and one
// direction, in order, with a reference to each.
#pragma once

#include <string>
#include <vector>

#include "frame/fobject.h"
#include "frame/icomponent.h"
#include "frame/speaker_arrangement.h"

namespace Tannhofen::Plx {

class Bus : public FObject {
public:
    PLX_OBJ_METHODS(Bus, FObject, "Plx::Bus")
    Bus(const char16* name, int32 busType, int32 flags);

    // Fills name, busType and flags; the list fills mediaType and direction.
    virtual bool getInfo(BusInfo& info);

    const std::u16string& getName() const { return name; }
    void setName(const char16* newName) { name = newName ? newName : u""; }
    int32 getBusType() const { return busType; }
    int32 getFlags() const { return flags; }
    bool isActive() const { return active; }
    void setActive(bool state) { active = state; }

protected:
    std::u16string name;
    int32 busType;
    int32 flags;
    bool active = false;
};

class AudioBus : public Bus {
public:
    PLX_OBJ_METHODS(AudioBus, Bus, "Plx::AudioBus")
    AudioBus(const char16* name, int32 busType, int32 flags, SpeakerArrangement arr);

    bool getInfo(BusInfo& info) override;
    SpeakerArrangement getArrangement() const { return speakerArr; }
    void setArrangement(SpeakerArrangement arr) { speakerArr = arr; }

protected:
    SpeakerArrangement speakerArr;
};

class EventBus : public Bus {
public:
    PLX_OBJ_METHODS(EventBus, Bus, "Plx::EventBus")
    EventBus(const char16* name, int32 busType, int32 flags, int32 channelCount);

    bool getInfo(BusInfo& info) override;

protected:
    int32 channelCount;
};

class BusList : public FObject {
public:
    PLX_OBJ_METHODS(BusList, FObject, "Plx::BusList")
    BusList(MediaType type, BusDirection direction) : type(type), direction(direction) {}

    MediaType getType() const { return type; }
    BusDirection getDirection() const { return direction; }
    int32 size() const { return static_cast<int32>(buses.size()); }
    // Null for an index out of range.
    Bus* at(int32 index) const;
    // Takes over the caller's reference.
    void append(Bus* bus) { buses.push_back(IPtr<Bus>::adopt(bus)); }
    void clear() { buses.clear(); }

private:
    MediaType type;
    BusDirection direction;
    std::vector<IPtr<Bus>> buses;
};

} // namespace Tannhofen::Plx

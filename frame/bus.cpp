#include "frame/bus.h"

#include "frame/text.h"

namespace Tannhofen::Plx {

Bus::Bus(const char16* name, int32 busType, int32 flags)
    : name(name ? name : u""), busType(busType), flags(flags) {}

bool Bus::getInfo(BusInfo& info) {
    copyBounded16(info.name, std::size(info.name), name.c_str());
    info.busType = busType;
    info.flags = static_cast<uint32>(flags);
    return true;
}

AudioBus::AudioBus(const char16* name, int32 busType, int32 flags, SpeakerArrangement arr)
    : Bus(name, busType, flags), speakerArr(arr) {}

bool AudioBus::getInfo(BusInfo& info) {
    info.channelCount = channelCount(speakerArr);
    return Bus::getInfo(info);
}

EventBus::EventBus(const char16* name, int32 busType, int32 flags, int32 channelCount)
    : Bus(name, busType, flags), channelCount(channelCount) {}

bool EventBus::getInfo(BusInfo& info) {
    info.channelCount = channelCount;
    return Bus::getInfo(info);
}

Bus* BusList::at(int32 index) const {
    return index >= 0 && index < size() ? buses[static_cast<size_t>(index)].get() : nullptr;
}

} // namespace Tannhofen::Plx

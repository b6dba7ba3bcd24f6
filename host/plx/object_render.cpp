#include "host/plx/object_render.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "host/plx/cli.h"
#include "host/plx/layout.h"

namespace Tannhofen::Host::Cli {

bool ObjectRender::wanted(ModuleSession& session, const Effect& effect) {
    return session.objectBuses().isRegistered(effect.controller());
}

std::vector<std::string> ObjectRender::fileNames(const std::string& prefix, int objects) {
    std::vector<std::string> names;
    for (int k = 1; k <= objects; ++k) names.push_back(prefix + "-object-" + std::to_string(k) + ".wav");
    names.push_back(prefix + "-objects.csv");
    return names;
}

ObjectRender::ObjectRender(ModuleSession& session, Effect& effect, const std::string& prefix, int sampleRate,
                           bool doublePrecision)
    : bus(session.objectBuses().addBus(u"plx objects", channelsOf(effect.inputArrangement()))),
      rate(sampleRate),
      maxBlock(std::max(1, static_cast<int32_t>(std::floor(sampleRate * kObjectBlockSeconds)))) {
    ObjectsBusManager& buses = session.objectBuses();
    const std::vector<std::string> names = fileNames(prefix, bus.getObjectCount());
    for (size_t k = 0; k + 1 < names.size(); ++k) {
        audioFiles.push_back(std::make_unique<OutputFile>(names[k]));
        writers.push_back(
            std::make_unique<WavWriter>(*audioFiles.back(), Plx::Layout::kMono, sampleRate, doublePrecision));
    }
    csv = std::make_unique<OutputFile>(names.back());
    rows = "time,object,x,y,z\n";
    if (buses.connectBus(effect.controller(), buses.getBusCount() - 1) != Plx::kResultOk)
        throw UserError(effect.name() + " asked for an object bus but could not be joined to one");
}

ObjectRender::~ObjectRender() = default;

template <class T>
void ObjectRender::record(int64_t start, int64_t length, const T* in, int channels) {
    std::vector<T> mono(static_cast<size_t>(std::max<int64_t>(length, 0)));
    const double time = static_cast<double>(start) / rate;
    for (int k = 0; k < bus.getObjectCount(); ++k) {
        const ObjectState& object = bus.state(k);
        for (int64_t i = 0; i < length; ++i)
            mono[static_cast<size_t>(i)] =
                object.enabled && k < channels ? in[static_cast<size_t>(i * channels + k)] : T(0);
        writers[static_cast<size_t>(k)]->write(mono.data(), length);
        if (!object.enabled || object.positionCount == 0) continue;
        char row[128];
        std::snprintf(row, sizeof row, "%.6f,%d,%.6f,%.6f,%.6f\n", time, k + 1, static_cast<double>(object.x),
                      static_cast<double>(object.y), static_cast<double>(object.z));
        rows += row;
    }
    // The log serves only the objects' last states here: keep it from filling.
    bus.clearCalls();
    if (rows.size() > (1u << 16)) {
        csv->write(rows.data(), rows.size());
        rows.clear();
    }
}

template void ObjectRender::record<float>(int64_t, int64_t, const float*, int);
template void ObjectRender::record<double>(int64_t, int64_t, const double*, int);

void ObjectRender::commit() {
    csv->write(rows.data(), rows.size());
    rows.clear();
    for (auto& writer : writers) writer->commit();
    csv->commit();
}

} // namespace Tannhofen::Host::Cli

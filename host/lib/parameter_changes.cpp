#include "host/lib/parameter_changes.h"

#include <algorithm>

namespace Tannhofen::Host {

using namespace Plx;

tresult ParameterValueQueue::queryInterface(const TUID& iid, void** obj) {
    if (!obj) return kInvalidArgument;
    PLX_HOST_ANSWER(iid, obj, IParamValueQueue)
    PLX_HOST_ANSWER(iid, obj, FUnknown)
    *obj = nullptr;
    return kNoInterface;
}

tresult ParameterValueQueue::getPoint(int32_t index, int32_t* sampleOffset, ParamValue* value) {
    if (index < 0 || index >= getPointCount() || !sampleOffset || !value) return kInvalidArgument;
    *sampleOffset = points[static_cast<size_t>(index)].first;
    *value = points[static_cast<size_t>(index)].second;
    return kResultOk;
}

tresult ParameterValueQueue::addPoint(int32_t sampleOffset, ParamValue value, int32_t* index) {
    if (sampleOffset < 0) return kInvalidArgument;
    auto it = std::lower_bound(points.begin(), points.end(), sampleOffset,
                               [](const auto& point, int32_t offset) { return point.first < offset; });
    if (it != points.end() && it->first == sampleOffset)
        it->second = value;
    else
        it = points.insert(it, {sampleOffset, value});
    if (index) *index = static_cast<int32_t>(it - points.begin());
    return kResultOk;
}

ParameterChanges::~ParameterChanges() {
    for (ParameterValueQueue* queue : queues) queue->release();
}

tresult ParameterChanges::queryInterface(const TUID& iid, void** obj) {
    if (!obj) return kInvalidArgument;
    PLX_HOST_ANSWER(iid, obj, IPlxParameterChanges)
    PLX_HOST_ANSWER(iid, obj, FUnknown)
    *obj = nullptr;
    return kNoInterface;
}

IParamValueQueue* ParameterChanges::getParameterData(int32_t index) {
    return index >= 0 && index < used ? queues[static_cast<size_t>(index)] : nullptr;
}

ParameterValueQueue* ParameterChanges::find(ParamID id) {
    for (int32_t i = 0; i < used; ++i)
        if (queues[static_cast<size_t>(i)]->getParameterId() == id) return queues[static_cast<size_t>(i)];
    return nullptr;
}

IParamValueQueue* ParameterChanges::addParameterData(ParamID id, int32_t* index) {
    for (int32_t i = 0; i < used; ++i) {
        if (queues[static_cast<size_t>(i)]->getParameterId() == id) {
            if (index) *index = i;
            return queues[static_cast<size_t>(i)];
        }
    }
    if (used == static_cast<int32_t>(queues.size())) queues.push_back(ParameterValueQueue::create(id));
    ParameterValueQueue* queue = queues[static_cast<size_t>(used)];
    queue->reset(id);
    if (index) *index = used;
    ++used;
    return queue;
}

bool ParameterChanges::addChange(ParamID id, int32_t sampleOffset, ParamValue value) {
    return addParameterData(id, nullptr)->addPoint(sampleOffset, value, nullptr) == kResultOk;
}

bool ParameterChanges::lastValue(ParamID id, ParamValue* value) {
    ParameterValueQueue* queue = find(id);
    int32_t offset = 0;
    return queue && value && queue->getPointCount() > 0 &&
           queue->getPoint(queue->getPointCount() - 1, &offset, value) == kResultOk;
}

} // namespace Tannhofen::Host

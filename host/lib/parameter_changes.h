// ParameterChanges: the host's parameter changes of one block
// (IPlxParameterChanges), one ParameterValueQueue of points per parameter.
// clear() empties them for the next block and keeps their memory, so that a
// host loop reuses one object without allocating once it has grown.
#pragma once

#include <utility>
#include <vector>

#include "frame/iparameterchanges.h"
#include "host/lib/ref_counted.h"

namespace Tannhofen::Host {

class ParameterValueQueue final : public RefCounted, public Plx::IParamValueQueue {
public:
    static ParameterValueQueue* create(Plx::ParamID id) { return new ParameterValueQueue(id); }

    Plx::tresult queryInterface(const Plx::TUID& iid, void** obj) override;
    PLX_HOST_REFCOUNT

    Plx::ParamID getParameterId() override { return id; }
    int32_t getPointCount() override { return static_cast<int32_t>(points.size()); }
    Plx::tresult getPoint(int32_t index, int32_t* sampleOffset, Plx::ParamValue* value) override;
    // Keeps points sorted by offset; a point at an existing offset replaces it.
    Plx::tresult addPoint(int32_t sampleOffset, Plx::ParamValue value, int32_t* index) override;

    void reset(Plx::ParamID newId) {
        id = newId;
        points.clear();
    }

private:
    explicit ParameterValueQueue(Plx::ParamID id) : id(id) {}
    Plx::ParamID id;
    std::vector<std::pair<int32_t, Plx::ParamValue>> points;
};

class ParameterChanges final : public RefCounted, public Plx::IPlxParameterChanges {
public:
    static ParameterChanges* create() { return new ParameterChanges; }

    Plx::tresult queryInterface(const Plx::TUID& iid, void** obj) override;
    PLX_HOST_REFCOUNT

    int32_t getParameterCount() override { return used; }
    Plx::IParamValueQueue* getParameterData(int32_t index) override;
    Plx::IParamValueQueue* addParameterData(Plx::ParamID id, int32_t* index) override;

    // Shorthand for addParameterData(id)->addPoint(offset, value).
    bool addChange(Plx::ParamID id, int32_t sampleOffset, Plx::ParamValue value);
    // The queue of `id`, or null.
    ParameterValueQueue* find(Plx::ParamID id);
    // The last value of `id` in this block; false when it has none.
    bool lastValue(Plx::ParamID id, Plx::ParamValue* value);
    void clear() { used = 0; }

private:
    ParameterChanges() = default;
    ~ParameterChanges() override;
    std::vector<ParameterValueQueue*> queues; // each holds a reference; the first `used` are in use
    int32_t used = 0;
};

} // namespace Tannhofen::Host

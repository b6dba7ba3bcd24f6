// ComponentHandler: the host's side of a controller (IComponentHandler and
// IComponentHandler2). It records every edit and restart request in order,
// for tests and for the command-line host to inspect.
#pragma once

#include <vector>

#include "frame/icomponenthandler.h"
#include "host/lib/ref_counted.h"

namespace Tannhofen::Host {

class ComponentHandler final : public RefCounted,
                               public Plx::IComponentHandler,
                               public Plx::IComponentHandler2 {
public:
    enum class EditKind { Begin, Perform, End };
    struct Edit {
        EditKind kind;
        Plx::ParamID id;
        Plx::ParamValue value; // for Perform
    };

    static ComponentHandler* create() { return new ComponentHandler; }

    Plx::tresult queryInterface(const Plx::TUID& iid, void** obj) override;
    PLX_HOST_REFCOUNT

    Plx::tresult beginEdit(Plx::ParamID id) override;
    Plx::tresult performEdit(Plx::ParamID id, Plx::ParamValue valueNormalized) override;
    Plx::tresult endEdit(Plx::ParamID id) override;
    Plx::tresult restartComponent(int32_t flags) override;

    Plx::tresult setDirty(Plx::TBool state) override;
    Plx::tresult requestOpenEditor(const char* name) override;
    Plx::tresult startGroupEdit() override;
    Plx::tresult finishGroupEdit() override;

    std::vector<Edit> edits;
    std::vector<int32_t> restarts;
    bool dirty = false;
    int32_t openGroupEdits = 0;

    void clear() {
        edits.clear();
        restarts.clear();
    }

private:
    ComponentHandler() = default;
};

} // namespace Tannhofen::Host

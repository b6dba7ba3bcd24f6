// RemoteMapController: lets an edit controller answer the host's request for
// its remote map. The controller derives from RemoteMapController<Base>
// instead of Base, names its plug-in, and lists its pages and cells; the
// interface, the document's head and tail and the order checks are here.
//
//     class MyController : public Editor::RemoteMapController<Plx::EditController2> {
//         Editor::RemoteMapPlugin remoteMapPlugin() const override { ... }
//         void listRemotePages(Editor::RemoteMapWriter& writer) override {
//             writer.openPage("Main");
//             writeParameterCell(writer, kGainId, "gain");
//             writer.closePage();
//         }
//     };
#pragma once

#include "editor/remote_map_writer.h"
#include "frame/componentbase.h"
#include "frame/ieditcontroller.h"
#include "frame/ixmlrepresentation.h"

namespace Tannhofen::Editor {

// The plug-in that a remote map describes.
struct RemoteMapPlugin {
    const char* name;
    const char* vendor;
    Plx::FUID classId; // the processor's class
};

template <class Base>
class RemoteMapController : public Base, public Plx::IPlxXmlRepresentationController {
public:
    PLX_REFCOUNT_METHODS(Base)

    Plx::tresult queryInterface(const Plx::TUID& iid, void** obj) override {
        if (!obj) return Plx::kInvalidArgument;
        PLX_QUERY_INTERFACE(iid, obj, Plx::IPlxXmlRepresentationController)
        return Base::queryInterface(iid, obj);
    }

    Plx::tresult getXmlRepresentationSource(Plx::RepresentationInfo& info, Plx::IPlxStream* stream) override {
        if (!stream) return Plx::kInvalidArgument;
        const RemoteMapPlugin plugin = remoteMapPlugin();
        RemoteMapWriter writer(info, plugin.name, plugin.vendor, plugin.classId, stream);
        listRemotePages(writer);
        return Plx::kResultOk;
    }

protected:
    using Base::Base;

    virtual RemoteMapPlugin remoteMapPlugin() const = 0;
    // Lists the pages and their cells; what is left open is closed after it.
    virtual void listRemotePages(RemoteMapWriter& writer) = 0;

    // A cell with the layer and title of a parameter the host sees; nothing,
    // and false, for an id that isn't one.
    bool writeParameterCell(RemoteMapWriter& writer, Plx::ParamID id, const char* function = nullptr) {
        Plx::ParameterInfo info{};
        if (this->getParameterInfo(id, &info) != Plx::kResultOk) return false;
        return writer.writeCellWithNamedLayer(info, function);
    }
};

} // namespace Tannhofen::Editor

// RemoteMapWriter: writes the remote map, the XML document that lays a
// plug-in's parameters out for a hardware controller on pages of cells, each
// cell holding layers that tie a knob, a switch, an LED, a fader or a display
// to a parameter. It writes straight into the host's stream, element by
// element, every line ending in CR LF, and refuses calls that come out of
// order: such a call answers false and writes nothing.
//
// The constructor writes the document's head and the destructor closes what
// is still open and writes its tail, so one writer is one document.
#pragma once

#include <string>
#include <string_view>

#include "frame/funknown.h"
#include "frame/ieditcontroller.h"
#include "frame/istream.h"
#include "frame/ixmlrepresentation.h"

namespace Tannhofen::Editor {

class RemoteMapWriter {
public:
    // The layer types, indices of the `type` attribute's literals.
    enum LayerType : Plx::int32 {
        kKnob = 0,
        kPressedKnob,
        kSwitchKnob,
        kSwitch,
        kLED,
        kLink,
        kDisplay,
        kFader,
        kLayerTypeCount
    };
    // How deep the document is open.
    enum State : Plx::int32 {
        kInRepresentation = 0,
        kInPage,
        kInCell,
        kInLayer,
        kInTitleDisplay,
        kInName,
    };
    static constexpr Plx::int32 kNoUnit = -1;

    // Takes a reference on `stream` (which may be null: nothing is written).
    RemoteMapWriter(const Plx::RepresentationInfo& info, const char* pluginName, const char* pluginVendor,
                    const Plx::FUID& classId, Plx::IPlxStream* stream);
    ~RemoteMapWriter();
    RemoteMapWriter(const RemoteMapWriter&) = delete;
    RemoteMapWriter& operator=(const RemoteMapWriter&) = delete;

    // A page, in the representation; with a unit other than kNoUnit it names it.
    bool openPage(const char* name, Plx::int32 unitId = kNoUnit);
    bool closePage();
    // A cell, in a page.
    bool openCell();
    bool closeCell();
    bool writeEmptyCell();
    // A layer, in a cell; `function` and `style` may be null. The style's
    // attribute is "switchStyle" for a switch, "ledStyle" for an LED and
    // "style" for the rest. A type outside the table answers false.
    bool openLayer(Plx::int32 type, Plx::ParamID parameterId, const char* function = nullptr,
                   const char* style = nullptr);
    // The same with the type chosen by the parameter: an LED for bypass, a
    // looped push switch for two steps, a knob for the rest.
    bool openLayer(const Plx::ParameterInfo& info, const char* function = nullptr);
    bool closeLayer();
    bool writeLayer(Plx::int32 type, Plx::ParamID parameterId, const char* function = nullptr,
                    const char* style = nullptr);
    // A cell that holds one closed layer.
    bool writeCellWithLayer(Plx::int32 type, Plx::ParamID parameterId, const char* function = nullptr,
                            const char* style = nullptr);
    // A cell that holds the parameter's layer with its title display; a
    // parameter without a title gets the layer alone.
    bool writeCellWithNamedLayer(const Plx::ParameterInfo& info, const char* function = nullptr);
    // The parameter's title, and its short title when that differs, in an
    // open layer; false for an empty title.
    bool writeTitleDisplay(const Plx::ParameterInfo& info);

    Plx::int32 getState() const { return state; }

    // The literal of a layer type; null outside the table.
    static const char* layerTypeName(Plx::int32 type);
    // A class ID as 32 hex digits, its four words in the order they are written.
    static std::string classIdText(const Plx::FUID& classId);

private:
    // Writes `text` and the line end.
    void writeLine(std::string_view text);
    // In state `from` only: writes `line` and moves to state `to`.
    bool step(Plx::int32 from, const char* line, Plx::int32 to);
    std::string layerTag(Plx::int32 type, Plx::ParamID parameterId, const char* function, const char* style);

    Plx::IPtr<Plx::IPlxStream> stream;
    Plx::int32 state = kInRepresentation;
};

} // namespace Tannhofen::Editor

// MeterViewFactory: builds the editor's meter views by their names in the
// skin, keeps what they show (the channel counts, the level arrays, whether
// metering runs) and routes the processor's meter values and messages to
// them. A click on a peak display sends the processor the matching reset.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "editor/meter_protocol.h"
#include "editor/meter_view.h"
#include "frame/imessage.h"

namespace Tannhofen::Editor {

// The parameter ids under which a processor reports its meters.
struct MeterParameterIds {
    Plx::int32 inputFirst;  // + input channel
    Plx::int32 outputFirst; // + output channel
    Plx::int32 maxInput;    // the held peak of the inputs
    Plx::int32 maxOutput;   // the held peak of the outputs
};

class MeterViewFactory {
public:
    // View names in the skin.
    static constexpr const char* kInputMeter = "inputvu";
    static constexpr const char* kOutputMeter = "outputvu";
    static constexpr const char* kInputPeak = "inputvumax";
    static constexpr const char* kOutputPeak = "outputvumax";
    // What the controller asks for to size the views.
    static constexpr const char* kNoOfChannelsNeeded = "noOfChannelsNeeded";

    // Sends a message without attributes to the processor.
    using Sender = std::function<Plx::tresult(const char* messageId)>;

    // `metersAreOne`: the plug-in shows one meter for input and output, so
    // the output's peak display resets the input's held peak.
    MeterViewFactory(MeterParameterIds ids, Sender sender, bool metersAreOne = false);

    // The view of a skin name, owned by the factory; null for a name it
    // doesn't answer. Peak displays read "ap.vu.norm" and "ap.vu.peak" first.
    MeterView* createView(const std::string& name, const SkinAttributes& skin = {});

    // "nChannels" and "vuMetersProcessing"; kResultFalse (not handled) for other messages.
    Plx::tresult notify(Plx::IMessage* message);
    // A meter value from the processor, or a view parameter, at `timeMs`;
    // false for an id that no meter takes. While metering is stopped the
    // levels stay 0.
    bool setParamValue(Plx::int32 id, double value, double timeMs);
    // A click on a peak display (kResetClick): sends "resetMaxLevelIn" or
    // "resetMaxLevelOut". kResultFalse for a view the factory didn't make.
    Plx::tresult click(const MeterView* view);
    // The channels a view of this name shows; 0 for other names.
    Plx::int32 noOfChannelsNeeded(const std::string& viewName) const;

    // The editor's parameter layer, as the peak displays read it.
    bool readParameter(bool input, Plx::int32 id, double& value) const;
    // Draws a peak display made by this factory.
    Plx::tresult drawPeak(const PeakDisplayView& view, PeakDrawing& out) const;

    Plx::int32 getInputChannels() const { return static_cast<Plx::int32>(inLevels.size()); }
    Plx::int32 getOutputChannels() const { return static_cast<Plx::int32>(outLevels.size()); }
    const std::vector<float>& getInputLevels() const { return inLevels; }
    const std::vector<float>& getOutputLevels() const { return outLevels; }
    bool isProcessing() const { return metersProcessing; }

private:
    void setChannels(Plx::int32 inputs, Plx::int32 outputs);
    void clearLevels();

    MeterParameterIds ids;
    Sender sender;
    bool metersAreOne;
    std::vector<float> inLevels;
    std::vector<float> outLevels;
    float maxInLevel = 0.0f;
    float maxOutLevel = 0.0f;
    double peakFloor = 0.0;
    bool metersProcessing = false;
    std::vector<std::unique_ptr<MeterView>> views;
};

} // namespace Tannhofen::Editor

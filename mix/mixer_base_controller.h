// MMixerBaseController: the edit-controller half of the mix plug-ins. It
// publishes the host-visible parameters from the mix parameter table (plus the
// LFE level), keeps the editor's own parameters, shows the level rows in
// decibels, and takes the processor's messages: the gain matrix for the
// editor's display, restart requests, meter channel counts and whether
// processing runs. Everything here runs on the host's user-interface thread.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "frame/editcontroller2.h"
#include "frame/imessage.h"
#include "frame/speaker_arrangement.h"
#include "mix/mix_params.h"

namespace Tannhofen::Mix {

// The editor's display of the gain matrix.
class IGainView {
public:
    // `coefficients` holds `count` gains, input rows by output columns.
    virtual void showGains(const float* coefficients, int32_t count) = 0;

protected:
    ~IGainView() = default;
};

class MMixerBaseController : public Plx::EditController2 {
public:
    PLX_OBJ_METHODS(MMixerBaseController, Plx::EditController2, "MMixerBaseController")

    // Adds the editor's parameters behind the table's.
    Plx::tresult initialize(Plx::FUnknown* context) override;
    Plx::tresult terminate() override;

    // Text in decibels for the level rows, the table's format for other rows.
    Plx::tresult getParamStringByValue(Plx::ParamID id, Plx::ParamValue valueNormalized,
                                       Plx::char16* string) override;
    Plx::tresult getParamValueByString(Plx::ParamID id, const Plx::char16* string,
                                       Plx::ParamValue* valueNormalized) override;
    Plx::ParamValue normalizedParamToPlain(Plx::ParamID id, Plx::ParamValue valueNormalized) override;
    Plx::ParamValue plainParamToNormalized(Plx::ParamID id, Plx::ParamValue plainValue) override;
    Plx::ParamValue tableToPlain(Plx::ParamID id, Plx::ParamValue valueNormalized) const override;
    Plx::ParamValue tableToNormalized(Plx::ParamID id, Plx::ParamValue plainValue) const override;
    // Also takes the meter values (ids 407 to 456) that the processor reports.
    Plx::tresult setParamNormalized(Plx::ParamID id, Plx::ParamValue value) override;

    Plx::tresult notify(Plx::IMessage* message) override;

    // Remote control surfaces: the id of a parameter by its name. An unknown
    // name gives 1024 and false.
    virtual bool getParamIdByRemoteName(const char* name, int32_t& id) const;
    // The view that an editor name stands for; null when there is none.
    virtual const char* getEditorName(const char* name) const;

    // The editor's gain display; it is sent every "gainMatrix". While one is
    // set, the processor is asked to publish its matrix.
    void setGainView(IGainView* view);
    // The last gain matrix that came from the processor.
    const std::vector<float>& getGains() const { return gains; }

    // Requests to the processor, for the editor.
    Plx::tresult setInputVuMeter(bool on);
    Plx::tresult setOutputVuMeter(bool on);
    Plx::tresult resetMaxLevelIn();
    Plx::tresult resetMaxLevelOut();
    Plx::tresult enableDirectMonitoring(bool on);

    int32_t getMeterInputCount() const { return static_cast<int32_t>(inLevels.size()); }
    int32_t getMeterOutputCount() const { return static_cast<int32_t>(outLevels.size()); }
    const std::vector<float>& getInputLevels() const { return inLevels; }
    const std::vector<float>& getOutputLevels() const { return outLevels; }
    float getMaxInputLevel() const { return maxInLevel; }
    float getMaxOutputLevel() const { return maxOutLevel; }
    bool isProcessing() const { return processing; }
    int32_t getHostParameterCount() const { return parameterCount; }

    // The editor's parameter of `id`, or null.
    Plx::Parameter* getEditorParameter(Plx::ParamID id) const { return editorParameters.getParameter(id); }

protected:
    explicit MMixerBaseController(const ParamTable& table);
    ~MMixerBaseController() override;

    std::span<const Plx::ParamInfoRecord> getParamTable() const override { return parameterTable; }
    // Publishes the table's extra row (the converter's LFE level).
    void afterParameters() override;

    // Reads the processor's saved parameters into this controller through
    // setParamNormalized, as if the host had set them. Streams of a plug-in
    // version below `minimumVersion` are refused. False when the stream was
    // refused; a truncated stream keeps what came before the break.
    bool readProcessorState(Plx::IPlxStream* state, int32_t minimumVersion);

    // Sets a parameter without running its side effects, and tells the host
    // about it when `tellHost` is set. Answers whether the value changed.
    bool writeParam(Plx::ParamID id, double value, bool tellHost);
    // Sets an editor parameter; false when there is none or nothing changed.
    bool writeEditorParam(Plx::ParamID id, double value);
    // Adds an on/off parameter to the editor's set.
    void addEditorSwitch(Plx::ParamID id, const char* name);
    // Sends a message with one integer attribute of the same name.
    Plx::tresult sendIntMessage(const char* id, const char* attribute, int64_t value);
    // An integer attribute of a message; 0 when it is missing or of another type.
    static int64_t intAttribute(Plx::IMessage* message, const char* name);
    // An arrangement of 8 bytes in a binary attribute; false, with `arr`
    // left alone, when it is missing or of another size.
    static bool binaryArrangement(Plx::IMessage* message, const char* name, Plx::SpeakerArrangement& arr);
    // The meters have new values (or were cleared).
    virtual void updateMeters() {}

    const ParamTable& infoAccessor;
    std::vector<Plx::ParamInfoRecord> parameterTable;
    int32_t parameterCount = 0;
    std::vector<float> inLevels;
    std::vector<float> outLevels;
    float maxInLevel = 0.0f;
    float maxOutLevel = 0.0f;
    bool processing = false;
    IGainView* gainView = nullptr;
    std::vector<float> gains;
};

} // namespace Tannhofen::Mix

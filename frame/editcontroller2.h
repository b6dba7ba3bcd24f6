// EditController2: the base of the module's controllers. Its initialize fills
// the parameters from the plug-in's table of ParamInfoRecord rows, with hooks
// before, during and after; it also keeps the editor's own parameter set,
// which the editor sees and the host doesn't.
#pragma once

#include <span>
#include <vector>

#include "frame/editcontroller.h"
#include "frame/param_info.h"

namespace Tannhofen::Plx {

// The host's ParameterInfo flags that a row's flags grant: automatable,
// read-only, wrap-around.
int32 hostFlagsOf(const ParamInfoRecord& row);

class EditController2 : public EditControllerEx1 {
public:
    PLX_OBJ_METHODS(EditController2, EditControllerEx1, "Plx::EditController2")

    // Runs EditControllerEx1's initialize, beforeParameters, then each row of
    // getParamTable() that wantsParameter() accepts (created by
    // createTableParameter), afterParameters and parametersDone.
    tresult initialize(FUnknown* context) override;
    tresult terminate() override;

    // The editor's parameter set.
    ParameterContainer& getEditorParameters() { return editorParameters; }
    // Indices into getParamTable() of the rows that were published, in order.
    const std::vector<int32>& getUsedRows() const { return usedRows; }

    // The table object's conversions between normalized and plain values;
    // the defaults are the identity.
    virtual ParamValue tableToPlain(ParamID id, ParamValue valueNormalized) const;
    virtual ParamValue tableToNormalized(ParamID id, ParamValue plainValue) const;

protected:
    EditController2() = default;
    ~EditController2() override;

    // The rows that drive the setup; empty by default.
    virtual std::span<const ParamInfoRecord> getParamTable() const { return {}; }
    virtual void beforeParameters(FUnknown* context);
    virtual bool wantsParameter(ParamID id);
    // Type 0 becomes an integer RangeParameter from trunc(min) to trunc(max)
    // starting at trunc(defaultNormalized); type 1 a float RangeParameter up
    // to max with the row's normalized default and precision; type 2 an
    // on/off parameter, on when defaultNormalized is at least 0.5. Row flag
    // bit 0 makes it automatable, bit 1 read-only, bit 2 wrap around, bit 4
    // hidden (the bits of the host's ParameterInfo flags). Other types give null, and
    // a derived controller that wants them overrides this.
    virtual Parameter* createTableParameter(const ParamInfoRecord& row);
    virtual void afterParameters();
    virtual void parametersDone();

    ParameterContainer editorParameters;
    std::vector<int32> usedRows;
};

} // namespace Tannhofen::Plx

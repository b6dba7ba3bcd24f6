// Parameters of a controller: Parameter (a normalized value with its info
// record and text), RangeParameter (a plain range), StringListParameter (one
// string per step), and ParameterContainer, which owns them by id.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "frame/fobject.h"
#include "frame/ieditcontroller.h"
#include "frame/iunitinfo.h"

namespace Tannhofen::Plx {

class Parameter : public FObject {
public:
    PLX_OBJ_METHODS(Parameter, FObject, "Plx::Parameter")

    Parameter();
    explicit Parameter(const ParameterInfo& info);
    Parameter(const char16* title, ParamID id, const char16* units = nullptr,
              ParamValue defaultNormalized = 0.0, int32 stepCount = 0,
              int32 flags = ParameterInfo::kCanAutomate, UnitID unitId = kRootUnitId,
              const char16* shortTitle = nullptr);

    virtual const ParameterInfo& getInfo() const { return info; }
    virtual void setUnitID(UnitID id) { info.unitId = id; }
    virtual UnitID getUnitID() { return info.unitId; }
    virtual int32 getPrecision() const { return precision; }
    // Clamps to 0 to 1; when the value changes, stores it, tells the
    // dependents and answers true.
    virtual bool setNormalized(ParamValue value);
    // `out` has room for 128 characters.
    virtual void toString(ParamValue valueNormalized, char16* out) const;
    virtual bool fromString(const char16* string, ParamValue& valueNormalized) const;
    virtual ParamValue toPlain(ParamValue valueNormalized) const;
    virtual ParamValue toNormalized(ParamValue plainValue) const;
    virtual void setPrecision(int32 value) { precision = value; }

    // The info record to change, e.g. a title that follows the bus layout.
    ParameterInfo& editInfo() { return info; }
    ParamValue getNormalized() const { return valueNormalized; }

protected:
    ~Parameter() override;

    ParameterInfo info;
    ParamValue valueNormalized = 0.0;
    int32 precision = 4;
};

// A parameter whose plain value runs from minPlain to maxPlain; with steps it
// splits the normalized range evenly into stepCount + 1 parts.
class RangeParameter : public Parameter {
public:
    PLX_OBJ_METHODS(RangeParameter, Parameter, "Plx::RangeParameter")

    RangeParameter(const char16* title, ParamID id, const char16* units = nullptr, ParamValue minPlain = 0.0,
                   ParamValue maxPlain = 1.0, ParamValue defaultPlain = 0.0, int32 stepCount = 0,
                   int32 flags = ParameterInfo::kCanAutomate, UnitID unitId = kRootUnitId,
                   const char16* shortTitle = nullptr);

    ParamValue getMin() const { return minPlain; }
    ParamValue getMax() const { return maxPlain; }

    void toString(ParamValue valueNormalized, char16* out) const override;
    bool fromString(const char16* string, ParamValue& valueNormalized) const override;
    ParamValue toPlain(ParamValue valueNormalized) const override;
    ParamValue toNormalized(ParamValue plainValue) const override;

protected:
    ParamValue minPlain;
    ParamValue maxPlain;
};

// A parameter with one string per step; stepCount is the number of strings
// less one. toPlain splits the range evenly and toNormalized divides by
// stepCount, so the two are not exact inverses: of three strings, index 1
// gives 0.5, which toPlain turns into 1 again, while 0.34 gives 1 as well.
class StringListParameter : public Parameter {
public:
    PLX_OBJ_METHODS(StringListParameter, Parameter, "Plx::StringListParameter")

    StringListParameter(const char16* title, ParamID id, const char16* units = nullptr,
                        int32 flags = ParameterInfo::kCanAutomate | ParameterInfo::kIsList,
                        UnitID unitId = kRootUnitId, const char16* shortTitle = nullptr);

    void appendString(const char16* string);
    bool replaceString(int32 index, const char16* string);
    int32 countStrings() const { return static_cast<int32>(strings.size()); }

    // An index outside the list writes an empty text.
    void toString(ParamValue valueNormalized, char16* out) const override;
    // Finds the exact string; false for any other text.
    bool fromString(const char16* string, ParamValue& valueNormalized) const override;
    ParamValue toPlain(ParamValue valueNormalized) const override;
    ParamValue toNormalized(ParamValue plainValue) const override;

protected:
    std::vector<std::u16string> strings;
};

// Owns the parameters of a controller, in the order they were added, and
// finds them by id.
class ParameterContainer {
public:
    ParameterContainer() = default;
    ~ParameterContainer() { removeAll(); }
    ParameterContainer(const ParameterContainer&) = delete;
    ParameterContainer& operator=(const ParameterContainer&) = delete;

    // Takes over the caller's reference. A second parameter with the same id
    // is refused and released; the answer is then null.
    Parameter* addParameter(Parameter* p);
    Parameter* addParameter(const ParameterInfo& info);
    Parameter* addParameter(const char16* title, const char16* units, int32 stepCount,
                            ParamValue defaultNormalized, int32 flags, ParamID id,
                            UnitID unitId = kRootUnitId, const char16* shortTitle = nullptr);

    int32 getParameterCount() const { return static_cast<int32>(params.size()); }
    Parameter* getParameterByIndex(int32 index) const;
    Parameter* getParameter(ParamID id) const;
    void removeAll();

private:
    std::vector<Parameter*> params; // each holds a reference
    std::map<ParamID, size_t> indexOf;
};

} // namespace Tannhofen::Plx

#include "mix/mix_params.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "frame/speaker_words.h"
#include "mix/log_scale.h"
#include "mix/mixer_model.h"

namespace Tannhofen::Mix {

using Plx::ParamInfoRecord;

namespace {

constexpr double kSilenceDb = -180.0;

ParamInfoRecord makeRow(int32_t id, const char* name, const char* title, const char* units, int32_t type,
                        uint32_t flags, const char* format, int32_t precision, double step, double max = 1.0,
                        int32_t extra = 0) {
    return Plx::makeParamRow(id, name, title, units, 0.0, max, 0.0, step, type, flags, format, precision,
                             extra);
}

struct GroupSolo {
    int32_t id;
    const char* name;
    const char* title;
};
constexpr GroupSolo kGroupSolos[] = {
    {266, "inputSoloFrnt", "Solo All Input Front Channels"},
    {267, "inputSoloStereo", "Solo Stereo Input Channels"},
    {268, "inputSoloSrrnd", "Solo All Input Surround Channels"},
    {269, "inputSoloExclLFE", "Solo Input LFE Channel Exclusive"},
    {270, "inputSoloTop", "Solo All Input Top Channels"},
    {278, "inputSoloSide", "Solo All Input Side Channels"},
    {271, "outputSoloFrnt", "Solo All Output Front Channels"},
    {272, "outputSoloStereo", "Solo Stereo Output Channels"},
    {273, "outputSoloSrrnd", "Solo All Output Surround Channels"},
    {274, "outputSoloExclLFE", "Solo Output LFE Channel Exclusive"},
    {275, "outputSoloTop", "Solo All Output Top Channels"},
    {279, "outputSoloSide", "Solo All Output Side Channels"},
    {276, "resetInputSolo", "Reset Input Solo"},
    {277, "resetOutputSolo", "Reset Output Solo"},
};

bool isLevelId(int32_t id) {
    switch (id) {
    case ParamId::kCenterLvl:
    case ParamId::kSurroundLvl:
    case ParamId::kGlobalLvl:
    case ParamId::kSideLvl:
    case ParamId::kTopLvl:
    case ParamId::kBottomLvl: return true;
    default: return false;
    }
}

double toDecibels(const LogScale& scale, double normalized) {
    const double v = scale.toLinear(normalized);
    return v <= 0.0 ? kSilenceDb : 20.0 * std::log10(v);
}

double fromDecibels(const LogScale& scale, double db) {
    return db <= kSilenceDb ? 0.0 : scale.toNormalized(std::pow(10.0, db / 20.0));
}

} // namespace

MixParamTable::MixParamTable() {
    constexpr uint32_t autom = ParamInfoRecord::kAutomatable;
    constexpr uint32_t notSaved = ParamInfoRecord::kNotSaved;
    constexpr int32_t flt = ParamInfoRecord::kFloat, onOff = ParamInfoRecord::kOnOff;
    int32_t n = 0;
    rows[n++] = makeRow(128, "centerLvl", "Center Level", "dB", flt, autom, "%.2f", 2, 0);
    rows[n++] = makeRow(129, "surroundLvl", "Surround Level", "dB", flt, autom, "%.2f", 2, 0);
    rows[n++] = makeRow(134, "globalLvl", "Global Level", "dB", flt, autom, "%.2f", 2, 0);
    rows[n++] =
        makeRow(130, "outputArr", "Output Arrangement", "", ParamInfoRecord::kList, notSaved, "%.1f", 1, 1);
    rows[n++] = makeRow(133, "lPFilter", "Low Pass Filter", "", onOff, autom, "%.0f", 0, 1);
    rows[n++] = makeRow(131, "soloToCenter", "Solo To Center", "", onOff, notSaved, "%.0f", 0, 1);
    rows[n++] = makeRow(132, "srrndToFrnt", "Surround To Front", "", onOff, notSaved, "%.0f", 0, 1);
    rows[n++] = makeRow(135, "sideLvl", "Side Level", "dB", flt, autom, "%.2f", 2, 0);
    rows[n++] = makeRow(136, "topLvl", "Top Level", "dB", flt, autom, "%.2f", 2, 0);
    rows[n++] = makeRow(138, "bottomLvl", "Bottom Level", "dB", flt, autom, "%.2f", 2, 0);
    rows[n++] = makeRow(137, "activePartsMM", "Show Different Parts of MixMorpher Extensions", "",
                        ParamInfoRecord::kInteger, 0, "%.0f", 0, 1, 3.0);
    rows[n++] = makeRow(256, "reset", "Reset", "", onOff, notSaved, "%.0f", 0, 1);
    for (int32_t s = 0; s < Plx::kSpeakerIndexCount; ++s) {
        const std::string name = std::string("inputSolo") + Plx::kSpeakerWords[s];
        const std::string title = std::string(Plx::kSpeakerTitles[s]) + " Input Channel Solo";
        rows[n++] = makeRow(ParamId::kInputSoloFirst + s, name.c_str(), title.c_str(), "", onOff, notSaved,
                            "%.0f", 0, 1, 1.0, 2);
    }
    for (const GroupSolo& g : kGroupSolos)
        rows[n++] = makeRow(g.id, g.name, g.title, "", onOff, notSaved, "%.0f", 0, 1, 1.0, 2);

    const double unity = 0.75;
    for (ParamInfoRecord& r : rows) {
        switch (r.id) {
        case ParamId::kGlobalLvl: r.defaultNormalized = unity; break;
        case ParamId::kCenterLvl: r.defaultNormalized = kLevelScale.toNormalized(0.70710677); break;
        case ParamId::kSurroundLvl:
        case ParamId::kSideLvl:
        case ParamId::kTopLvl:
        case ParamId::kBottomLvl: r.defaultNormalized = kLevelScale.toNormalized(0.5); break;
        default: break;
        }
    }
    lfeRow = makeRow(ParamId::kLfeLevel, "lfeLevel", "LFE Level", "dB", flt, autom, "%.2f", 2, 0);
}

const MixParamTable& MixParamTable::instance() {
    static const MixParamTable table;
    return table;
}

const ParamInfoRecord* MixParamTable::find(int32_t id) const {
    for (const ParamInfoRecord& r : rows)
        if (r.id == id) return &r;
    return nullptr;
}

double MixParamTable::toPlain(int32_t id, double normalized) const {
    if (isLevelId(id)) return toDecibels(kLevelScale, normalized);
    if (id == ParamId::kLfeLevel) return toDecibels(kLfeScale, normalized);
    const ParamInfoRecord* r = find(id);
    if (!r) return normalized;
    return r->min + normalized * (r->max - r->min);
}

double MixParamTable::toNormalized(int32_t id, double plain) const {
    if (isLevelId(id)) return fromDecibels(kLevelScale, plain);
    if (id == ParamId::kLfeLevel) return fromDecibels(kLfeScale, plain);
    const ParamInfoRecord* r = find(id);
    if (!r) return plain;
    return std::clamp((plain - r->min) / (r->max - r->min), 0.0, 1.0);
}

} // namespace Tannhofen::Mix

#include "lv2/port_layout.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <set>

#include "frame/text.h"

namespace Tannhofen::Lv2 {

using namespace Plx;

namespace {

std::string text(const char16* field, size_t size) {
    size_t n = 0;
    while (n < size && field[n]) ++n;
    return utf16ToUtf8(std::u16string_view(field, n));
}

// An LV2 symbol from a title: lower case letters, digits and single
// underscores, never starting with a digit ("Center Level" -> "center_level").
std::string symbolFrom(const std::string& title) {
    std::string out;
    for (unsigned char c : title) {
        if (std::isalnum(c) && c < 0x80)
            out += static_cast<char>(std::tolower(c));
        else if (!out.empty() && out.back() != '_')
            out += '_';
    }
    while (!out.empty() && out.back() == '_') out.pop_back();
    if (out.empty() || std::isdigit(static_cast<unsigned char>(out.front()))) out.insert(0, "p_");
    return out;
}

} // namespace

std::vector<AudioPort> audioPorts(SpeakerArrangement arrangement, const std::string& prefix) {
    std::string title = prefix;
    if (!title.empty())
        title.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(title.front())));
    std::vector<AudioPort> ports;
    for (int bit = 0; bit < 64; ++bit) {
        if (!(arrangement >> bit & 1)) continue;
        std::string label;
        std::string symbol;
        if (const int acn = Speaker::ambisonicChannel(bit); acn >= 0) {
            label = "ACN " + std::to_string(acn);
            symbol = "acn" + std::to_string(acn);
        } else if (const char* speaker = Speaker::label(bit)) {
            label = speaker;
            symbol = symbolFrom(speaker);
        } else {
            label = "bit " + std::to_string(bit);
            symbol = "bit" + std::to_string(bit);
        }
        ports.push_back({prefix + "_" + symbol, title + " " + label});
    }
    return ports;
}

PortLayout describePorts(SpeakerArrangement input, SpeakerArrangement output,
                         IPlxEditController* controller) {
    PortLayout layout;
    layout.inputs = audioPorts(input, "in");
    layout.outputs = audioPorts(output, "out");
    std::set<std::string> taken{"latency"};
    for (const auto* bus : {&layout.inputs, &layout.outputs})
        for (const AudioPort& port : *bus) taken.insert(port.symbol);

    const int32 count = controller ? controller->getParameterCount() : 0;
    for (int32 index = 0; index < count; ++index) {
        ParameterInfo info{};
        if (controller->getParameterInfoByIndex(index, &info) != kResultOk) continue;
        // What a host may automate: the settings that a plug-in without its
        // editor shows. Read-only and hidden parameters have no place here.
        if (!(info.flags & ParameterInfo::kCanAutomate) ||
            (info.flags & (ParameterInfo::kIsReadOnly | ParameterInfo::kIsHidden)))
            continue;
        ControlPort port{};
        port.id = info.id;
        port.name = text(info.title, 128);
        port.units = text(info.units, 128);
        port.stepCount = std::max(0, info.stepCount);
        port.symbol = symbolFrom(port.name);
        if (taken.count(port.symbol)) port.symbol.append(1, '_').append(std::to_string(info.id));
        taken.insert(port.symbol);

        double lo = controller->normalizedParamToPlain(info.id, 0.0);
        double hi = controller->normalizedParamToPlain(info.id, 1.0);
        // The value the effect starts with on these buses, which may differ
        // from the parameter's general default (levels follow the layouts).
        const double start = controller->getParamNormalized(info.id);
        const double def = controller->normalizedParamToPlain(info.id, start);
        port.normalized = !std::isfinite(lo) || !std::isfinite(hi) || !std::isfinite(def) || lo == hi;
        if (port.normalized) {
            port.minimum = 0.0;
            port.maximum = 1.0;
            port.defaultValue = std::clamp(start, 0.0, 1.0);
        } else {
            port.minimum = std::min(lo, hi);
            port.maximum = std::max(lo, hi);
            port.defaultValue = std::clamp(def, port.minimum, port.maximum);
        }
        port.toggle = port.stepCount == 1 && port.minimum == 0.0 && port.maximum == 1.0;
        port.list = port.stepCount > 0 && (info.flags & ParameterInfo::kIsList);
        if (port.list) {
            for (int32 k = 0; k <= port.stepCount; ++k) {
                const double normalized = static_cast<double>(k) / port.stepCount;
                char16 label[129] = {};
                if (controller->getParamStringByValue(info.id, normalized, label) != kResultOk) continue;
                port.scalePoints.push_back(
                    {normalizedToPort(port, normalized, controller), text(label, 128)});
            }
        }
        layout.controls.push_back(std::move(port));
    }
    return layout;
}

double portToNormalized(const ControlPort& port, double value, IPlxEditController* controller) {
    const double clamped =
        port.toggle ? (value > 0.0 ? 1.0 : 0.0) : std::clamp(value, port.minimum, port.maximum);
    double normalized = port.normalized ? clamped : controller->plainParamToNormalized(port.id, clamped);
    normalized = std::clamp(normalized, 0.0, 1.0);
    if (port.stepCount > 0) normalized = std::round(normalized * port.stepCount) / port.stepCount;
    return normalized;
}

double normalizedToPort(const ControlPort& port, double normalized, IPlxEditController* controller) {
    if (port.normalized) return normalized;
    return std::clamp(controller->normalizedParamToPlain(port.id, normalized), port.minimum, port.maximum);
}

} // namespace Tannhofen::Lv2

#include "editor/remote_map_writer.h"

#include <cstdio>
#include <cstring>

#include "editor/xml_text.h"
#include "frame/class_ids.h"

namespace Tannhofen::Editor {

using namespace Plx;

namespace {

constexpr const char* kLineEnd = "\r\n";
constexpr const char* kLayerTypes[RemoteMapWriter::kLayerTypeCount] = {
    "knob", "pressedKnob", "switchKnob", "switch", "LED", "link", "display", "fader"};
constexpr const char* kPushIncLooped = "pushIncLooped";

// A fixed 8-bit field, which need not be terminated.
std::string_view field(const char8* text, size_t size) {
    return {text, strnlen(text, size)};
}

std::string_view orEmpty(const char* text) {
    return text ? std::string_view(text) : std::string_view();
}

std::string attribute(const char* name, std::string_view value) {
    return std::string(" ") + name + "=\"" + xmlEscape(value) + "\"";
}

std::u16string_view field16(const char16* text, size_t count) {
    size_t n = 0;
    while (n < count && text[n]) ++n;
    return {text, n};
}

} // namespace

const char* RemoteMapWriter::layerTypeName(int32 type) {
    return type >= 0 && type < kLayerTypeCount ? kLayerTypes[type] : nullptr;
}

std::string RemoteMapWriter::classIdText(const FUID& classId) {
    // The inverse of the byte layout of makeTUID.
    const TUID& b = classId.toTUID();
    auto word = [&b](int i0, int i1, int i2, int i3) {
        return static_cast<uint32_t>(b[i0]) << 24 | static_cast<uint32_t>(b[i1]) << 16 |
               static_cast<uint32_t>(b[i2]) << 8 | b[i3];
    };
    char text[33];
    std::snprintf(text, sizeof text, "%08X%08X%08X%08X", word(3, 2, 1, 0), word(5, 4, 7, 6),
                  word(8, 9, 10, 11), word(12, 13, 14, 15));
    return text;
}

RemoteMapWriter::RemoteMapWriter(const RepresentationInfo& info, const char* pluginName,
                                 const char* pluginVendor, const FUID& classId, IPlxStream* stream)
    : stream(stream) {
    writeLine("<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
    writeLine(std::string("<!DOCTYPE plxXML PUBLIC \"-//Tannhofen//DTD PLX Remote 1.1//EN\" \"") +
              kVendorUrl + "/dtd/PLX-Remote-1.1.dtd\">");
    writeLine("<plxXML version=\"1.0\">");
    writeLine("<plugin" + attribute("classID", classIdText(classId)) +
              attribute("name", orEmpty(pluginName)) + attribute("vendor", orEmpty(pluginVendor)) + "/>");
    std::string representation = "\t<representation";
    representation += attribute("name", field(info.name, sizeof info.name));
    representation += attribute("vendor", field(info.vendor, sizeof info.vendor));
    representation += attribute("version", field(info.version, sizeof info.version));
    if (!field(info.host, sizeof info.host).empty())
        representation += attribute("host", field(info.host, sizeof info.host));
    writeLine(representation + ">");
}

RemoteMapWriter::~RemoteMapWriter() {
    if (state == kInLayer) closeLayer();
    if (state == kInCell) closeCell();
    if (state == kInPage) closePage();
    writeLine("\t</representation>");
    writeLine("</plxXML>");
}

void RemoteMapWriter::writeLine(std::string_view text) {
    if (!stream) return;
    std::string line(text);
    line += kLineEnd;
    int32 written = 0;
    stream->write(line.data(), static_cast<int32>(line.size()), &written);
}

bool RemoteMapWriter::step(int32 from, const char* line, int32 to) {
    if (state != from) return false;
    writeLine(line);
    state = to;
    return true;
}

bool RemoteMapWriter::openPage(const char* name, int32 unitId) {
    if (state != kInRepresentation) return false;
    std::string tag = "<page" + attribute("name", orEmpty(name));
    if (unitId != kNoUnit) tag += " unitID=\"" + std::to_string(unitId) + "\"";
    writeLine(tag + ">");
    state = kInPage;
    return true;
}

bool RemoteMapWriter::closePage() {
    return step(kInPage, "</page>", kInRepresentation);
}

bool RemoteMapWriter::openCell() {
    return step(kInPage, "<cell>", kInCell);
}

bool RemoteMapWriter::closeCell() {
    return step(kInCell, "</cell>", kInPage);
}

bool RemoteMapWriter::writeEmptyCell() {
    return step(kInPage, "<cell/>", kInPage);
}

std::string RemoteMapWriter::layerTag(int32 type, ParamID parameterId, const char* function,
                                      const char* style) {
    std::string tag = std::string("<layer type=\"") + kLayerTypes[type] + "\" parameterID=\"" +
                      std::to_string(parameterId) + "\"";
    if (function) tag += attribute("function", function);
    if (style) tag += attribute(type == kSwitch ? "switchStyle" : type == kLED ? "ledStyle" : "style", style);
    return tag;
}

bool RemoteMapWriter::openLayer(int32 type, ParamID parameterId, const char* function, const char* style) {
    if (state != kInCell || !layerTypeName(type)) return false;
    writeLine(layerTag(type, parameterId, function, style) + ">");
    state = kInLayer;
    return true;
}

bool RemoteMapWriter::openLayer(const ParameterInfo& info, const char* function) {
    if (info.flags & ParameterInfo::kIsBypass) return openLayer(kLED, info.id, function);
    if (info.stepCount == 1) return openLayer(kSwitch, info.id, function, kPushIncLooped);
    return openLayer(kKnob, info.id, function);
}

bool RemoteMapWriter::closeLayer() {
    return step(kInLayer, "</layer>", kInCell);
}

bool RemoteMapWriter::writeLayer(int32 type, ParamID parameterId, const char* function, const char* style) {
    if (state != kInCell || !layerTypeName(type)) return false;
    writeLine(layerTag(type, parameterId, function, style) + "/>");
    return true;
}

bool RemoteMapWriter::writeCellWithLayer(int32 type, ParamID parameterId, const char* function,
                                         const char* style) {
    if (state != kInPage || !layerTypeName(type)) return false;
    openCell();
    writeLayer(type, parameterId, function, style);
    return closeCell();
}

bool RemoteMapWriter::writeCellWithNamedLayer(const ParameterInfo& info, const char* function) {
    if (state != kInPage) return false;
    openCell();
    openLayer(info, function);
    writeTitleDisplay(info);
    closeLayer();
    return closeCell();
}

bool RemoteMapWriter::writeTitleDisplay(const ParameterInfo& info) {
    const std::u16string_view title = field16(info.title, std::size(info.title));
    if (state != kInLayer || title.empty()) return false;
    writeLine("<titleDisplay>");
    state = kInTitleDisplay;
    auto writeName = [this](std::u16string_view name) {
        state = kInName;
        writeLine("<name>" + xmlEscape(name) + "</name>");
        state = kInTitleDisplay;
    };
    writeName(title);
    const std::u16string_view shortTitle = field16(info.shortTitle, std::size(info.shortTitle));
    if (!shortTitle.empty() && shortTitle != title) writeName(shortTitle);
    writeLine("</titleDisplay>");
    state = kInLayer;
    return true;
}

} // namespace Tannhofen::Editor

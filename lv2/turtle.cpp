#include "lv2/turtle.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace Tannhofen::Lv2 {

namespace {

constexpr const char* kPrefixes = "@prefix atom: <http://lv2plug.in/ns/ext/atom#> .\n"
                                  "@prefix bufsz: <http://lv2plug.in/ns/ext/buf-size#> .\n"
                                  "@prefix doap: <http://usefulinc.com/ns/doap#> .\n"
                                  "@prefix foaf: <http://xmlns.com/foaf/0.1/> .\n"
                                  "@prefix lv2: <http://lv2plug.in/ns/lv2core#> .\n"
                                  "@prefix opts: <http://lv2plug.in/ns/ext/options#> .\n"
                                  "@prefix rdf: <http://www.w3.org/1999/02/22-rdf-syntax-ns#> .\n"
                                  "@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .\n"
                                  "@prefix state: <http://lv2plug.in/ns/ext/state#> .\n"
                                  "@prefix units: <http://lv2plug.in/ns/extensions/units#> .\n"
                                  "@prefix urid: <http://lv2plug.in/ns/ext/urid#> .\n\n";

void audioPort(std::ostringstream& out, const AudioPort& port, uint32_t index, bool input) {
    out << "[\n\t\ta lv2:AudioPort, " << (input ? "lv2:InputPort" : "lv2:OutputPort") << " ;\n"
        << "\t\tlv2:index " << index << " ;\n"
        << "\t\tlv2:symbol " << turtleString(port.symbol) << " ;\n"
        << "\t\tlv2:name " << turtleString(port.name) << " ;\n\t]";
}

void controlPort(std::ostringstream& out, const ControlPort& port, uint32_t index) {
    out << "[\n\t\ta lv2:ControlPort, lv2:InputPort ;\n"
        << "\t\tlv2:index " << index << " ;\n"
        << "\t\tlv2:symbol " << turtleString(port.symbol) << " ;\n"
        << "\t\tlv2:name " << turtleString(port.name) << " ;\n"
        << "\t\tlv2:default " << turtleNumber(port.defaultValue) << " ;\n"
        << "\t\tlv2:minimum " << turtleNumber(port.minimum) << " ;\n"
        << "\t\tlv2:maximum " << turtleNumber(port.maximum) << " ;\n";
    if (port.toggle)
        out << "\t\tlv2:portProperty lv2:toggled, lv2:integer ;\n";
    else if (port.list)
        out << "\t\tlv2:portProperty lv2:enumeration, lv2:integer ;\n";
    else if (port.stepCount > 1)
        out << "\t\tlv2:portProperty lv2:integer ;\n";
    for (const ScalePoint& point : port.scalePoints)
        out << "\t\tlv2:scalePoint [ rdfs:label " << turtleString(point.label) << " ; rdf:value "
            << turtleNumber(point.value) << " ] ;\n";
    if (!port.normalized) {
        const std::string unit = turtleUnit(port.units);
        if (!unit.empty()) out << "\t\tunits:unit " << unit << " ;\n";
    }
    out << "\t]";
}

void latencyPort(std::ostringstream& out, uint32_t index) {
    out << "[\n\t\ta lv2:ControlPort, lv2:OutputPort ;\n"
        << "\t\tlv2:index " << index << " ;\n"
        << "\t\tlv2:symbol \"latency\" ;\n"
        << "\t\tlv2:name \"Latency\" ;\n"
        << "\t\tlv2:designation lv2:latency ;\n"
        << "\t\tlv2:portProperty lv2:reportsLatency, lv2:integer ;\n"
        << "\t\tunits:unit units:frame ;\n\t]";
}

} // namespace

std::string turtleNumber(double value) {
    if (!std::isfinite(value)) value = value > 0 ? 3.4e38 : -3.4e38;
    char text[40];
    // The shortest of these that reads back as the same float.
    for (int digits = 6; digits <= 9; ++digits) {
        std::snprintf(text, sizeof text, "%.*g", digits, value);
        if (static_cast<float>(std::strtod(text, nullptr)) == static_cast<float>(value)) break;
    }
    std::string number(text);
    if (number.find_first_of(".e") == std::string::npos) number += ".0";
    return number;
}

std::string turtleString(const std::string& text) {
    std::string out = "\"";
    for (char c : text) {
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default: out += c;
        }
    }
    return out + "\"";
}

std::string turtleUnit(const std::string& units) {
    static const std::pair<const char*, const char*> kKnown[] = {
        {"dB", "units:db"},      {"Hz", "units:hz"},         {"kHz", "units:khz"},
        {"ms", "units:ms"},      {"s", "units:s"},           {"%", "units:pc"},
        {"deg", "units:degree"}, {"\u00B0", "units:degree"}, {"ct", "units:cent"},
        {"cents", "units:cent"}, {"BPM", "units:bpm"},       {"semi", "units:semitone12TET"},
        {"m", "units:m"},        {"cm", "units:cm"},         {"mm", "units:mm"},
    };
    if (units.empty()) return "";
    for (const auto& [symbol, unit] : kKnown)
        if (units == symbol) return unit;
    return "[\n\t\t\ta units:Unit ;\n\t\t\trdfs:label " + turtleString(units) + " ;\n\t\t\tunits:symbol " +
           turtleString(units) + " ;\n\t\t\tunits:render " + turtleString("%f " + units) + " ;\n\t\t]";
}

std::string manifestTurtle(const std::vector<PluginDescription>& plugins, const std::string& binary,
                           const std::string& dataFile) {
    std::ostringstream out;
    out << "@prefix lv2: <http://lv2plug.in/ns/lv2core#> .\n"
        << "@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .\n";
    for (const PluginDescription& plugin : plugins)
        out << "\n<" << plugin.uri << ">\n\ta lv2:Plugin ;\n\tlv2:binary <" << binary << "> ;\n"
            << "\trdfs:seeAlso <" << dataFile << "> .\n";
    return out.str();
}

std::string pluginsTurtle(const std::vector<PluginDescription>& plugins, const VendorDescription& vendor) {
    std::ostringstream out;
    out << kPrefixes;
    for (const PluginDescription& plugin : plugins) {
        out << "<" << plugin.uri << ">\n\ta lv2:Plugin, doap:Project"
            << (plugin.spatial ? ", lv2:SpatialPlugin" : "") << " ;\n\tdoap:name "
            << turtleString(plugin.name) << " ;\n"
            << "\trdfs:comment " << turtleString(plugin.comment) << " ;\n"
            << "\tdoap:maintainer [\n\t\tfoaf:name " << turtleString(vendor.name) << " ;\n";
        if (!vendor.homepage.empty()) out << "\t\tfoaf:homepage <" << vendor.homepage << "> ;\n";
        if (!vendor.email.empty()) out << "\t\tfoaf:mbox <mailto:" << vendor.email << "> ;\n";
        out << "\t] ;\n"
            << "\tlv2:optionalFeature lv2:hardRTCapable, urid:map, opts:options ;\n"
            << "\topts:supportedOption bufsz:maxBlockLength ;\n"
            << "\tlv2:extensionData state:interface ;\n"
            << "\tlv2:port ";
        const PortLayout& ports = plugin.ports;
        uint32_t index = 0;
        auto separator = [&] { out << (index == 0 ? "" : " , "); };
        for (const AudioPort& port : ports.inputs) {
            separator();
            audioPort(out, port, index++, true);
        }
        for (const AudioPort& port : ports.outputs) {
            separator();
            audioPort(out, port, index++, false);
        }
        for (const ControlPort& port : ports.controls) {
            separator();
            controlPort(out, port, index++);
        }
        separator();
        latencyPort(out, index);
        out << " .\n\n";
    }
    return out.str();
}

} // namespace Tannhofen::Lv2

// The remote map writer against a hand-written document, its order checks,
// and text that XML must escape, checked with xmllint.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "editor/remote_map_writer.h"
#include "frame/text.h"
#include "host/lib/memory_stream.h"
#include "tests/support/xml_lint.h"

using namespace Tannhofen;
using namespace Tannhofen::Plx;
using Editor::RemoteMapWriter;

namespace {

const FUID kClass{0x01234567, 0x89ABCDEF, 0x02468ACE, 0x13579BDF};

RepresentationInfo representation(const char* name, const char* host = "") {
    RepresentationInfo info{};
    copyBounded(info.vendor, sizeof info.vendor, "Acme");
    copyBounded(info.name, sizeof info.name, name);
    copyBounded(info.version, sizeof info.version, "2.1");
    copyBounded(info.host, sizeof info.host, host);
    return info;
}

ParameterInfo parameter(ParamID id, const std::string& title, const std::string& shortTitle = "",
                        int32 stepCount = 0, int32 flags = 0) {
    ParameterInfo info{};
    info.id = id;
    copyBounded16(info.title, 128, utf8ToUtf16(title).c_str());
    copyBounded16(info.shortTitle, 128, utf8ToUtf16(shortTitle).c_str());
    info.stepCount = stepCount;
    info.flags = flags;
    return info;
}

std::string text(const Host::MemoryStream& stream) {
    return {stream.bytes().begin(), stream.bytes().end()};
}

} // namespace

TEST(RemoteMapWriter, WritesTheExpectedDocument) {
    auto stream = IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create());
    {
        RemoteMapWriter writer(representation("Fader Box"), "Test Plug", "Tannhofen", kClass, stream.get());
        EXPECT_TRUE(writer.openPage("Main", 3));
        EXPECT_TRUE(writer.writeCellWithNamedLayer(parameter(7, "Gain", "Gn"), "volume"));
        EXPECT_TRUE(writer.writeEmptyCell());
        EXPECT_TRUE(writer.writeCellWithLayer(RemoteMapWriter::kLED, 9, nullptr, "blink"));
        EXPECT_TRUE(writer.closePage());
        EXPECT_TRUE(writer.openPage("Switches"));
        EXPECT_TRUE(writer.openCell());
        EXPECT_TRUE(writer.openLayer(parameter(1, "Bypass", "", 1, ParameterInfo::kIsBypass)));
        EXPECT_TRUE(writer.writeTitleDisplay(parameter(1, "Bypass", "Bypass")));
        EXPECT_EQ(writer.getState(), RemoteMapWriter::kInLayer);
        // Destroyed with the layer open: layer, cell and page close in that order.
    }
    const std::string expected =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
        "<!DOCTYPE plxXML PUBLIC \"-//Tannhofen//DTD PLX Remote 1.1//EN\" "
        "\"https://www.tannhofen.de/dtd/PLX-Remote-1.1.dtd\">\r\n"
        "<plxXML version=\"1.0\">\r\n"
        "<plugin classID=\"0123456789ABCDEF02468ACE13579BDF\" name=\"Test Plug\" vendor=\"Tannhofen\"/>\r\n"
        "\t<representation name=\"Fader Box\" vendor=\"Acme\" version=\"2.1\">\r\n"
        "<page name=\"Main\" unitID=\"3\">\r\n"
        "<cell>\r\n"
        "<layer type=\"knob\" parameterID=\"7\" function=\"volume\">\r\n"
        "<titleDisplay>\r\n"
        "<name>Gain</name>\r\n"
        "<name>Gn</name>\r\n"
        "</titleDisplay>\r\n"
        "</layer>\r\n"
        "</cell>\r\n"
        "<cell/>\r\n"
        "<cell>\r\n"
        "<layer type=\"LED\" parameterID=\"9\" ledStyle=\"blink\"/>\r\n"
        "</cell>\r\n"
        "</page>\r\n"
        "<page name=\"Switches\">\r\n"
        "<cell>\r\n"
        "<layer type=\"LED\" parameterID=\"1\">\r\n"
        "<titleDisplay>\r\n"
        "<name>Bypass</name>\r\n"
        "</titleDisplay>\r\n"
        "</layer>\r\n"
        "</cell>\r\n"
        "</page>\r\n"
        "\t</representation>\r\n"
        "</plxXML>\r\n";
    EXPECT_EQ(text(*stream.get()), expected);
    EXPECT_EQ(XmlLint::wellFormedError(expected), "");
}

TEST(RemoteMapWriter, ParameterDecidesTheLayer) {
    auto stream = IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create());
    {
        RemoteMapWriter writer(representation("R", "Studio"), "P", "V", kClass, stream.get());
        writer.openPage("p");
        writer.writeCellWithNamedLayer(parameter(1, "Mute", "", 1));
        writer.writeCellWithNamedLayer(parameter(2, "Bypass", "", 1, ParameterInfo::kIsBypass));
        writer.writeCellWithNamedLayer(parameter(3, "Mode", "", 3));
        EXPECT_TRUE(writer.writeCellWithNamedLayer(parameter(4, "")));
        writer.openCell();
        writer.writeLayer(RemoteMapWriter::kSwitch, 5, "f", "s");
        writer.writeLayer(RemoteMapWriter::kFader, 6, nullptr, "s");
    }
    const std::string doc = text(*stream.get());
    EXPECT_NE(doc.find("version=\"2.1\" host=\"Studio\">"), std::string::npos);
    EXPECT_NE(doc.find("<layer type=\"switch\" parameterID=\"1\" switchStyle=\"pushIncLooped\">"),
              std::string::npos);
    EXPECT_NE(doc.find("<layer type=\"LED\" parameterID=\"2\">"), std::string::npos);
    EXPECT_NE(doc.find("<layer type=\"knob\" parameterID=\"3\">"), std::string::npos);
    // An empty title gives the layer without a title display.
    EXPECT_NE(doc.find("<layer type=\"knob\" parameterID=\"4\">\r\n</layer>"), std::string::npos);
    EXPECT_EQ(XmlLint::xpath(doc, "count(//titleDisplay)"), "3");
    EXPECT_NE(doc.find("<layer type=\"switch\" parameterID=\"5\" function=\"f\" switchStyle=\"s\"/>"),
              std::string::npos);
    EXPECT_NE(doc.find("<layer type=\"fader\" parameterID=\"6\" style=\"s\"/>"), std::string::npos);
    EXPECT_EQ(XmlLint::wellFormedError(doc), "");
}

TEST(RemoteMapWriter, CallsOutOfOrderAnswerFalseAndWriteNothing) {
    using Call = std::function<bool(RemoteMapWriter&)>;
    const ParameterInfo gain = parameter(7, "Gain");
    const std::vector<std::pair<const char*, Call>> calls = {
        {"openPage", [](RemoteMapWriter& w) { return w.openPage("x"); }},
        {"closePage", [](RemoteMapWriter& w) { return w.closePage(); }},
        {"openCell", [](RemoteMapWriter& w) { return w.openCell(); }},
        {"closeCell", [](RemoteMapWriter& w) { return w.closeCell(); }},
        {"writeEmptyCell", [](RemoteMapWriter& w) { return w.writeEmptyCell(); }},
        {"openLayer", [](RemoteMapWriter& w) { return w.openLayer(RemoteMapWriter::kKnob, 1); }},
        {"openLayerInfo", [&gain](RemoteMapWriter& w) { return w.openLayer(gain); }},
        {"closeLayer", [](RemoteMapWriter& w) { return w.closeLayer(); }},
        {"writeLayer", [](RemoteMapWriter& w) { return w.writeLayer(RemoteMapWriter::kKnob, 1); }},
        {"writeCellWithLayer",
         [](RemoteMapWriter& w) { return w.writeCellWithLayer(RemoteMapWriter::kKnob, 1); }},
        {"writeCellWithNamedLayer", [&gain](RemoteMapWriter& w) { return w.writeCellWithNamedLayer(gain); }},
        {"writeTitleDisplay", [&gain](RemoteMapWriter& w) { return w.writeTitleDisplay(gain); }},
    };
    // What each state allows; the way into each state.
    const std::vector<std::vector<std::string>> allowed = {
        {"openPage"},
        {"closePage", "openCell", "writeEmptyCell", "writeCellWithLayer", "writeCellWithNamedLayer"},
        {"closeCell", "openLayer", "openLayerInfo", "writeLayer"},
        {"closeLayer", "writeTitleDisplay"},
    };
    for (int32 state = 0; state < 4; ++state) {
        auto stream = IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create());
        RemoteMapWriter writer(representation("R"), "P", "V", kClass, stream.get());
        if (state >= 1) writer.openPage("p");
        if (state >= 2) writer.openCell();
        if (state >= 3) writer.openLayer(RemoteMapWriter::kKnob, 1);
        ASSERT_EQ(writer.getState(), state);
        const size_t size = stream->bytes().size();
        for (const auto& [name, call] : calls) {
            if (std::find(allowed[state].begin(), allowed[state].end(), name) != allowed[state].end())
                continue;
            EXPECT_FALSE(call(writer)) << name << " in state " << state;
            EXPECT_EQ(writer.getState(), state) << name;
            EXPECT_EQ(stream->bytes().size(), size) << name << " in state " << state;
        }
        if (state == 2) {
            for (int32 type : {-1, 8, 1000}) {
                EXPECT_FALSE(writer.openLayer(type, 1)) << type;
                EXPECT_FALSE(writer.writeLayer(type, 1)) << type;
            }
            EXPECT_EQ(stream->bytes().size(), size);
        }
        if (state == 3) {
            EXPECT_FALSE(writer.writeTitleDisplay(parameter(1, ""))); // no title
        }
    }
    // Without a stream the writer keeps its order checks and writes nothing.
    RemoteMapWriter detached(representation("R"), "P", "V", kClass, nullptr);
    EXPECT_TRUE(detached.openPage("p"));
    EXPECT_FALSE(detached.openPage("p"));
}

TEST(RemoteMapWriter, TextThatXmlMustEscapeStaysWellFormedAndComesBack) {
    const std::string title = "Drive & <Tone> \"Hot\" 'x'";
    const std::string foreign = "H\xC3\xB6he \xE2\x80\x93 \xE9\xAB\x98\xE3\x81\x95 \xF0\x9F\x8E\x9B";
    const std::string page = "A&B <\"c\">\ttab";
    RepresentationInfo info = representation("");
    std::memset(info.name, 'N', sizeof info.name); // full field, no terminator
    copyBounded(info.vendor, sizeof info.vendor, "Ven\"dor & <Co>");
    copyBounded(info.host, sizeof info.host, "\xFF\xFEhost"); // not UTF-8
    auto stream = IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create());
    {
        RemoteMapWriter writer(info, "Plug & <Play>", nullptr, kClass, stream.get());
        writer.openPage(page.c_str());
        writer.writeCellWithNamedLayer(parameter(1, title, foreign), "f&\"<>");
        writer.writeCellWithNamedLayer(parameter(2, "ctl\x01\x1F"));
        writer.closePage();
        writer.openPage(nullptr);
    }
    const std::string doc = text(*stream.get());
    ASSERT_EQ(XmlLint::wellFormedError(doc), "") << doc;
    EXPECT_EQ(XmlLint::xpath(doc, "string((//name)[1])"), title);
    EXPECT_EQ(XmlLint::xpath(doc, "string((//name)[2])"), foreign);
    EXPECT_EQ(XmlLint::xpath(doc, "string(//page[1]/@name)"), page);
    EXPECT_EQ(XmlLint::xpath(doc, "string(//layer[1]/@function)"), "f&\"<>");
    EXPECT_EQ(XmlLint::xpath(doc, "string(//representation/@name)"), std::string(64, 'N'));
    EXPECT_EQ(XmlLint::xpath(doc, "string(//representation/@vendor)"), "Ven\"dor & <Co>");
    EXPECT_EQ(XmlLint::xpath(doc, "string(//representation/@host)"), "\xEF\xBF\xBD\xEF\xBF\xBDhost");
    EXPECT_EQ(XmlLint::xpath(doc, "string(//plugin/@name)"), "Plug & <Play>");
    EXPECT_EQ(XmlLint::xpath(doc, "string((//name)[3])"), "ctl\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(XmlLint::xpath(doc, "count(//page)"), "2");
}

TEST(RemoteMapWriter, ClassIdReadsAsItsFourWords) {
    EXPECT_EQ(RemoteMapWriter::classIdText(FUID(0x4A18B5A8, 0x8A6B44D4, 0xB78F6E2F, 0xCC4746A2)),
              "4A18B5A88A6B44D4B78F6E2FCC4746A2");
    EXPECT_EQ(RemoteMapWriter::classIdText(FUID()), std::string(32, '0'));
}

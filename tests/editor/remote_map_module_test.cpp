// Every remote map that the module's effects write, as a host asks for it:
// through the exports, on a processor and controller pair.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "frame/class_ids.h"
#include "frame/ixmlrepresentation.h"
#include "frame/speaker_layouts.h"
#include "frame/text.h"
#include "host/lib/host_application.h"
#include "host/lib/memory_stream.h"
#include "host/lib/module.h"
#include "host/lib/plugin.h"
#include "tests/support/xml_lint.h"

using namespace Tannhofen;
using namespace Tannhofen::Plx;

namespace {

constexpr const char* kProcessorCategory = "Audio Module Class";

std::string remoteMap(IPlxEditController* controller, const char* host) {
    auto maps = IPtr<IPlxXmlRepresentationController>::adopt(
        queryInterfaceOf<IPlxXmlRepresentationController>(controller));
    if (!maps) return {};
    RepresentationInfo info{};
    copyBounded(info.vendor, sizeof info.vendor, "Surface Maker");
    copyBounded(info.name, sizeof info.name, "Desk & <Pad>");
    copyBounded(info.version, sizeof info.version, "1.0");
    copyBounded(info.host, sizeof info.host, host);
    auto stream = IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create());
    EXPECT_EQ(maps->getXmlRepresentationSource(info, nullptr), kInvalidArgument);
    EXPECT_EQ(maps->getXmlRepresentationSource(info, stream.get()), kResultOk);
    return {stream->bytes().begin(), stream->bytes().end()};
}

// The parameter ids of the layers, in order.
std::vector<ParamID> layerIds(const std::string& doc) {
    std::vector<ParamID> ids;
    const std::string key = "parameterID=\"";
    for (size_t at = doc.find("<layer "); at != std::string::npos; at = doc.find("<layer ", at + 1)) {
        const size_t value = doc.find(key, at);
        if (value == std::string::npos || value > doc.find('>', at)) continue;
        ids.push_back(static_cast<ParamID>(std::stoul(doc.substr(value + key.size()))));
    }
    return ids;
}

// Whether every line feed follows a carriage return.
bool crlfOnly(const std::string& doc) {
    for (size_t i = 0; i < doc.size(); ++i)
        if (doc[i] == '\n' && (i == 0 || doc[i - 1] != '\r')) return false;
    return true;
}

class ModuleMaps : public ::testing::Test {
protected:
    void SetUp() override {
        std::string error;
        module = Host::Module::load(PLX_MODULE_PATH, &error);
        ASSERT_TRUE(module) << error;
    }
    std::unique_ptr<Host::Module> module;
    IPtr<Host::HostApplication> host = IPtr<Host::HostApplication>::adopt(Host::HostApplication::create());
};

} // namespace

TEST_F(ModuleMaps, EveryEffectWritesAWellFormedMapOfItsOwnParameters) {
    int checked = 0;
    for (const ClassInfo2& info : module->classes()) {
        if (std::string(info.category) != kProcessorCategory) continue;
        auto plugin = Host::Plugin::create(module->factory(), FUID(info.cid), host.get());
        if (!plugin) continue; // an effect the module can't create yet
        SCOPED_TRACE(info.name);
        ++checked;
        const std::string doc = remoteMap(plugin->controller(), "");
        ASSERT_FALSE(doc.empty()) << "the controller has no remote map";
        ASSERT_EQ(XmlLint::wellFormedError(doc), "");
        EXPECT_EQ(XmlLint::xpath(doc, "string(/plxXML/plugin/@name)"), info.name);
        EXPECT_EQ(XmlLint::xpath(doc, "string(/plxXML/plugin/@vendor)"), kVendorName);
        EXPECT_EQ(XmlLint::xpath(doc, "string(//representation/@name)"), "Desk & <Pad>");
        EXPECT_EQ(XmlLint::xpath(doc, "count(//representation/@host)"), "0");
        // Every line ends in CR LF.
        EXPECT_EQ(doc.substr(doc.size() - 2), "\r\n");
        EXPECT_TRUE(crlfOnly(doc));

        const std::vector<ParamID> ids = layerIds(doc);
        EXPECT_FALSE(ids.empty());
        EXPECT_EQ(std::set<ParamID>(ids.begin(), ids.end()).size(), ids.size()) << "a parameter twice";
        for (ParamID id : ids) {
            ParameterInfo parameter{};
            ASSERT_EQ(plugin->controller()->getParameterInfo(id, &parameter), kResultOk) << id;
            // The title display names the parameter by its own title.
            const std::string title = utf16ToUtf8(parameter.title);
            const std::string path =
                "string(//layer[@parameterID='" + std::to_string(id) + "']/titleDisplay/name[1])";
            EXPECT_EQ(XmlLint::xpath(doc, path), title) << id;
        }
    }
    EXPECT_GE(checked, 1);
}

TEST_F(ModuleMaps, MixMorphListsTheSpeakersOfItsPresentArrangements) {
    auto plugin = Host::Plugin::create(module->factory(), kMatrixMixerProcessorUID, host.get());
    ASSERT_TRUE(plugin);
    using namespace Layout;
    SpeakerArrangement in = k7_1_4;
    SpeakerArrangement out = k5_1;
    ASSERT_EQ(plugin->processor()->setBusArrangements(&in, 1, &out, 1), kResultOk);
    const std::string doc = remoteMap(plugin->controller(), "Studio");
    ASSERT_EQ(XmlLint::wellFormedError(doc), "");
    EXPECT_EQ(XmlLint::xpath(doc, "string(//representation/@host)"), "Studio");
    EXPECT_EQ(XmlLint::xpath(doc, "string(/plxXML/plugin/@classID)"), "4A18B5A88A6B44D4B78F6E2FCC4746A2");

    // Solo buttons by speaker index: input ids 59 + index, output ids 17 + index.
    // 7.1.4 holds L R C Ls Rs Sl Sr Tfl Tfr Trl Trr (indices 0 1 2 3 4 8 9 11 13 14 16) and LFE (24).
    std::set<ParamID> inputSpeakers, outputSpeakers;
    for (ParamID id : layerIds(doc)) {
        if (id >= 59 && id <= 84) inputSpeakers.insert(id);
        if (id >= 17 && id <= 42) outputSpeakers.insert(id);
    }
    EXPECT_EQ(inputSpeakers, (std::set<ParamID>{59, 60, 61, 62, 63, 67, 68, 70, 72, 73, 75, 83}));
    EXPECT_EQ(outputSpeakers, (std::set<ParamID>{17, 18, 19, 20, 21, 41}));
    // Functions are the names by which surfaces address the parameters.
    EXPECT_EQ(XmlLint::xpath(doc, "string(//layer[@parameterID='83']/@function)"), "speaker:subbass");
    EXPECT_EQ(XmlLint::xpath(doc, "string(//layer[@parameterID='41']/@function)"), "out:speaker:subbass");
    EXPECT_EQ(XmlLint::xpath(doc, "string(//layer[@parameterID='128']/@function)"), "centerLevel");
    // On/off parameters are looped push switches, levels are knobs.
    EXPECT_EQ(XmlLint::xpath(doc, "string(//layer[@parameterID='133']/@type)"), "switch");
    EXPECT_EQ(XmlLint::xpath(doc, "string(//layer[@parameterID='133']/@switchStyle)"), "pushIncLooped");
    EXPECT_EQ(XmlLint::xpath(doc, "string(//layer[@parameterID='134']/@type)"), "knob");
    EXPECT_EQ(XmlLint::xpath(doc, "count(//page)"), "4");

    // A stereo output offers no group that needs other speakers.
    out = kStereo;
    ASSERT_EQ(plugin->processor()->setBusArrangements(&in, 1, &out, 1), kResultOk);
    const std::string stereo = remoteMap(plugin->controller(), "");
    EXPECT_EQ(XmlLint::xpath(stereo, "count(//layer[@parameterID>=17 and @parameterID<=42])"), "2");
    EXPECT_EQ(XmlLint::xpath(stereo, "count(//layer[@parameterID='271' or @parameterID='273'])"), "0");
}

TEST_F(ModuleMaps, SphereDecoderPagesTheRotationTheFocusAndTheOutput) {
    auto plugin = Host::Plugin::create(module->factory(), kAmbiBinProcessorUID, host.get());
    ASSERT_TRUE(plugin);
    const std::string doc = remoteMap(plugin->controller(), "");
    ASSERT_EQ(XmlLint::wellFormedError(doc), "");
    EXPECT_EQ(XmlLint::xpath(doc, "string(/plxXML/plugin/@name)"), kAmbiBinName);
    EXPECT_EQ(XmlLint::xpath(doc, "count(//page)"), "3");
    // The pages in order, each with its parameters in order.
    const std::pair<const char*, std::vector<ParamID>> pages[] = {{"Rotation", {110, 111, 112, 123}},
                                                                  {"Focus", {134, 135, 136, 137, 138, 139}},
                                                                  {"Outputs", {133, 130, 131, 132}}};
    int index = 1;
    for (const auto& [name, ids] : pages) {
        const std::string page = "//page[" + std::to_string(index++) + "]";
        EXPECT_EQ(XmlLint::xpath(doc, "string(" + page + "/@name)"), name);
        std::vector<ParamID> listed;
        const int layers = std::stoi(XmlLint::xpath(doc, "count(" + page + "//layer)"));
        for (int k = 1; k <= layers; ++k)
            listed.push_back(static_cast<ParamID>(std::stoul(XmlLint::xpath(
                doc, "string((" + page + "//layer)[" + std::to_string(k) + "]/@parameterID)"))));
        EXPECT_EQ(listed, ids) << name;
    }
    // Surfaces address the parameters by their remote names; the focus
    // angles have none.
    const std::pair<ParamID, const char*> functions[] = {{110, "yaw"},
                                                         {111, "pitch"},
                                                         {112, "roll"},
                                                         {123, "headTrackingEnabled"},
                                                         {134, "focusOn"},
                                                         {130, "auxGain"},
                                                         {131, "lfeLevel"},
                                                         {132, "lowPassFilter"},
                                                         {133, "outputArrangement"},
                                                         {135, ""}};
    for (const auto& [id, function] : functions)
        EXPECT_EQ(XmlLint::xpath(doc, "string(//layer[@parameterID='" + std::to_string(id) + "']/@function)"),
                  function)
            << id;
}

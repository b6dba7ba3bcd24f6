// The panner's remote map as a host asks for it, through the exports: its
// four pages, the speakers of the present output, and the function names.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "frame/ixmlrepresentation.h"
#include "frame/speaker_layouts.h"
#include "frame/text.h"
#include "host/lib/memory_stream.h"
#include "tests/panner/panner_rig.h"
#include "tests/support/xml_lint.h"

namespace PannerTest {
namespace {

using namespace Plx;

std::string remoteMap(IPlxEditController* controller) {
    auto maps = IPtr<IPlxXmlRepresentationController>::adopt(
        queryInterfaceOf<IPlxXmlRepresentationController>(controller));
    EXPECT_TRUE(maps);
    if (!maps) return {};
    RepresentationInfo info{};
    copyBounded(info.name, sizeof info.name, "Desk");
    auto stream = IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create());
    EXPECT_EQ(maps->getXmlRepresentationSource(info, stream.get()), kResultOk);
    return {stream->bytes().begin(), stream->bytes().end()};
}

// The speaker rows (the on/off of each speaker, 203 + speaker index, and the
// LFE level 11) that the map's layers name.
std::set<int> speakerRows(const std::string& doc) {
    std::set<int> rows;
    for (int id = 0; id < 300; ++id) {
        if ((id < 203 || id > 228) && id != 11) continue;
        const std::string path = "count(//layer[@parameterID='" + std::to_string(id) + "'])";
        if (XmlLint::xpath(doc, path) != "0") rows.insert(id);
    }
    return rows;
}

TEST(PannerRemoteMap, PagesForPositionImageElevationAndThePresentSpeakers) {
    PannerRig rig;
    ASSERT_EQ(rig.arrange(Layout::kStereo, Layout::k7_1_4), kResultOk);
    const std::string doc = remoteMap(rig.controller);
    ASSERT_EQ(XmlLint::wellFormedError(doc), "");
    EXPECT_EQ(XmlLint::xpath(doc, "string(/plxXML/plugin/@name)"), "PLX RadialPanner");
    EXPECT_EQ(XmlLint::xpath(doc, "count(//page)"), "4");
    for (const char* page : {"Position", "Image", "Elevation", "Speakers"})
        EXPECT_EQ(XmlLint::xpath(doc, std::string("count(//page[@name='") + page + "'])"), "1") << page;
    // The centre and the orbit on the first page, by the names surfaces use.
    EXPECT_EQ(XmlLint::xpath(doc, "string(//page[@name='Position']//layer[@parameterID='0']/@function)"),
              "PanPosCenterX");
    EXPECT_EQ(XmlLint::xpath(doc, "string(//page[@name='Position']//layer[@parameterID='257']/@function)"),
              "PanOrbit");
    EXPECT_EQ(XmlLint::xpath(doc, "string(//page[@name='Image']//layer[@parameterID='202']/@function)"),
              "PanRotation");
    EXPECT_EQ(XmlLint::xpath(doc, "string(//page[@name='Elevation']//layer[@parameterID='111']/@function)"),
              "ElevationMode");
    // 7.1.4: L R C Ls Rs Sl Sr Tfl Tfr Trl Trr (speaker indices 0 1 2 3 4 8 9
    // 11 13 14 16), and the LFE level.
    EXPECT_EQ(speakerRows(doc), (std::set<int>{11, 203, 204, 205, 206, 207, 211, 212, 214, 216, 217, 219}));
    EXPECT_EQ(XmlLint::xpath(doc, "string(//layer[@parameterID='203']/@type)"), "switch");

    // Other outputs, other speakers: a stereo pair without LFE; an ambisonic
    // output has none to switch.
    ASSERT_EQ(rig.arrange(Layout::kMono, Layout::kStereo), kResultOk);
    EXPECT_EQ(speakerRows(remoteMap(rig.controller)), (std::set<int>{203, 204}));
    ASSERT_EQ(rig.arrange(Layout::kMono, Layout::kAmbi2), kResultOk);
    const std::string ambi = remoteMap(rig.controller);
    EXPECT_EQ(speakerRows(ambi), std::set<int>{});
    EXPECT_EQ(XmlLint::xpath(ambi, "count(//page)"), "4");
}

} // namespace
} // namespace PannerTest

// The module's classes and an effect's parameters, as plx lists them.
#include "tests/host/plx/plx_test_util.h"

using namespace PlxTest;

TEST(PlxList, ListsEveryClassWithItsCategory) {
    const PlxRun run = plx({"list"});
    ASSERT_EQ(run.status, 0) << run.err;
    for (const char* line :
         {"MixMorph V6 ", "MixMorph V6 Controller", "PLX RadialPanner", "PLX SphereDecoder"})
        EXPECT_NE(run.out.find(line), std::string::npos) << line;
    // A processor's line carries its category and sub-categories.
    const size_t mix = run.out.find("MixMorph V6 ");
    const std::string mixLine = run.out.substr(mix, run.out.find('\n', mix) - mix);
    EXPECT_NE(mixLine.find("Audio Module Class"), std::string::npos);
    EXPECT_NE(mixLine.find("Spatial|Fx|Up-Downmix"), std::string::npos);
    EXPECT_NE(run.out.find("Component Controller Class"), std::string::npos);
    // The default module is the one beside the executable; naming it gives the same.
    EXPECT_EQ(plx({"--module", PLX_MODULE_PATH, "list"}).out, run.out);
}

TEST(PlxList, AnEffectShowsItsParametersAndLayouts) {
    PLX_REQUIRE_MIXMORPH();
    const PlxRun run = plx({"list", "--effect", "mixmorph"});
    ASSERT_EQ(run.status, 0) << run.err;
    const size_t center = run.out.find("Center Level");
    ASSERT_NE(center, std::string::npos) << run.out;
    const std::string line = run.out.substr(run.out.rfind('\n', center) + 1,
                                            run.out.find('\n', center) - run.out.rfind('\n', center) - 1);
    EXPECT_NE(line.find("128"), std::string::npos) << line;
    EXPECT_NE(line.find("dB"), std::string::npos) << line;
    const size_t inputs = run.out.find("Inputs:");
    const size_t outputs = run.out.find("Outputs:");
    ASSERT_NE(inputs, std::string::npos);
    ASSERT_NE(outputs, std::string::npos);
    const std::string inputList = run.out.substr(inputs, outputs - inputs);
    const std::string outputList = run.out.substr(outputs);
    EXPECT_NE(inputList.find("7.1.4"), std::string::npos);
    // Ambisonic inputs are turned into speaker layouts, so they are not taken.
    EXPECT_EQ(inputList.find("1st Order Ambisonics"), std::string::npos);
    EXPECT_NE(outputList.find("Stereo,"), std::string::npos);
}

// Layout positions of input channels inside the image, worked out by hand
// from where each layout's speakers stand.
#include <gtest/gtest.h>

#include "frame/speaker_layouts.h"
#include "panner/image_layout.h"

namespace Tannhofen::Panner {
namespace {

using namespace Plx::Layout;

std::vector<Point3> layoutOf(Plx::SpeakerArrangement arrangement) {
    std::vector<Point3> positions;
    layoutPositions(Mix::SpeakerGrid(arrangement), positions);
    return positions;
}

TEST(PannerLayout, ChannelsStandWhereTheLayoutPutsThem) {
    // Grid order: rows bottom to top, zones front to rear, speakers left to right.
    EXPECT_EQ(layoutOf(kMono), (std::vector<Point3>{{0, 0, 0}}));
    // One zone stands on the y axis; the centre decides its depth.
    EXPECT_EQ(layoutOf(kStereo), (std::vector<Point3>{{-0.5f, 0, 0}, {0.5f, 0, 0}}));
    EXPECT_EQ(layoutOf(kStereoSlSr), (std::vector<Point3>{{-0.5f, 0, 0}, {0.5f, 0, 0}}));
    EXPECT_EQ(layoutOf(kStereoLsRs), (std::vector<Point3>{{-0.5f, 0, 0}, {0.5f, 0, 0}}));
    // L C R at the front, Ls Rs at the rear; the LFE has no place.
    EXPECT_EQ(layoutOf(k5_1),
              (std::vector<Point3>{
                  {-0.5f, -0.5f, 0}, {0, -0.5f, 0}, {0.5f, -0.5f, 0}, {-0.5f, 0.5f, 0}, {0.5f, 0.5f, 0}}));
    // Front, side and rear zones; the top row half a cube up, at its corners.
    EXPECT_EQ(layoutOf(k7_1_4), (std::vector<Point3>{{-0.5f, -0.5f, 0},
                                                     {0, -0.5f, 0},
                                                     {0.5f, -0.5f, 0},
                                                     {-0.5f, 0, 0},
                                                     {0.5f, 0, 0},
                                                     {-0.5f, 0.5f, 0},
                                                     {0.5f, 0.5f, 0},
                                                     {-0.5f, -0.5f, 0.5f},
                                                     {0.5f, -0.5f, 0.5f},
                                                     {-0.5f, 0.5f, 0.5f},
                                                     {0.5f, 0.5f, 0.5f}}));
    // The side tops of 7.1.2 stand above the sides, not at the rear.
    const std::vector<Point3> p712 = layoutOf(k7_1_2);
    ASSERT_EQ(p712.size(), 9u);
    EXPECT_EQ(p712[7], (Point3{-0.5f, 0, 0.5f}));
    EXPECT_EQ(p712[8], (Point3{0.5f, 0, 0.5f}));
    // 22.2: the bottom row at the front and below, the five front speakers
    // spread across, the top centre in the middle of the top row.
    const std::vector<Point3> p222 = layoutOf(k22_2);
    ASSERT_EQ(p222.size(), 22u);
    EXPECT_EQ(p222[0], (Point3{-0.5f, -0.5f, -0.5f})); // Bfl
    EXPECT_EQ(p222[1], (Point3{0, -0.5f, -0.5f}));     // Bfc
    EXPECT_EQ(p222[4], (Point3{-0.25f, -0.5f, 0}));    // Lc
    EXPECT_EQ(p222[11], (Point3{0, 0.5f, 0}));         // Cs
    EXPECT_EQ(p222[17], (Point3{0, 0, 0.5f}));         // Tc
    // The front-high pair of 7.1 stands at the front.
    EXPECT_EQ(layoutOf(k7_1CineFrontHigh)[5], (Point3{-0.5f, -0.5f, 0.5f}));
}

TEST(PannerLayout, HandlesAreTheFrontCornersOfTheMiddleRow) {
    auto handles = [](Plx::SpeakerArrangement arrangement) {
        int32_t left = -1, right = -1;
        const bool found = handleChannels(Mix::SpeakerGrid(arrangement), left, right);
        return std::array<int32_t, 3>{found ? 1 : 0, left, right};
    };
    EXPECT_EQ(handles(kMono), (std::array<int32_t, 3>{1, 0, 0}));
    EXPECT_EQ(handles(k5_1), (std::array<int32_t, 3>{1, 0, 2}));
    EXPECT_EQ(handles(kStereoLsRs), (std::array<int32_t, 3>{1, 0, 1}));
    // 22.2's bottom row comes first in grid order; its handles are L and R.
    EXPECT_EQ(handles(k22_2), (std::array<int32_t, 3>{1, 3, 7}));
    EXPECT_EQ(handles(0), (std::array<int32_t, 3>{0, -1, -1}));

    const Mix::SpeakerGrid grid(k7_1_4);
    std::vector<Point3> positions;
    layoutPositions(grid, positions);
    const ImageShape shape = imageShapeOf(grid, positions);
    EXPECT_TRUE(shape.multiChannel && shape.multiZone && shape.multiLayer);
    EXPECT_EQ(shape.frontChannels, 3);
    EXPECT_EQ(shape.handleMiddle, (Point3{0, -0.5f, 0}));
}

} // namespace
} // namespace Tannhofen::Panner

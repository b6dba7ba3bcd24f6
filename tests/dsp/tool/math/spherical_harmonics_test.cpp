// The SN3D harmonics evaluator against the Legendre-function definition, and
// the band property of SN3D: the squares of one band sum to 1 everywhere.
#include "dsp/tool/math/spherical_harmonics.h"
#include "tests/support/ambisonic_reference.h"

#include <gtest/gtest.h>

#include <random>

namespace Math = Tannhofen::DSP::Tool::Math;
namespace Ref = AmbiReference;

namespace {

TEST(SphericalHarmonics, MatchLegendreDefinitionAndBandPower) {
    std::mt19937 rng(7);
    for (int k = 0; k < 300; ++k) {
        const auto [a, random] = Ref::randomDirection(rng);
        const double e = k == 0 ? 90.0 : k == 1 ? -90.0 : random;
        double y[16];
        Math::sn3dHarmonics(a, e, y, 16);
        const auto v = Ref::direction(a, e);
        const auto reference = Ref::harmonics(v, 3);
        for (int i = 0; i < 16; ++i)
            ASSERT_NEAR(y[i], reference[i], 1e-12) << "acn " << i << " at " << a << ", " << e;
        for (int l = 0; l <= 3; ++l) {
            double power = 0;
            for (int i = l * l; i < (l + 1) * (l + 1); ++i) power += y[i] * y[i];
            ASSERT_NEAR(power, 1.0, 1e-12) << "band " << l;
        }
        double xyz[3];
        Math::directionVector(a, e, xyz);
        for (int i = 0; i < 3; ++i) ASSERT_NEAR(xyz[i], v[i], 1e-12);
    }
}

TEST(SphericalHarmonics, FillsOnlyWholeOrders) {
    const double sentinel = -7;
    for (uint32_t channels : {0u, 3u, 4u, 8u, 9u, 15u, 16u, 25u}) {
        double y[25];
        std::fill(y, y + 25, sentinel);
        Math::sn3dHarmonics(30, 10, y, channels);
        const int filled = channels >= 16 ? 16 : channels >= 9 ? 9 : channels >= 4 ? 4 : 0;
        for (int i = 0; i < 25; ++i) EXPECT_EQ(y[i] == sentinel, i >= filled) << channels << " " << i;
    }
    Math::sn3dHarmonics(0, 0, nullptr, 16); // nothing to fill, nothing happens
}

} // namespace

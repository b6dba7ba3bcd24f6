// The HRIR bank and its factory: the built-in sets, the choice of a set with
// its fallbacks, SOFA files good and broken, and personal profiles.
#include "ambi/hrir_bank.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "ambi/hrir_tables.h"
#include "dsp/tool/math/spherical_harmonics.h"

using namespace Tannhofen::AmbiBin;
using Tannhofen::DSP::Tool::Math::ambisonicChannels;
using Tannhofen::DSP::Tool::Math::sn3dHarmonics;

namespace {

const std::string kFixtures = std::string(PLX_SOURCE_DIR) + "/tests/ambi/data/";

template <class T>
class HrirBankTest : public ::testing::Test {};
using SampleTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(HrirBankTest, SampleTypes);

// A file in the test's temporary folder, removed at the end of the test.
struct TempFile {
    explicit TempFile(const std::string& name) : path(testing::TempDir() + name) {}
    ~TempFile() { std::filesystem::remove(path); }
    std::string path;
};

TYPED_TEST(HrirBankTest, HoldsTheSixBuiltInSetsAndStartsOnTheStandardThirdOrder) {
    using T = TypeParam;
    HrirBank<T> bank;
    ASSERT_EQ(bank.size(), 6u);
    // (mode, order, length with the 32 trailing zeros)
    const std::tuple<int32_t, uint32_t, uint32_t> expected[] = {{1, 1, 268}, {1, 2, 268}, {1, 3, 268},
                                                                {2, 1, 288}, {4, 2, 221}, {4, 3, 217}};
    for (size_t i = 0; i < 6; ++i) {
        const auto [mode, order, length] = expected[i];
        IHrir<T>* set = bank.hrirs[i].get();
        EXPECT_EQ(set->getMode(), mode);
        EXPECT_EQ(set->getOrder(), order);
        EXPECT_EQ(set->getLength(), length);
        EXPECT_EQ(set->getNumChannels(), ambisonicChannels(order));
        EXPECT_TRUE(set->isSymmetric());
        EXPECT_EQ(set->getRight(), nullptr);
        std::string name = "x";
        set->getName(name);
        EXPECT_EQ(name, "");
        EXPECT_EQ(bank.find(mode, order, "any name"), set);
    }
    EXPECT_EQ(bank.current, bank.hrirs[2].get());
    for (auto [mode, order] : {std::pair{2, 2u}, {4, 1u}, {1, 0u}, {1, 4u}, {3, 1u}, {5, 1u}, {0, 1u}})
        EXPECT_EQ(bank.factory.makeBuiltin(mode, order), nullptr) << mode << " " << order;
}

TEST(HrirTables, StandardRightEarsAreTheMirroredLeftEars) {
    for (const BuiltinHrirTable& table : kBuiltinHrirTables) {
        if (table.right == nullptr) continue;
        for (uint32_t c = 0; c < table.numChannels; ++c)
            for (uint32_t n = 0; n < table.length; ++n) {
                const size_t i = size_t(c) * table.length + n;
                ASSERT_EQ(table.right[i], mirrorSign(c) * table.left[i])
                    << table.order << " " << c << " " << n;
            }
    }
    // The harmonics that change sign in the mirror: those with m < 0.
    const std::vector<uint32_t> flipped = {1, 4, 5, 9, 10, 11};
    for (uint32_t c = 0; c < 16; ++c)
        EXPECT_EQ(mirrorSign(c), std::count(flipped.begin(), flipped.end(), c) ? -1.0 : 1.0) << c;
}

TYPED_TEST(HrirBankTest, FallsBackToTheStandardSetOfTheOrder) {
    using T = TypeParam;
    HrirBank<T> bank;
    struct Case {
        int32_t mode;
        uint32_t order;
        std::string name;
    };
    const Case cases[] = {{2, 2, ""},
                          {4, 1, ""},
                          {3, 2, ""},
                          {3, 3, "hrir.wav"},
                          {3, 1, kFixtures + "does_not_exist.sofa"},
                          {5, 2, "IMMERSE Profile: anyone"},
                          {5, 3, "someone"},
                          {7, 2, ""}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.mode << " " << c.order << " " << c.name);
        EXPECT_EQ(bank.select(c.mode, 48000.f, c.order, c.name, nullptr, false), 0);
        ASSERT_NE(bank.current, nullptr);
        EXPECT_EQ(bank.current->getMode(), kHrirStandard);
        EXPECT_EQ(bank.current->getOrder(), c.order);
        EXPECT_EQ(bank.current->getLength(), 291u); // 268 at 44.1 kHz, resampled to 48 kHz
    }
    EXPECT_EQ(bank.size(), 6u);
    // Built-in sets of other modes are met; at their own rate they stay untouched.
    EXPECT_EQ(bank.select(4, 48000.f, 2, "", nullptr, false), 1);
    EXPECT_EQ(bank.current, bank.hrirs[4].get());
    EXPECT_EQ(bank.current->getLeft()[3][5], T(kBuiltinHrirTables[4].leftFloat[3 * 189 + 5]));
    EXPECT_EQ(bank.select(1, 44100.f, 1, "", nullptr, false), 1);
    EXPECT_EQ(bank.current->getLength(), 267u); // resampled in place: 291 at 48 kHz back to 44.1 kHz
    // An order outside 1 to 3 leaves no current set rather than a wrong one.
    EXPECT_EQ(bank.select(1, 48000.f, 4, "", nullptr, false), 0);
    EXPECT_EQ(bank.current, nullptr);
}

// Reading the KEMAR file takes a second: once per sample type would prove
// nothing more, since the file path is the same up to the final conversion.
TEST(HrirBankSofa, LoadsTheKemarFileAndReusesItUnlessForced) {
    using T = float;
    HrirBank<T> bank;
    TempFile upper("KEMAR.SOFA");
    std::filesystem::copy_file(PLX_KEMAR_SOFA, upper.path, std::filesystem::copy_options::overwrite_existing);
    const std::string kemar = upper.path; // the ending is compared without regard to case
    ASSERT_EQ(bank.select(3, 48000.f, 3, kemar, nullptr, false), 1);
    IHrir<T>* first = bank.current;
    EXPECT_EQ(first->getMode(), kHrirSofa);
    EXPECT_FALSE(first->isSymmetric());
    EXPECT_EQ(first->getNumChannels(), 16u);
    EXPECT_EQ(first->getLength(), 558u + 32); // libmysofa reads the 512 samples of 44.1 kHz at 48 kHz
    EXPECT_EQ(bank.size(), 7u);
    // A source on +Y is louder in the left ear: the Y filter is positive-going
    // on the left, and the first-order filters differ between the ears.
    double left = 0, right = 0;
    for (uint32_t n = 0; n < first->getLength(); ++n) {
        left += std::pow(first->getLeft()[0][n] + first->getLeft()[1][n], 2);
        right += std::pow(first->getRight()[0][n] + first->getRight()[1][n], 2);
    }
    EXPECT_GT(left, 2 * right);

    EXPECT_EQ(bank.select(3, 96000.f, 3, kemar, nullptr, false), 1);
    EXPECT_EQ(bank.current, first);
    EXPECT_EQ(first->getLength(), 1180u);
    EXPECT_EQ(bank.select(3, 48000.f, 3, kemar, nullptr, true), 1);
    EXPECT_NE(bank.current, nullptr);
    EXPECT_EQ(bank.current->getLength(), 590u);
    EXPECT_EQ(bank.size(), 7u); // the new set replaced the old one
    EXPECT_EQ(bank.find(3, 3, kemar), bank.current);
    EXPECT_EQ(bank.find(3, 2, kemar), nullptr);
}

// A file of the 20 grid directions whose left ear hears 1 + 0.5 Y and right ear
// 1 - 0.5 Y, each as an impulse: the set holds W and Y, and nothing else.
TYPED_TEST(HrirBankTest, SofaSetOfAFirstOrderHeadHoldsWAndY) {
    using T = TypeParam;
    for (uint32_t order = 1; order <= 3; ++order) {
        HrirFactory<T> factory;
        auto set = factory.makeFromSofa(kFixtures + "grid20.sofa", order);
        ASSERT_NE(set, nullptr) << order;
        ASSERT_EQ(set->getNumChannels(), ambisonicChannels(order));
        EXPECT_EQ(set->getLength(), 64u);
        // libmysofa scales the whole file to its own loudness; the pattern stays.
        const double w = set->getLeft()[0][0];
        EXPECT_GT(w, 0.5);
        EXPECT_NEAR(set->getRight()[0][0], w, 1e-6);
        EXPECT_NEAR(set->getLeft()[1][0] / w, 0.5, 1e-5);
        EXPECT_NEAR(set->getRight()[1][0] / w, -0.5, 1e-5);
        for (uint32_t c = 2; c < set->getNumChannels(); ++c) {
            EXPECT_NEAR(set->getLeft()[c][0] / w, 0.0, 1e-5) << c;
            EXPECT_NEAR(set->getRight()[c][0] / w, 0.0, 1e-5) << c;
        }
        for (uint32_t c = 0; c < set->getNumChannels(); ++c)
            for (uint32_t n = 1; n < set->getLength(); ++n) EXPECT_EQ(set->getLeft()[c][n], T(0));
    }
}

TYPED_TEST(HrirBankTest, BrokenSofaFilesFallBackToTheStandardSet) {
    using T = TypeParam;
    TempFile truncated("truncated.sofa"), text("text.sofa"), empty("empty.sofa");
    {
        std::ifstream in(PLX_KEMAR_SOFA, std::ios::binary);
        std::vector<char> bytes(65536);
        in.read(bytes.data(), std::streamsize(bytes.size()));
        std::ofstream(truncated.path, std::ios::binary).write(bytes.data(), in.gcount());
        std::ofstream(text.path) << "netcdf not really {}\n";
        std::ofstream(empty.path);
    }
    const std::string broken[] = {truncated.path,
                                  text.path,
                                  empty.path,
                                  kFixtures + "zero_rate.sofa",
                                  kFixtures + "long_filter.sofa",
                                  kFixtures + "few_directions.sofa",
                                  testing::TempDir()};
    HrirBank<T> bank;
    for (const std::string& file : broken) {
        SCOPED_TRACE(file);
        EXPECT_EQ(bank.factory.makeFromSofa(file, 2), nullptr);
        EXPECT_EQ(bank.select(3, 48000.f, 2, file, nullptr, false), 0);
        EXPECT_EQ(bank.current->getMode(), kHrirStandard);
    }
    EXPECT_EQ(bank.size(), 6u);
    EXPECT_EQ(bank.factory.makeFromSofa(kFixtures + "grid20.sofa", 0), nullptr);
    EXPECT_EQ(bank.factory.makeFromSofa(kFixtures + "grid20.sofa", 4), nullptr);
}

// A profile source of a head that hears 1 + 0.5 Y on the left, measured at
// 26 directions, counting its loads and reporting a status on each.
struct FakeProfiles : IProfileSource {
    int32_t load(const std::string& name, IProfileStatusListener* listener, ProfileData& out) override {
        ++loads;
        listener->onStatus(name.c_str(), 7);
        if (result != kLoaded) return result;
        out.sampleRate = 44100;
        out.length = 8;
        for (double elevation : {-45.0, 0.0, 45.0})
            for (int i = 0; i < 8; ++i) {
                out.azimuth.push_back(45.0 * i + (elevation == 0 ? 0 : 22.5));
                out.elevation.push_back(elevation);
            }
        out.azimuth.insert(out.azimuth.end(), {0, 0});
        out.elevation.insert(out.elevation.end(), {90, -90});
        out.directions = uint32_t(out.azimuth.size());
        for (uint32_t p = 0; p < out.directions; ++p) {
            double y[4];
            sn3dHarmonics(out.azimuth[p], out.elevation[p], y, 4);
            for (uint32_t n = 0; n < out.length; ++n) {
                out.left.push_back(n == 0 ? float(1 + 0.5 * y[1]) : 0.f);
                out.right.push_back(n == 0 ? float(1 - 0.5 * y[1]) : 0.f);
            }
        }
        if (corrupt) out.left.pop_back();
        return kLoaded;
    }
    int32_t result = kLoaded;
    bool corrupt = false;
    int loads = 0;
};

struct StatusLog : IFactoryListener {
    void onFactoryStatus(const char* username, int32_t status) override {
        names.push_back(username);
        statuses.push_back(status);
    }
    std::vector<std::string> names;
    std::vector<int32_t> statuses;
};

TYPED_TEST(HrirBankTest, ProfilesAreAlwaysRebuiltAndFailuresFallBack) {
    using T = TypeParam;
    HrirBank<T> bank;
    FakeProfiles profiles;
    StatusLog log;
    bank.factory.setProfileSource(&profiles);
    const std::string name = std::string(kProfilePrefix) + "Ada";

    ASSERT_EQ(bank.select(5, 44100.f, 3, name, &log, false), 1);
    IHrir<T>* first = bank.current;
    EXPECT_EQ(first->getMode(), kHrirProfile);
    EXPECT_FALSE(first->isSymmetric());
    EXPECT_EQ(first->getLength(), 40u);
    const double w = first->getLeft()[0][0];
    EXPECT_NEAR(first->getLeft()[1][0] / w, 0.5, 1e-5);
    EXPECT_NEAR(first->getRight()[1][0] / w, -0.5, 1e-5);
    for (uint32_t c = 2; c < 16; ++c) EXPECT_NEAR(first->getLeft()[c][0] / w, 0.0, 1e-5) << c;
    EXPECT_EQ(log.names, std::vector<std::string>{name});
    EXPECT_EQ(log.statuses, std::vector<int32_t>{7});

    ASSERT_EQ(bank.select(5, 44100.f, 3, name, &log, false), 1);
    EXPECT_EQ(profiles.loads, 2);
    EXPECT_EQ(bank.size(), 7u);
    EXPECT_EQ(bank.find(5, 3, name), bank.current);

    for (auto [result, corrupt] : {std::pair{IProfileSource::kNotFound, false},
                                   {IProfileSource::kUnreadable, false},
                                   {IProfileSource::kLoaded, true}}) {
        profiles.result = result;
        profiles.corrupt = corrupt;
        EXPECT_EQ(bank.select(5, 44100.f, 2, name, &log, false), 0);
        EXPECT_EQ(bank.current->getMode(), kHrirStandard);
    }
    // Without a source the module has no profiles at all.
    bank.factory.setProfileSource(nullptr);
    profiles.result = IProfileSource::kLoaded;
    profiles.corrupt = false;
    EXPECT_EQ(bank.select(5, 44100.f, 3, name, &log, false), 0);
    EXPECT_EQ(profiles.loads, 5);
    // Status reports reach the listener of the latest request.
    StatusLog other;
    bank.factory.setProfileSource(&profiles);
    EXPECT_EQ(bank.select(5, 44100.f, 1, name, &other, false), 1);
    bank.factory.onStatus("late", 3);
    EXPECT_EQ(other.names.back(), "late");
    EXPECT_EQ(log.names.size(), 5u); // two loads and three failed ones
}

} // namespace

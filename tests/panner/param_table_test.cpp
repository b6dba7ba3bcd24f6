// The panner's parameter table as data: its shape, the conversions worked out
// by hand from the rows' ranges and scales, and the function-name lookup.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <set>

#include "panner/rpanner_param_table.h"

namespace {

using Tannhofen::Panner::pannerFunctionName;
using Tannhofen::Panner::pannerFunctionNameToId;
using Tannhofen::Panner::RPannerParamTable;
using Tannhofen::Plx::ParamInfoRecord;

const RPannerParamTable& table() {
    return RPannerParamTable::instance();
}

TEST(PannerParamTable, RowsInAscendingIdOrderWithTheirKinds) {
    const RPannerParamTable& t = table();
    ASSERT_EQ(t.count(), RPannerParamTable::kRowCount);
    std::set<int32_t> ids;
    int32_t meters = 0, saved = 0;
    for (int32_t i = 0; i < t.count(); ++i) {
        const ParamInfoRecord& r = t.row(i);
        if (i > 0) {
            EXPECT_LT(t.row(i - 1).id, r.id);
        }
        ids.insert(r.id);
        EXPECT_EQ(t.find(r.id), &r);
        if (r.id >= 407 && r.id <= 456) {
            ++meters;
            EXPECT_TRUE(r.flags & ParamInfoRecord::kReadOnly) << r.name;
        }
        if (!(r.flags & ParamInfoRecord::kNotSaved)) ++saved;
    }
    EXPECT_EQ(meters, RPannerParamTable::kMeterRows);
    // Saved: LFE level, bypass, 22 plain panner controls and 24 speaker switches.
    EXPECT_EQ(saved, 1 + 1 + 22 + 24);
    EXPECT_EQ(t.find(3), nullptr);
    EXPECT_EQ(t.find(227), nullptr); // the LFEs have no speaker switch

    const ParamInfoRecord* rotate = t.find(202);
    ASSERT_NE(rotate, nullptr);
    EXPECT_EQ(rotate->flags, ParamInfoRecord::kAutomatable | ParamInfoRecord::kWrapAround);
    const ParamInfoRecord* touched = t.find(285);
    ASSERT_NE(touched, nullptr);
    EXPECT_EQ(touched->flags,
              ParamInfoRecord::kReadOnly | ParamInfoRecord::kHidden | ParamInfoRecord::kNotSaved);
    EXPECT_STREQ(t.find(226)->name, "speakerBfr");
    EXPECT_STREQ(t.find(206)->title, "Left Surround Channel On/Off");
    EXPECT_STREQ(t.find(430)->title, "InVu 24");
    EXPECT_STREQ(t.find(431)->name, "outputGain0");
    EXPECT_STREQ(t.find(456)->name, "maxOutputGain");
    EXPECT_STREQ(t.find(42)->name, "outputSoloLfe2");
}

TEST(PannerParamTable, DefaultsAndConversionsFromTheRanges) {
    const RPannerParamTable& t = table();
    // Plain defaults through the ranges: posX 0 of -100..100, posY -100, scale
    // 100 % of 141.42 %, distance 10 m of 1..50 m, elevation on.
    EXPECT_DOUBLE_EQ(t.find(0)->defaultNormalized, 0.5);
    EXPECT_DOUBLE_EQ(t.find(1)->defaultNormalized, 0.0);
    EXPECT_NEAR(t.find(200)->defaultNormalized, 0.70710678, 1e-8);
    EXPECT_DOUBLE_EQ(t.find(117)->defaultNormalized, 9.0 / 49.0);
    EXPECT_DOUBLE_EQ(t.find(110)->defaultNormalized, 1.0);
    EXPECT_DOUBLE_EQ(t.find(203)->defaultNormalized, 1.0);

    EXPECT_DOUBLE_EQ(t.toPlain(0, 0.75), 50.0);
    EXPECT_DOUBLE_EQ(t.toPlain(202, 0.25), 90.0);
    EXPECT_DOUBLE_EQ(t.toPlain(111, 3.0 / 7.0), 3.0);
    EXPECT_DOUBLE_EQ(t.toNormalized(117, 50.0), 1.0);
    EXPECT_DOUBLE_EQ(t.toNormalized(0, 250.0), 1.0); // clamped at the ends
    // LFE: 0 dB stands at 0.5 on the 0..4 square scale; silence is -180 dB.
    EXPECT_NEAR(t.toPlain(11, 0.5), 0.0, 1e-6);
    EXPECT_EQ(t.toPlain(11, 0.0), -180.0);
    EXPECT_NEAR(t.toNormalized(11, 20.0 * std::log10(4.0)), 1.0, 1e-6);
    // Meters: the linear peak in decibels, -60 to +3.
    EXPECT_DOUBLE_EQ(t.toPlain(407, 1.0), 0.0);
    EXPECT_NEAR(t.toPlain(455, 0.5), -6.0206, 1e-4);
    EXPECT_EQ(t.toPlain(431, 1e-9), -60.0);
    EXPECT_EQ(t.toPlain(431, 10.0), 3.0);
    // Ids outside the table pass through.
    EXPECT_EQ(t.toPlain(3, 0.3), 0.3);
    EXPECT_EQ(t.toNormalized(3, 7.0), 7.0);

    // Every continuous row goes to plain and back unchanged.
    for (int32_t i = 0; i < t.count(); ++i) {
        const ParamInfoRecord& r = t.row(i);
        if (r.type != ParamInfoRecord::kFloat) continue;
        for (double n : {0.1, 0.5, 0.9})
            EXPECT_NEAR(t.toNormalized(r.id, t.toPlain(r.id, n)), n, 1e-6) << r.name;
    }
}

TEST(PannerParamTable, FunctionNames) {
    int32_t id = -1;
    EXPECT_TRUE(pannerFunctionNameToId("PanOrbit", id));
    EXPECT_EQ(id, 257);
    EXPECT_TRUE(pannerFunctionNameToId("PanPosFrontRightZ", id));
    EXPECT_EQ(id, 281);
    EXPECT_TRUE(pannerFunctionNameToId("has3DView", id));
    EXPECT_EQ(id, 283);
    EXPECT_TRUE(pannerFunctionNameToId("PanLfeGain", id));
    EXPECT_EQ(id, 11);
    EXPECT_FALSE(pannerFunctionNameToId("panorbit", id));
    EXPECT_EQ(id, 1024);
    EXPECT_FALSE(pannerFunctionNameToId(nullptr, id));
    EXPECT_EQ(id, 1024);
    // Each name leads back to the id it was found for; one name per id.
    int named = 0;
    for (int32_t p = 0; p < 1024; ++p) {
        const char* name = pannerFunctionName(p);
        if (!name) continue;
        ++named;
        EXPECT_TRUE(pannerFunctionNameToId(name, id)) << name;
        EXPECT_EQ(id, p) << name;
    }
    EXPECT_EQ(named, 37);
    EXPECT_STREQ(pannerFunctionName(202), "PanRotation");
    EXPECT_EQ(pannerFunctionName(113 + 1000), nullptr);
}

} // namespace

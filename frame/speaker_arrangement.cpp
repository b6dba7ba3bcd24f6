#include "frame/speaker_arrangement.h"

#include <algorithm>
#include <cmath>

namespace Tannhofen::Plx {

SpeakerArrangement indexToBit(int32_t index) {
    int32_t bit;
    if (index < 0) return 0;
    if (index <= 2)
        bit = index;
    else if (index <= 16)
        bit = index + 1;
    else if (index <= 23)
        bit = index + 7;
    else if (index == kLfeIndex)
        bit = 3;
    else if (index == kLfe2Index)
        bit = 18;
    else
        bit = index;
    return bit < 64 ? SpeakerArrangement{1} << bit : 0;
}

int32_t bitToIndex(SpeakerArrangement mask) {
    if (mask == Speaker::LFE) return kLfeIndex;
    if (mask == Speaker::LFE2) return kLfe2Index;
    if (mask == 0) return -1;
    // The bit number, rounded from the logarithm as the solo tables always did.
    const auto n =
        static_cast<int32_t>(std::trunc(std::log(static_cast<double>(mask)) / 0.6931471805599453 + 0.5));
    if (mask > 0xFFFFFF) return n - 7;
    if (mask > 8) return n - 1;
    return n;
}

const ArrangementInfo* arrangementTable() {
    return kArrangements;
}

const char* speakerArrangementName(SpeakerArrangement arrangement, bool longForm) {
    const auto* end = kArrangements + kArrangementCount;
    const auto* it =
        std::lower_bound(kArrangements, end, arrangement,
                         [](const ArrangementInfo& a, SpeakerArrangement m) { return a.mask < m; });
    if (it == end || it->mask != arrangement) return "";
    return longForm ? it->longName : it->shortName;
}

} // namespace Tannhofen::Plx

#include "mix/arrangement_list.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace Tannhofen::Mix {

using Plx::SpeakerArrangement;
namespace Spk = Plx::Speaker;

namespace {

// Masks that leave out groups of speakers.
constexpr SpeakerArrangement kWithoutBottomAndLfe2 = ~(Spk::Bfl | Spk::Bfc | Spk::Bfr | Spk::LFE2);
constexpr SpeakerArrangement kWithoutTopAndWide =
    ~(Spk::Lc | Spk::Rc | Spk::Cs | Spk::Trc | Spk::Tsl | Spk::Tsr);
constexpr SpeakerArrangement kWithoutLfes = ~(Spk::LFE | Spk::LFE2);
constexpr SpeakerArrangement kWithoutSides = ~(Spk::Sl | Spk::Sr | Spk::Pl | Spk::Pr);
constexpr SpeakerArrangement kWithoutCs = ~Spk::Cs;
constexpr SpeakerArrangement kWithoutLcRc = ~(Spk::Lc | Spk::Rc);
constexpr SpeakerArrangement kWithoutSurrounds = ~(Spk::Ls | Spk::Rs | Spk::Tsl | Spk::Tsr);

bool hasName(SpeakerArrangement mask) {
    return std::strlen(Plx::speakerArrangementName(mask, false)) > 0;
}

} // namespace

int32_t ArrangementList::indexOf(SpeakerArrangement mask) const {
    auto it = std::find(entries.begin(), entries.end(), mask);
    return it == entries.end() ? -1 : static_cast<int32_t>(it - entries.begin());
}

double ArrangementList::normalizedOf(int32_t index) const {
    if (count() < 2 || index < 0) return 0.0;
    return static_cast<double>(index) / (count() - 1);
}

int32_t ArrangementList::indexFromNormalized(double value) const {
    if (entries.empty()) return -1;
    double v = std::round((count() - 1) * value); // std::round goes half away from zero
    return static_cast<int32_t>(std::clamp(v, 0.0, static_cast<double>(count() - 1)));
}

void ArrangementList::insert(SpeakerArrangement mask) {
    if (!hasName(mask) || indexOf(mask) >= 0) return;
    const int32_t channels = Plx::channelCount(mask);
    // Behind the last entry with at most as many channels.
    auto it = entries.begin();
    for (auto e = entries.begin(); e != entries.end(); ++e)
        if (Plx::channelCount(*e) <= channels) it = e + 1;
    entries.insert(it, mask);
}

void ArrangementList::addDerived(SpeakerArrangement mask, SpeakerArrangement derived) {
    if (derived != mask) addArrangements(derived);
}

void ArrangementList::addArrangements(SpeakerArrangement mask) {
    if (Plx::channelCount(mask) < 2) return;
    insert(mask);
    if (Plx::channelCount(mask) == 2) return;

    if (mask & Spk::Bfl) {
        const SpeakerArrangement noBottom = mask & kWithoutBottomAndLfe2;
        addDerived(mask, noBottom);
        if (noBottom & Spk::Tsl) addDerived(noBottom, noBottom & kWithoutTopAndWide);
        return;
    }
    if (mask & Spk::LFE) addDerived(mask, mask & kWithoutLfes);
    if ((mask & Spk::Tfl) && (mask & (Spk::Sl | Spk::Pl))) addDerived(mask, mask & kWithoutSides);
    if (!(mask & Spk::Tsl)) {
        if (mask & Spk::Cs) addDerived(mask, mask & kWithoutCs);
        // Formats without any top speaker lose their sides, wides and
        // surrounds in turn.
        if (!(mask & (Spk::Tfc | Spk::Tc | Spk::Trl | Spk::Tfl))) {
            addDerived(mask, mask & kWithoutSides);
            addDerived(mask, mask & kWithoutLcRc);
            addDerived(mask, mask & kWithoutSurrounds);
        }
    }
}

} // namespace Tannhofen::Mix

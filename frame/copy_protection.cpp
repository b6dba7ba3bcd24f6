#include "frame/copy_protection.h"

#include <atomic>

namespace Tannhofen::Plx {

namespace {
std::atomic<int> forcedAnswer{-1};
}

bool copyProtectionPasses() {
    const int forced = forcedAnswer.load(std::memory_order_relaxed);
    return forced < 0 || forced == 1;
}

void overrideCopyProtectionForTesting(int answer) {
    forcedAnswer.store(answer < 0 ? -1 : (answer ? 1 : 0));
}

} // namespace Tannhofen::Plx

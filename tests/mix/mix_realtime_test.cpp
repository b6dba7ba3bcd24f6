// The model's setters and updates run on the audio thread: once the
// arrangements are set, nothing they do may allocate.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "mix_test_util.h"

namespace {
std::atomic<bool> counting{false};
std::atomic<int> allocations{0};
} // namespace

// The replacements pair malloc with free on purpose.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void* operator new(std::size_t size)
{
    if (counting.load(std::memory_order_relaxed))
        allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(size ? size : 1))
        return p;
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
#pragma GCC diagnostic pop

using namespace Tannhofen;
using namespace Tannhofen::Mix;

TEST(MixRealtime, SettersAndUpdatesDoNotAllocate)
{
    for (auto [in, out] : {std::pair<Plx::SpeakerArrangement, Plx::SpeakerArrangement>{0x7307FFFF, 0x2D63F},
                           {0x2D63F, 0x3}, {0x3F, 0x80000}, {0x3, 0x7307FFFF}}) {
        auto model = Mix::Test::makeModel(in, out);
        allocations = 0;
        counting = true;
        model->setDeferred(true);
        for (int id = 0; id < 300; ++id)
            model->setParamValue(id, 0.6);
        model->setDeferred(false);
        for (int id = 0; id < 300; ++id)
            model->setParamValue(id, 1.0);
        for (int id = 0; id < 300; ++id)
            model->setParamValue(id, 0.0);
        model->updateMain(true);
        model->updateMain(false);
        model->setLfeLevel(0.3);
        counting = false;
        EXPECT_EQ(allocations.load(), 0) << std::hex << in << " -> " << out;
    }
}

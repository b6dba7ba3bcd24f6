// libFuzzer target: plx's automation-file parser reads arbitrary bytes. Every
// input must end in an automation or in a refusal (UserError), never a crash,
// a hang or undefined behaviour, and:
// - a refusal is one line that quotes no more than a short excerpt of the
//   input, with no control bytes;
// - an accepted automation has, per parameter, points in strictly rising
//   time with values from 0 to 1, and schedules them in order into any block.
//
// The resolver stands in for an effect: parameters "a", "b" and the ids 1 to
// 3; values are normalized numbers.
#include <cstddef>
#include <cstdint>
#include <string>

#include "host/lib/parameter_changes.h"
#include "host/plx/automation.h"
#include "host/plx/cli.h"
#include "host/plx/values.h"

using namespace Tannhofen;
using namespace Tannhofen::Host::Cli;

namespace {

std::pair<Plx::ParamID, double> resolve(const std::string& parameter, const std::string& value) {
    long id = 0;
    if (parameter == "a" || parameter == "b")
        id = parameter == "a" ? 1 : 2;
    else if (!parseInteger(parameter, &id) || id < 1 || id > 3)
        throw UserError("unknown parameter " + quoted(parameter));
    double normalized = 0;
    if (!parseDecimal(value, &normalized) || normalized < 0 || normalized > 1)
        throw UserError("value " + quoted(value) + " is out of range");
    return {static_cast<Plx::ParamID>(id), normalized};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    Automation automation;
    try {
        automation = Automation::parse(text, "fuzz", 48000.0, resolve);
    } catch (const UserError& error) {
        const std::string message = error.what();
        if (message.size() > 400) __builtin_trap();
        for (unsigned char c : message)
            if (c < 0x20) __builtin_trap();
        return 0;
    }
    for (const Automation::Lane& lane : automation.lanes()) {
        if (lane.points.empty()) __builtin_trap();
        for (size_t i = 0; i < lane.points.size(); ++i) {
            const Automation::Point& point = lane.points[i];
            if (!(point.value >= 0.0 && point.value <= 1.0) || point.sample < 0) __builtin_trap();
            if (i > 0 && point.sample <= lane.points[i - 1].sample) __builtin_trap();
        }
    }
    // One block around the first point of each lane: the changes land inside
    // the block, in order.
    auto changes = Plx::IPtr<Host::ParameterChanges>::adopt(Host::ParameterChanges::create());
    for (const Automation::Lane& lane : automation.lanes()) {
        const int64_t start = std::max<int64_t>(0, lane.points.front().sample - 100);
        automation.schedule(start, 256, *changes.get());
    }
    return 0;
}

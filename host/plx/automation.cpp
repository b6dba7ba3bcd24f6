#include "host/plx/automation.h"

#include <algorithm>
#include <cmath>

#include "host/plx/cli.h"
#include "host/plx/output_file.h"
#include "host/plx/values.h"

namespace Tannhofen::Host::Cli {

namespace {

// Splits a line at spaces, tabs and commas; double quotes keep a field whole.
std::vector<std::string> fields(const std::string& line, bool* unterminated) {
    std::vector<std::string> out;
    std::string field;
    bool inField = false;
    bool inQuotes = false;
    for (char c : line) {
        if (inQuotes) {
            if (c == '"')
                inQuotes = false;
            else
                field += c;
        } else if (c == '"') {
            inQuotes = true;
            inField = true;
        } else if (c == ' ' || c == '\t' || c == ',' || c == '\r') {
            if (inField) out.push_back(field);
            field.clear();
            inField = false;
        } else {
            field += c;
            inField = true;
        }
    }
    if (inField) out.push_back(field);
    *unterminated = inQuotes;
    return out;
}

double valueAt(const Automation::Lane& lane, int64_t sample) {
    const auto& p = lane.points;
    auto next = std::upper_bound(p.begin(), p.end(), sample,
                                 [](int64_t s, const Automation::Point& point) { return s < point.sample; });
    if (next == p.begin()) return lane.startValue;
    if (next == p.end()) return p.back().value;
    const auto prev = next - 1;
    const double t =
        static_cast<double>(sample - prev->sample) / static_cast<double>(next->sample - prev->sample);
    return prev->value + (next->value - prev->value) * t;
}

} // namespace

bool Automation::parseTime(const std::string& text, double sampleRate, int64_t* sample) {
    double scale = sampleRate;
    std::string number = text;
    auto strip = [&](const std::string& suffix, double factor) {
        if (number.size() > suffix.size() &&
            number.compare(number.size() - suffix.size(), suffix.size(), suffix) == 0) {
            number.resize(number.size() - suffix.size());
            scale = factor;
            return true;
        }
        return false;
    };
    strip("smp", 1.0) || strip("ms", sampleRate / 1000.0) || strip("s", sampleRate);
    double value = 0;
    if (!parseDecimal(number, &value) || value < 0) return false;
    const double samples = value * scale;
    if (scale == 1.0 && samples != std::floor(samples)) return false;
    if (samples > 9.0e15) return false;
    *sample = static_cast<int64_t>(std::llround(samples));
    return true;
}

Automation Automation::load(const std::string& path, double sampleRate, const Resolver& resolve) {
    const std::vector<uint8_t> bytes = readSmallFile(path, "automation file", kMaxSmallFileBytes);
    return parse(std::string(bytes.begin(), bytes.end()), shown(path), sampleRate, resolve);
}

void forEachLine(
    const std::string& text, const std::string& source, const std::string& shape,
    const std::function<void(const std::vector<std::string>& fields, const std::string& where)>& take) {
    int lineNumber = 0;
    for (size_t start = 0; start < text.size();) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        ++lineNumber;
        const std::string where = source + ":" + std::to_string(lineNumber) + ": ";
        if (end - start > kMaxAutomationLine)
            throw UserError(where + "the line is longer than " + std::to_string(kMaxAutomationLine) +
                            " bytes; a point is " + shape);
        std::string line = text.substr(start, end - start);
        start = end + 1;
        const size_t hash = line.find('#');
        if (hash != std::string::npos) line.resize(hash);
        bool unterminated = false;
        const std::vector<std::string> f = fields(line, &unterminated);
        if (f.empty()) continue;
        if (unterminated) throw UserError(where + "a quote is not closed");
        take(f, where);
    }
}

Automation Automation::parse(const std::string& text, const std::string& source, double sampleRate,
                             const Resolver& resolve) {
    Automation automation;
    forEachLine(text, source, "TIME PARAMETER VALUE",
                [&](const std::vector<std::string>& f, const std::string& where) {
                    if (f.size() != 3)
                        throw UserError(where + "expected TIME PARAMETER VALUE, not " +
                                        std::to_string(f.size()) + " fields");
                    int64_t sample = 0;
                    if (!parseTime(f[0], sampleRate, &sample))
                        throw UserError(where + "bad time " + quoted(f[0]) +
                                        " (seconds as 1.5 or 1.5s, 250ms, or samples as 72000smp)");
                    try {
                        const std::pair<Plx::ParamID, double> resolved = resolve(f[1], f[2]);
                        const Plx::ParamID id = resolved.first;
                        auto lane = std::find_if(automation.laneList.begin(), automation.laneList.end(),
                                                 [&](const Lane& l) { return l.id == id; });
                        if (lane == automation.laneList.end()) {
                            automation.laneList.push_back({id, 0.0, {}});
                            lane = automation.laneList.end() - 1;
                        }
                        lane->points.push_back({sample, resolved.second});
                    } catch (const UserError& error) {
                        throw UserError(where + error.what());
                    }
                });
    for (Lane& lane : automation.laneList) {
        std::stable_sort(lane.points.begin(), lane.points.end(),
                         [](const Point& a, const Point& b) { return a.sample < b.sample; });
        // Of several points at one time the last one written counts.
        std::vector<Point> unique;
        for (const Point& point : lane.points) {
            if (!unique.empty() && unique.back().sample == point.sample)
                unique.back() = point;
            else
                unique.push_back(point);
        }
        lane.points = std::move(unique);
    }
    return automation;
}

void Automation::setStartValues(const std::function<double(Plx::ParamID)>& valueOf) {
    for (Lane& lane : laneList) lane.startValue = valueOf(lane.id);
}

void Automation::schedule(int64_t start, int32_t length, ParameterChanges& changes) const {
    const int64_t last = start + length - 1;
    for (const Lane& lane : laneList) {
        const int64_t first = lane.points.front().sample;
        const int64_t end = lane.points.back().sample;
        if (last < first - 1 || start > end) continue;
        auto add = [&](int64_t sample, double value) {
            changes.addChange(lane.id, static_cast<int32_t>(sample - start), value);
        };
        // Hold the starting value up to the first point, so that it is a jump.
        if (first - 1 >= start) add(first - 1, lane.startValue);
        auto it = std::lower_bound(lane.points.begin(), lane.points.end(), start,
                                   [](const Point& point, int64_t s) { return point.sample < s; });
        for (; it != lane.points.end() && it->sample <= last; ++it) add(it->sample, it->value);
        if (last >= first && last < end) add(last, valueAt(lane, last));
    }
}

} // namespace Tannhofen::Host::Cli

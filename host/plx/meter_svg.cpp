#include "host/plx/meter_svg.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "editor/meter_text.h"
#include "editor/xml_text.h"
#include "frame/iconnectionpoint.h"
#include "host/lib/message.h"
#include "host/plx/svg.h"
#include "mix/mix_messages.h"

namespace Tannhofen::Host::Cli {

using namespace Plx;

namespace {

// Geometry of the drawing, in SVG units.
constexpr double kLeft = 64, kPlotWidth = 840, kRight = 110, kTop = 58, kRowHeight = 40, kRowGap = 10,
                 kBottom = 40;
constexpr double kGridDecibels[] = {0, -6, -12, -24, -48};

} // namespace

MeterRecorder::MeterRecorder(Effect& effect, std::vector<std::string> labels, double sampleRate)
    : effect(effect),
      labels(std::move(labels)),
      sampleRate(sampleRate),
      meter(false, Mix::MeterId::kOutputPeakFirst, static_cast<int32>(this->labels.size())),
      held(this->labels.size(), 0.0f) {
    effect.observeOutput([this](ParameterChanges& changes, int64_t blockEnd) { take(changes, blockEnd); });
}

MeterRecorder::~MeterRecorder() {
    effect.observeOutput({});
}

void MeterRecorder::start(uint32_t latencySamples) {
    latency = latencySamples;
    IPtr<IConnectionPoint> point =
        IPtr<IConnectionPoint>::adopt(queryInterfaceOf<IConnectionPoint>(effect.processor()));
    if (!point) return;
    IPtr<HostMessage> message = IPtr<HostMessage>::adopt(HostMessage::create());
    message->setMessageID(Mix::Msg::kOutputVuMeter);
    message->getAttributes()->setInt(Mix::Msg::kOutputVuMeter, 1);
    point->notify(message.get());
}

void MeterRecorder::take(ParameterChanges& changes, int64_t blockEnd) {
    const double ms = 1000.0 * static_cast<double>(std::max<int64_t>(0, blockEnd - latency)) / sampleRate;
    bool any = false;
    for (int32 i = 0; i < changes.getParameterCount(); ++i) {
        IParamValueQueue* queue = changes.getParameterData(i);
        if (!queue) continue;
        const auto channel = static_cast<int32>(queue->getParameterId()) - meter.getFirstParameterId();
        if (channel < 0 || channel >= meter.getChannelCount()) continue;
        for (int32 p = 0; p < queue->getPointCount(); ++p) {
            int32 offset = 0;
            ParamValue value = 0;
            if (queue->getPoint(p, &offset, &value) != kResultOk) continue;
            meter.update(channel, static_cast<float>(value), ms);
            float& peak = held[static_cast<size_t>(channel)];
            peak = std::max(peak, static_cast<float>(value));
            any = true;
        }
    }
    if (!any) return;
    Column column{ms, {}, held};
    for (int32 c = 0; c < meter.getChannelCount(); ++c)
        column.fraction.push_back(meter.getDisplayFraction(c));
    columns.push_back(std::move(column));
}

std::string MeterRecorder::svg(const std::string& title, double seconds) const {
    const size_t rows = labels.size();
    const double width = kLeft + kPlotWidth + kRight;
    const double height = kTop + static_cast<double>(rows) * (kRowHeight + kRowGap) + kBottom;
    const double span = seconds > 0 ? seconds * 1000.0 : 1.0;
    auto x = [span](double ms) { return kLeft + kPlotWidth * std::clamp(ms / span, 0.0, 1.0); };
    const Editor::MeterLaw::ScaleTable& table = meter.getScaleTable();
    auto fractionOf = [&table](double level) { return Editor::MeterLaw::levelFraction(table, level); };

    std::string svg = svgHead(width, height, title);
    svg += "<text x=\"10\" y=\"38\" fill=\"#555\">green: the meter as displayed (scale law, fall "
           "at " +
           svgFormat("%.1f", meter.getDecayRate()) +
           "/s); orange: held peak; grid: 0, -6, -12, -24, -48 dB</text>\n";
    for (size_t r = 0; r < rows; ++r) {
        const double top = kTop + static_cast<double>(r) * (kRowHeight + kRowGap);
        const double bottom = top + kRowHeight;
        auto y = [&](double fraction) { return bottom - kRowHeight * std::clamp(fraction, 0.0, 1.0); };
        svg += svgFormat("<text x=\"%.0f\" y=\"%.1f\" text-anchor=\"end\">", kLeft - 8,
                         top + kRowHeight / 2 + 4) +
               Editor::xmlEscape(labels[r]) + "</text>\n";
        svg += svgFormat("<rect x=\"%.0f\" y=\"%.1f\" width=\"%.0f\" height=\"%.0f\" fill=\"#202020\"/>\n",
                         kLeft, top, kPlotWidth, kRowHeight);
        for (double decibels : kGridDecibels) {
            const double gy = y(fractionOf(std::pow(10.0, decibels / 20.0)));
            svg += svgFormat("<line x1=\"%.0f\" y1=\"%.1f\" x2=\"%.0f\" y2=\"%.1f\" ", kLeft, gy,
                             kLeft + kPlotWidth, gy) +
                   (decibels == 0 ? "stroke=\"#a04040\"" : "stroke=\"#505050\"") +
                   " stroke-width=\"0.5\"/>\n";
        }
        if (!columns.empty()) {
            std::string area = svgFormat("%.1f,%.1f", x(columns.front().ms), bottom);
            std::string peakLine;
            for (const Column& column : columns) {
                area += svgFormat(" %.1f,%.1f", x(column.ms), y(column.fraction[r]));
                peakLine += svgFormat(" %.1f,%.1f", x(column.ms), y(fractionOf(column.held[r])));
            }
            area += svgFormat(" %.1f,%.1f", x(columns.back().ms), bottom);
            svg += "<polygon points=\"" + area + "\" fill=\"#3cc83c\"/>\n";
            svg += "<polyline points=\"" + peakLine +
                   "\" fill=\"none\" stroke=\"#ff9900\" stroke-width=\"1.2\"/>\n";
        }
        // The peak display's text, in decibels unless it reads minus infinity.
        Editor::PeakText peak = Editor::peakDisplayText(held[r], Editor::MeterLaw::kMinimumLevel);
        if (peak.text != "-oo") peak.text += " dB";
        svg += svgFormat("<text x=\"%.0f\" y=\"%.1f\" ", kLeft + kPlotWidth + 10, top + kRowHeight / 2 + 4) +
               (peak.overFullScale ? "fill=\"#d02020\"" : "fill=\"#202020\"") + ">peak " +
               Editor::xmlEscape(peak.text) + "</text>\n";
    }
    const double axis = kTop + static_cast<double>(rows) * (kRowHeight + kRowGap) + 4;
    const double step = seconds > 20 ? 5.0 : 1.0;
    for (double s = 0; s <= seconds + 1e-9; s += step)
        svg += svgFormat("<text x=\"%.1f\" y=\"%.0f\" text-anchor=\"middle\" fill=\"#555\">%.0f s</text>\n",
                         x(s * 1000.0), axis + 12, s);
    if (columns.empty())
        svg += svgFormat(
            "<text x=\"%.0f\" y=\"%.0f\" fill=\"#d02020\">the effect reported no output meters</text>\n",
            kLeft, axis + 28);
    svg += "</svg>\n";
    return svg;
}

} // namespace Tannhofen::Host::Cli

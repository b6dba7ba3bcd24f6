// The meter views of the editor, without drawing: LevelMeterView, the bar
// meter with its ballistics, and PeakDisplayView, the numeric display of the
// held peak. Both run on the user-interface thread.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "editor/meter_law.h"
#include "editor/skin_attributes.h"
#include "frame/funknown.h"

namespace Tannhofen::Editor {

// Skin attributes of the meters.
namespace MeterSkin {
inline constexpr const char* kOrientation = "meter-orientation"; // "horizontal" or not
inline constexpr const char* kHorizontal = "horizontal";
inline constexpr const char* kBackBitmap = "meter-name-back";
inline constexpr const char* kForeBitmap = "meter-name-fore";
// The fall, as a factor f from 0.01 to 1.0: the decay rate is (1 - f) * 100.
inline constexpr const char* kDecay = "meter-decay";
inline constexpr const char* kNormalColour = "ap.vu.norm"; // the peak display up to full scale
inline constexpr const char* kPeakColour = "ap.vu.peak";   // the peak display above it
} // namespace MeterSkin

class MeterView {
public:
    explicit MeterView(bool input) : input(input) {}
    virtual ~MeterView() = default;
    // Whether it shows the input side.
    bool isInput() const { return input; }

private:
    bool input;
};

// A meter of one or more channels. Each channel's parameter is
// firstParameterId + channel. A new value rises the displayed level at once;
// otherwise the level falls by (1 - decayRate * dt) over the dt seconds since
// the channel's last update, and a value that comes within the same
// millisecond as that update is kept for the next one, so no peak is lost.
class LevelMeterView : public MeterView {
public:
    static constexpr Plx::int32 kDefaultMeterMode = 6;

    LevelMeterView(bool input, Plx::int32 firstParameterId, Plx::int32 channels,
                   const SkinAttributes& skin = {});

    // New channel count, kept within 0 and the meters' maximum; all levels 0.
    void setChannelCount(Plx::int32 channels);
    Plx::int32 getChannelCount() const { return static_cast<Plx::int32>(levels.size()); }

    // A parameter value at `timeMs` on the platform clock: a channel's value,
    // or the view's mode, peak or scale; false for an id it doesn't take.
    bool setParamValue(Plx::int32 id, double value, double timeMs);
    // One channel's new peak at `timeMs`; nothing for a channel it lacks.
    void update(Plx::int32 channel, float value, double timeMs);
    // Every level to 0 at once, with no fall.
    void clear();

    float getLevel(Plx::int32 channel) const;
    // The displayed level as the fraction of the meter's length it fills.
    double getDisplayFraction(Plx::int32 channel) const;
    // Whether something changed since the last call, and clears that.
    bool takeRedraw();

    Plx::int32 getMeterMode() const { return meterMode; }
    float getDecayRate() const { return decayRate; }
    float getPeakValue() const { return peakValue; }
    float getScaleValue() const { return scaleValue; }
    Plx::int32 getFirstParameterId() const { return firstParameterId; }
    bool isHorizontal() const { return horizontal; }
    const std::string& getBackBitmap() const { return backBitmap; }
    const std::string& getForeBitmap() const { return foreBitmap; }
    const MeterLaw::ScaleTable& getScaleTable() const { return scaleTable; }

    // Milliseconds on the platform's steady clock, the time the editor's
    // update timer gives the meters.
    static double platformClockMs();

private:
    struct Pending {
        bool set = false;
        float value = 0.0f;
    };

    Plx::int32 meterMode = kDefaultMeterMode;
    float minimumLevel = MeterLaw::kMinimumLevel;
    float maximumLevel = MeterLaw::kMaximumLevel;
    float decayRate = MeterLaw::kDefaultDecayRate;
    double scaleFullIndex = MeterLaw::kScaleFullIndex;
    float peakValue = 0.0f;
    float scaleValue = 1.0f;
    Plx::int32 firstParameterId;
    std::vector<double> lastUpdateTimes; // seconds
    std::vector<float> levels;
    MeterLaw::ScaleTable scaleTable;
    std::vector<Pending> pending;
    bool horizontal = false;
    std::string backBitmap;
    std::string foreBitmap;
    bool redraw = false;
};

// What a peak display draws.
struct PeakDrawing {
    std::string text;
    std::string colour;
    const char* font = nullptr;
};

// The numeric display of the held peak of one side. It reads the peak
// (kPeakValue) and its floor (kPeakFloor) through the editor's parameter
// layer each time it draws.
class PeakDisplayView : public MeterView {
public:
    static constexpr const char* kFont = "Arial";
    static constexpr const char* kDefaultNormalColour = "#E0E0E0";
    static constexpr const char* kDefaultPeakColour = "#FF3030";
    // A failed read of the parameter layer.
    static constexpr Plx::tresult kReadFailed = static_cast<Plx::tresult>(0x80004005u);

    // Reads a parameter of the layer; false when it can't.
    using ParameterReader = std::function<bool(Plx::int32 id, double& value)>;

    // `units`, when `showUnits` holds, follows the number.
    PeakDisplayView(bool input, const SkinAttributes& skin, std::string units = {}, bool showUnits = false);

    Plx::tresult draw(const ParameterReader& read, PeakDrawing& out) const;

    const std::string& getNormalColour() const { return normalColour; }
    const std::string& getPeakColour() const { return peakColour; }

private:
    std::string normalColour;
    std::string peakColour;
    std::string units;
    bool showUnits;
};

} // namespace Tannhofen::Editor

#include "ambi/head_tracker_link.h"

#include <algorithm>
#include <cmath>

namespace Tannhofen::AmbiBin {

namespace {

constexpr double kInverseTwoPi = 0.15915494309189535;
constexpr double kInversePi = 0.3183098861837907;

double wrapUnit(double v) {
    return v - std::floor(v);
}

} // namespace

double trackerYawToNormalized(double radians) {
    const double v = radians * kInverseTwoPi + 0.5;
    // pi itself stays at the top of the range rather than wrapping to 0.
    return v >= 0 && v <= 1 ? v : wrapUnit(v);
}

double trackerPitchToNormalized(double radians) {
    return std::clamp(radians * kInversePi + 0.5, 0.0, 1.0);
}

double trackerRollToNormalized(double radians) {
    return trackerYawToNormalized(radians);
}

HeadTrackerLink::~HeadTrackerLink() {
    disconnect();
}

void HeadTrackerLink::connect(Plx::FUnknown* hostContext) {
    disconnect();
    Plx::IPlxHeadTracking* found = Plx::queryInterfaceOf<Plx::IPlxHeadTracking>(hostContext);
    if (!found) return;
    if (found->registerReceiver(this) != Plx::kResultOk) {
        found->release();
        return;
    }
    service = found;
}

void HeadTrackerLink::disconnect() {
    if (!service) return;
    service->unregisterReceiver(this);
    service->release();
    service = nullptr;
}

void HeadTrackerLink::onHeadOrientation(float yawRadians, float pitchRadians, float rollRadians) {
    if (std::isnan(yawRadians) || std::isnan(pitchRadians) || std::isnan(rollRadians)) return;
    if (!std::isfinite(yawRadians) || !std::isfinite(rollRadians)) return;
    yaw = trackerYawToNormalized(yawRadians);
    pitch = trackerPitchToNormalized(pitchRadians);
    roll = trackerRollToNormalized(rollRadians);
    if (mode == kTracking) sink.onTrackedRotation(yaw, pitch, roll);
}

} // namespace Tannhofen::AmbiBin

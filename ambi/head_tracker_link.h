// HeadTrackerLink: the decoder controller's link to a host's head-tracking
// service. It registers with the service when the host offers one (and stays
// idle otherwise), turns each report of three angles in radians into the
// normalised values of the yaw, pitch and roll parameters, and, while its mode
// is "tracking", hands them to the controller, which edits the parameters.
#pragma once

#include <cstdint>

#include "frame/iheadtracking.h"

namespace Tannhofen::AmbiBin {

// Radians to the normalised values of the rotation parameters. Yaw and roll
// span -pi..pi and wrap around; pitch spans -pi/2..pi/2 and is held at its ends.
double trackerYawToNormalized(double radians);
double trackerPitchToNormalized(double radians);
double trackerRollToNormalized(double radians);

class HeadTrackerLink : public Plx::IHeadTrackingReceiver {
public:
    enum Mode : int32_t { kTracking = 1, kOff = 2 };

    // Told the normalised angles of each report while tracking.
    class Sink {
    public:
        virtual void onTrackedRotation(double yaw, double pitch, double roll) = 0;

    protected:
        ~Sink() = default;
    };

    explicit HeadTrackerLink(Sink& sink) : sink(sink) {}
    HeadTrackerLink(const HeadTrackerLink&) = delete;
    HeadTrackerLink& operator=(const HeadTrackerLink&) = delete;
    ~HeadTrackerLink();

    // Registers with the service of the host context, if there is one.
    void connect(Plx::FUnknown* hostContext);
    void disconnect();
    bool isConnected() const { return service != nullptr; }

    // Keeps the angles; hands them on while tracking. NaN angles are ignored.
    void onHeadOrientation(float yaw, float pitch, float roll) override;

    int32_t mode = kOff;
    double yaw = 0.5; // the last angles, normalised
    double pitch = 0.5;
    double roll = 0.5;
    bool usedInControlRoom = false;

private:
    Sink& sink;
    Plx::IPlxHeadTracking* service = nullptr; // holds a reference while registered
};

} // namespace Tannhofen::AmbiBin

// The personal-profile source: an outside HRTF service whose library lists
// profiles by name and loads one as a sample rate, measured directions and
// their impulse responses, or fails. It reports its status (a user name and a
// number) through a listener, on a thread of its own.
//
// The module has no such library: its only source answers failure, so that a
// profile request always ends in the standard set. Another source plugs in
// behind IProfileSource without touching the decoder.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Tannhofen::AmbiBin {

// Every profile name starts with this.
inline constexpr const char* kProfilePrefix = "IMMERSE Profile: ";

// The decoder's side of status reports: the processor forwards each one to its
// controller.
class IFactoryListener {
public:
    virtual void onFactoryStatus(const char* username, int32_t status) = 0;

protected:
    ~IFactoryListener() = default;
};

// What the profile library calls back, possibly from its own thread.
class IProfileStatusListener {
public:
    virtual ~IProfileStatusListener() = default;
    virtual void onStatus(const char* username, int32_t status) = 0;
    virtual void onReserved1() {}
    virtual void onReserved2() {}
};

// A loaded profile: `directions` directions in degrees, and per direction one
// left and one right impulse response of `length` samples, direction after
// direction.
struct ProfileData {
    double sampleRate = 0;
    uint32_t directions = 0;
    uint32_t length = 0;
    std::vector<double> azimuth, elevation;
    std::vector<float> left, right;
};

class IProfileSource {
public:
    // Result codes of a load.
    enum Result : int32_t { kLoaded = 0, kNotFound = 1, kUnreadable = 2 };

    virtual ~IProfileSource() = default;
    virtual int32_t load(const std::string& name, IProfileStatusListener* listener, ProfileData& out) = 0;
};

// The source of a module without the outside service: every profile is missing.
class UnavailableProfileSource : public IProfileSource {
public:
    int32_t load(const std::string&, IProfileStatusListener*, ProfileData&) override { return kNotFound; }
};

} // namespace Tannhofen::AmbiBin

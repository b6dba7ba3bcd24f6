// Builds HRIR sets: from the built-in tables, from a SOFA file (through
// libmysofa, sampled at a fixed grid of 20 directions and turned into
// spherical-harmonic filters by the grid's pseudo-inverse), or from a personal
// profile. Every builder answers a new set, or null on failure; nothing here
// throws or leaves a half-built set behind. Runs on the configuration thread.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "ambi/hrir.h"
#include "ambi/hrir_profile.h"

namespace Tannhofen::AmbiBin {

// The grid a SOFA set is sampled at, for every order: (azimuth, elevation) in degrees.
inline constexpr uint32_t kSofaGridPoints = 20;
inline constexpr double kSofaGrid[kSofaGridPoints][2] = {
    {45, -35}, {135, -35}, {135, 35},  {-135, 35}, {-45, 35}, {-45, -35}, {-135, -35},
    {45, 35},  {90, -69},  {-90, 69},  {-90, -69}, {90, 69},  {69, 0},    {110, 0},
    {-69, 0},  {-110, 0},  {180, -21}, {180, 21},  {0, 21},   {0, -21}};

// The rate a SOFA file is read at; libmysofa resamples the file to it.
inline constexpr double kSofaReadRate = 48000;
// Longest filter accepted from a file or a profile, in samples: well beyond
// any head-related response (0.34 s at 48 kHz).
inline constexpr uint32_t kMaxFilterLength = 16384;

template <class T>
class HrirFactory : public IProfileStatusListener {
public:
    HrirFactory();
    HrirFactory(const HrirFactory&) = delete;
    HrirFactory& operator=(const HrirFactory&) = delete;
    ~HrirFactory() override;

    // Forwards a status report of the profile library to `listener`, if one is set.
    void onStatus(const char* username, int32_t status) override;

    // The built-in set of (mode, order); null for a pair that has none.
    std::shared_ptr<IHrir<T>> makeBuiltin(int32_t mode, uint32_t order);
    // A set of mode 3 named fileName, at the rate the file was read at; null
    // if libmysofa can't open the file, or it holds fewer directions than the
    // grid, a rate or filter length out of range, or values that aren't finite.
    std::shared_ptr<IHrir<T>> makeFromSofa(const std::string& fileName, uint32_t order);
    // A set of mode 5 from the profile source; null unless the name starts
    // with the profile prefix and the source delivers a usable profile.
    std::shared_ptr<IHrir<T>> makeFromProfile(const std::string& name, uint32_t order,
                                              IFactoryListener* listenerData);

    // The profile source (not owned); a null source restores the built-in one,
    // which answers failure.
    void setProfileSource(IProfileSource* source);

private:
    IFactoryListener* listener = nullptr; // guarded by lock
    std::mutex lock;
    UnavailableProfileSource unavailable;
    IProfileSource* profiles = &unavailable;
};

extern template class HrirFactory<float>;
extern template class HrirFactory<double>;

} // namespace Tannhofen::AmbiBin

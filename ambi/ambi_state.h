// The decoder processor's saved state, version 5, little-endian. The
// controller reads the same stream (setComponentState), and older versions
// load: each item is present from the version that added it.
//
//  #  type    item                                  from version
//  1  int32   version (5)                            always
//  2  int32   order                                  1
//  3  int32   previous order                         1
//  4  int32   0 (discarded)                          1
//  5  int32   0 (discarded)                          1
//  6  int32   0; versions 3 and 4: head-tracker mode 1
//  7  int32   HRIR mode                              1
//  8  double  head-locked signal level               1
//  9  int32   bytes of the SOFA file name (UTF-8)    1    above 1024 is refused
// 10  string  the name, UTF-8 with its end           1    only when item 9 is above 0
// 11  double  LFE gain                               2
// 12  int32   LFE low-pass                           2
// 13  int64   arrangement of the output bus          2
// 14-16 double 0; versions 3 and 4: tracker angles   3
// 17  int32   binaural stereo mode                   4
// 18-23 double focus azimuth, elevation, size,       4
//             attenuation, on, follow
#pragma once

#include <cstdint>
#include <string>

#include "frame/istream.h"
#include "frame/speaker_layouts.h"

namespace Tannhofen::AmbiBin {

inline constexpr int32_t kProcessorStateVersion = 5;
inline constexpr int32_t kMaxSofaNameBytes = 1024;

struct ProcessorState {
    int32_t version = kProcessorStateVersion;
    int32_t order = 1;
    int32_t previousOrder = 1;
    int32_t trackerMode = 0; // item 6
    int32_t hrirMode = 1;    // 1 to 5
    double auxGain = 1;      // normalised, as all doubles here
    std::string sofaName;    // UTF-8
    double lfeGain = 0;
    int32_t lfeLowPass = 0; // 0 or 1
    Plx::SpeakerArrangement outputArrangement = 0;
    double trackerAngles[3] = {0, 0, 0}; // items 14 to 16: yaw, pitch, roll
    bool stereoModeBinaural = true;
    double focusAzimuth = 0.5;
    double focusElevation = 0.5;
    double focusSize = 0.333;
    double focusAttenuation = 1;
    double focusOn = 0;
    double focusFollow = 1;
};

// Writes `state` as version 5 (its version field is not read). False when the
// stream fails.
bool writeProcessorState(Plx::IPlxStream* stream, const ProcessorState& state);

// Reads a stream of any version into `state`. Items the version lacks keep the
// values `state` had; a version below 4 turns the binaural stereo mode off,
// and a version of 0 holds nothing beyond its number. Every item is read
// before any is taken, so on failure (a short stream, a negative version, a
// name length out of range or a name that doesn't end where its length says)
// `state` is left as it was and the answer is false.
//
// Values are made safe on the way in: the order is kept to 1..3, the HRIR mode
// to 1..5 (others mean the standard set), the low-pass to 0 or 1, and every
// normalised double to 0..1, NaN keeping the value it would replace.
bool readProcessorState(Plx::IPlxStream* stream, ProcessorState& state);

} // namespace Tannhofen::AmbiBin

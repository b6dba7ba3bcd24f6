#include "ambi/ambi_state.h"

#include <algorithm>
#include <cmath>

#include "frame/streamer.h"

namespace Tannhofen::AmbiBin {

namespace {

// A normalised double from a stream: clamped to 0..1, NaN keeping `current`.
double unitValue(double read, double current) {
    return std::isnan(read) ? current : std::clamp(read, 0.0, 1.0);
}

bool readUnit(Plx::PlxStreamer& s, double& field) {
    double v = 0;
    if (!s.readDouble(v)) return false;
    field = unitValue(v, field);
    return true;
}

} // namespace

bool writeProcessorState(Plx::IPlxStream* stream, const ProcessorState& state) {
    if (!stream) return false;
    Plx::PlxStreamer s(stream);
    bool ok = s.writeInt32(kProcessorStateVersion) && s.writeInt32(state.order) &&
              s.writeInt32(state.previousOrder) && s.writeInt32(0) && s.writeInt32(0) && s.writeInt32(0) &&
              s.writeInt32(state.hrirMode) && s.writeDouble(state.auxGain) &&
              s.writeInt32(static_cast<int32_t>(state.sofaName.size()));
    if (ok && !state.sofaName.empty()) ok = s.writeStringUtf8(state.sofaName);
    ok = ok && s.writeDouble(state.lfeGain) && s.writeInt32(state.lfeLowPass) &&
         s.writeInt64(static_cast<int64_t>(state.outputArrangement));
    for (int i = 0; i < 3 && ok; ++i) ok = s.writeDouble(0.0);
    return ok && s.writeInt32(state.stereoModeBinaural ? 1 : 0) && s.writeDouble(state.focusAzimuth) &&
           s.writeDouble(state.focusElevation) && s.writeDouble(state.focusSize) &&
           s.writeDouble(state.focusAttenuation) && s.writeDouble(state.focusOn) &&
           s.writeDouble(state.focusFollow);
}

bool readProcessorState(Plx::IPlxStream* stream, ProcessorState& state) {
    if (!stream) return false;
    Plx::PlxStreamer s(stream);
    ProcessorState read = state;
    int32_t version = 0;
    if (!s.readInt32(version) || version < 0) return false;
    read.version = version;
    if (version == 0) {
        state = read;
        return true;
    }
    int32_t discarded = 0, nameBytes = 0;
    if (!s.readInt32(read.order) || !s.readInt32(read.previousOrder) || !s.readInt32(discarded) ||
        !s.readInt32(discarded) || !s.readInt32(read.trackerMode) || !s.readInt32(read.hrirMode) ||
        !readUnit(s, read.auxGain) || !s.readInt32(nameBytes))
        return false;
    if (nameBytes < 0 || nameBytes > kMaxSofaNameBytes) return false;
    read.sofaName.clear();
    if (nameBytes > 0) {
        // The name, a byte order mark before it when it isn't plain ASCII, and its end.
        if (!s.readStringUtf8(read.sofaName, nameBytes + 4)) return false;
        if (read.sofaName.size() != static_cast<size_t>(nameBytes)) return false;
    }
    if (version >= 2) {
        int64_t arrangement = 0;
        if (!readUnit(s, read.lfeGain) || !s.readInt32(read.lfeLowPass) || !s.readInt64(arrangement))
            return false;
        read.outputArrangement = static_cast<Plx::SpeakerArrangement>(arrangement);
    }
    if (version >= 3) {
        for (double& angle : read.trackerAngles)
            if (!readUnit(s, angle)) return false;
    }
    if (version >= 4) {
        int32_t binaural = 0;
        if (!s.readInt32(binaural) || !readUnit(s, read.focusAzimuth) || !readUnit(s, read.focusElevation) ||
            !readUnit(s, read.focusSize) || !readUnit(s, read.focusAttenuation) ||
            !readUnit(s, read.focusOn) || !readUnit(s, read.focusFollow))
            return false;
        read.stereoModeBinaural = binaural != 0;
    } else {
        read.stereoModeBinaural = false;
    }
    read.order = std::clamp(read.order, 1, 3);
    read.previousOrder = std::clamp(read.previousOrder, 1, 3);
    if (read.hrirMode < 1 || read.hrirMode > 5) read.hrirMode = 1;
    read.lfeLowPass = std::clamp(read.lfeLowPass, 0, 1);
    state = read;
    return true;
}

} // namespace Tannhofen::AmbiBin

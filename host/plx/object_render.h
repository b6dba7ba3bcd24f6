// Object mode in a render: an effect that asks the host for an object bus
// (the panner with "Object Mode On/Off" on) is joined to a bus of one object
// per input channel. The bed it mixes to speakers is then silent; what plx
// writes for the objects is what a host's object renderer would receive:
// one mono file per object, carrying the input channel that drives it while
// the effect keeps it enabled, and a CSV of each object's position, one row
// per object and slice (time in seconds, object from 1, x, y, z).
//
// The effect sends positions once per slice of its block. plx hands it
// blocks of at most kObjectBlockSeconds in object mode, which the effect
// processes as one slice each, so that every block stands for one slice.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/plx/audio_file.h"
#include "host/plx/effect.h"
#include "host/plx/output_file.h"

namespace Tannhofen::Host::Cli {

inline constexpr double kObjectBlockSeconds = 0.005;

class ObjectRender {
public:
    // Whether the effect's controller asked the host for an object bus.
    static bool wanted(ModuleSession& session, const Effect& effect);
    // The files that ObjectRender writes for `objects` objects under `prefix`:
    // the mono files in object order, then the CSV.
    static std::vector<std::string> fileNames(const std::string& prefix, int objects);

    // Offers the effect a bus of one object per input channel, joins it, and
    // opens the files (UserError when one can't be written).
    ObjectRender(ModuleSession& session, Effect& effect, const std::string& prefix, int sampleRate,
                 bool doublePrecision);
    ~ObjectRender();

    // The largest block plx hands the effect: one slice.
    int32_t blockLimit() const { return maxBlock; }
    // After the effect processed frames [start, start + length) of the input,
    // `in` holding them interleaved with `channels` channels: writes the
    // objects' audio and one CSV row per enabled object.
    template <class T>
    void record(int64_t start, int64_t length, const T* in, int channels);
    void commit();

private:
    RecordingObjectsBus& bus;
    int rate;
    int32_t maxBlock;
    std::vector<std::unique_ptr<OutputFile>> audioFiles;
    std::vector<std::unique_ptr<WavWriter>> writers;
    std::unique_ptr<OutputFile> csv;
    std::string rows;
};

} // namespace Tannhofen::Host::Cli

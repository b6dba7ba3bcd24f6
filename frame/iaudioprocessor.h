// IAudioProcessor and the structures of one audio block: the setup, the
// planar buffers of each bus, the process data and the transport context.
#pragma once

#include "frame/funknown.h"
#include "frame/speaker_arrangement.h"

namespace Tannhofen::Plx {

class IPlxParameterChanges;
class IPlxEventList;

enum SymbolicSampleSize : int32 { kSample32 = 0, kSample64 = 1 };
enum ProcessMode : int32 { kRealtime = 0, kPrefetch = 1, kOffline = 2 };

struct PlxProcessSetup {
    int32 processMode;
    int32 symbolicSampleSize;
    int32 maxSamplesPerBlock;
    double sampleRate;
};

// The channels of one bus: one pointer per channel, float or double by the
// block's symbolicSampleSize.
struct PlxAudioBuffers {
    int32 numChannels;
    uint64 silenceFlags; // bit n set: channel n is silent
    union {
        float** channelBuffers32;
        double** channelBuffers64;
    };
};

// The host's transport at the start of a block.
struct PlxProcessContext {
    enum StatePlaying : uint32 {
        kPlaying = 1u << 1,
        kCycleActive = 1u << 2,
        kRecording = 1u << 3,
        kProjectTimeMusicValid = 1u << 9,
        kTempoValid = 1u << 10,
        kTimeSigValid = 1u << 13,
    };
    uint32 state;
    double sampleRate;
    int64 projectTimeSamples;
    int64 systemTime;
    int64 continousTimeSamples;
    double projectTimeMusic;
    double barPositionMusic;
    double cycleStartMusic;
    double cycleEndMusic;
    double tempo;
    int32 timeSigNumerator;
    int32 timeSigDenominator;
};

// The channel pointers of a bus in the sample type T, float or double.
template <class T>
T** channelBuffers(PlxAudioBuffers& bus) {
    if constexpr (sizeof(T) == sizeof(float))
        return bus.channelBuffers32;
    else
        return bus.channelBuffers64;
}

struct PlxProcessData {
    int32 processMode;
    int32 symbolicSampleSize;
    int32 numSamples;
    int32 numInputs;
    int32 numOutputs;
    PlxAudioBuffers* inputs;
    PlxAudioBuffers* outputs;
    IPlxParameterChanges* inputParameterChanges;  // may be null
    IPlxParameterChanges* outputParameterChanges; // may be null
    IPlxEventList* inputEvents;
    IPlxEventList* outputEvents;
    PlxProcessContext* processContext; // may be null
};

class IAudioProcessor : public FUnknown {
public:
    virtual tresult setBusArrangements(SpeakerArrangement* inputs, int32 numIns, SpeakerArrangement* outputs,
                                       int32 numOuts) = 0;
    virtual tresult getBusArrangement(int32 dir, int32 index, SpeakerArrangement* arr) = 0;
    virtual tresult canProcessSampleSize(int32 symbolicSampleSize) = 0;
    virtual uint32 getLatencySamples() = 0;
    virtual tresult setupProcessing(PlxProcessSetup* setup) = 0;
    virtual tresult setProcessing(TBool state) = 0;
    virtual tresult process(PlxProcessData* data) = 0;
    virtual uint32 getTailSamples() = 0;
    PLX_INTERFACE_ID(0x42043F99, 0xB7DA453C, 0xA569E79D, 0x9AAEC33D);

protected:
    ~IAudioProcessor() = default;
};

class IProcessContextRequirements : public FUnknown {
public:
    virtual uint32 getProcessContextRequirements() = 0;
    PLX_INTERFACE_ID(0x2A654303, 0xEF764E3D, 0x95B5FE83, 0x730EF6D0);

protected:
    ~IProcessContextRequirements() = default;
};

} // namespace Tannhofen::Plx

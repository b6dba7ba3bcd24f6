// The messages that the decoder's processor and controller exchange, with
// their attribute names. Both sides use these names; they are part of the
// plug-in's protocol and must not change.
#pragma once

#include <cstdint>

namespace Tannhofen::AmbiBin::Msg {

// Processor to controller.
inline constexpr const char* kChangeSpeakerConf = "ChangeSpeakerConf"; // "input", "output": 8 bytes each
inline constexpr const char* kInput = "input";
inline constexpr const char* kOutput = "output";
inline constexpr const char* kChangedAlgoType = "changedAlgoType"; // attribute of the same name
inline constexpr const char* kSofaName = "sofaName";               // attribute of the same name, text
inline constexpr const char* kHrirMode = "hrirMode"; // attribute of the same name: the mode in force
inline constexpr const char* kGraphLocation = "graphLocation"; // "usedAsPanner", "usedInControlRoom"
inline constexpr const char* kUsedAsPanner = "usedAsPanner";
inline constexpr const char* kUsedInControlRoom = "usedInControlRoom";
inline constexpr const char* kEmbody = "Embody"; // "username" text, "status": a profile's status
inline constexpr const char* kUsername = "username";
inline constexpr const char* kStatus = "status";

// The values of "changedAlgoType".
enum AlgoTypeMessage : int32_t { kBinaural = 1, kSpeaker = 2, kAmbisonic = 3, kNotCompatible = 4 };

// Controller to processor. Each stores a value that takes effect when the
// component is restarted.
inline constexpr const char* kChangeOrder = "ChangeOrder"; // "Order"
inline constexpr const char* kOrder = "Order";
inline constexpr const char* kSofaFileChanged = "sofaFileChanged"; // "filename", text of at most 2048 bytes
inline constexpr const char* kFilename = "filename";
inline constexpr const char* kHrirModeChanged = "hrirModeChanged"; // attribute of the same name
inline constexpr const char* kRequestedOutputArrangement = "requestedOutputArrangement"; // "binary", 8 bytes
inline constexpr const char* kBinary = "binary";
inline constexpr const char* kStereoModeBinaural = "stereoModeBinaural"; // attribute of the same name
inline constexpr const char* kForceReloadHrir = "forceReloadHrir";

// The bytes a "sofaFileChanged" name may take as 16-bit text, its end included.
inline constexpr uint32_t kMaxFilenameBytes = 2048;

// Calls of the personal-profile service, in both directions. The processor
// reads none of them and sends each back to its peer unchanged.
inline constexpr const char* kProfileCallbacks[] = {"downloadHrtfUpdateCallback", "checkHrtfUpdateCallback",
                                                    "updateProfileCallback",      "offlineProfileCallback",
                                                    "invalidProfileCallback",     "expiredProfileCallback"};

} // namespace Tannhofen::AmbiBin::Msg

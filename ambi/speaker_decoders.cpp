#include "ambi/speaker_decoders.h"

namespace Tannhofen::AmbiBin {

const float* findSpeakerDecoder(int32_t order, Plx::SpeakerArrangement arrangement) {
    for (const auto& table : speakerDecoderTables())
        if (table.order == order && table.arrangement == arrangement) return table.values.data();
    return nullptr;
}

} // namespace Tannhofen::AmbiBin

// Base of the DSP tools that own memory: transforms, IIR filters, filter
// designs, the resampler and the small matrices.
#pragma once

namespace Tannhofen::DSP::Tool {

class BaseDynamicTool {
public:
    virtual ~BaseDynamicTool() = default;

    bool initialised = false;
};

} // namespace Tannhofen::DSP::Tool

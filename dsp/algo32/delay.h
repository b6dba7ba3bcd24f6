// Delay lines of float samples.
#pragma once

#include "dsp/algo32/algo.h"
#include "dsp/algo32/wide_delay.h"

namespace Tannhofen::DSP::Algo32 {

using Delay = WideFrame::Delay<float>;
using DelayPow2 = WideFrame::DelayPow2<float>;
using DelayMultiCh = WideFrame::DelayMultiCh<float>;

} // namespace Tannhofen::DSP::Algo32

// Delay lines of double samples.
#pragma once

#include "dsp/algo32/wide_delay.h"
#include "dsp/algo64/algo.h"

namespace Tannhofen::DSP::Algo64 {

using Delay = WideFrame::Delay<double>;
using DelayPow2 = WideFrame::DelayPow2<double>;
using DelayMultiCh = WideFrame::DelayMultiCh<double>;

} // namespace Tannhofen::DSP::Algo64

// DSP::Algo64: the algorithm frame of double audio samples, with a double
// sample rate and parameters. Subclasses replace process64 and processMix64.
#pragma once

#include "dsp/algo32/wide_frame.h"

namespace Tannhofen::DSP::Algo64 {

template <class T>
using IAlgo = WideFrame::IAlgo<T, double>;
template <class T>
using Algo = WideFrame::Algo<T, double>;

} // namespace Tannhofen::DSP::Algo64

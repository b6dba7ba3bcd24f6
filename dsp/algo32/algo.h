// DSP::Algo32: the algorithm frame of float audio samples, with a double
// sample rate and parameters. Subclasses replace process32 and processMix32.
#pragma once

#include "dsp/algo32/wide_frame.h"

namespace Tannhofen::DSP::Algo32 {

template <class T>
using IAlgo = WideFrame::IAlgo<T, float>;
template <class T>
using Algo = WideFrame::Algo<T, float>;

} // namespace Tannhofen::DSP::Algo32
